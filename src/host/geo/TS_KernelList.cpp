#include "host/geo/TS_KernelList.h"

#include <cmath>

namespace {

float cubicFalloff(float r2) {
    const float s = 1 - r2;
    return s * s * s;
}
float quadraticFalloff(float r2) {
    const float s = 1 - r2;
    return s * s;
}
// Wyvill, McPheeters, Wyvill, "Data structure for soft objects", The Visual Computer 2 (1986).
float wyvillFalloff(float r2) { return 1 + r2 * (-22.0f / 9 + r2 * (17.0f / 9 - r2 * (4.0f / 9))); }
float linearFalloff(float r2) { return 1 - std::sqrt(r2); }

constexpr TS_MetaKernel KERNELS[] = {
    {"elendt", "Elendt", cubicFalloff},
    {"wyvill", "Wyvill", wyvillFalloff},
    {"quadratic", "Quadratic", quadraticFalloff},
    {"linear", "Linear", linearFalloff},
};

} // namespace

int TS_KernelList::entries() { return static_cast<int>(sizeof KERNELS / sizeof *KERNELS); }

const TS_MetaKernel& TS_KernelList::kernel(int i) { return KERNELS[i >= 0 && i < entries() ? i : DEFAULT]; }

int TS_KernelList::find(std::string_view token) {
    for (int i = 0; i < entries(); ++i)
        if (token == KERNELS[i].token) return i;
    return -1;
}
