#include "ops/motion/FLX_Velocity.h"

UT_ErrorSeverity FLX_Velocity::cookFlx(OP_Context& context) {
    return cookUnlessGuide(context, [&](FLX_ParticleCook& cook) {
        const int skip = APPLYMOTION.skipped();
        const int offset = cook.context().getVelocityOffset(), speed = cook.context().getSpeedOffset();
        if (speed < 0) return setVector(cook, VELOCITY, skip, offset);
        struct Motion {
            UT_Vector3 v;
            float speed;
        };
        const auto withSpeed = [](const UT_Vector3& v) { return Motion{v, v.length()}; };
        const auto write = [=](GEO_Point* p, const Motion& motion) {
            *p->castAttribData<UT_Vector3>(offset) = motion.v;
            *p->castAttribData<float>(speed) = motion.speed;
        };
        VELOCITY.choose(cook, [&](const auto& velocity) {
            if (mayRun()) eachDerived(cook, skip, withSpeed, write, velocity);
        });
    });
}
