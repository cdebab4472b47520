#include "host/ut/UT_Math.h"

#include <bit>
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

namespace {

template <class T> auto bits(T x) {
    if constexpr (sizeof(T) == 4)
        return std::bit_cast<uint32_t>(x);
    else
        return std::bit_cast<uint64_t>(x);
}

// Same bits, any NaN being as good as another.
template <class T> bool same(T a, T b) { return bits(a) == bits(b) || (std::isnan(a) && std::isnan(b)); }

/// Values over many magnitudes and signs, with the awkward ones.
template <class T> std::vector<T> samples() {
    constexpr T inf = std::numeric_limits<T>::infinity(), tiny = std::numeric_limits<T>::denorm_min();
    using L = std::numeric_limits<T>;
    std::vector<T> out = {0, T(-0.0), 1, -1, T(0.5), T(-0.5), inf, -inf, L::quiet_NaN(), tiny, -tiny};
    out.insert(out.end(), {L::max(), L::min(), T(1e-20), T(1e20)});
    uint64_t state = 88172645463325252u;
    for (int i = 0; i < 20001; ++i) { // odd, so that the tail of a vector loop is used
        state ^= state << 13, state ^= state >> 7, state ^= state << 17;
        const double unit = double(int64_t(state)) / 9.3e18, scale = std::ldexp(1.0, int(state % 60) - 40);
        out.push_back(T(i % 3 == 0 ? unit : unit * scale));
    }
    return out;
}

template <class T, class One, class Block> void expectBlockIsScalar(const char* name, One one, Block block) {
    const std::vector<T> in = samples<T>();
    std::vector<T> out(in.size());
    for (size_t n : {in.size(), size_t(0), size_t(1), size_t(3), size_t(13)}) {
        block(in.data(), out.data(), int(n));
        for (size_t i = 0; i < n; ++i)
            ASSERT_TRUE(same(out[i], one(in[i]))) << name << " of " << in[i] << ": " << out[i] << ", " << one(in[i]);
    }
}

template <class T, class One, class Block> void expectBlockIsScalar2(const char* name, One one, Block block) {
    const std::vector<T> a = samples<T>();
    std::vector<T> b(a.rbegin(), a.rend()), out(a.size());
    for (size_t i = 0; i < b.size(); i += 2) b[i] = T(i % 7) - 3; // whole exponents as well
    block(a.data(), b.data(), out.data(), int(a.size()));
    for (size_t i = 0; i < a.size(); ++i)
        ASSERT_TRUE(same(out[i], one(a[i], b[i]))) << name << " of " << a[i] << ", " << b[i] << ": " << out[i];
}

// The C library in double is right to far below a float's last place, and to about one of a double's.
template <class T, class One, class Reference>
void expectNear(const char* name, double lo, double hi, One one, Reference reference) {
    for (int i = 0; i <= 1000; ++i) {
        const T x = T(lo + (hi - lo) * i / 1000);
        const double expected = reference(double(x));
        const double tolerance = std::numeric_limits<T>::epsilon() * (sizeof(T) == 4 ? 1.01 : 2.0);
        ASSERT_NEAR(double(one(x)), expected, tolerance * std::max(std::fabs(expected), 1e-3)) << name << " of " << x;
    }
}

} // namespace

#define FOR_EACH_UNARY(DO)                                                                                             \
    DO(sin, -50, 50)                                                                                                   \
    DO(cos, -50, 50)                                                                                                   \
    DO(tan, -1.5, 1.5)                                                                                                 \
    DO(asin, -1, 1)                                                                                                    \
    DO(acos, -1, 1)                                                                                                    \
    DO(atan, -20, 20)                                                                                                  \
    DO(sinh, -5, 5)                                                                                                    \
    DO(cosh, -5, 5)                                                                                                    \
    DO(tanh, -5, 5)                                                                                                    \
    DO(exp, -20, 20)                                                                                                   \
    DO(log, 1e-3, 100)                                                                                                 \
    DO(log10, 1e-3, 100)

