#include "scene/formats/Checksum.h"

#include <zlib.h>

namespace formats {

uint32_t crc32(uint32_t crc, std::string_view bytes) {
    return static_cast<uint32_t>(::crc32_z(crc, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

} // namespace formats
