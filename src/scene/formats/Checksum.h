#pragma once

#include <cstdint>
#include <string_view>

namespace formats {

/// CRC-32 as in ISO 3309, zip and PNG, continued over the bytes. Start with 0.
uint32_t crc32(uint32_t crc, std::string_view bytes);

} // namespace formats
