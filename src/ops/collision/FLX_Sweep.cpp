#include "ops/collision/FLX_Sweep.h"

#include <algorithm>
#include <cmath>

#include "core/FLX_Rules.h"
#include "core/FLX_SlideRules.h"
#include "host/ut/UT_Saturate.h"

FLX_SweepOffsets::FLX_SweepOffsets(const FLX_ContextData& context)
    : core(context.core())
    , speedLimit(context.getSpeedLimitOffset())
    , posPath(context.getPosPathOffset())
    , posPrim(context.getPosPrimOffset())
    , posUV(context.getPosUVOffset())
    , hitPos(context.getHitPosOffset())
    , hitNormal(context.getHitNormalOffset())
    , hitPosUV(context.getHitPosUVOffset())
    , hitUV(context.getHitUVOffset())
    , hitDiffuse(context.getHitDiffuseOffset())
    , numHit(context.getNumHitOffset())
    , hitId(context.getHitIDOffset())
    , hitTime(context.getHitTimeOffset())
    , distance(context.getDistanceOffset()) {}

void FLXapplySpeedLimit(const FLX_SweepOffsets& at, GEO_Point* point, UT_Vector3& v) {
    if (at.speedLimit >= 0) FLX_Rules::limitSpeed(v, point->castAttribData<float>(at.speedLimit));
}

FLX_Sweep::FLX_Sweep(const FLX_SweepRules& r, const FLX_HitValues& v, GEO_Point* p)
    : rules(r)
    , values(v)
    , point(p)
    , behavior(r.behavior) {}

FLX_Sweep::Move::Move(const FLX_SweepOffsets& at, const GEO_Point* point) {
    const float* backtrack = point->castAttribData<float>(at.core.backtrack);
    velocity.assign(backtrack[0], backtrack[1], backtrack[2]);
    time = backtrack[3];
    from = UT_Vector3(point->getPos()) - velocity * time;
}

bool FLX_Sweep::begin() {
    put(rules.at.distance, -1.0f);
    const bool attaches = behavior == FLX_HIT_STICK || behavior == FLX_HIT_SLIDE;
    const bool attachable = rules.at.posPath >= 0 && rules.at.posPrim >= 0 && rules.at.posUV >= 0 && rules.paths;
    if (attaches && !attachable) return false;
    const Move move(rules.at, point);
    velocity = move.velocity;
    left = move.time;
    at = move.from;
    return true;
}

void FLX_Sweep::record(const FLX_SurfaceHit& hit, const UT_Vector3& place, float fraction) {
    const float before = left;
    recordAt(hit, place, (fraction - 1) * before + rules.time);
    left = before - fraction * before;
}

void FLX_Sweep::recordAt(const FLX_SurfaceHit& hit, const UT_Vector3& place, float time) {
    touched = true;
    last = hit;
    left = rules.time - time;
    state() |= FLX_JUSTHIT;
    const FLX_SweepOffsets& to = rules.at;
    put(to.hitPos, place);
    put(to.hitNormal, hit.normal);
    put(rules.sides.previousNormal, hit.normal);
    put(to.hitPosUV, std::array<float, 2>{hit.u, hit.v});
    put(to.hitUV, hit.texture);
    put(to.hitDiffuse, hit.diffuse);
    if (int* count = value<int>(to.numHit)) *count = UTaddSaturated(*count, 1);
    if (int* id = value<int>(to.hitId)) *id = UTaddSaturated(values.hitIndex(), rules.addPrimToHitId ? hit.prim : 0);
    put(to.hitTime, time);
    put(to.distance, 0.0f);
}

void FLX_Sweep::settle(int as, const FLX_SurfaceHit& hit, const UT_Vector3& place) {
    behavior = as;
    at = place;
    switch (as) {
    case FLX_HIT_DIE: state() |= FLX_DEAD; break;
    case FLX_HIT_STOP: state() |= FLX_STOPPED; break;
    case FLX_HIT_STICK: attach(FLX_STUCK, hit); break;
    case FLX_HIT_SLIDE: attach(FLX_SLIDING, hit); break;
    default: break;
    }
}

void FLX_Sweep::attach(int bit, const FLX_SurfaceHit& hit) {
    if (rules.paths && hit.path) put(rules.at.posPath, rules.paths->addIndex(*hit.path));
    put(rules.at.posPrim, hit.prim);
    put(rules.at.posUV, std::array<float, 2>{hit.u, hit.v});
    state() |= bit;
    if (!rules.surfaces) return;
    UT_Vector4 onSurface(at, 1);
    FLXsetPosFromSop(onSurface, point, *rules.surfaces);
    at = UT_Vector3(onSurface);
}

bool FLX_Sweep::bounce(const UT_Vector3& after, const FLX_SurfaceHit& hit) {
    constexpr int settled[] = {FLX_HIT_BOUNCE, FLX_HIT_DIE, FLX_HIT_STOP, FLX_HIT_STICK, FLX_HIT_SLIDE};
    if (rules.finalBehavior != FLX_FINAL_BOUNCE) {
        const float least = values.minImpulse();
        if ((velocity - after).length2() < least * least) {
            settle(settled[rules.finalBehavior], hit, at);
            return false;
        }
    }
    velocity = after;
    FLXapplySpeedLimit(rules.at, point, velocity);
    return true;
}

int FLX_Sweep::finish(bool moveOn) {
    if (!touched) return 0;
    left = std::max(left, 0.0f);
    const bool moves = behavior == FLX_HIT_BOUNCE || behavior == FLX_HIT_CONTINUE;
    if (moveOn && moves && !(state() & FLX_STOPPED)) {
        at += velocity * left;
        if (!(state() & FLX_SUPPRESS_VEL)) velocity += *value<UT_Vector3>(rules.at.core.accel) * (0.5f * left);
    }
    UT_Vector4& position = point->getPos();
    position.assign(at.x(), at.y(), at.z(), position.w());
    *value<UT_Vector3>(rules.at.core.velocity) = velocity;
    put(rules.at.core.backtrack, std::array<float, 4>{velocity.x(), velocity.y(), velocity.z(), left});
    return 1;
}
