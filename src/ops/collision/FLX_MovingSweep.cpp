// The sweep against geometry that moves without turning: parts of the step, in each of which the geometry stands still
// and the particle moves relative to it.
#include <algorithm>
#include <cmath>

#include "ops/collision/FLX_IntersectBase.h"

namespace {

/// Distances below this count as being on the surface.
constexpr float ON_SURFACE = 1e-5f;
/// Motion is taken a little inside a primitive's parameters.
constexpr float INSIDE = 0.01f;

bool isSamePlace(const FLX_SurfaceHit& a, const FLX_SurfaceHit& b) {
    return a.prim == b.prim && std::fabs(a.u - b.u) <= ON_SURFACE && std::fabs(a.v - b.v) <= ON_SURFACE;
}

/// Whole parts of the step that the particle's last move covers.
float partsCovered(const FLX_Sweep& sweep) {
    const double parts = double(sweep.left) * sweep.rules.oversampling / double(sweep.rules.timeStep);
    return parts >= 1 ? float(std::floor(std::min(parts, 1e6))) : 0;
}

} // namespace

/// The surface under a hit at both ends of a part, and where the particle is relative to it.
struct FLX_IntersectBase::Crossing {
    int prim = -1; ///< where; -1: nowhere known
    float u = 0, v = 0;
    UT_Vector3 start, end, startNormal, endNormal;
    UT_Vector3 particleStart, particleEnd; ///< relative to the surface
    UT_Vector3 velocity;                   ///< of the surface

    bool isAt(int number, float atU, float atV) const { return number >= 0 && number == prim && atU == u && atV == v; }
    bool isCarried(const UT_Vector3& particle) const {
        return dot(particle - velocity, startNormal) * dot(particleEnd, endNormal) < 0;
    }
    bool isCrossed() const {
        const float before = dot(particleStart, startNormal), after = dot(particleEnd, endNormal);
        return std::fabs(after) <= ON_SURFACE || before * after < 0;
    }
};

int FLX_IntersectBase::intersectParticleWithMovingGeometry(const FLX_SweepRules& rules, const FLX_HitValues& values,
                                                           GEO_Point* point) {
    FLX_Sweep sweep(rules, values, point);
    if (!sweep.begin() || sweep.left == 0) return 0;
    const float span = rules.timeStep / float(rules.oversampling);
    const float covered = partsCovered(sweep);
    sweep.at = UT_Vector3(point->getPos()) - sweep.velocity * (covered * span);
    const int first = rules.oversampling - int(std::min(covered, float(rules.oversampling)));
    bool going = true;
    for (int part = first; going && part < rules.oversampling; ++part) going = sweepPart(sweep, part, span);
    return sweep.finish(false);
}

bool FLX_IntersectBase::sweepPart(FLX_Sweep& sweep, int part, float span) {
    UT_Vector3 geometry(0, 0, 0);
    getOversampledGeoVelocity(part, geometry);
    const UT_Vector3 relative = sweep.velocity - geometry;
    if (FLXisTooFast(sweep.velocity, geometry)) {
        sweep.at += sweep.velocity * span;
        return true;
    }
    FLX_SurfaceRay ray{sweep.at, relative * span, 0};
    ray.length = ray.direction.normalize();
    ray.distance = sweep.distance();
    ray.previous = sweep.previous();
    ray.subStep = part;

    FLX_SurfaceHit hit;
    Crossing crossing;
    switch (findContact(sweep, ray, span, hit, crossing)) {
    case Contact::None: sweep.at += sweep.velocity * span; return true;
    case Contact::Carried:
        sweep.at = crossing.end;
        sweep.touched = true;
        return true;
    case Contact::Hit: break;
    }
    hit.t = std::max(hit.t, 0.0f);
    const float fraction = ray.length > 0 ? std::min(hit.t, ray.length) / ray.length : 0;
    const float start = sweep.rules.time - sweep.rules.timeStep + float(part) * span;
    sweep.recordAt(hit, ray.at(hit.t), start + fraction * span);
    if (sweep.behavior == FLX_HIT_BOUNCE) return bounceOffMoving(sweep, ray, relative.length(), hit, crossing, span);
    const float moved = sweep.behavior == FLX_HIT_CONTINUE ? float(sweep.rules.oversampling - part)
                        : ray.length > 0                   ? hit.t / ray.length
                                                           : 0;
    sweep.settle(sweep.behavior, hit, sweep.at + sweep.velocity * (moved * span));
    return false;
}

