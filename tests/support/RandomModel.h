#pragma once

#include <array>
#include <bit>
#include <cstdint>

/// The simulation's random sequence written out again, and what birth operators draw from it.
struct RandomModel {
    uint32_t seed = 0;

    float random() { return unit(advance()); }
    float sample() {
        uint32_t x = advance();
        x = x + ~(x << 16);
        x = x ^ (x >> 5);
        x = x * 9;
        x = x ^ (x >> 13);
        x = x + ~(x << 9);
        return unit(x ^ (x >> 17));
    }
    /// Three numbers in (-1, 1], inside the unit ball when asked.
    std::array<float, 3> spread(bool ball) {
        std::array<float, 3> d;
        do
            for (float& x : d) x = 2 * (0.5f - sample());
        while (ball && d[0] * d[0] + d[1] * d[1] + d[2] * d[2] >= 1);
        return d;
    }
    uint32_t advance() { return seed = uint32_t(uint64_t(seed) * 1664525u + 1013904223u); }
    static float unit(uint32_t bits) { return std::bit_cast<float>((bits & 0x7fffffu) | 0x3f800000u) - 1; }
};
