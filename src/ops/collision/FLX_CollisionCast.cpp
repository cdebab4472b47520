// What the rays of a collision's sweeps meet.
#include <algorithm>
#include <cmath>

#include "ops/collision/FLX_Collision.h"

namespace {

constexpr float AT_START = 1e-5f;
constexpr float FAR = 1e18f;

// Parameters and normals of two hits that are this close are one place on the surface.
bool isSameIntersectionPt(const FLX_SurfaceHit& a, const GU_RayHit& b) {
    constexpr float SAME_PLACE = 0.01f, SAME_NORMAL = 0.99f;
    return a.prim == b.number && std::fabs(a.u - b.u) < SAME_PLACE && std::fabs(a.v - b.v) < SAME_PLACE &&
           dot(a.normal, b.normal) >= SAME_NORMAL;
}

// The last of the hits at the smallest reach that halving finds to hold exactly two, or at the one it ends with. The
// reach is finite, or halving would not end.
const GU_RayHit* secondHit(const std::vector<GU_RayHit>& hits, float reach) {
    const auto within = [&](float end) {
        const auto beyond =
            std::upper_bound(hits.begin(), hits.end(), end, [](float e, const GU_RayHit& h) { return e < h.distance; });
        return size_t(beyond - hits.begin());
    };
    float end = reach, step = reach / 2;
    size_t count = within(end);
    while (count != 2 && std::fabs(step) > AT_START) {
        end += count < 2 ? step : -step;
        step /= 2;
        count = within(end);
    }
    if (count == 0) return nullptr;
    // Of hits at one distance the primitive with the lowest number comes first.
    size_t last = count - 1;
    while (last > 0 && hits[last - 1].distance == hits[last].distance) --last;
    return &hits[last];
}

} // namespace

const GU_RayHit* FLX_Collision::closest(const GU_RayIntersect& rays, const UT_Vector3& origin,
                                        const UT_Vector3& direction, float low, float high, int find) {
    myInfo.setRange(low, high);
    myInfo.setFindType(find);
    if (find == GU_FIND_CLOSEST && myAhead.answers(myTurn, rays, origin, direction, low, high, myInfo))
        return myInfo.getPrim() ? &myInfo.getHit() : nullptr;
    // What the sieve let through comes near something, and so does what has just bounced.
    const bool hit =
        mySieve.knowsCells() ? rays.sendNearRay(origin, direction, myInfo) : rays.sendRay(origin, direction, myInfo);
    return hit ? &myInfo.getHit() : nullptr;
}

// Before the first of these particles has its turn: the ray along the move, or, where most moves are far from
// everything, the one that measures the distance ahead. Should a turn change another of the particles, the ray is not
// the one that is asked for.
void FLX_Collision::castAhead(GEO_Point* const* points, size_t count, float tolerance) {
    myAhead.clear();
    const GU_RayIntersect* rays = myCollider.rays();
    if (myHint != FLX_GeoHint::Static || !rays) return;
    myAhead.begin(*rays);
    for (size_t i = 0; i < count; ++i) {
        const FLX_SurfaceRay ray = firstRay(myRules, points[i]);
        if (mySieve.knowsCells())
            myAhead.add(ray.origin, ray.direction, 0, ray.length + tolerance);
        else
            myAhead.add(ray.origin, ray.direction, ray.length, FAR);
    }
    myAhead.cast();
}

// The closest hit, but for the one that the ray starts on: then the next.
const GU_RayHit* FLX_Collision::cast(const GU_RayIntersect& rays, const FLX_SurfaceRay& ray, float reach,
                                     bool startCounts) {
    reach = std::min(reach, FAR); // a tolerance may be without end
    // All hits take longer to find and matter only where one is to be left out.
    const auto find = ray.previous ? GU_FIND_ALL : GU_FIND_CLOSEST;
    const GU_RayHit* first = closest(rays, ray.origin, ray.direction, 0, reach, find);
    if (!first) return nullptr;
    const bool isStart = ray.previous ? isSameIntersectionPt(*ray.previous, *first)
                                      : !startCounts && std::fabs(first->distance) <= AT_START;
    if (!isStart) return first;
    if (!ray.previous) closest(rays, ray.origin, ray.direction, 0, reach, GU_FIND_ALL);
    return myInfo.getHitCount() == 1 ? nullptr : secondHit(myInfo.getHits(), reach);
}

