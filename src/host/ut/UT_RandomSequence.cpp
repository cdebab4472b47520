#include "host/ut/UT_RandomSequence.h"

namespace {

// SplitMix64 (Steele, Lea, Flood 2014).
uint64_t draw(uint64_t& state) {
    uint64_t z = state += 0x9e3779b97f4a7c15u;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
}

} // namespace

void UT_RandomSequence::construct(unsigned seed, int size) {
    myState = seed;
    mySize = size;
}

// The upper half times the size, rejecting the few draws that would favour some numbers (Lemire 2019).
int UT_RandomSequence::next() {
    if (mySize <= 0) return -1;
    const uint64_t size = uint64_t(mySize), threshold = (uint64_t(1) << 32) % size;
    uint64_t product;
    do product = (draw(myState) >> 32) * size;
    while ((product & 0xffffffffu) < threshold);
    return int(product >> 32);
}
