#include "ops/stream/FLX_Switch.h"

#include <algorithm>

UT_ErrorSeverity FLX_Switch::cookFlx(OP_Context& context) {
    const int wanted = INPUT(context.getTime());
    const int index = std::clamp(wanted, 0, std::max(nInputs() - 1, 0));
    if (lockInput(index, context) < UT_ERROR_ABORT) {
        const bool built = buildInputParticleList(index, context) < UT_ERROR_ABORT;
        if (built && index != wanted) addWarning(FLX_ERR_INDEX_RANGE, "Index out of range");
        unlockInput(index);
    }
    return error();
}
