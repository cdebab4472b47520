#include "TestScope.h"
#include "host/ut/UT_Thread.h"
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <thread>

namespace {

class Error : public testing::Test {
protected:
    TestScope scope;
    void SetUp() override { scope.locals = {{"VX", 3}, {"TY", 2}, {"AGE", 1}}; }
};

TEST_F(Error, messagesSayWhatAndWhere) {
    const struct {
        const char* text;
        int errNo;
        const char* message; // behind the quoted text
    } rejections[] = {
        {"1 + ${AGGE}", 10, "unknown variable $AGGE at column 5; did you mean $AGE?"},
        {"0 ? $VXX : 1", 10, "unknown variable $VXX at column 5; did you mean $VX?"},
        {"sin(1,2)", 2, "sin takes 1 argument, 2 given, at column 1"},
        {"strcat()", 2, "strcat takes at least 1 argument, 0 given, at column 1"},
        {"noise(1, 2)", 2, "noise takes 1 or 3 arguments, 2 given, at column 1"},
        {"if(1, 2)", 2, "if takes 3 arguments, 2 given, at column 1"},
        {"sqt(1)", 2, "unknown function sqt at column 1; did you mean sqrt?"},
        {"sin('a')", 2, "argument 1 of sin must be a number, not a string, at column 5"},
        {"dot(vector3(1,2,3), 1)", 2, "argument 2 of dot must be a vector, not a number, at column 21"},
        {"1 +", 1, "unexpected end of expression at column 4"},
        {"", 1, "unexpected end of expression at column 1"},
        {"(1 + 2", 1, "unexpected end of expression at column 7; ) is missing"},
        {"1 2", 1, "unexpected '2' at column 3"},
        {"sin(1 2)", 1, "unexpected '2' at column 7; ) is missing"},
        {"1 ? 2", 1, "unexpected end of expression at column 6; : is missing"},
        {"1 & 2", 1, "unexpected '&' at column 3"},
        {"'\xc3\xa4\xc3\xb6' \xe2\x82\xac", 1, "unexpected '\xe2\x82\xac' at column 6"},
        {"'abc", 1, "string without its closing ' at column 1"},
        {"$", 1, "$ without a name at column 1"},
        {"${VX", 1, "${ without its closing } at column 1"},
        {"1 + age", 1, "unknown name age at column 5; did you mean $AGE?"},
        {"true", 1, "unknown name true at column 1; variables are written with $"},
        {"$AGGE + true", 10, "unknown variable $AGGE at column 1; did you mean $AGE?"},
        {"sin + 1", 1, "unexpected name sin at column 1; a function has its arguments in ( )"},
        {"vector3(1,2,3).q", 1, "unexpected 'q' at column 16; a component is .x, .y, .z or .w"},
        {"1 + 'a'", 3, "+ cannot take a number and a string at column 3"},
        {"-'a'", 3, "- cannot take a string at column 1"},
        {"vector3(1,2,3) + vector4(1,2,3,4)", 3, "+ cannot take a vector and a vector of four at column 16"},
        {"'a' ? 1 : 2", 3, "a condition must be a number, not a string, at column 1"},
        {"1 ? 2 : 'a'", 3, "the sides of a condition cannot take a number and a string at column 9"},
        {"$VX.x", 3, ".x needs a vector, not a number, at column 4"},
        {"$VX[0]", 3, "[ ] needs a vector, not a number, at column 1"},
        {"vector3(1,2,3)['a']", 3, "an index must be a number, not a string, at column 16"},
        {"vector3(1,2,3)[3]", 5, "index outside the vector at column 16"},
        {"vector3(1,2,3)[$VX]", 5, "index 3 is outside the vector, at column 16"},
        {"vector3(1,2,3)[0/($VX-3)]", 5, "index nan is outside the vector, at column 16"},
        {"'a'", 3, "a number is needed, this is a string, at column 1"},
        {"vector3(1,2,3)", 3, "a number is needed, this is a vector, at column 1"},
    };
    for (const auto& r : rejections) {
        const Outcome out = evaluate(r.text, scope);
        EXPECT_EQ(out.number, 0) << r.text;
        EXPECT_EQ(out.errNo, r.errNo) << r.text;
        EXPECT_EQ(out.error, fmt::format("\"{}\": {}", r.text, r.message));
    }
}

TEST_F(Error, longTextsAreCutAndControlCharactersStayOnTheLine) {
    const std::string longText = "1 +\n" + std::string(200, ' ') + "$NOPE";
    EXPECT_EQ(evaluate(longText, scope).error,
              fmt::format("\"1 + {:93}", "") + "...\": unknown variable $NOPE at column 205");
    // A cut never falls inside a character.
    const std::string wide = fmt::format("'{:x<95}\xe2\x82\xac\xe2\x82\xac{:x<9}", "", "");
    EXPECT_EQ(evaluate(wide, scope).error,
              fmt::format("\"'{:x<95}", "") + "...\": string without its closing ' at column 1");
}

TEST_F(Error, limits) {
    const auto nested = [](int depth) {
        return std::string(size_t(depth), '(') + "1" + std::string(size_t(depth), ')');
    };
    EXPECT_EQ(evaluate(nested(200), scope).number, 1);
    EXPECT_EQ(evaluate(nested(201), scope).error,
              fmt::format("\"{:(<97}...\": nested deeper than 200 at column 202", ""));
    for (const char* open : {"(", "-", "!", "2^", "1?", "1?2:", "sin(", "vector3(1,2,3)[", "1||", "if(1,"}) {
        std::string text;
        while (text.size() < EV_MAX_TEXT - 20) text += open;
        const Outcome out = evaluate(text, scope); // || nests nothing: it ends where its operand is missing
        EXPECT_EQ(out.errNo, open == std::string("1||") ? EV_ERR_SYNTAX : EV_ERR_LIMIT) << open;
    }
    EXPECT_EQ(evaluate(std::string(EV_MAX_TEXT - 1, ' ') + "1", scope).number, 1);
    EXPECT_EQ(evaluate(std::string(EV_MAX_TEXT, '1') + "1", scope).error,
              fmt::format("\"{:1<97}...\": the expression has 65537 bytes, the limit is 65536", ""));
    std::string many = "strcat(0";
    for (int i = 0; i < 256; ++i) many += ",0";
    EXPECT_EQ(evaluate(many + ")", scope).errNo, EV_ERR_LIMIT);
}

TEST_F(Error, longTextsWithinTheLimitsWork) {
    std::string sum = "$VX", names = "0", chain = "strcat($VX)";
    for (int i = 1; i < 10000; ++i) sum += fmt::format("+$VX*{}", i % 10);
    EXPECT_EQ(evaluate(sum, scope).number, 3 + 3 * 45000.0);
    for (int i = 0; i < 6000; ++i) {
        scope.locals[fmt::format("N{}", i)] = float(i);
        names += fmt::format("+$N{}", i);
    }
    EXPECT_EQ(evaluate(names + "+" + names.substr(0, 2000), scope).errNo, EV_ERR_VARIABLE); // cut inside a name
    EXPECT_EQ(evaluate(names, scope).number, 5999 * 3000.0);
    for (int i = 0; i < 10000; ++i) chain += "+'ab'";
    EXPECT_EQ(evaluateString(chain, scope).text.size(), 20001u);
}

TEST_F(Error, aFailedVariableEndsTheEvaluation) {
    scope.failing = "AGE";
    scope.asked.clear();
    const Outcome out = evaluate("1 + $AGE * $VX", scope);
    EXPECT_EQ(out.number, 0);
    EXPECT_EQ(out.errNo, 10);
    EXPECT_EQ(out.error, "\"1 + $AGE * $VX\": variable $AGE has no value here at column 5");
    EXPECT_EQ(scope.asked, std::vector<std::string>{"AGE"});
    EXPECT_EQ(evaluate("$VX || $AGE", scope).errNo, 0); // never read
}

TEST_F(Error, anOlderErrorStaysAndDoesNoHarm) {
    EV_EXPRESSION good("$VX + 1"), bad("$VX +");
    EV_raise(0, 7, "older");
    EXPECT_EQ(ev_EvaluateFloat(good, scope, 0, 0), 4);
    EXPECT_EQ(EV_errNo(0), 7);
    EXPECT_EQ(ev_EvaluateFloat(bad, scope, 0, 0), 0);
    EXPECT_EQ(EV_errNo(0), 7);
    EXPECT_EQ(EV_errText(0), "older");
    EV_errNo(0) = 0; // as a node does that looks at the number alone
    ev_EvaluateFloat(bad, scope, 0, 0);
    EXPECT_EQ(EV_errText(0), "\"$VX +\": unexpected end of expression at column 6");
    EV_clearError(0);
}

TEST_F(Error, everyThreadHasItsOwn) {
    const int mine = UT_Thread::getMySequentialThreadIndex();
    EV_errNo(0) = 3;
    std::thread([&] { EXPECT_EQ(EV_errNo(0), 0); }).join();
    EXPECT_EQ(EV_errNo(mine), 3);
    EXPECT_EQ(EXPR::theErrNo[mine - 1], 3);
    EV_clearError(0);
    for (int thread : {16, 17, 100000}) EV_errNo(thread) = thread; // the last fixed one, and behind
    for (int thread : {16, 17, 100000}) EXPECT_EQ(EV_errNo(thread), thread);
    for (int thread : {16, 17, 100000}) EV_clearError(thread);
}

} // namespace
