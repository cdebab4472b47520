#pragma once

#include <cmath>

/// Transcendental functions whose results are the same bits on every CPU, compiler and optimisation level, within 1
/// unit in the last place. The C library's own differ between CPUs with and without fused multiply-add, so nothing that
/// reaches particle state may call those.
///
/// The block forms compute `out[i] = f(in[i])` for i < n with exactly the bits of the one-value form; `out` may be
/// `in`. Domain errors give NaN or an infinity as IEEE 754 says, never an exception or errno.
template <class T> class UT_Vector3T;

namespace UT_Math {

constexpr double pi = 3.14159265358979323846;

#define UT_MATH_UNARY(NAME)                                                                                            \
    double NAME(double x);                                                                                             \
    float NAME(float x);                                                                                               \
    void NAME(const double* in, double* out, int n);                                                                   \
    void NAME(const float* in, float* out, int n);
#define UT_MATH_BINARY(NAME)                                                                                           \
    double NAME(double a, double b);                                                                                   \
    float NAME(float a, float b);                                                                                      \
    void NAME(const double* a, const double* b, double* out, int n);                                                   \
    void NAME(const float* a, const float* b, float* out, int n);

UT_MATH_UNARY(sin)
UT_MATH_UNARY(cos)
UT_MATH_UNARY(tan)
UT_MATH_UNARY(asin)
UT_MATH_UNARY(acos)
UT_MATH_UNARY(atan)
UT_MATH_UNARY(sinh)
UT_MATH_UNARY(cosh)
UT_MATH_UNARY(tanh)
UT_MATH_UNARY(exp)
UT_MATH_UNARY(log)
UT_MATH_UNARY(log10)
UT_MATH_BINARY(atan2) ///< atan2(y, x)
UT_MATH_BINARY(pow)   ///< pow(base, exponent)

#undef UT_MATH_UNARY
#undef UT_MATH_BINARY

/// Remainder with the sign of `a`; exact in IEEE arithmetic, so the C library's is the same everywhere.
inline double fmod(double a, double b) { return std::fmod(a, b); }
inline float fmod(float a, float b) { return std::fmod(a, b); }

/// True within ±0.00001, both ends included; false for NaN.
constexpr bool isZero(float x) { return -1e-5f <= x && x <= 1e-5f; }
/// Every component is.
template <class T> bool isZero(const UT_Vector3T<T>& v) { return isZero(v.x()) && isZero(v.y()) && isZero(v.z()); }

constexpr float radians(float degrees) { return float(double(degrees) * (pi / 180)); }
constexpr double radians(double degrees) { return degrees * (pi / 180); }
constexpr float degrees(float radians) { return float(double(radians) * (180 / pi)); }
constexpr double degrees(double radians) { return radians * (180 / pi); }

} // namespace UT_Math

/// Splits x into a whole number, rounded down, which is returned, and a fraction in [0, 1), which stays in x. Beyond
/// the range of int the whole number saturates and nothing stays; NaN gives 0 and 0.
inline int SYSsplitFloat(float& x) {
    constexpr float LIMIT = 2147483648.0f;
    const float whole = std::floor(x);
    const bool fits = whole >= -LIMIT && whole < LIMIT;
    const int part = fits ? int(whole) : x > 0 ? 0x7fffffff : x < 0 ? -0x7fffffff - 1 : 0;
    // A tiny negative x would round up to a fraction of 1.
    x = fits ? std::fmin(x - whole, 0x1.fffffep-1f) : 0;
    return part;
}
