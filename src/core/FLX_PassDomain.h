#pragma once

#include <cstddef>
#include <vector>

#include "core/FLX_ParticleList.h"
#include "host/geo/GEO_PrimParticle.h"

/// Particles of one primitive, from its first one on.
struct FLX_PassRange {
    GEO_PrimParticle* prim;
    size_t count;
    int iteration; ///< particles of the ranges before
};

/// The particles that a pass works on, as they are when it is handed over: what is born later lies behind them. No
/// primitive stands in a domain twice.
using FLX_PassDomain = std::vector<FLX_PassRange>;

/// All particles that the first primitives of a list have now.
inline FLX_PassDomain FLXdomainOf(const FLX_ParticleList& list, int entries) {
    FLX_PassDomain domain;
    int iteration = 0;
    for (int i = 0; i < entries; ++i) {
        GEO_PrimParticle* prim = list.entry(i).prim;
        domain.push_back({prim, prim->particleCount(), iteration});
        iteration += int(prim->particleCount());
    }
    return domain;
}
