#pragma once

#include "host/geo/GU_RayCandidate.h"
#include "host/ut/UT_Vector3.h"

#include <vector>

class GEO_Primitive;

/// Which crossings of a ray are wanted. "Closest" and "furthest" go by |distance|, so a range that reaches behind the
/// origin finds what lies nearest to (furthest from) the origin on either side.
enum GU_RayFindType { GU_FIND_CLOSEST = 0, GU_FIND_FURTHEST = 1, GU_FIND_ALL = 2 };

/// A place on a primitive that a ray or a nearest-point search found.
struct GU_RayHit {
    const GEO_Primitive* prim = nullptr;
    int number = -1;            ///< of the primitive
    float distance = 0;         ///< in lengths of the ray's direction; in world units for nearest points
    float u = 0, v = 0;         ///< the primitive's own parameters, as evaluatePosition takes them
    UT_Vector3 normal{0, 0, 0}; ///< unit normal there; (0, 0, 0) on a degenerate primitive
    explicit operator bool() const { return prim != nullptr; }
};

/// What GU_RayIntersect::sendRay is asked and what it answers. Reuse one for many rays: it keeps its storage.
class GU_RayInfo {
public:
    /// Hits count with min <= distance <= max, both ends included; min may be negative (behind the origin). An empty or
    /// NaN range finds nothing. An unknown find type is taken as closest.
    explicit GU_RayInfo(float max = 1e18f, float min = 0, int find = GU_FIND_CLOSEST, float tolerance = 0.1f) {
        init(max, min, find, tolerance);
    }
    /// Back to the state after construction, keeping storage.
    void init(float max = 1e18f, float min = 0, int find = GU_FIND_CLOSEST, float tolerance = 0.1f) {
        setRange(min, max);
        setFindType(find);
        setTolerance(tolerance, tolerance);
        myStartFraction = 0;
        myRangeLength = -1;
        reset();
    }

    void setMax(float max) { myMax = max; }
    void setRange(float min, float max) { myMin = min, myMax = max; }
    float getMin() const { return myMin; }
    float getMax() const { return myMax; }
    void setFindType(int find) { myFind = find; }
    int getFindType() const { return myFind; }
    /// By how much a distance may err towards the origin and away from it. Every primitive kind is intersected exactly
    /// (to rounding), which is within any tolerance, so results do not depend on these.
    void setTolerance(float low, float high) { myLowTolerance = low, myHighTolerance = high; }
    float getLowTolerance() const { return myLowTolerance; }
    float getHighTolerance() const { return myHighTolerance; }

    /// For structures over deforming geometry: distances are times, and the ray at time t meets the geometry as it is
    /// at the fraction startFraction + (1 - startFraction) * t / rangeLength of the step, clamped to [0, 1]: beyond the
    /// end of the step (a range extended by a tolerance) the surface stands still where it ended, so a hit there tells
    /// what lies that far ahead of the particle's last position. startFraction is clamped too, NaN is 0. A rangeLength
    /// that is not above 0 (none left of the step) or not finite keeps the geometry at startFraction throughout;
    /// without this call it is the length of the range asked for and the start is 0.
    void setSweep(float startFraction, float rangeLength) {
        myStartFraction = startFraction;
        myRangeLength = rangeLength > 0 ? rangeLength : 0;
    }
    float getStartFraction() const { return myStartFraction; }
    float getRangeLength() const { return myRangeLength < 0 ? myMax - myMin : myRangeLength; }

    /// Forgets the results; range, find type and tolerances stay. sendRay does this itself.
    void reset() {
        myHit = GU_RayHit();
        myHits.clear();
    }

    /// The hit asked for; with GU_FIND_ALL the closest one. Its primitive is null when nothing was hit.
    const GU_RayHit& getHit() const { return myHit; }
    const GEO_Primitive* getPrim() const { return myHit.prim; }
    float getDistance() const { return myHit.distance; }
    float getU() const { return myHit.u; }
    float getV() const { return myHit.v; }
    const UT_Vector3& getNormal() const { return myHit.normal; }
    /// Number of hits in the range with GU_FIND_ALL, else 1 or 0.
    int getHitCount() const { return myFind == GU_FIND_ALL ? static_cast<int>(myHits.size()) : myHit.prim != nullptr; }
    /// With GU_FIND_ALL every hit, by distance along the ray, equal distances by primitive number; else empty.
    const std::vector<GU_RayHit>& getHits() const { return myHits; }

private:
    friend class GU_RayBatch;
    friend class GU_RayIntersect;
    friend class GU_RaySweep;

    /// Makes hits of the candidates, in their order, and finds the nearest.
    template <class Finish> void takeCandidates(const Finish& finish) {
        const GU_RayCandidate* nearest = nullptr;
        for (const GU_RayCandidate& c : myCandidates) {
            myHits.push_back(finish(c));
            if (nearest && !GUnearer(c, *nearest)) continue;
            nearest = &c;
            myHit = myHits.back();
        }
    }

    float myMin, myMax;
    float myLowTolerance, myHighTolerance;
    int myFind;
    float myStartFraction, myRangeLength; ///< the length below 0: that of the range
    GU_RayHit myHit;
    std::vector<GU_RayHit> myHits;
    std::vector<GU_RayCandidate> myCandidates; ///< working storage of sendRay
};
