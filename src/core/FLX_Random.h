#pragma once

#include <bit>

/// The random sequence of a simulation: a linear congruential state, and the two ways to read a number from it.
struct FLX_Random {
    static constexpr unsigned MULTIPLIER = 1664525u;
    static constexpr unsigned INCREMENT = 1013904223u;

    static constexpr unsigned advance(unsigned seed) { return seed * MULTIPLIER + INCREMENT; }
    /// In [0, 1), from the lower 23 bits.
    static float unit(unsigned bits) {
        const unsigned inOneToTwo = (bits & 0x7fffffu) | 0x3f800000u;
        return std::bit_cast<float>(inOneToTwo) - 1.0f;
    }
    /// The state with its bits mixed: the lower ones of the sequence itself repeat soon.
    static unsigned scramble(unsigned x) {
        x += ~(x << 16);
        x ^= x >> 5;
        x *= 9;
        x ^= x >> 13;
        x += ~(x << 9);
        x ^= x >> 17;
        return x;
    }
};
