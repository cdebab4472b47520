#include "ops/stream/FLX_Collect.h"

UT_ErrorSeverity FLX_Collect::cookFlx(OP_Context& context) {
    if (lockInputs(context) < UT_ERROR_ABORT) {
        buildParticleList(context, 1);
        unlockInputs();
    }
    return error();
}
