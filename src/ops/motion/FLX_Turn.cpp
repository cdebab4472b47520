#include "ops/motion/FLX_Turn.h"

UT_ErrorSeverity FLX_Turn::cookFlx(OP_Context& context) {
    return cookUnlessGuide(context, [&](FLX_ParticleCook& cook) {
        const int offset = cook.context().getVelocityOffset();
        const float span = cook.context().timeStep;
        const auto turn = [=](const UT_Vector3& axis, float speed) {
            return UT_Matrix3::rotationMat(axis.normalized(), speed * span * RADIANS);
        };
        const auto apply = [=](GEO_Point* p, const UT_Matrix3& rotation) {
            auto& v = *p->castAttribData<UT_Vector3>(offset);
            v = v * rotation;
        };
        AXIS.choose(cook, [&](const auto& axis) {
            const auto speed = cook.choose(TURNSPEED);
            if (mayRun()) eachDerived(cook, FLX_UNMOVED, turn, apply, axis, speed);
        });
    });
}
