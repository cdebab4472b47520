#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "core/FLX_ContextData.h"
#include "core/FLX_Random.h"

/// The numbers that a context is going to draw, worked out a window at a time: one after the other, each would wait for
/// the one before, and every redraw would be guessed wrong half the time.
///
/// Hands out what `random` and `randomSample` of the context would in the same order. While it lives nobody else may
/// draw from the context; when it goes, the context stands after the last number handed out.
class FLX_RandomAhead {
public:
    explicit FLX_RandomAhead(FLX_ContextData& context)
        : myContext(context) {
        fill(context.getRandomSeed());
    }
    ~FLX_RandomAhead() { myContext.mySeed = myStates[myUsed]; }
    FLX_RandomAhead(const FLX_RandomAhead&) = delete;
    FLX_RandomAhead& operator=(const FLX_RandomAhead&) = delete;

    /// As `random` of the context.
    float random() { // lint-ok: the context's own sequence
        if (myUsed == WINDOW) fill(myStates[myUsed]);
        return FLX_Random::unit(myStates[++myUsed]);
    }
    /// Three samples u as 2 (0.5 - u), in (-1, 1].
    const float* cube() {
        if (WINDOW - myUsed < 3) fill(myStates[myUsed]);
        myUsed += 3;
        return &mySigned[myUsed - 2];
    }
    /// The same, redrawn until they lie inside the unit ball.
    const float* ball() {
        while (true) {
            const size_t next = myUsed + 1;
            if (const uint64_t inside = insideFrom(next) & EVERY_THIRD) {
                const size_t first = next + size_t(std::countr_zero(inside));
                myUsed = first + 2;
                return &mySigned[first];
            }
            skipOutside();
        }
    }

private:
    static constexpr size_t WINDOW = 256;
    static constexpr uint64_t EVERY_THIRD = 0x9249249249249249u;
    static constexpr size_t TRIPLES = 22; ///< bits of EVERY_THIRD

    void fill(unsigned seed);
    void skipOutside();
    /// 64 bits from that position on: whether the triple which starts there lies inside the ball, and whole inside the
    /// window.
    uint64_t insideFrom(size_t first) const {
        const size_t word = first / 64, bit = first % 64;
        return myInside[word] >> bit | myInside[word + 1] << 1 << (63 - bit);
    }

    FLX_ContextData& myContext;
    size_t myUsed = 0; ///< numbers handed out of this window
    // By position in the sequence from 1; state 0 is where the window starts.
    alignas(64) std::array<unsigned, WINDOW + 1> myStates;
    alignas(64) std::array<float, WINDOW + 2> mySigned;
    std::array<uint64_t, WINDOW / 64 + 2> myInside;
};
