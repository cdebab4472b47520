#pragma once

#include <cstdint>

#include "host/ut/UT_Vector3.h"

/// Coherent noise in space: a smooth field of three components, each in about [-1, 1], without period, and sums of its
/// octaves. Every value is a pure function of position, seed and type, with the same bits on every CPU. Coordinates
/// that are not finite count as 0; beyond 2^28 the field is constant, floats there being whole numbers far apart.
class UT_Noise {
public:
    enum Type {
        GRADIENT, ///< gradient noise on the cubic lattice, quintic fade (Perlin 2002): even features
        SPARSE,   ///< gradient noise on the tetrahedral lattice (Perlin's simplex noise 2001): no axis-aligned bias
        VALUE,    ///< random values on the cubic lattice, quintic interpolation: soft lumps
        CELLULAR  ///< distance to scattered bumps (after Worley 1996), strongest minus second: scales and cells
    };

    explicit UT_Noise(int seed = 0, int type = 0)
        : mySeed(seed) {
        setType(type);
    }

    void setSeed(int seed) { mySeed = seed; }
    /// A number that is no type leaves the type unchanged.
    void setType(int type) {
        if (type >= GRADIENT && type <= CELLULAR) myType = Type(type);
    }
    int seed() const { return mySeed; }
    int type() const { return myType; }

    /// Sum of depth + 1 octaves (at least 1, at most 16): each has twice the frequency and `rough` times the amplitude
    /// of the one before. `atten` is an exponent applied to the magnitude of each component of the sum, whose sign it
    /// keeps; 1 leaves it as it is. The scalar form is the first component of the vector form.
    float turbulence(const UT_Vector3& P, int depth, float rough, float atten) const;
    void turbulence(const UT_Vector3& P, int depth, UT_Vector3& out, float rough, float atten) const;

    /// The same for n points in columns, same bits; the output columns may be the input columns.
    void turbulence(const float* x, const float* y, const float* z, int n, int depth, float* outX, float* outY,
                    float* outZ, float rough, float atten) const;
    void turbulence(const float* x, const float* y, const float* z, int n, int depth, float* out, float rough,
                    float atten) const;

private:
    int mySeed;
    Type myType = GRADIENT;
};
