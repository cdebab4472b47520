#include "core/FLX_Pass.h"

#include <algorithm>

// Slots in a row may be parted by the end of a slab.
void FLX_Chunk::lookForRow() {
    if (inARow || count == 0) return;
    uint32_t different = 0;
#pragma GCC unroll 4
    for (uint32_t k = 0; k < uint32_t(count); ++k) different |= (slots[k] - k) ^ slots[0];
    const auto at = [&](size_t k) { return reinterpret_cast<const char*>(point(k)); };
    inARow = different == 0 && at(count - 1) == at(0) + (count - 1) * access.stride();
}

FLX_Pass::~FLX_Pass() = default;

void FLX_Pass::runAll(GEO_PointAccess access, const uint32_t* slots, size_t n, int iteration) {
    for (size_t at = 0; at < n; at += FLX_Chunk::SIZE) {
        const size_t count = std::min(FLX_Chunk::SIZE, n - at);
        run({access, slots + at, count, n - at - count, iteration + int(at)});
    }
}
