#pragma once

#include "core/FLX_RandomAhead.h"
#include "vars/FLX_GenVar.h"
#include "vars/FLX_GroupParms.h"

/// Blocks of parameters that the birth operators share, with what they mean.

inline constexpr PRM_Range FLXrateRange = PRMhardMin(0, 100);
inline constexpr PRM_Range FLXlifeRange = PRMhardMin(0, 100);
inline constexpr PRM_Range FLXlifevarRange = PRMhardMin(0, 5);
inline constexpr PRM_Range FLXprobRange = PRMhardMin(0, 5);
inline constexpr PRM_Range FLXsamplethresholdRange = PRMhardMin(100, 100000);

/// How many particles a cook adds to the running count: so many per second, and so many per cook.
struct FLX_BirthRateParms {
    explicit FLX_BirthRateParms(OP_Parameters* owner)
        : IMPULSEACTIVATE(owner, {"impulseactivate", "Impulse Activation"}, 1, PRMunitRange, PRM_NoVariables)
        , IMPULSERATE(owner, {"impulserate", "Impulse Birth Rate"}, 0, FLXrateRange, PRM_NoVariables)
        , CONSTANTACTIVATE(owner, {"constantactivate", "Const. Activation"}, 1, PRMunitRange, PRM_NoVariables)
        , CONSTANTRATE(owner, {"constantrate", "Const. Birth Rate"}, 100, FLXrateRange, PRM_NoVariables) {}

    PRM_Float IMPULSEACTIVATE;
    PRM_Float IMPULSERATE;
    PRM_Float CONSTANTACTIVATE;
    PRM_Float CONSTANTRATE;
};

/// The group that newborn particles join.
struct FLX_BirthGroupParms : FLX_GroupParms {
    explicit FLX_BirthGroupParms(OP_Parameters* owner)
        : FLX_GroupParms(owner, "Birth Group") {}
};

/// Life spans: the mean plus or minus up to the variance, in seconds.
struct FLX_LifeParms {
    explicit FLX_LifeParms(OP_Parameters* owner)
        : LIFE(owner, {"life", "Life Expectancy"}, 100, FLXlifeRange)
        , LIFEVAR(owner, {"lifevar", "Life Variance"}, 0, FLXlifevarRange) {}

    /// `Random` draws as a context does.
    struct Values {
        float spread, mean;

        template <class Random> float draw(Random& random) const { return mean + spread * (2 * random.random() - 1); }
    };
    struct Sources {
        FLX_Chosen<PRM_Float> life, lifevar;

        bool varies() const { return life.varies() || lifevar.varies(); }
        Values operator()() const { return {lifevar(), life()}; }
        float draw(FLX_ContextData& context) const { return (*this)().draw(context); }
    };

    PRM_Float LIFE;
    PRM_Float LIFEVAR;
};

/// Velocities: the mean plus a random vector scaled by the variance, from the unit cube or, redrawn, from the unit
/// ball.
struct FLX_SpreadParms {
    explicit FLX_SpreadParms(OP_Parameters* owner, const PRM_EnableRule& rule = {})
        : VEL(owner, {"vel", "Velocity"}, {0, 0, 0}, rule)
        , VAR(owner, {"var", "Variance"}, {1, 1, 1}, rule)
        , DOELLIPSE(owner, {"doellipse", "Ellipsoid Distribution"}, true, PRM_PerElement) {}

    struct Sources {
        FLX_ChosenVector vel, var;
        FLX_RereadToggle doellipse;

        bool varies() const { return vel.varies() || var.varies() || doellipse.varies(); }
        UT_Vector3 draw(FLX_ContextData& context) const {
            const UT_Vector3 d = drawUnit(context);
            UT_Vector3 result;
            for (int i = 0; i < 3; ++i) {
                const float spread = var.component(i);
                const float mean = vel.component(i);
                result[i] = mean + spread * d[i];
            }
            return result;
        }

    private:
        UT_Vector3 drawUnit(FLX_ContextData& context) const {
            UT_Vector3 d;
            do {
                for (int i = 0; i < 3; ++i) d[i] = 2 * (0.5f - context.randomSample());
            } while (doellipse() && d.length2() >= 1);
            return d;
        }
    };
    /// The same when nothing varies.
    struct Values {
        explicit Values(const Sources& sources)
            : mean(sources.vel.constant())
            , spread(sources.var.constant())
            , ball(sources.doellipse.constant()) {}

        UT_Vector3 draw(FLX_RandomAhead& random) const {
            const float* d = ball ? random.ball() : random.cube();
            return {mean[0] + spread[0] * d[0], mean[1] + spread[1] * d[1], mean[2] + spread[2] * d[2]};
        }

        UT_Vector3 mean, spread;
        bool ball;
    };

    PRM_Floats<3> VEL;
    PRM_Floats<3> VAR;
    PRM_Toggle DOELLIPSE;
};

/// Stores the length of a newborn's velocity where the context keeps speeds.
inline void FLXstoreSpeed(const FLX_ContextData& context, GEO_Point* point, const UT_Vector3& v) {
    if (const int offset = context.getSpeedOffset(); offset >= 0) *point->castAttribData<float>(offset) = v.length();
}
