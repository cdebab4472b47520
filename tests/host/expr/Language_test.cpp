#include "TestScope.h"
#include "host/ut/UT_Math.h"
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

struct Sum {
    const char* text;
    double value;
};

class Language : public testing::Test {
protected:
    TestScope scope;
    void SetUp() override {
        scope.locals = {{"VX", 3}, {"TY", -1.5f}, {"A", 0}};
        scope.values = {{"GUST", 2.5}};
        scope.globals = {{"T", 1}, {"F", 24}};
    }
    void expectAll(std::initializer_list<Sum> sums) {
        for (const Sum& sum : sums) {
            const Outcome out = evaluate(sum.text, scope, 2);
            EXPECT_EQ(out.error, "") << sum.text;
            EXPECT_TRUE(out.number == sum.value || (std::isnan(sum.value) && std::isnan(out.number)))
                << sum.text << " is " << out.number;
        }
    }
};

// clang-format off
// Random expressions hold the other operators against plain arithmetic.
TEST_F(Language, powersAndChainsOfConditions) {
    expectAll({
        {"-2 ^ 2", -4}, {"2 ^ -1", 0.5}, {"2 ^ 3 ^ 2", 512}, {"2 * 3 ^ 2", 18}, {"-$VX ^ 2", -9}, {"2 ^ $VX ^ 2", 512},
        {"0 ? 1 : 0 ? 2 : 3", 3}, {"1 ? 0 ? 4 : 5 : 6", 5}, {"- - +2", 2}, {"!1 + 1", 1}, {"3 == 3 > 0", 0},
    });
}

const double INF = std::numeric_limits<double>::infinity();
const double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

TEST_F(Language, numbersAndIeeeArithmetic) {
    expectAll({
        {"1.5e3", 1500}, {".25", 0.25}, {"2.", 2}, {"1e400", INF}, {"1e-400", 0}, {"5e-324", 5e-324},
        {"0.1 + 0.2", 0.1 + 0.2}, {"1 / 0", INF}, {"-1 / 0", -INF}, {"0 / 0", NOT_A_NUMBER}, {"5 % 0", NOT_A_NUMBER},
        {"sqrt(-1)", NOT_A_NUMBER}, {"$VX / $A", INF}, {"0/0 == 0/0", 0}, {"0/0 != 0/0", 1}, {"0/0 ? 1 : 2", 1},
        {"-0 == 0", 1}, {"16777217 - 16777216", 1},
    });
}

TEST_F(Language, variables) {
    scope.locals["TENTH"] = 0.1f;
    expectAll({
        {"$VX", 3}, {"${VX}", 3}, {"$GUST", 2.5}, {"$T", 2}, {"$F", 48}, {"$F - $T", 46},
        {"$TENTH", double(0.1f)}, /* a float, widened */ {"$TENTH + $TENTH", double(0.1f) + double(0.1f)},
    });
}

TEST_F(Language, functions) {
    expectAll({
        {"ceil(-1.5)", -1}, {"int(-1.5)", -1}, {"round(2.5)", 3}, {"round(-2.5)", -3},
        {"round(0.49999999999999994)", 0}, {"sign(-7)", -1}, {"sign(0)", 0}, {"sign(3)", 1}, {"max(3, 1, 4, 2)", 4},
        {"fit(5, 0, 10, 100, 200)", 150}, {"fit(-5, 0, 10, 100, 200)", 100}, {"fit(50, 0, 10, 100, 200)", 200},
        {"fit(5, 10, 0, 100, 200)", 150}, {"fit(1, 2, 2, 100, 200)", 100}, {"fit(2, 2, 2, 100, 200)", 200},
        {"fit(3, 0, 3, 0.1, 0.7)", 0.7}, {"smooth(0, 1, 0.5)", 0.5}, {"smooth(0, 1, 0.25)", 0.15625},
        {"smooth(2, 4, 1)", 0}, {"smooth(2, 4, 9)", 1}, {"pow(2, 10)", 1024},
        {"rand(7) == rand(7)", 1}, {"rand(7) == rand(7.000001)", 0}, {"rand(0) == rand(-0)", 1},
        {"log10(1000)", 3}, {"deg(3.141592653589793)", 180}, {"rad(180)", UT_Math::pi},
    });
    const Sum near[] = {
        {"sin(0.5)", 0.479425538604203}, {"cos(2)", -0.4161468365471424}, {"tan(1)", 1.5574077246549023},
        {"asin(0.3)", 0.3046926540153975}, {"acos(0.3)", 1.2661036727794992}, {"atan(2)", 1.1071487177940904},
        {"atan2(1, -2)", 2.677945044588987}, {"sinh(1)", 1.1752011936438014}, {"cosh(1)", 1.5430806348152437},
        {"tanh(0.5)", 0.46211715726000973}, {"exp(1)", 2.718281828459045}, {"log(10)", 2.302585092994046},
        {"2 ^ 0.5", 1.4142135623730951}, {"pow(10, -3)", 1e-3}};
    for (const Sum& sum : near) EXPECT_NEAR(evaluate(sum.text, scope).number, sum.value, 4e-15) << sum.text;
}
// clang-format on

TEST_F(Language, noiseOfAVectorAndTurbulence) {
    const double here = evaluate("noise(0.3, 0.6, 0.1)", scope).number;
    EXPECT_NE(here, 0);
    EXPECT_EQ(evaluate("noise(vector3(0.3, 0.6, 0.1))", scope).number, here);
    EXPECT_EQ(evaluate("turb(0.3, 0.6, 0.1, 0)", scope).number, here);
    EXPECT_NE(evaluate("turb(vector3(0.3, 0.6, 0.1), 1)", scope).number, here);
    EXPECT_EQ(evaluate("turb(0.3, 0.6, 0.1, 1e300)", scope).number, evaluate("turb(0.3, 0.6, 0.1, 15)", scope).number);
}