int FLX_Collision::intersectVertex(const FLX_SurfaceRay& ray, FLX_SurfaceHit& hit) {
    const GU_RayIntersect* rays = myCollider.rays();
    if (!rays) return 0;
    const float reach = ray.extended ? ray.length + myTolerance : ray.length;
    return report(cast(*rays, ray, reach, ray.sided), *rays, ray, hit);
}

int FLX_Collision::intersectVertexWithMovingGeometry(const FLX_SurfaceRay& ray, FLX_SurfaceHit& hit) {
    const GU_RayIntersect* rays = myCollider.rays(ray.subStep);
    if (!rays) return 0;
    const float reach = myTolerance + ray.length;
    const GU_RayHit* found = closest(*rays, ray.origin, ray.direction, 0, reach);
    if (found && ray.previous && found->number == ray.previous->prim)
        found = closest(*rays, ray.origin, ray.direction, 0, reach, GU_FIND_FURTHEST);
    const int hits = report(found, *rays, ray, hit);
    if (hits || !(myTolerance > 0)) return hits;
    found = probeAround(*rays, ray);
    if (!found || !(found->distance <= reach)) return 0;
    return report(found, *rays, ray, hit);
}

// A surface within the tolerance behind or beside the start.
const GU_RayHit* FLX_Collision::probeAround(const GU_RayIntersect& rays, const FLX_SurfaceRay& ray) {
    const UT_Vector3& d = ray.direction;
    const UT_Vector3 x(1, 0, 0), off = d - x;
    const bool alongX =
        std::fabs(off.x()) <= AT_START && std::fabs(off.y()) <= AT_START && std::fabs(off.z()) <= AT_START;
    const UT_Vector3 first = cross(d, alongX ? UT_Vector3(0, 1, 0) : x).normalized(), second = cross(d, first);
    for (const UT_Vector3& aside : {-d, first, -first, second, -second})
        if (const GU_RayHit* found = closest(rays, ray.origin, aside, 0, myTolerance)) return found;
    return nullptr;
}

int FLX_Collision::intersectVertexWithDeformingGeometry(const FLX_SurfaceRay& ray, FLX_SurfaceHit& hit) {
    const GU_RayIntersect* rays = myCollider.rays();
    if (!rays) return 0;
    const float speed = ray.direction.length();
    const float reach = speed > AT_START ? ray.length + myTolerance / speed : ray.length;
    myInfo.setSweep(ray.startFraction, ray.length);
    return report(cast(*rays, ray, reach, true), *rays, ray, hit);
}

// Fills the output with what was found, and tells how far away the next surface is.
int FLX_Collision::report(const GU_RayHit* found, const GU_RayIntersect& rays, const FLX_SurfaceRay& ray,
                          FLX_SurfaceHit& hit) {
    if (!found) {
        hit = FLX_SurfaceHit();
        if (!ray.distance) return 0;
        const GU_RayHit* ahead = closest(rays, ray.origin, ray.direction, ray.length, FAR);
        *ray.distance = ahead ? ray.direction.length() * ahead->distance : -1;
        return 0;
    }
    if (ray.distance) *ray.distance = ray.direction.length() * found->distance;
    hit.prim = found->number;
    hit.u = found->u;
    hit.v = found->v;
    hit.t = found->distance;
    hit.normal = found->normal;
    hit.path = &myPath;
    if (myWantsTexture) hit.texture = myCollider.texture(ray.subStep).at(*found->prim, hit.u, hit.v);
    if (myWantsDiffuse) hit.diffuse = myCollider.diffuse(ray.subStep).at(*found->prim, hit.u, hit.v);
    return 1;
}
