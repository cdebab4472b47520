#include "ops/birth/FLX_BirthOperator.h"

#include <algorithm>

#include "host/ut/UT_ErrorTable.h"

bool FLX_BirthOperator::addBirths(FLX_ContextData* context, GEO_PrimParticle* prim, const FLX_BirthRateParms& rates,
                                  float t) {
    // The count is a float: above this, taking one away would leave it as it is, and births would never end.
    constexpr float MOST = 16777216;
    float steady = 0, impulse = 0;
    if (checkActivation(context, rates.CONSTANTACTIVATE)) steady = rates.CONSTANTRATE(t) * context->timeStep;
    if (checkActivation(context, rates.IMPULSEACTIVATE)) impulse = rates.IMPULSERATE(t);
    if (!(steady + impulse <= MOST)) {
        UTaddError("OP", OP_ERR_LIMIT, "more than 16777216 births in one cook: lower the birth rates");
        return false;
    }
    // What was refused is carried over, but no further than can be counted.
    context->born(prim) = std::min(context->born(prim) + steady + impulse, MOST);
    return true;
}

void FLX_BirthOperator::addIdentityAttribs(FLX_ContextData* context, bool doid, bool doorigin, bool dogen,
                                           bool dospeed) {
    if (doid) {
        addIDAttrib(context);
        addParentAttrib(context);
    }
    if (doorigin) addOriginAttrib(context);
    if (dogen) addGenAttrib(context);
    if (dospeed) addSpeedAttrib(context);
}
