#pragma once

#include "core/FLX_RecordLanes.h"
#include "core/FLX_Rules.h"

/// The time step of the common particle in whole vectors: velocity, acceleration, life, state and backtrack lie side by
/// side in this order, as a fresh simulation has them, and no bit of the state is set. The same arithmetic as
/// FLX_Rules, component by component, so the results have the same bits.
///
/// What operators write into fields right after the step may take the place of the emptied acceleration.
///
/// With `Limited` there is a speed limit, too.
template <bool Limited> class FLX_PlainStep {
public:
    enum Outcome {
        NotMine, ///< nothing is done: the particle's state asks for more
        Living,
        Expired ///< now it is dead, and its acceleration 0
    };

    /// `rules` must be plain, but for the limit; `accel` is the acceleration of a living particle afterwards.
    FLX_PlainStep(const FLX_Rules& rules, const UT_Vector3& accel)
        : myAccelFront{0, 0, 0, accel.x()}
        , myAccelBack{accel.y(), accel.z()}
        , myDt{rules.dt, rules.dt, rules.dt, rules.dt}
        , myBase(ptrdiff_t(sizeof(GEO_Point)) + rules.core.velocity)
        , myLimit(ptrdiff_t(sizeof(GEO_Point)) + rules.speedLimit)
        , myFits(sideBySide(rules.core) && !rules.suppression) {}

    /// Whether there is anything that `step` can do.
    bool fits() const { return myFits; }

    /// Rules and preparation.
    Outcome step(GEO_Point* p) const {
        char* record = reinterpret_cast<char*>(p);
        char* core = record + myBase;
        int& state = *reinterpret_cast<int*>(core + STATE);
        if (state) return NotMine;
        float* const life = reinterpret_cast<float*>(core + LIFE);
        const auto old = FLXload<FLX_Four>(record), v = FLXload<FLX_Four>(core);
        const auto accel = FLXload<FLX_Four>(core + ACCEL); // and age, in the lane that nothing is made of
        const float age = life[0] + myDt[0], span = life[1];
        FLX_Four next = v + accel * myDt;
        if (Limited) {
            const float* limits = reinterpret_cast<const float*>(record + myLimit);
            if (changes(limits, next)) next = limited(limits, next);
        }
        FLXstore(record, __builtin_shufflevector(old + v * myDt, old, 0, 1, 2, 7));
        FLXstore(core, __builtin_shufflevector(next, myAccelFront, 0, 1, 2, 7));
        FLXstore(core + ACCEL + 4, myAccelBack);
        life[0] = age;
        FLXstore(core + BACKTRACK, __builtin_shufflevector(v, myDt, 0, 1, 2, 7));
        if (!(span >= 0 && age >= span)) return Living;
        state = FLX_DEAD;
        __builtin_memset(core + ACCEL, 0, 12);
        return Expired;
    }

private:
    static constexpr int ACCEL = 12, LIFE = 24, STATE = 32, BACKTRACK = 36;

    static bool changes(const float* limit, const FLX_Four& v) {
        const float speed = FLX_Rules::speedOf({v[0], v[1], v[2]});
        return (limit[0] >= 0 && speed < limit[0]) || (limit[1] >= 0 && speed > limit[1]);
    }
    static FLX_Four limited(const float* limits, const FLX_Four& v) {
        UT_Vector3 within(v[0], v[1], v[2]);
        FLX_Rules::limitSpeed(within, limits);
        return FLX_Four{within.x(), within.y(), within.z(), 0};
    }
    static bool sideBySide(const FLX_CoreOffsets& core) {
        const int v = core.velocity;
        return v >= 0 && core.accel == v + ACCEL && core.life == v + LIFE && core.state == v + STATE &&
               core.backtrack == v + BACKTRACK;
    }

    FLX_Four myAccelFront;
    FLX_Two myAccelBack;
    FLX_Four myDt;
    ptrdiff_t myBase;  // bytes from a point to its velocity
    ptrdiff_t myLimit; // and to its speed limit
    bool myFits;
};
