#include "ops/motion/FLX_UpVector.h"

UT_ErrorSeverity FLX_UpVector::cookFlx(OP_Context& context) {
    return cookUnlessGuide(context, [&](FLX_ParticleCook& cook) {
        setVector(cook, VALUE, APPLYMOTION.skipped(), cook.context().getUpOffset());
    });
}
