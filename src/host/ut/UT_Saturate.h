#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

/// a + b; where no int can hold that, the int next to it.
constexpr int UTaddSaturated(int a, int b) {
    return int(std::clamp<int64_t>(int64_t(a) + b, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}
