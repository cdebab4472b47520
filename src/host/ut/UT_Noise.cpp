#include "host/ut/UT_Noise.h"

#include <algorithm>
#include <array>
#include <cfloat>

#include "host/ut/UT_Cpu.h"
#include "host/ut/UT_Math.h"

namespace {

/// What the octaves of one call have in common.
struct Octaves {
    uint32_t seed;
    int count;
    float rough;
};

using OneFunction = void (*)(const Octaves&, const float* at, float* out);
using ManyFunction = void (*)(const Octaves&, const float* const* in, int n, float* const* out);

/// The entry points of a type, each for one or three channels; and of all types, for one instruction set.
struct TypeKernels {
    OneFunction one[2];
    ManyFunction many[2];
};
using Kernels = std::array<TypeKernels, 4>;

// Beyond this the coordinates are held; even skewed, and with neighbours, cells stay within 32-bit numbers.
constexpr float FARTHEST = 268435456.0f;
// Multipliers of the lattice numbers, large and odd (Teschner et al. 2003 use primes likewise).
constexpr uint32_t LATTICE[3] = {0x8da6b343u, 0xd8163841u, 0xcb1ab31fu};
// Moves the lattices of the octaves apart: gradient noise vanishes on lattice points, and points love whole numbers.
constexpr float SHIFT[3] = {0.3717f, 0.7291f, 0.5413f};
constexpr float UNSKEW = 1.0f / 6;
// Brings the extremes of the tetrahedral field, found by sampling, to about 1.
constexpr float SPARSE_SCALE = 76.0f;

constexpr uint32_t octaveKey(uint32_t seed, int octave) {
    uint32_t h = seed * 0x9e3779b1u + uint32_t(octave) * 0x85ebca77u;
    h ^= h >> 15;
    h *= 0x2c1b3c6du;
    return h ^ (h >> 12);
}

#define UT_NOISE_SPACE baseline
#define UT_NOISE_LANES 4
#define UT_NOISE_TARGET
#include "host/ut/UT_NoiseKernel.inl"
#undef UT_NOISE_SPACE
#undef UT_NOISE_LANES
#undef UT_NOISE_TARGET

#if defined(__x86_64__)
#define UT_NOISE_SPACE avx2
#define UT_NOISE_LANES 8
#define UT_NOISE_TARGET target("avx2")
#include "host/ut/UT_NoiseKernel.inl"
#undef UT_NOISE_SPACE
#undef UT_NOISE_LANES
#undef UT_NOISE_TARGET

#define UT_NOISE_SPACE avx512
#define UT_NOISE_LANES 16
#define UT_NOISE_TARGET target("avx2,avx512f,avx512dq,avx512vl,avx512bw")
#include "host/ut/UT_NoiseKernel.inl"

const Kernels& kernels() {
    static const Kernels& chosen = UT_Cpu::hasAvx512() ? avx512::theKernels
                                   : UT_Cpu::hasAvx2() ? avx2::theKernels
                                                       : baseline::theKernels;
    return chosen;
}
#else
const Kernels& kernels() { return baseline::theKernels; }
#endif

Octaves octavesOf(int seed, int depth, float rough) { return {uint32_t(seed), std::clamp(depth, 0, 15) + 1, rough}; }

float attenuated(float value, float atten) {
    return atten == 1 ? value : std::copysign(UT_Math::pow(std::fabs(value), atten), value);
}

void attenuate(float* values, int n, float atten) {
    if (atten == 1) return;
    for (int i = 0; i < n; ++i) values[i] = attenuated(values[i], atten);
}

} // namespace

float UT_Noise::turbulence(const UT_Vector3& P, int depth, float rough, float atten) const {
    float value;
    kernels()[myType].one[0](octavesOf(mySeed, depth, rough), P.data(), &value);
    return attenuated(value, atten);
}

void UT_Noise::turbulence(const UT_Vector3& P, int depth, UT_Vector3& out, float rough, float atten) const {
    kernels()[myType].one[1](octavesOf(mySeed, depth, rough), P.data(), out.data());
    attenuate(out.data(), 3, atten);
}

void UT_Noise::turbulence(const float* x, const float* y, const float* z, int n, int depth, float* outX, float* outY,
                          float* outZ, float rough, float atten) const {
    const float* const in[3] = {x, y, z};
    float* const out[3] = {outX, outY, outZ};
    kernels()[myType].many[1](octavesOf(mySeed, depth, rough), in, n, out);
    for (float* column : out) attenuate(column, n, atten);
}

void UT_Noise::turbulence(const float* x, const float* y, const float* z, int n, int depth, float* out, float rough,
                          float atten) const {
    const float* const in[3] = {x, y, z};
    kernels()[myType].many[0](octavesOf(mySeed, depth, rough), in, n, &out);
    attenuate(out, n, atten);
}
