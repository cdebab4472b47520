#include "ops/motion/FLX_AngVelocity.h"

void FLX_AngVelocity::addAttrib(void* data) {
    auto* context = static_cast<FLX_ContextData*>(data);
    addRotAttrib(context);
    addAngVelAttrib(context);
}

UT_ErrorSeverity FLX_AngVelocity::cookFlx(OP_Context& context) {
    return cookUnlessGuide(context, [&](FLX_ParticleCook& cook) {
        const int skip = APPLYMOTION.skipped(), offset = cook.context().getAngVelOffset();
        const auto spin = [](const UT_Vector3& axis, float degrees) { return axis.normalized() * (degrees * RADIANS); };
        AXIS.choose(cook, [&](const auto& axis) {
            const auto speed = cook.choose(ROTVEL);
            if (mayRun() && offset >= 0) eachDerived(cook, skip, spin, FLX_SetFloats{offset}, axis, speed);
        });
    });
}
