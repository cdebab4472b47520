#include "ops/motion/FLX_Translation.h"

UT_ErrorSeverity FLX_Translation::cookFlx(OP_Context& context) {
    return cookUnlessGuide(context, [&](FLX_ParticleCook& cook) {
        setVector(cook, VALUE, APPLYMOTION.skipped(), cook.context().getTransOffset());
    });
}