// What bounces has to cross the surface as it moves; other behaviours take every hit.
FLX_IntersectBase::Contact FLX_IntersectBase::findContact(const FLX_Sweep& sweep, const FLX_SurfaceRay& ray, float span,
                                                          FLX_SurfaceHit& hit, Crossing& crossing) {
    if (!intersectVertexWithMovingGeometry(ray, hit)) return Contact::None;
    if (sweep.behavior != FLX_HIT_BOUNCE) return Contact::Hit;
    if (!evaluateCrossing(sweep, hit, ray.subStep, span, crossing)) return Contact::Hit;
    if (std::fabs(hit.t) <= ON_SURFACE) {
        if (crossing.isCarried(sweep.velocity)) return Contact::Carried;
        const FLX_SurfaceHit first = hit;
        FLX_SurfaceRay again = ray;
        again.previous = &first;
        if (!intersectVertexWithMovingGeometry(again, hit)) return Contact::None;
        if (isSamePlace(first, hit)) return Contact::Hit;
        if (!evaluateCrossing(sweep, hit, ray.subStep, span, crossing)) return Contact::Hit;
    }
    return crossing.isCrossed() ? Contact::Hit : Contact::None;
}

bool FLX_IntersectBase::evaluateCrossing(const FLX_Sweep& sweep, const FLX_SurfaceHit& hit, int part, float span,
                                         Crossing& c) {
    c.prim = -1;
    const auto evaluate = [&](int k, UT_Vector3& position, UT_Vector3& normal) {
        const GU_Detail* detail = getOversampledDetail(k);
        if (!detail || hit.prim < 0 || size_t(hit.prim) >= detail->primitives().entries()) return false;
        const GEO_Primitive* prim = detail->primitives()(size_t(hit.prim));
        UT_Vector4 found;
        if (!prim->evaluatePosition(hit.u, hit.v, found) || !prim->evaluateNormal(hit.u, hit.v, normal)) return false;
        position = UT_Vector3(found);
        if (normal == UT_Vector3(0, 0, 0)) normal = hit.normal; // it crosses itself: that of the piece hit
        return true;
    };
    if (!evaluate(part, c.start, c.startNormal) || !evaluate(part + 1, c.end, c.endNormal)) return false;
    c.velocity = (c.end - c.start) * (1 / span);
    c.particleStart = sweep.at - c.start;
    c.particleEnd = sweep.at + sweep.velocity * span - c.end;
    c.prim = hit.prim;
    c.u = hit.u;
    c.v = hit.v;
    return true;
}

// The bounce is relative to the geometry; of the surface's own motion the part along the normal comes on top. The
// particle goes with the surface to the end of the part.
bool FLX_IntersectBase::bounceOffMoving(FLX_Sweep& sweep, const FLX_SurfaceRay& ray, float speed,
                                        const FLX_SurfaceHit& hit, const Crossing& crossing, float span) {
    const float u = std::clamp(hit.u, INSIDE, 1 - INSIDE), v = std::clamp(hit.v, INSIDE, 1 - INSIDE);
    const UT_Vector3 place = ray.at(hit.t), n = hit.normal;
    UT_Vector3 surface(0, 0, 0), endNormal;
    UT_Vector4 start(place, 1), end(place, 1);
    if (crossing.isAt(hit.prim, u, v)) {
        surface = crossing.velocity;
        start = UT_Vector4(crossing.start, 1);
        end = UT_Vector4(crossing.end, 1);
    } else {
        getCollisionVelocity(ray.subStep, hit.prim, u, v, span, surface, start, end, endNormal);
    }

    const float gainNormal = sweep.values.gainNormal();
    const float gainTangent = sweep.values.gainTangent();
    const UT_Vector3 normalPart = n * dot(n, ray.direction);
    const UT_Vector3 tangentPart = (ray.direction - normalPart) * gainTangent;
    const bool rests = std::fabs(dot(ray.origin - UT_Vector3(start), n)) <= ON_SURFACE;
    const UT_Vector3 direction = rests ? tangentPart + normalPart * gainNormal : tangentPart - normalPart * gainNormal;
    sweep.at = UT_Vector3(end);
    return sweep.bounce(direction * speed + n * dot(n, surface), hit);
}
