// The sweeps against static and deforming geometry; those against moving geometry are in FLX_MovingSweep.cpp.
#include "ops/collision/FLX_IntersectBase.h"

#include <algorithm>
#include <cmath>

namespace {

/// Less time than this at the end of a step is not worth another ray.
constexpr float NO_TIME = 1e-5f;
/// Cosine below which a correction's surface is seen too much from the side.
constexpr float LEAST_COSINE = 0.005f;

bool goesOn(const FLX_Sweep& sweep) { return !(std::fabs(sweep.left) <= NO_TIME); }

FLX_SurfaceRay rayAlong(const UT_Vector3& from, const UT_Vector3& velocity, float time) {
    FLX_SurfaceRay ray{from, velocity * time, 0};
    ray.length = ray.direction.normalize();
    return ray;
}

FLX_SurfaceRay rayAlongMove(const FLX_Sweep& sweep) {
    FLX_SurfaceRay ray = rayAlong(sweep.at, sweep.velocity, sweep.left);
    ray.distance = sweep.distance();
    ray.previous = sweep.previous();
    return ray;
}

float fractionOf(float travelled, float length) { return length > 0 ? travelled / length : 0; }

} // namespace

/// The side of the surface that the particle is kept on.
struct FLX_IntersectBase::Side {
    Side(const FLX_SideRules& sideRules, GEO_Point* point)
        : rules(sideRules)
        , stored(rules.side >= 0 ? point->castAttribData<int>(rules.side) : &local) {}
    Side(const Side&) = delete;
    Side& operator=(const Side&) = delete;

    bool isKnown() const { return rules.enforced && *stored != 0; }
    /// From the side of the first bounce on the particle stays there.
    void learn(float alongNormal) {
        if (rules.enforced && *stored == 0 && alongNormal != 0) *stored = alongNormal < 0 ? -1 : 1;
    }
    /// The particle comes back through the surface from where it should not be.
    bool returns(float alongNormal) const { return isKnown() && alongNormal * float(*stored) < 0; }

    const FLX_SideRules& rules;
    int* stored;
    int local = 0;
};

FLX_SurfaceRay FLX_IntersectBase::firstRay(const FLX_SweepRules& rules, const GEO_Point* point) {
    const FLX_Sweep::Move move(rules.at, point);
    return rayAlong(move.from, move.velocity, move.time);
}

int FLX_IntersectBase::intersectParticle(const FLX_SweepRules& rules, const FLX_HitValues& values, GEO_Point* point) {
    FLX_Sweep sweep(rules, values, point);
    if (!sweep.begin()) return 0;
    Side side(rules.sides, point);
    bool going = true;
    for (int n = 1; going && n <= rules.iterations && sweep.left > 0; ++n) {
        FLX_SurfaceRay ray = rayAlongMove(sweep);
        ray.sided = rules.sides.side >= 0;
        FLX_SurfaceHit hit;
        bool corrected = false;
        if (!intersectVertex(ray, hit)) {
            corrected = n == 1 && side.isKnown() && correctStart(sweep, side, ray, hit);
            if (!corrected) break;
        }
        const float travelled = corrected ? 0 : std::min(hit.t, ray.length);
        sweep.record(hit, ray.at(hit.t), fractionOf(travelled, ray.length));
        if (sweep.behavior == FLX_HIT_BOUNCE) {
            sweep.at = ray.at(corrected ? hit.t : travelled);
            going = bounceOffStatic(sweep, side, hit, corrected);
        } else {
            sweep.settle(sweep.behavior, hit, ray.at(hit.t));
            going = false;
        }
    }
    return sweep.finish(true);
}

