#include "ops/birth/FLX_BirthOperator.h"

void FLX_BirthOperator::addBirths(FLX_ContextData* context, GEO_PrimParticle* prim, const FLX_BirthRateParms& rates,
                                  float t) {
    float added = 0;
    if (checkActivation(context, rates.CONSTANTACTIVATE))
        added += withoutVars([&] { return rates.CONSTANTRATE(t); }) * context->timeStep;
    context->born(prim) += added;
    if (checkActivation(context, rates.IMPULSEACTIVATE))
        context->born(prim) += withoutVars([&] { return rates.IMPULSERATE(t); });
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
