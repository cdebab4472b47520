#include "host/ut/UT_CRC.h"

#include <array>
#include <cstdint>

namespace {

using Tables = std::array<std::array<uint32_t, 256>, 8>;

// Table k advances a byte's remainder by k further bytes, so that eight bytes are folded at once (Kounavis, Berry
// 2005).
constexpr Tables makeTables() {
    Tables t{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t r = i;
        for (int bit = 0; bit < 8; ++bit) r = r >> 1 ^ (r & 1 ? 0xedb88320u : 0);
        t[0][i] = r;
    }
    for (size_t k = 1; k < 8; ++k)
        for (size_t i = 0; i < 256; ++i) t[k][i] = t[k - 1][i] >> 8 ^ t[0][t[k - 1][i] & 255];
    return t;
}

constexpr Tables theTables = makeTables();

uint32_t foldEight(uint32_t crc, const unsigned char* p) {
    uint32_t out = 0;
    for (size_t i = 0; i < 8; ++i) {
        const uint32_t byte = p[i] ^ (i < 4 ? crc >> (8 * i) & 255 : 0);
        out ^= theTables[7 - i][byte];
    }
    return out;
}

} // namespace

void UT_CRC::updateCRC(unsigned& crc, const void* bytes, size_t n) {
    const unsigned char* p = static_cast<const unsigned char*>(bytes);
    uint32_t r = ~crc;
    for (; n >= 8; n -= 8, p += 8) r = foldEight(r, p);
    for (; n; --n, ++p) r = r >> 8 ^ theTables[0][(r ^ *p) & 255];
    crc = ~r;
}
