#include "ops/birth/FLX_BirthOperator.h"

#include "host/ut/UT_ErrorTable.h"

bool FLX_BirthOperator::addBirths(FLX_ContextData* context, GEO_PrimParticle* prim, const FLX_BirthRateParms& rates,
                                  float t) {
    // The count is a float: above this, taking one away would leave it as it is, and births would never end.
    constexpr float MOST = 16777216;
    float& born = context->born(prim);
    if (checkActivation(context, rates.CONSTANTACTIVATE))
        born += withoutVars([&] { return rates.CONSTANTRATE(t); }) * context->timeStep;
    if (checkActivation(context, rates.IMPULSEACTIVATE)) born += withoutVars([&] { return rates.IMPULSERATE(t); });
    if (born <= MOST) return true;
    born = 0;
    UTaddError("OP", OP_ERR_LIMIT, "more than 16777216 births in one cook: lower the birth rates");
    return false;
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
