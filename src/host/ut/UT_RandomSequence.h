#pragma once

#include <cstdint>

/// Whole numbers drawn evenly from [0, size), with repetition; the same for the same seed on every machine.
class UT_RandomSequence {
public:
    UT_RandomSequence(unsigned seed, int size) { construct(seed, size); }

    /// Starts again from `seed`.
    void construct(unsigned seed, int size);
    /// The next index; -1 when the size is not positive.
    int next();
    int size() const { return mySize; }

private:
    uint64_t myState = 0;
    int mySize = 0;
};
