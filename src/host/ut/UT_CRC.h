#pragma once

#include <cstddef>

/// CRC-32 as in ISO 3309, zip and PNG (reflected polynomial 0xEDB88320).
class UT_CRC {
public:
    /// Folds n bytes into crc. Start with 0; the value after the last piece is the checksum of the whole.
    static void updateCRC(unsigned& crc, const void* bytes, size_t n);
};
