#pragma once

#include <bit>
#include <cstdint>

/// A number's bits; every NaN has the same.
inline uint64_t bitsOf(double value) { return value != value ? 0x7ff8000000000000u : std::bit_cast<uint64_t>(value); }

/// Equal to the bit, any NaN being as good as another. Widening a float keeps it apart from every other.
inline bool sameBits(double a, double b) { return bitsOf(a) == bitsOf(b); }
