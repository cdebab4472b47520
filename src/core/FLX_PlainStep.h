#pragma once

#include "core/FLX_Rules.h"

/// The time step of the common particle in whole vectors: velocity, acceleration, life, state and backtrack lie side by
/// side in this order, as a fresh simulation has them, and no bit of the state is set. The same arithmetic as
/// FLX_Rules, component by component, so the results have the same bits.
///
/// With `Limited` there is a speed limit, too; a particle that it changes is one that asks for more.
template <bool Limited> class FLX_PlainStep {
public:
    /// `rules` must be plain, but for the limit.
    explicit FLX_PlainStep(const FLX_Rules& rules)
        : myBase(int(sizeof(GEO_Point)) + rules.core.velocity)
        , myLimit(int(sizeof(GEO_Point)) + rules.speedLimit)
        , myDt(rules.dt)
        , myFits(sideBySide(rules.core) && !rules.suppression) {}

    /// Whether there is anything that `step` can do.
    bool fits() const { return myFits; }

    /// Rules and preparation; false, and nothing done, for a particle whose state asks for more.
    bool step(GEO_Point* p) const {
        char* record = reinterpret_cast<char*>(p);
        char* core = record + myBase;
        int& state = *reinterpret_cast<int*>(core + STATE);
        if (state) return false;
        Four& position = *reinterpret_cast<Four*>(record);
        Four& front = *reinterpret_cast<Four*>(core);            // v, first of accel
        Four& back = *reinterpret_cast<Four*>(core + ACCEL + 4); // rest of accel, age, span
        const Four old = position, v = front, rest = back;
        const Four accel = {v[3], rest[0], rest[1], 0};
        const float age = rest[2] + myDt, span = rest[3];
        const Four next = v + accel * myDt;
        if (Limited && changes(reinterpret_cast<const float*>(record + myLimit), next)) return false;
        position = __builtin_shufflevector(old + v * myDt, old, 0, 1, 2, 7);
        front = __builtin_shufflevector(next, Four{}, 0, 1, 2, 7);
        back = Four{0, 0, age, span};
        *reinterpret_cast<Four*>(core + BACKTRACK) = Four{v[0], v[1], v[2], myDt};
        if (span >= 0 && age >= span) state = FLX_DEAD;
        return true;
    }

private:
    typedef float Four __attribute__((vector_size(16), aligned(4), may_alias));

    static constexpr int ACCEL = 12, LIFE = 24, STATE = 32, BACKTRACK = 36;

    static bool changes(const float* limit, const Four& v) {
        const float speed = FLX_Rules::speedOf({v[0], v[1], v[2]});
        return (limit[0] >= 0 && speed < limit[0]) || (limit[1] >= 0 && speed > limit[1]);
    }
    static bool sideBySide(const FLX_CoreOffsets& core) {
        const int v = core.velocity;
        return v >= 0 && core.accel == v + ACCEL && core.life == v + LIFE && core.state == v + STATE &&
               core.backtrack == v + BACKTRACK;
    }

    int myBase;  // bytes from a point to its velocity
    int myLimit; // and to its speed limit
    float myDt;
    bool myFits;
};
