#pragma once

#include "host/geo/GU_Bvh.h"
#include "host/geo/GU_RayInfo.h"

#include <algorithm>
#include <cmath>
#include <vector>

/// What one ray looks for and has found so far.
struct GU_RaySearch {
    GU_RaySearch(const UT_Vector3& o, const UT_Vector3& d, const GU_RayInfo& info, const UT_BoundingBox& scene,
                 std::vector<GU_RayCandidate>& list)
        : org(o)
        , dir(d)
        , low(info.getMin())
        , high(info.getMax())
        , find(info.getFindType())
        , scale(largest(d))
        , line(o, UT_Vector3D(d) / scale, bound(low, -1e-6), bound(high, 1e-6), scene)
        , candidates(list) {}

    UT_Vector3 org, dir;
    float low, high;
    int find;
    double scale; ///< from lengths of dir to the units of `line`; 1 for a point at rest
    GU_BvhLine line;
    GU_RayCandidate best{};
    bool found = false;
    std::vector<GU_RayCandidate>& candidates;

    UT_Vector3 at(double t) const { return UT_Vector3(UT_Vector3D(org) + UT_Vector3D(dir) * t); }

    void add(const GU_RayCandidate& c) {
        if (!(c.t >= low && c.t <= high) || !std::isfinite(c.t)) return;
        if (find == GU_FIND_ALL)
            candidates.push_back(c);
        else if (find == GU_FIND_FURTHEST)
            keepFurthest(c);
        else
            keepNearest(c);
    }

private:
    static double largest(const UT_Vector3& d) {
        const double most = std::max({std::fabs(d.x()), std::fabs(d.y()), std::fabs(d.z())});
        return most > 0 ? most : 1;
    }
    // A range end in the units of `line`, moved outward by rounding.
    float bound(double end, double outward) const {
        const double most = std::numeric_limits<float>::max();
        const double x = end * scale + std::fabs(end * scale) * outward;
        return static_cast<float>(std::clamp(x, -most, most));
    }
    void keepNearest(const GU_RayCandidate& c) {
        if (found && !GUnearer(c, best)) return;
        best = c;
        found = true;
        const float limit = bound(std::fabs(double(c.t)), 1e-6);
        line.high = std::min(line.high, limit);
        line.low = std::max(line.low, -limit);
    }
    void keepFurthest(const GU_RayCandidate& c) {
        if (found && !GUfurther(c, best)) return;
        best = c;
        found = true;
        line.reach = bound(std::fabs(double(c.t)), -1e-6);
    }
};
