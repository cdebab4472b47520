#pragma once

#include "host/geo/GU_Bvh.h"
#include "host/geo/GU_RayCells.h"
#include "host/geo/GU_RayInfo.h"

#include <algorithm>
#include <cmath>
#include <vector>

/// What one ray looks for and has found so far.
struct GU_RaySearch {
    GU_RaySearch(const UT_Vector3& o, const UT_Vector3& d, const GU_RayInfo& info, std::vector<GU_RayCandidate>& list)
        : org(o)
        , dir(d)
        , low(info.getMin())
        , high(info.getMax())
        , wantedLow(low)
        , wantedHigh(high)
        , find(info.getFindType())
        , candidates(list) {}

    /// Sets `line` to what lies between two distances; found hits already narrow it.
    void aim(const UT_Vector3D& from, const UT_Vector3D& way, double first, double last, const UT_BoundingBox& scene) {
        const double most = std::max({std::fabs(way.x()), std::fabs(way.y()), std::fabs(way.z())});
        scale = most > 0 ? most : 1;
        line = GU_BvhLine(UT_Vector3(from), way * (1 / scale), bound(first, -1e-6), bound(last, 1e-6), scene);
        if (found) narrow();
    }

    UT_Vector3 org, dir;
    float low, high;
    float wantedLow, wantedHigh; ///< range that the closest hit so far leaves
    int find;
    double scale = 1; ///< from lengths of dir to the units of `line`; 1 for a point at rest
    GU_BvhLine line;
    GU_RayCandidate best{};
    bool found = false;
    std::vector<GU_RayCandidate>& candidates;

    /// True when the stretch of the range stays clear of everything for sure: most particles are nowhere near a
    /// surface. `box` is around all that `cells` hold.
    static bool passesBy(const UT_Vector3D& from, const UT_Vector3D& way, double first, double last,
                         const UT_BoundingBox& box, const GU_RayCells& cells) {
        UT_Vector3 low, high;
        return passesBox(from, way, first, last, box, low, high) || cells.isClear(low, high);
    }
    /// The same for the box alone. False: `low` and `high` are around the stretch and what rounding may add to it.
    static bool passesBox(const UT_Vector3D& from, const UT_Vector3D& way, double first, double last,
                          const UT_BoundingBox& box, UT_Vector3& low, UT_Vector3& high) {
        constexpr double most = std::numeric_limits<float>::max();
        for (int k = 0; k < 3; ++k) {
            const double a = from[k] + way[k] * first, b = from[k] + way[k] * last;
            const double slop = 2e-6 * (std::fabs(a) + std::fabs(b) + std::fabs(from[k]));
            low[k] = static_cast<float>(std::clamp(std::min(a, b) - slop, -most, most));
            high[k] = static_cast<float>(std::clamp(std::max(a, b) + slop, -most, most));
            if (low[k] > box.vmax()[k] || high[k] < box.vmin()[k]) return true;
        }
        return false;
    }

    UT_Vector3 at(double t) const { return UT_Vector3(UT_Vector3D(org) + UT_Vector3D(dir) * t); }

    /// Whether a hit at t can matter.
    bool isWanted(float t) const {
        if (!(t >= low && t <= high) || !std::isfinite(t)) return false;
        if (!found) return true;
        return find == GU_FIND_FURTHEST ? std::fabs(t) >= std::fabs(best.t) : std::fabs(t) <= std::fabs(best.t);
    }
    void add(const GU_RayCandidate& c) {
        if (!isWanted(c.t)) return;
        if (find == GU_FIND_ALL)
            candidates.push_back(c);
        else if (find == GU_FIND_FURTHEST)
            keepFurthest(c);
        else
            keepNearest(c);
    }

private:
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
        narrow();
    }
    void keepFurthest(const GU_RayCandidate& c) {
        if (found && !GUfurther(c, best)) return;
        best = c;
        found = true;
        narrow();
    }
    void narrow() {
        if (find == GU_FIND_FURTHEST) {
            line.reach = bound(std::fabs(double(best.t)), -1e-6);
            return;
        }
        wantedLow = std::max(wantedLow, -std::fabs(best.t));
        wantedHigh = std::min(wantedHigh, std::fabs(best.t));
        const float limit = bound(std::fabs(double(best.t)), 1e-6);
        line.high = std::min(line.high, limit);
        line.low = std::max(line.low, -limit);
    }
};
