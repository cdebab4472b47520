#include "ops/stream/FLX_Null.h"

#include "vars/FLX_LocalVar.h"

const OP_VariablePair FLX_Null::myVariablePair{nullptr, &FLX_LocalVar::myVariablePair};

UT_ErrorSeverity FLX_Null::cookFlx(OP_Context& context) {
    if (lockInputs(context) < UT_ERROR_ABORT) {
        if (getInput(0))
            buildParticleList(context, 0);
        else
            initParticleList(context, contextOf(context)->getPrimPart(this));
        unlockInputs();
    }
    return error();
}
