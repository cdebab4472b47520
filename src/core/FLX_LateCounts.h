#pragma once

#include <string>
#include <vector>

#include "core/FLX_PassDomain.h"
#include "host/geo/GB_GroupList.h"

/// Info texts tell how many particles there are when the operator cooks, which only the reaping knows that has yet to
/// run. Until then marks stand in the texts, each with what it counts and how many there are with the dead.
class FLX_LateCounts {
public:
    static std::string mark(const GEO_PrimParticle& prim);
    static std::string mark(const GB_PointGroup& group);
    static bool isMarked(const std::string& text);

    /// To be made before the reaping.
    explicit FLX_LateCounts(const GB_PointGroupList& groups);
    /// After it, with what each range of the domain has lost.
    void settle(const GB_PointGroupList& groups, const FLX_PassDomain& domain, const std::vector<size_t>& dropped);
    /// The text with numbers for marks.
    std::string completed(const std::string& text) const;

private:
    struct Loss {
        std::string what;
        size_t count;
    };
    size_t lossOf(const std::string& what) const;

    std::vector<Loss> myLosses; // of the groups first, in their order
};
