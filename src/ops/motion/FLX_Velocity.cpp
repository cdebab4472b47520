#include "ops/motion/FLX_Velocity.h"

namespace {

struct Motion {
    UT_Vector3 v;
    float speed;
};

struct SetBoth {
    FLX_SetFloats velocity, speed;

    void operator()(GEO_Point* p, const Motion& motion) const {
        velocity(p, motion.v);
        speed(p, motion.speed);
    }
    FLX_Writing write(const FLX_Skip& skip, const Motion& motion) const {
        return {skip.stateOffset, {velocity.one(skip, motion.v), speed.one(skip, motion.speed)}};
    }
};

} // namespace

UT_ErrorSeverity FLX_Velocity::cookFlx(OP_Context& context) {
    return cookUnlessGuide(context, [&](FLX_ParticleCook& cook) {
        const int skip = APPLYMOTION.skipped();
        const int offset = cook.context().getVelocityOffset(), speed = cook.context().getSpeedOffset();
        if (speed < 0) return setVector(cook, VELOCITY, skip, offset);
        const auto withSpeed = [](const UT_Vector3& v) { return Motion{v, v.length()}; };
        const SetBoth write{{offset}, {speed}};
        VELOCITY.choose(cook, [&](const auto& velocity) {
            if (mayRun()) eachDerived(cook, skip, withSpeed, write, velocity);
        });
    });
}
