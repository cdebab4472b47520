#pragma once

/// Floats of a record side by side in a register. In memory they lie at any multiple of 4 bytes: they are copied there
/// and back, since compilers do not agree about references to vectors with less alignment than their own.
typedef float FLX_Four __attribute__((vector_size(16)));
typedef float FLX_Two __attribute__((vector_size(8)));

template <class Lanes> [[gnu::always_inline]] inline Lanes FLXload(const void* at) {
    Lanes lanes;
    __builtin_memcpy(&lanes, at, sizeof lanes);
    return lanes;
}

template <class Lanes> [[gnu::always_inline]] inline void FLXstore(void* at, const Lanes& lanes) {
    __builtin_memcpy(at, &lanes, sizeof lanes);
}
