#include "TestScope.h"
#include "host/expr/EV_Number.h"
#include "host/expr/EV_StringExpand.h"
#include <cmath>
#include <gtest/gtest.h>

namespace {

class StringExpand : public testing::Test {
protected:
    TestScope scope;
    void SetUp() override {
        scope.locals = {{"ID", 7}, {"HALF", 0.5f}, {"TENTH", 0.1f}};
        scope.globals = {{"F", 24}};
    }
    std::string expand(const std::string& text) {
        EV_StringExpand expansion(text);
        std::string out = "old";
        const bool done = expansion.expand(scope, 2, 0, out);
        error = EV_errText(0);
        EXPECT_EQ(done, EV_errNo(0) == 0) << text;
        EV_clearError(0);
        return out;
    }
    std::string error;
};

TEST_F(StringExpand, computesItsParts) {
    // clang-format off
    const std::pair<const char*, const char*> texts[] = {
        {"", ""}, {"/obj/ground", "/obj/ground"}, {"rock$ID", "rock7"}, {"rock${ID}b.$F", "rock7b.48"},
        {"a`$ID + 1`b`'c' + \"`\"`", "a8bc`"}, {"$HALF $TENTH", "0.5 0.1"}, {"`$TENTH + 1`", "1.1000000014901161"},
        {"`1e20`", "1e+20"}, {"\\$ID \\`1\\` \\n \\", "$ID `1` \\n \\"}, {"5 $ and $, $$ID", "5 $ and $, $7"},
        {"$ID$ID", "77"}, {"`strcat('\\'', $ID)`", "'7"},
    };
    // clang-format on
    for (const auto& [text, wanted] : texts) {
        EXPECT_EQ(expand(text), wanted);
        EXPECT_EQ(error, "") << text;
    }
    EXPECT_EQ(EV_StringExpand("a \\$ID").plain(), "a $ID");
}

TEST_F(StringExpand, errorsKeepTheText) {
    scope.locals["BAD"] = 1;
    scope.failing = "BAD";
    const struct {
        const char *text, *expanded, *error;
    } cases[] = {
        {"x $IDD y $ID", "x $IDD y 7", "unknown variable $IDD at column 3; did you mean $ID?"},
        {"a`1 +`b$ID", "a`1 +`b7", "unexpected end of expression at column 6"},
        {"$ID `id` ${ID", "7 `id` ${ID", "unknown name id at column 6; did you mean $ID?"},
        {"$ID`1 + 2", "7`1 + 2", "` without its closing ` at column 4"},
        {"$ID ${ID", "7 ${ID", "${ without its closing } at column 5"},
        {"$HALF$BAD", "0.5$BAD", "variable $BAD has no value here at column 6"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(expand(c.text), c.expanded);
        EXPECT_EQ(error, std::string("\"") + c.text + "\": " + c.error);
    }
    EXPECT_EQ(expand("`vector3(1,2,3)`"), "`vector3(1,2,3)`");
}

TEST_F(StringExpand, limits) {
    std::string parts;
    for (int i = 0; i < 1000; ++i) parts += "$ID";
    EXPECT_EQ(expand(parts), std::string(1000, '7'));
    EXPECT_EQ(expand(parts + "$ID"), std::string(1000, '7') + "$ID");
    EXPECT_NE(error, "");
    EXPECT_EQ(expand(std::string(EV_MAX_STRING, 'x')), std::string(EV_MAX_STRING, 'x'));
    EXPECT_EQ(expand(std::string(EV_MAX_STRING - 2, 'x') + "$F$F"), std::string(EV_MAX_STRING - 2, 'x') + "$F$F");
    EXPECT_NE(error, "");
}

TEST_F(StringExpand, analysis) {
    const EV_Analysis all = EV_StringExpand("$ID `$F > 1 ? $HALF : $ID`").analysis(scope);
    EXPECT_EQ(all.locals, (std::vector<int>{100, 101})); // HALF, ID
    EXPECT_EQ(all.globals, std::vector<int>{0});
    EXPECT_TRUE(all.conditional && !all.constant && !all.canFail);
    EXPECT_TRUE(EV_StringExpand("a`1 + 2`").analysis(scope).constant);
    EXPECT_TRUE(EV_StringExpand("a`1 + `").analysis(scope).canFail);
}

TEST(Number, text) {
    // clang-format off
    const std::pair<double, const char*> cases[] = {
        {3, "3"}, {-0.0, "0"}, {-12, "-12"}, {123456789012345, "123456789012345"}, {0.1, "0.1"},
        {double(0.1f), "0.1"}, {1.0 / 3, "0.3333333333333333"}, {1e300, "1e+300"}, {-2.5, "-2.5"},
        {INFINITY, "inf"}, {-INFINITY, "-inf"}, {-NAN, "nan"},
    };
    // clang-format on
    for (const auto& [value, wanted] : cases) EXPECT_EQ(EV_numberText(value), wanted);
}

TEST(Number, parse) {
    // clang-format off
    const struct { const char* text; size_t length; double value; } cases[] = {
        {"12abc", 2, 12}, {"1e", 1, 1}, {"1e+", 1, 1}, {".5.", 2, 0.5}, {"inf", 0, 0}, {"nan", 0, 0}, {"-1", 0, 0},
        {".", 0, 0}, {"", 0, 0}, {"1e999", 5, INFINITY}, {"1e-999", 6, 0}, {"0e999", 5, 0}, {"0.0001e-999", 11, 0},
        {"0x10", 1, 0}, {"1e99999999999999999999", 22, INFINITY}, {"1e-99999999999999999999", 23, 0}};
    // clang-format on
    for (const auto& c : cases) {
        double value = 0;
        EXPECT_EQ(EV_parseNumber(c.text, value), c.length) << c.text;
        EXPECT_EQ(value, c.value) << c.text;
    }
}

} // namespace
