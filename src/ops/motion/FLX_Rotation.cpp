#include "ops/motion/FLX_Rotation.h"

#include "host/ut/UT_Quaternion.h"

UT_ErrorSeverity FLX_Rotation::cookFlx(OP_Context& context) {
    return cookUnlessGuide(context, [&](FLX_ParticleCook& cook) {
        const int skip = APPLYMOTION.skipped(), offset = cook.context().getRotOffset();
        const auto turn = [](const UT_Vector3& axis, float degrees) {
            const float a = UT_Math::fmod(degrees, 360.0f);
            return UT_Quaternion((a < 0 ? a + 360 : a) * RADIANS, axis.normalized());
        };
        AXIS.choose(cook, [&](const auto& axis) {
            const auto angle = cook.choose(ROTANGLE);
            if (mayRun() && offset >= 0) eachDerived(cook, skip, turn, FLX_SetFloats{offset}, axis, angle);
        });
    });
}
