#include "host/ut/UT_Math.h"

#include <sleef.h>

// SLEEF's `cinz` functions use no fused multiply-add and give the same bits scalar and at every vector width; `u10` is
// its accuracy class (error at most 1.0 unit in the last place).

#if defined(__x86_64__)
#include <immintrin.h>

#include "host/ut/UT_Cpu.h"

// Functions for AVX are called from code that is compiled for it, chosen at run time. Clang passes 256-bit arguments in
// memory unless the whole file is compiled for AVX, so there the narrower functions do all.
#if !defined(__clang__) || defined(__AVX__)
#define UT_AVX __attribute__((target("avx")))

#if !defined(__AVX__) // then sleef.h leaves these out
extern "C" {
// clang-format off
#define UT_DECLARE_UNARY(NAME)                                                                                         \
    UT_AVX __m256d Sleef_cinz_##NAME##d4_u10avx(__m256d);                                                              \
    UT_AVX __m256 Sleef_cinz_##NAME##f8_u10avx(__m256);
#define UT_DECLARE_BINARY(NAME)                                                                                        \
    UT_AVX __m256d Sleef_cinz_##NAME##d4_u10avx(__m256d, __m256d);                                                     \
    UT_AVX __m256 Sleef_cinz_##NAME##f8_u10avx(__m256, __m256);
UT_DECLARE_UNARY(sin) UT_DECLARE_UNARY(cos) UT_DECLARE_UNARY(tan)
UT_DECLARE_UNARY(asin) UT_DECLARE_UNARY(acos) UT_DECLARE_UNARY(atan)
UT_DECLARE_UNARY(sinh) UT_DECLARE_UNARY(cosh) UT_DECLARE_UNARY(tanh)
UT_DECLARE_UNARY(exp) UT_DECLARE_UNARY(log) UT_DECLARE_UNARY(log10)
UT_DECLARE_BINARY(atan2) UT_DECLARE_BINARY(pow)
// clang-format on
}
#endif

static bool hasAvx() {
    static const bool yes = UT_Cpu::hasAvx();
    return yes;
}

#define UT_AVX_LOOPS(KIND, NAME)                                                                                       \
    KIND(NAME##Avx, UT_AVX, double, 4, Sleef_cinz_##NAME##d4_u10avx, _mm256_loadu_pd, _mm256_storeu_pd)                \
    KIND(NAME##Avx, UT_AVX, float, 8, Sleef_cinz_##NAME##f8_u10avx, _mm256_loadu_ps, _mm256_storeu_ps)
#define UT_WHOLE_VECTORS(NAME, ...) (hasAvx() ? NAME##Avx(__VA_ARGS__) : NAME##Sse(__VA_ARGS__))
#else
#define UT_AVX_LOOPS(KIND, NAME)
#define UT_WHOLE_VECTORS(NAME, ...) NAME##Sse(__VA_ARGS__)
#endif

// Each vector loop does whole vectors and returns how many values that was; the one-value form does the rest.
#define UT_LOOP_UNARY(FUNCTION, TARGET, T, WIDTH, CALL, LOAD, STORE)                                                   \
    TARGET static int FUNCTION(const T* in, T* out, int n) {                                                           \
        int i = 0;                                                                                                     \
        for (; i + WIDTH <= n; i += WIDTH) STORE(out + i, CALL(LOAD(in + i)));                                         \
        return i;                                                                                                      \
    }
#define UT_LOOP_BINARY(FUNCTION, TARGET, T, WIDTH, CALL, LOAD, STORE)                                                  \
    TARGET static int FUNCTION(const T* a, const T* b, T* out, int n) {                                                \
        int i = 0;                                                                                                     \
        for (; i + WIDTH <= n; i += WIDTH) STORE(out + i, CALL(LOAD(a + i), LOAD(b + i)));                             \
        return i;                                                                                                      \
    }
#define UT_LOOPS(KIND, NAME)                                                                                           \
    UT_AVX_LOOPS(KIND, NAME)                                                                                           \
    KIND(NAME##Sse, , double, 2, Sleef_cinz_##NAME##d2_u10sse2, _mm_loadu_pd, _mm_storeu_pd)                           \
    KIND(NAME##Sse, , float, 4, Sleef_cinz_##NAME##f4_u10sse2, _mm_loadu_ps, _mm_storeu_ps)
#else
#define UT_LOOPS(KIND, NAME)
#define UT_WHOLE_VECTORS(NAME, ...) 0
#endif

#define UT_BLOCK_UNARY(NAME, T)                                                                                        \
    void UT_Math::NAME(const T* in, T* out, int n) {                                                                   \
        for (int i = UT_WHOLE_VECTORS(NAME, in, out, n); i < n; ++i) out[i] = NAME(in[i]);                             \
    }
#define UT_BLOCK_BINARY(NAME, T)                                                                                       \
    void UT_Math::NAME(const T* a, const T* b, T* out, int n) {                                                        \
        for (int i = UT_WHOLE_VECTORS(NAME, a, b, out, n); i < n; ++i) out[i] = NAME(a[i], b[i]);                      \
    }
#define UT_UNARY(NAME)                                                                                                 \
    double UT_Math::NAME(double x) { return Sleef_cinz_##NAME##d1_u10purec(x); }                                       \
    float UT_Math::NAME(float x) { return Sleef_cinz_##NAME##f1_u10purec(x); }                                         \
    UT_LOOPS(UT_LOOP_UNARY, NAME)                                                                                      \
    UT_BLOCK_UNARY(NAME, double)                                                                                       \
    UT_BLOCK_UNARY(NAME, float)
#define UT_BINARY(NAME)                                                                                                \
    double UT_Math::NAME(double a, double b) { return Sleef_cinz_##NAME##d1_u10purec(a, b); }                          \
    float UT_Math::NAME(float a, float b) { return Sleef_cinz_##NAME##f1_u10purec(a, b); }                             \
    UT_LOOPS(UT_LOOP_BINARY, NAME)                                                                                     \
    UT_BLOCK_BINARY(NAME, double)                                                                                      \
    UT_BLOCK_BINARY(NAME, float)

// clang-format off
UT_UNARY(sin) UT_UNARY(cos) UT_UNARY(tan)
UT_UNARY(asin) UT_UNARY(acos) UT_UNARY(atan)
UT_UNARY(sinh) UT_UNARY(cosh) UT_UNARY(tanh)
UT_UNARY(exp) UT_UNARY(log) UT_UNARY(log10)
UT_BINARY(atan2) UT_BINARY(pow)
    // clang-format on