// clang-format off
TEST_F(Language, vectors) {
    expectAll({
        {"vector4(1, 2, 3, 4).w", 4}, {"(vector3(1, 2, 3) + vector3(10, 20, 30)).z", 33},
        {"(vector3(1, 2, 3) ^ 2)[1]", 4}, {"(-vector3(1, 2, 3)).z", -3},
        {"length(vector4(1, 1, 1, 1))", 2}, {"dot(vector3(1, 2, 3), vector3(4, 5, 6))", 32},
        {"cross(vector3(1, 0, 0), vector3(0, 1, 0)).z", 1}, {"cross(vector3(1, 2, 3), vector3(4, 5, 7)).x", -1},
        {"cross(vector3(1, 2, 3), vector3(4, 5, 7)).y", 5}, {"normalize(vector3(0, 0, 5)).z", 1},
        {"normalize(vector3(0, 0, $VX)).z", 1}, {"normalize(vector3($A, 0, 0)).x", 0},
        {"vector3(1, 2, 3) == vector3(1, 2, 3)", 1}, {"vector3(1, 2, 3) == vector3(1, 9, 3)", 0},
        {"vector3(1, 2, 3) != vector3(1, 2, 4)", 1}, {"vector3(1, 2, 3) != vector3(1, 2, 3)", 0},
        {"vector3($VX, 2, 3)[$T - 2]", 3}, {"vector3(1, 2, 3)[$VX - 1]", 3}, {"vector3(1, 2, 3)[$TY + 3.4]", 2},
        {"($VX ? vector3(1, $VX, 3) : 0).y", 3}, {"($A ? vector3(1, 2, 3) : 7).y", 7},
    });
}

TEST_F(Language, strings) {
    expectAll({
        {"\"ab\" + 'cd' == \"abcd\"", 1}, {"'a' < 'b'", 1}, {"'b' <= 'a'", 0}, {"'a' != 'a'", 0}, {"strlen('')", 0},
        {"strlen('Gr\xc3\xbc\xc3\x9f')", 4}, {"strmatch('sp*[0-9]', 'spray7')", 1}, {"strmatch('sp*', 'rain')", 0},
        {"'it\\'s' == \"it's\"", 1}, {"strlen('a\\nb')", 3}, {"strlen('\\q')", 2},
    });
    const std::pair<const char*, const char*> texts[] = {
        {"'a' + 'b'", "ab"}, {"strcat('v', 1, '_', 0.5, ' ', vector3(1, 2, 3))", "v1_0.5 1 2 3"},
        {"strcat($VX, 'x')", "3x"}, {"substr('particle', 1, 3)", "art"}, {"substr('particle', -4, 2)", "pa"},
        {"substr('particle', 6, 99)", "le"}, {"substr('particle', 99, 1)", ""}, {"substr('particle', 0/0, 0/0)", ""},
        {"substr('Gr\xc3\xbc\xc3\x9f""e', 2, 2)", "\xc3\xbc\xc3\x9f"}, {"$VX ? 'yes' : 'no'", "yes"},
        {"$A ? 'yes' : 'no'", "no"}, {"strcat($VX, 'a') + strcat($TY, 'b') + 'c'", "3a-1.5bc"},
        {"'x' + ($VX > 2 ? strcat($VX, 'a') : strcat($TY, 'b')) + strcat($A)", "x3a0"},
        {"'x' + ($VX < 2 ? strcat($VX, 'a') : strcat($TY, 'b')) + strcat($A)", "x-1.5b0"},
        {"'<' + strcat($VX + 1) + '>' + ('(' + strcat($VX) + ')')", "<4>(3)"},
        {"strcat($VX) == '3' && strcat($TY) + 'x' > '' ? 'both' : 'not'", "both"}, {"$VX * 2", "6"}, {"$TY", "-1.5"},
    };
    for (const auto& [text, wanted] : texts) {
        const Outcome out = evaluateString(text, scope);
        EXPECT_EQ(out.error, "") << text;
        EXPECT_EQ(out.text, wanted) << text;
    }
}

TEST_F(Language, onlyTheNeededSideIsEvaluated) {
    // clang-format off
    struct Case { const char* text; double value; std::vector<std::string> asked; };
    const Case cases[] = {
        {"$VX ? 1 : $TY", 1, {"VX"}}, {"$A ? $VX : $TY", -1.5, {"A", "TY"}}, {"if($VX, $A, $TY)", 0, {"VX", "A"}},
        {"$A && $VX", 0, {"A"}}, {"$VX && $TY", 1, {"VX", "TY"}}, {"$VX || $TY", 1, {"VX"}},
        {"$A || $VX", 1, {"A", "VX"}}, {"1 ? $VX : $TY", 3, {"VX"}}, {"0 && $TY", 0, {}}, {"1 || $TY", 1, {}},
        {"($A && $VX) || $TY", 1, {"A", "TY"}}, {"$VX * $VX", 9, {"VX"}}, /* asked once */
        {"($A && $VX) + $VX", 3, {"A", "VX"}}, /* read under a condition is not read for the rest */
        {"($VX ? $TY : 0) + $TY", -3, {"VX", "TY", "TY"}}, {"$VX ? ($A ? $TY : $VX) : $TY", 3, {"VX", "A"}}};
    // clang-format on
    for (const Case& c : cases) {
        scope.asked.clear();
        EXPECT_EQ(evaluate(c.text, scope).number, c.value) << c.text;
        EXPECT_EQ(scope.asked, c.asked) << c.text;
    }
}
// clang-format on

} // namespace
