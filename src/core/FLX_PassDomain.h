#pragma once

#include <algorithm>
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

/// The particles that a pass works on, as they are when it is handed over: what is born later lies behind them.
class FLX_PassDomain {
public:
    FLX_PassDomain() = default;
    /// All particles that the first primitives of a list have now. None of these stands in the list twice.
    FLX_PassDomain(const FLX_ParticleList& list, int entries) {
        int iteration = 0;
        for (int i = 0; i < entries; ++i) {
            GEO_PrimParticle* prim = list.entry(i).prim;
            myRanges.push_back({prim, prim->particleCount(), iteration});
            iteration += int(prim->particleCount());
        }
        mySorted = myRanges;
        std::sort(mySorted.begin(), mySorted.end(), before);
    }

    /// In the order of the list.
    const std::vector<FLX_PassRange>& ranges() const { return myRanges; }
    /// Null for a primitive that is not in the domain.
    const FLX_PassRange* find(GEO_PrimParticle& prim) const {
        const auto found = std::lower_bound(mySorted.begin(), mySorted.end(), FLX_PassRange{&prim, 0, 0}, before);
        return found != mySorted.end() && found->prim == &prim ? &*found : nullptr;
    }
    bool samePrimitives(const FLX_PassDomain& other) const {
        return equal(other, [](const FLX_PassRange& a, const FLX_PassRange& b) { return a.prim == b.prim; });
    }
    bool sameParticles(const FLX_PassDomain& other) const {
        return equal(other, [](const FLX_PassRange& a, const FLX_PassRange& b) {
            return a.prim == b.prim && a.count == b.count;
        });
    }

private:
    static bool before(const FLX_PassRange& a, const FLX_PassRange& b) { return a.prim->getNum() < b.prim->getNum(); }
    template <class Same> bool equal(const FLX_PassDomain& other, const Same& same) const {
        return std::equal(mySorted.begin(), mySorted.end(), other.mySorted.begin(), other.mySorted.end(), same);
    }

    std::vector<FLX_PassRange> myRanges;
    std::vector<FLX_PassRange> mySorted; // by number
};
