#include "core/FLX_Pass.h"

#include <algorithm>

FLX_Pass::~FLX_Pass() = default;

void FLX_Pass::runAll(GEO_PointAccess access, const uint32_t* slots, size_t n, int iteration) {
    for (size_t at = 0; at < n; at += FLX_Chunk::SIZE) {
        const size_t count = std::min(FLX_Chunk::SIZE, n - at);
        run({access, slots + at, count, n - at - count, iteration + int(at)});
    }
}
