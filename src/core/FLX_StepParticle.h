#pragma once

#include "core/FLX_Rules.h"

/// Rules and preparation of one particle that neither sticks nor slides on geometry.
template <bool Plain> inline void FLXstepParticle(GEO_Point* p, const FLX_Rules& rules, bool doRules, bool doPrep) {
    if (doRules) {
        int bits = rules.state(p);
        const int flags = bits | rules.suppression;
        FLX_Rules::floats(p, rules.core.backtrack)[3] = 0;
        // A stuck particle without geometry to stick to stays; a sliding one obeys only its own suppression bits, and
        // without geometry to slide on it moves freely from here on.
        const int motion = bits & FLX_SLIDING ? bits : flags;
        if (bits & FLX_SLIDING) rules.state(p) = bits &= ~FLX_SLIDING;
        if (!(motion & (FLX_SUPPRESS_POS | FLX_STUCK))) rules.applyDefaultPosRules(p, bits);
        if (!(motion & FLX_SUPPRESS_VEL)) rules.applyDefaultVelRules<Plain>(p, bits);
        rules.applyOtherRules<Plain>(p, flags, bits);
    }
    if (doPrep) rules.prepare<Plain>(p);
}
