#pragma once

#include "vars/FLX_ParticleCook.h"

/// Where an operator's mass comes from, chosen once per cook.
struct FLX_MassSource {
    int offset;                 ///< of the attribute "mass"; -1: the parameter
    FLX_Chosen<PRM_Float> parm; ///< constant 1 where neither attribute nor override counts

    /// One for all particles.
    bool isOne() const { return offset < 0 && !parm.varies(); }
    float one() const { return of(nullptr, -1, parm.constant()); }

    /// A mass within 1e-5 of 0 counts as 0.01; negative ones are used as they are.
    static float of(const GEO_Point* p, int offset, float parm) {
        const float mass = offset >= 0 ? *p->castAttribData<float>(offset) : parm;
        return -0.00001f <= mass && mass <= 0.00001f ? 0.01f : mass;
    }
};

/// "ignoremass", "overridemass" and "mass": one block for every operator that has them.
struct FLX_MassParms {
    explicit FLX_MassParms(OP_Parameters* owner)
        : IGNOREMASS(owner, {"ignoremass", "Ignore Mass"}, false)
        , OVERRIDEMASS(owner, {"overridemass", "Override Mass"}, false, enable::off("ignoremass"))
        , MASS(owner, {"mass", "Mass"}, 1, PRMhardMin(0.001, 5),
               enable::on("overridemass") && enable::off("ignoremass")) {}

    FLX_MassSource choose(const FLX_ParticleCook& cook) const {
        const FLX_Chosen<PRM_Float> one(1.0f);
        const bool overridden = OVERRIDEMASS();
        FLX_MassSource source{overridden ? -1 : cook.context().getMassOffset(), overridden ? cook.choose(MASS) : one};
        return IGNOREMASS() ? FLX_MassSource{-1, one} : source;
    }

    PRM_Toggle IGNOREMASS;
    PRM_Toggle OVERRIDEMASS;
    PRM_Float MASS;
};