TEST(UT_Math, BlocksGiveTheBitsOfSingleValues) {
#define CHECK(NAME, LO, HI)                                                                                            \
    expectBlockIsScalar<double>(                                                                                       \
        #NAME, [](double x) { return UT_Math::NAME(x); },                                                              \
        [](const double* in, double* out, int n) { UT_Math::NAME(in, out, n); });                                      \
    expectBlockIsScalar<float>(                                                                                        \
        #NAME, [](float x) { return UT_Math::NAME(x); },                                                               \
        [](const float* in, float* out, int n) { UT_Math::NAME(in, out, n); });
    FOR_EACH_UNARY(CHECK)
#undef CHECK
#define CHECK(NAME)                                                                                                    \
    expectBlockIsScalar2<double>(                                                                                      \
        #NAME, [](double a, double b) { return UT_Math::NAME(a, b); },                                                 \
        [](const double* a, const double* b, double* out, int n) { UT_Math::NAME(a, b, out, n); });                    \
    expectBlockIsScalar2<float>(                                                                                       \
        #NAME, [](float a, float b) { return UT_Math::NAME(a, b); },                                                   \
        [](const float* a, const float* b, float* out, int n) { UT_Math::NAME(a, b, out, n); });
    CHECK(atan2)
    CHECK(pow)
#undef CHECK
}

TEST(UT_Math, AgreesWithTheMathematics) {
#define CHECK(NAME, LO, HI)                                                                                            \
    expectNear<double>(                                                                                                \
        #NAME, LO, HI, [](double x) { return UT_Math::NAME(x); }, [](double x) { return std::NAME(x); });              \
    expectNear<float>(                                                                                                 \
        #NAME, LO, HI, [](float x) { return UT_Math::NAME(x); }, [](double x) { return std::NAME(x); });
    FOR_EACH_UNARY(CHECK)
#undef CHECK
    EXPECT_DOUBLE_EQ(UT_Math::pow(2.0, 0.5), 1.4142135623730951);
    EXPECT_FLOAT_EQ(UT_Math::pow(-2.0f, 3.0f), -8);
    EXPECT_DOUBLE_EQ(UT_Math::atan2(-1.0, -1.0), -2.356194490192345);
    EXPECT_EQ(UT_Math::pow(0.0, 0.0), 1);
    EXPECT_TRUE(std::isnan(UT_Math::pow(-2.0, 0.5)));
    EXPECT_TRUE(std::isnan(UT_Math::log(-1.0)));
    EXPECT_EQ(UT_Math::log(0.0), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(UT_Math::exp(1e4f), std::numeric_limits<float>::infinity());
    // Bits that every machine must repeat; the exponential is one unit off the nearest, as its accuracy allows.
    EXPECT_EQ(bits(UT_Math::sin(1.0)), 0x3feaed548f090ceeu);
    EXPECT_EQ(bits(UT_Math::exp(1.0)), 0x4005bf0a8b14576au);
    EXPECT_EQ(UT_Math::fmod(-7.5, 2.0), -1.5);
}

TEST(UT_Math, ZeroIncludesItsBounds) {
    const float edge = 1e-5f, beyond = std::nextafter(edge, 1.0f);
    EXPECT_TRUE(UT_Math::isZero(edge) && UT_Math::isZero(-edge) && UT_Math::isZero(0));
    EXPECT_FALSE(UT_Math::isZero(beyond) || UT_Math::isZero(-beyond) || UT_Math::isZero(NAN));
    EXPECT_FLOAT_EQ(UT_Math::radians(180.0f), 3.14159265f);
    EXPECT_DOUBLE_EQ(UT_Math::degrees(UT_Math::pi / 6), 30);
}

TEST(UT_Math, SplitsFloats) {
    const int most = 2147483647, least = -most - 1;
    // clang-format off
    struct Case { float x; int whole; float rest; };
    const Case cases[] = {
        {0, 0, 0}, {1.25f, 1, 0.25f}, {-0.25f, -1, 0.75f}, {-3, -3, 0}, {-4194303.5f, -4194304, 0.5f},
        {-1e-30f, -1, 0x1.fffffep-1f}, {2147483520.0f, 2147483520, 0}, {-2147483648.0f, least, 0},
        {2147483648.0f, most, 0}, {-1e30f, least, 0}, {INFINITY, most, 0}, {NAN, 0, 0}};
    // clang-format on
    for (const Case& c : cases) {
        float rest = c.x;
        EXPECT_EQ(SYSsplitFloat(rest), c.whole) << c.x;
        EXPECT_EQ(rest, c.rest) << c.x;
    }
}