// A particle that met nothing may have slipped through the surface by rounding: looks for it a little way back, along
// the last normal and along the move. On success `ray` and `hit` lead to the surface.
bool FLX_IntersectBase::correctStart(const FLX_Sweep& sweep, const Side& side, FLX_SurfaceRay& ray,
                                     FLX_SurfaceHit& hit) {
    const float s = float(*side.stored);
    FLX_SurfaceRay probe = ray;
    probe.distance = nullptr;
    probe.previous = nullptr;
    probe.extended = false;
    const auto meets = [&](float facing) {
        if (!(facing >= LEAST_COSINE)) return false;
        if (float* distance = sweep.distance()) *distance = 0;
        return true;
    };
    if (side.rules.hasNormalStep()) {
        probe.direction = *sweep.value<UT_Vector3>(side.rules.previousNormal) * -s;
        probe.length = side.rules.normalStep;
        if (intersectVertex(probe, hit) && meets(-s * dot(hit.normal, probe.direction))) {
            ray.direction = probe.direction;
            return true;
        }
    }
    if (side.rules.backStep == 0) return false;
    probe.direction = -ray.direction;
    probe.length = side.rules.backStep;
    if (!intersectVertex(probe, hit) || !meets(s * dot(hit.normal, ray.direction))) return false;
    hit.t = -hit.t;
    return hit.t < 0;
}

bool FLX_IntersectBase::bounceOffStatic(FLX_Sweep& sweep, Side& side, const FLX_SurfaceHit& hit, bool corrected) {
    const float gainNormal = sweep.values.gainNormal();
    const float gainTangent = sweep.values.gainTangent();
    const float alongNormal = dot(hit.normal, sweep.velocity);
    const UT_Vector3 normalPart = hit.normal * alongNormal;
    const UT_Vector3 tangentPart = sweep.velocity - normalPart;
    if (!corrected) side.learn(alongNormal);
    const UT_Vector3 after = side.returns(alongNormal) ? tangentPart * gainTangent + normalPart
                                                       : tangentPart * gainTangent - normalPart * gainNormal;
    return sweep.bounce(after, hit) && goesOn(sweep);
}

// ---- deforming geometry: rays count time, so that a place along one says how far the surface has come

int FLX_IntersectBase::intersectParticleWithDeformingGeometry(const FLX_SweepRules& rules, const FLX_HitValues& values,
                                                              GEO_Point* point) {
    FLX_Sweep sweep(rules, values, point);
    if (!sweep.begin()) return 0;
    float elapsed = std::max(rules.timeStep - sweep.left, 0.0f); // of the step
    bool going = true;
    for (int n = 1; going && n <= rules.iterations && sweep.left > 0; ++n) {
        FLX_SurfaceRay ray{sweep.at, sweep.velocity, sweep.left};
        ray.distance = sweep.distance();
        ray.previous = sweep.previous();
        ray.startFraction = elapsed / rules.timeStep;
        FLX_SurfaceHit hit;
        if (!intersectVertexWithDeformingGeometry(ray, hit)) break;
        UT_Vector3 surface(0, 0, 0);
        if (sweep.behavior == FLX_HIT_BOUNCE) {
            surface = velocityOfDeforming(sweep, hit);
            if (FLXisTooFast(sweep.velocity, surface)) break;
        }
        const float travelled = std::min(hit.t, ray.length);
        sweep.record(hit, ray.at(hit.t), fractionOf(travelled, ray.length));
        elapsed += travelled;
        if (sweep.behavior == FLX_HIT_BOUNCE) {
            sweep.at = ray.at(travelled);
            going = bounceOffDeforming(sweep, hit, surface);
        } else {
            sweep.settle(sweep.behavior, hit, ray.at(hit.t));
            going = false;
        }
    }
    return sweep.finish(true);
}

UT_Vector3 FLX_IntersectBase::velocityOfDeforming(const FLX_Sweep& sweep, const FLX_SurfaceHit& hit) {
    UT_Vector3 surface(0, 0, 0), normal;
    UT_Vector4 from, to;
    getCollisionVelocity(0, hit.prim, hit.u, hit.v, sweep.rules.timeStep, surface, from, to, normal);
    return surface;
}

bool FLX_IntersectBase::bounceOffDeforming(FLX_Sweep& sweep, const FLX_SurfaceHit& hit, const UT_Vector3& surface) {
    const float gainNormal = sweep.values.gainNormal();
    const float gainTangent = sweep.values.gainTangent();
    const UT_Vector3 relative = sweep.velocity - surface;
    const UT_Vector3 normalPart = hit.normal * dot(hit.normal, relative);
    const UT_Vector3 tangentPart = relative - normalPart;
    return sweep.bounce(tangentPart * gainTangent - normalPart * gainNormal + surface, hit) && goesOn(sweep);
}
