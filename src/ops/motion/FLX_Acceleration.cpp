#include "ops/motion/FLX_Acceleration.h"

FLX_Acceleration::FLX_Acceleration(OP_Network* parent, const char* name, OP_Operator* op)
    : FLX_DirectSet(parent, name, op) {
    myGuide = new GOP_Guide;
    myGuideHandle.allocateAndSet(myGuide, 1);
}

UT_ErrorSeverity FLX_Acceleration::cookFlx(OP_Context& context) {
    return cookParticles(context, [&](FLX_ParticleCook& cook) {
        const int skip = APPLYMOTION.skipped();
        ACCEL.choose(cook, [&](const auto& acceleration) {
            if (!mayRun()) return;
            const int offset = cook.context().getAccelOffset();
            const bool draw = cook.showGuide(), change = !cook.guideOnly();
            const float span = cook.context().timeStep;
            if (change && !draw) return cook.each(skip, FLX_SetFloats{offset}, acceleration);
            cook.each(
                skip,
                [=, this](GEO_Point* p, const UT_Vector3& a) {
                    if (change) *p->castAttribData<UT_Vector3>(offset) = a;
                    if (draw) addAccelGuide(p, a.x(), a.y(), a.z(), span, 0);
                },
                acceleration);
        });
    });
}
