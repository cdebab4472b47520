#include "host/ut/UT_Math.h"
#include "support/SameBits.h"

#include <limits>
#include <vector>

#include <gtest/gtest.h>

namespace {

// The C library in double is right to far below a float's last place, and to about one of a double's. A block has the
// bits of single values.
template <class T, class Function, class Reference>
void expectNear(const char* name, double lo, double hi, Function f, Reference reference) {
    std::vector<T> in(1003), out(in.size()); // no multiple of any vector's width
    for (size_t i = 0; i < in.size(); ++i) in[i] = T(lo + (hi - lo) * double(i) / 1002);
    f(in.data(), out.data(), int(in.size()));
    for (size_t i = 0; i < in.size(); ++i) {
        const T one = f(in[i]);
        const double expected = reference(double(in[i]));
        const double tolerance = std::numeric_limits<T>::epsilon() * (sizeof(T) == 4 ? 1.01 : 2.0);
        ASSERT_NEAR(double(one), expected, tolerance * std::max(std::fabs(expected), 1e-3)) << name << " of " << in[i];
        ASSERT_TRUE(sameBits(out[i], one)) << name << " of " << in[i];
    }
}

} // namespace

TEST(UT_Math, AgreesWithTheMathematics) {
#define CHECK(NAME, LO, HI)                                                                                            \
    expectNear<double>(                                                                                                \
        #NAME, LO, HI, [](auto... x) { return UT_Math::NAME(x...); }, [](double x) { return std::NAME(x); });          \
    expectNear<float>(                                                                                                 \
        #NAME, LO, HI, [](auto... x) { return UT_Math::NAME(x...); }, [](double x) { return std::NAME(x); });
    // clang-format off
    CHECK(sin, -50, 50) CHECK(cos, -50, 50) CHECK(tan, -1.5, 1.5) CHECK(asin, -1, 1)
    CHECK(acos, -1, 1) CHECK(atan, -20, 20) CHECK(sinh, -5, 5) CHECK(cosh, -5, 5)
    CHECK(tanh, -5, 5) CHECK(exp, -20, 20) CHECK(log, 1e-3, 100) CHECK(log10, 1e-3, 100)
    // clang-format on
#undef CHECK
                EXPECT_DOUBLE_EQ(UT_Math::pow(2.0, 0.5), 1.4142135623730951);
    EXPECT_FLOAT_EQ(UT_Math::pow(-2.0f, 3.0f), -8);
    EXPECT_DOUBLE_EQ(UT_Math::atan2(-1.0, -1.0), -2.356194490192345);
    EXPECT_EQ(UT_Math::pow(0.0, 0.0), 1);
    float a[13], b[13], power[13], angle[13];
    for (int i = 0; i < 13; ++i) a[i] = 0.3f * float(i), b[i] = float(i % 7) - 3;
    UT_Math::pow(a, b, power, 13);
    UT_Math::atan2(a, b, angle, 13);
    for (int i = 0; i < 13; ++i) {
        EXPECT_TRUE(sameBits(power[i], UT_Math::pow(a[i], b[i]))) << i;
        EXPECT_TRUE(sameBits(angle[i], UT_Math::atan2(a[i], b[i]))) << i;
    }
    EXPECT_TRUE(std::isnan(UT_Math::pow(-2.0, 0.5)));
    EXPECT_TRUE(std::isnan(UT_Math::log(-1.0)));
    EXPECT_EQ(UT_Math::log(0.0), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(UT_Math::exp(1e4f), std::numeric_limits<float>::infinity());
    // Bits that every machine must repeat; the exponential is one unit off the nearest, as its accuracy allows.
    EXPECT_EQ(bitsOf(UT_Math::sin(1.0)), 0x3feaed548f090ceeu);
    EXPECT_EQ(bitsOf(UT_Math::exp(1.0)), 0x4005bf0a8b14576au);
    EXPECT_EQ(UT_Math::fmod(-7.5, 2.0), -1.5);
}

TEST(UT_Math, ZeroIncludesItsBounds) {
    const float edge = 1e-5f, beyond = std::nextafter(edge, 1.0f);
    EXPECT_TRUE(UT_Math::isZero(edge) && UT_Math::isZero(-edge) && UT_Math::isZero(0));
    EXPECT_FALSE(UT_Math::isZero(beyond) || UT_Math::isZero(-beyond) || UT_Math::isZero(NAN));
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
