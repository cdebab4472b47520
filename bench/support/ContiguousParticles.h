#pragma once

#include <cstdint>
#include <vector>

#include "core/FLX_State.h"
#include "host/geo/GEO_PrimParticle.h"

namespace bench {

/// What a particle of a default "location" holds, with offsets known to the compiler.
struct PlainParticle {
    float P[4];
    uint32_t slot;
    float v[3], accel[3], life[2];
    int32_t state;
    float backtrack[4];
    int32_t id, parent;
};

/// The reference of the default step: one array of structures in order, one pass.
class ContiguousParticles {
public:
    /// Copies the particles of a primitive whose records are laid out the same.
    explicit ContiguousParticles(const GEO_PrimParticle& prim)
        : myParticles(prim.particleCount()) {
        for (size_t i = 0; i < myParticles.size(); ++i)
            __builtin_memcpy(&myParticles[i], static_cast<const void*>(prim.particle(i)), sizeof(PlainParticle));
    }
    size_t size() const { return myParticles.size(); }
    const PlainParticle& operator[](size_t i) const { return myParticles[i]; }

    /// Reap test, default rules and preparation of every particle. How many could be reaped.
    __attribute__((noinline)) size_t step(float dt, int suppression) {
        size_t dead = 0;
        for (PlainParticle& p : myParticles) {
            if ((p.state & FLX_DEAD) && !(p.state & FLX_SUPPRESS_REAP))
                ++dead;
            else
                step(p, dt, suppression);
        }
        return dead;
    }

private:
    static void step(PlainParticle& p, float dt, int suppression) {
        const int flags = p.state | suppression;
        p.backtrack[3] = 0;
        if (!(flags & (FLX_SUPPRESS_POS | FLX_STUCK | FLX_DEAD | FLX_STOPPED))) {
            for (int k = 0; k < 3; ++k) p.backtrack[k] = p.v[k], p.P[k] += p.v[k] * dt;
            p.backtrack[3] = dt;
        }
        if (!(flags & (FLX_SUPPRESS_VEL | FLX_DEAD | FLX_STOPPED)))
            for (int k = 0; k < 3; ++k) p.v[k] += p.accel[k] * dt;
        if (!(flags & FLX_SUPPRESS_AGE)) p.life[0] += dt;
        int bits = p.state;
        if (p.life[1] >= 0 && p.life[0] >= p.life[1]) bits |= FLX_DEAD;
        p.state = bits & ~FLX_CLEARED_EACH_STEP;
        for (float& a : p.accel) a = 0;
    }

    std::vector<PlainParticle> myParticles;
};

} // namespace bench
