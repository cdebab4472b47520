#pragma once

#include "ops/birth/FLX_BirthParms.h"

/// What the operators that own a particle primitive and fill it do alike.
class FLX_BirthOperator : public FLX_GenVar {
public:
    using FLX_GenVar::FLX_GenVar;
    /// What is born lies behind the particles of every pass that waits.
    FLX_PassUse passUse() const override { return FLX_PassUse::Queued; }

protected:
    /// Adds this cook's births to the running count of the primitive. False, with an error and nothing added, when
    /// there are more than a float can count.
    bool addBirths(FLX_ContextData* context, GEO_PrimParticle* prim, const FLX_BirthRateParms& rates, float t);
    /// "id" and "parent", "origin", "gen", "speed", as the toggles say.
    void addIdentityAttribs(FLX_ContextData* context, bool doid, bool doorigin, bool dogen, bool dospeed);
};
