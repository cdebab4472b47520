#include "ops/motion/FLX_SpeedLimit.h"

UT_ErrorSeverity FLX_SpeedLimit::cookFlx(OP_Context& context) {
    return cookUnlessGuide(context, [&](FLX_ParticleCook& cook) {
        const PRM_FloatComponent minParm = SPEEDLIMIT[0], maxParm = SPEEDLIMIT[1];
        const auto min = cook.choose(minParm);
        const auto max = cook.choose(maxParm);
        const int offset = cook.context().getSpeedLimitOffset();
        if (!mayRun() || offset < 0) return;
        cook.each(0, FLX_SetFloats{offset}, min, max);
    });
}
