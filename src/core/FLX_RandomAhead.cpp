#include "core/FLX_RandomAhead.h"

#include <algorithm>

namespace {

/// i steps of the sequence in one: state * factor[i] + term[i].
template <size_t N> struct Jumps {
    std::array<unsigned, N> factor{}, term{};

    constexpr Jumps() {
        factor[0] = 1;
        for (size_t i = 1; i < N; ++i) {
            factor[i] = factor[i - 1] * FLX_Random::MULTIPLIER;
            term[i] = FLX_Random::advance(term[i - 1]);
        }
    }
};

/// The lowest bits of eight bytes, the others being zero: the product moves each to its place in the highest byte.
uint64_t lowBits(const uint8_t* flags) {
    uint64_t bytes = 0;
    for (size_t k = 0; k < 8; ++k) bytes |= uint64_t{flags[k]} << (8 * k);
    return bytes * 0x0102040810204080u >> 56;
}

uint64_t packed(const std::array<uint8_t, 64>& flags) {
    uint64_t bits = 0;
    for (size_t k = 0; k < 8; ++k) bits |= lowBits(&flags[8 * k]) << (8 * k);
    return bits;
}

} // namespace

void FLX_RandomAhead::fill(unsigned seed) {
    static constexpr Jumps<WINDOW + 1> jumps;
    myUsed = 0;
    for (size_t i = 0; i <= WINDOW; ++i) myStates[i] = seed * jumps.factor[i] + jumps.term[i];
    for (size_t i = 0; i <= WINDOW; ++i) mySigned[i] = 2 * (0.5f - FLX_Random::unit(FLX_Random::scramble(myStates[i])));
    mySigned[WINDOW + 1] = 2; // a triple that starts at the end counts as outside
    std::array<uint8_t, 64> flags;
    for (size_t word = 0; word < WINDOW / 64; ++word) {
        const float* d = &mySigned[word * 64];
        for (size_t k = 0; k < 64; ++k) flags[k] = d[k] * d[k] + d[k + 1] * d[k + 1] + d[k + 2] * d[k + 2] < 1;
        myInside[word] = packed(flags);
    }
    myInside[WINDOW / 64] = myInside[WINDOW / 64 + 1] = 0;
}

/// Passes over the triples that were just found outside, or that the window holds no more.
void FLX_RandomAhead::skipOutside() {
    myUsed += 3 * std::min(TRIPLES, (WINDOW - myUsed) / 3);
    if (WINDOW - myUsed < 3) fill(myStates[myUsed]);
}
