#include "host/vm/VM_Functions.h"
#include "host/ut/UT_Noise.h"
#include <bit>
#include <cstdint>

double VM_rand(double x) {
    if (x != x) x = 0;                             // the bits of a NaN depend on the compiler
    uint64_t h = std::bit_cast<uint64_t>(x + 0.0); // -0 becomes 0
    // The finaliser of SplitMix64: Steele, Lea, Flood, "Fast Splittable Pseudorandom Number Generators", 2014.
    h += 0x9e3779b97f4a7c15u;
    h = (h ^ (h >> 30)) * 0xbf58476d1ce4e5b9u;
    h = (h ^ (h >> 27)) * 0x94d049bb133111ebu;
    h ^= h >> 31;
    return double(h >> 11) * 0x1p-53;
}

static double turbulence(double x, double y, double z, int depth) {
    static const UT_Noise theNoise;
    return double(theNoise.turbulence(UT_Vector3(float(x), float(y), float(z)), depth, 0.5f, 1.0f));
}

double VM_noise(double x, double y, double z) { return turbulence(x, y, z, 0); }

int VM_turbDepth(double depth) { return depth >= 15 ? 15 : depth > 0 ? int(depth) : 0; }

double VM_turb(double x, double y, double z, double depth) { return turbulence(x, y, z, VM_turbDepth(depth)); }
