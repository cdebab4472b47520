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
    void SetUp() override
    {
        scope.locals = {{"VX", 3}, {"TY", -1.5f}, {"A", 0}};
        scope.values = {{"GUST", 2.5}};
        scope.globals = {{"T", 1}, {"F", 24}};
    }
    void expectAll(std::initializer_list<Sum> sums)
    {
        for (const Sum& sum : sums) {
            const Outcome out = evaluate(sum.text, scope, 2);
            EXPECT_EQ(out.error, "") << sum.text;
            if (std::isnan(sum.value))
                EXPECT_TRUE(std::isnan(out.number)) << sum.text;
            else
                EXPECT_EQ(out.number, sum.value) << sum.text;
        }
    }
};

TEST_F(Language, precedenceAndAssociation)
{
    expectAll({{"1 + 2 * 3", 7},      {"(1 + 2) * 3", 9},   {"7 - 2 - 1", 4},      {"12 / 3 / 2", 2},
               {"-2 ^ 2", -4},        {"2 ^ -1", 0.5},      {"2 ^ 3 ^ 2", 512},    {"2 * 3 ^ 2", 18},
               {"!1 + 1", 1},         {"!(1 + 1)", 0},      {"-3 % 2", -1},        {"7 % 4 * 2", 6},
               {"1 < 2 == 1", 1},     {"3 == 3 > 0", 0},    {"1 || 0 && 0", 1},    {"(1 || 0) && 0", 0},
               {"0 ? 1 : 0 ? 2 : 3", 3}, {"1 ? 0 ? 4 : 5 : 6", 5}, {"1 + 1 ? 7 : 8", 7}, {"--2", 2},
               {"- - +2", 2},         {"1 - -1", 2},        {"2<3 && 3<=3 && 4>3 && 3>=3 && 1!=2", 1}});
}

TEST_F(Language, precedenceHoldsWithoutFolding)
{
    expectAll({{"$VX + 2 * $VX", 9},  {"($VX + 2) * $VX", 15}, {"-$VX ^ 2", -9},        {"$VX ^ -1", 1.0 / 3},
               {"2 ^ $VX ^ 2", 512},  {"!$VX + 1", 1},         {"$TY < $VX == 1", 1},   {"$VX || $A && $A", 1},
               {"$A ? 1 : $A ? 2 : 3", 3}, {"$VX*2+$TY", 4.5}});
}

} // namespace
