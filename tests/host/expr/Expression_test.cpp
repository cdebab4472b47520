#include "TestScope.h"
#include "host/expr/EV_Function.h"
#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Expression : public testing::Test {
protected:
    TestScope scope;
    void SetUp() override {
        scope.locals = {{"VX", 3}, {"TY", 2}, {"A", 0}};
        scope.values = {{"GUST", 2.5}};
        scope.globals = {{"T", 1}};
    }
};

TEST_F(Expression, bindsAgainWhenNamesChangeAndCompilesOnlyForOtherValues) {
    EV_EXPRESSION local("$VX * 2 + $T"), folded("$VX * $GUST");
    const auto values = [&] {
        return std::pair(ev_EvaluateFloat(local, scope, 10, 0), ev_EvaluateFloat(folded, scope, 10, 0));
    };
    EXPECT_EQ(values(), std::pair(16.0, 7.5));
    EXPECT_EQ(local.numCompilations(), 1);
    EXPECT_EQ(folded.numCompilations(), 2);
    scope.locals["BEFORE"] = 1; // other ids
    scope.globals["A0"] = 7;
    ++scope.serial;
    EXPECT_EQ(values(), std::pair(16.0, 7.5));
    EXPECT_EQ(local.analysis(scope).globals, std::vector<int>{1});
    EXPECT_EQ(local.numCompilations(), 1);
    EXPECT_EQ(folded.numCompilations(), 3) << "the id of VX is another";
    scope.values["GUST"] = -0.0;
    ++scope.serial;
    EXPECT_EQ(1 / values().second, -INFINITY);
    scope.globals["VX"] = 1; // hidden by the local
    scope.locals.erase("VX");
    ++scope.serial;
    EXPECT_EQ(values().first, 30);
    EXPECT_EQ(local.numCompilations(), 1);
    scope.globals.erase("VX");
    ++scope.serial;
    EXPECT_EQ(values().first, 0);
    EXPECT_EQ(EV_errNo(0), EV_ERR_VARIABLE);
    EV_clearError(0);
    scope.values["VX"] = 4; // from global to a number
    ++scope.serial;
    EXPECT_EQ(values().first, 18);
    TestScope other; // the same serial in another place is another binding
    other.serial = scope.serial;
    other.values = {{"VX", 100}, {"T", 1}};
    EXPECT_EQ(ev_EvaluateFloat(local, other, 0, 0), 201);
    ev_ChangeExpr(&local, "$VX + 'a'");
    EXPECT_FALSE(local.bind(scope));
    ev_ChangeExpr(&local, "$VX + 1");
    EXPECT_EQ(values().first, 5);
}

TEST_F(Expression, vectorEvaluation) {
    const std::pair<const char*, std::vector<double>> cases[] = {{"vector3($VX, 1, $T)", {3, 1, 4}},
                                                                 {"vector4(1, 2, 3, $VX) * 2", {2, 4, 6, 6}},
                                                                 {"$VX", {3, 3, 3}},
                                                                 {"'a'", {0, 0, 0}},
                                                                 {"vector3($NOPE, 1, 2)", {0, 0, 0}}};
    for (const auto& [text, wanted] : cases) {
        EV_EXPRESSION expression(text, 3);
        ev_Vector v(1);
        const bool done = ev_EvaluateVector(expression, v, scope, 4, 0);
        EXPECT_EQ(done, EV_errNo(0) == 0) << text;
        EV_clearError(0);
        ASSERT_EQ(size_t(v.size()), wanted.size()) << text;
        for (int i = 0; i < v.size(); ++i) EXPECT_EQ(v[i], wanted[size_t(i)]) << text;
    }
}

TEST_F(Expression, analysisTellsWhatIsRead) {
    const auto of = [&](const char* text) {
        EV_EXPRESSION expression(text);
        return expression.analysis(scope);
    };
    const EV_Analysis locals = of("$VX + $TY * $VX + $T"); // ids: A 100, TY 101, VX 102
    EXPECT_THAT(locals.locals, ElementsAre(101, 102));
    EXPECT_THAT(locals.globals, ElementsAre(0));
    EXPECT_TRUE(locals.readsLocal(102) && !locals.readsLocal(100));
    EXPECT_FALSE(locals.constant || locals.conditional || locals.canFail || locals.impure || locals.strings);

    EXPECT_TRUE(of("sin(1) + $GUST * 2").constant && of("'a' + strcat(1, 2)").constant);
    EXPECT_TRUE(of("$VX && $TY").conditional && of("if($VX, 1, 2)").conditional);
    EXPECT_FALSE(of("$GUST ? $VX : $TY").conditional); // the value is known
    EXPECT_THAT(of("$GUST ? $VX : $TY").locals, ElementsAre(102));
    EXPECT_THAT(of("0 && $TY || $VX").locals, ElementsAre(102));
    EXPECT_TRUE(of("vector3(1, 2, 3)[$VX]").canFail);
    EXPECT_TRUE(of("strcat($VX)").strings && of("strcat($VX)").calls("strcat") && !of("strcat($VX)").impure);
    EXPECT_TRUE(of("$NOPE").canFail && of("1 +").canFail);
    EXPECT_THAT(EV_EXPRESSION("$B + ($C ? $B : $D)").variableNames(), ElementsAre("B", "C", "D"));
}

// ---- functions of the application

int theCalls = 0;
EV_EXPRESSION* theInner = nullptr;

bool scaled(EV_CallContext& context, const EV_Value* args, int count, EV_Value& result) {
    ++theCalls;
    if (args[0].s == "bad") return context.fail("no such thing bad");
    result = args[1].number() * (count > 2 ? args[2].number() : 10) + context.time;
    return true;
}

bool swapped(EV_CallContext&, const EV_Value* args, int, EV_Value& result) {
    result = EV_Value(args[0].v[2], args[0].v[1], args[0].v[0]);
    return true;
}

// Evaluates another expression, after the set of names has changed under way.
bool nested(EV_CallContext& context, const EV_Value* args, int, EV_Value& result) {
    ++static_cast<TestScope*>(context.scope)->serial;
    if (args[0].number() <= 0) return result = 1, true;
    static_cast<TestScope*>(context.scope)->locals["VX"] -= 1;
    result = 2 * ev_EvaluateFloat(*theInner, *context.scope, context.time, context.thread);
    return true;
}

bool lied(EV_CallContext&, const EV_Value*, int, EV_Value& result) {
    result = std::string("no number");
    return true;
}

bool longText(EV_CallContext&, const EV_Value* args, int, EV_Value& result) {
    result = std::string(size_t(args[0].number()), 'x');
    return true;
}

const EV_Type SFF[] = {EV_STRING, EV_FLOAT, EV_FLOAT};
const EV_Type V[] = {EV_VECTOR};
const EV_Type F[] = {EV_FLOAT};
const EV_FUNCTION theFunctions[] = {
    {0, "t_scaled", 3, EV_FLOAT, SFF, scaled, "help", "name, x, factor", 2},
    {EV_PURE, "t_pure", 3, EV_FLOAT, SFF, scaled, "help", "name, x, factor", 2},
    {EV_PURE | EV_NOFAIL, "t_swapped", 1, EV_VECTOR, V, swapped, "help", "v"},
    {0, "t_nested", 1, EV_FLOAT, F, nested, "help", "x"},
    {0, "t_lied", 0, EV_FLOAT, nullptr, lied, "help", ""},
    {0, "t_long", 1, EV_STRING, F, longText, "help", "n"},
};

class Function : public Expression {
protected:
    void SetUp() override {
        Expression::SetUp();
        for (const EV_FUNCTION& function : theFunctions) EXPECT_EQ(ev_AddFunction(&function), 1) << function.name;
    }
};

TEST_F(Function, areCalledWithCheckedArguments) {
    EXPECT_EQ(evaluate("t_scaled('a', $VX) + 1", scope, 0.5).number, 31.5);
    EXPECT_EQ(evaluate("t_scaled('a', $VX, 2) + t_scaled(strcat($VX), 1, $TY)", scope).number, 8);
    EXPECT_EQ(evaluate("t_swapped(vector3(1, 2, $VX)).x - t_swapped(vector3(1, 2, 7)).z", scope).number, 2);
    const std::pair<std::string, const char*> errors[] = {
        {"t_scaled('a')", "t_scaled takes 2 to 3 arguments, 1 given, at column 1"},
        {"t_scaled('a', 'b')", "argument 2 of t_scaled must be a number, not a string, at column 15"},
        {"1 + t_scaled('bad', 1)", "t_scaled: no such thing bad at column 5"},
        {"t_lied()", "t_lied: gave a string instead of a number at column 1"}};
    for (const auto& [text, error] : errors) EXPECT_EQ(evaluate(text, scope).error, "\"" + text + "\": " + error);
}

TEST_F(Function, pureOnesAreFolded) {
    EV_EXPRESSION pure("t_pure('a', 2)"), impure("t_scaled('a', 2)"), failing("t_pure('bad', 1)");
    EXPECT_TRUE(pure.analysis(scope).constant);
    EXPECT_TRUE(impure.analysis(scope).impure && impure.analysis(scope).calls("t_scaled"));
    theCalls = 0;
    for (int i = 0; i < 3; ++i) EXPECT_EQ(ev_EvaluateFloat(pure, scope, 0, 0), 20);
    EXPECT_EQ(theCalls, 0);
    for (int i = 0; i < 3; ++i) ev_EvaluateFloat(impure, scope, 0, 0);
    EXPECT_EQ(theCalls, 3);
    EXPECT_FALSE(failing.syntaxError()); // it fails when it is reached
    EXPECT_EQ(evaluate("t_pure('bad', 1)", scope).errNo, EV_ERR_EVALUATION);
}

TEST_F(Function, mayEvaluateTheirOwnExpressionAgainAndPassItsErrorOn) {
    EV_EXPRESSION expression("$VX + t_nested($VX)");
    theInner = &expression;
    EXPECT_EQ(ev_EvaluateFloat(expression, scope, 0, 0), 3 + 2 * (2 + 2 * (1 + 2 * (0 + 1))));
    EXPECT_EQ(EV_errNo(0), 0);
    EV_EXPRESSION inner("$VX + $NOPE");
    theInner = &inner;
    EXPECT_EQ(evaluate("1 + t_nested(5)", scope).error, "\"$VX + $NOPE\": unknown variable $NOPE at column 7");
}

TEST_F(Function, stringsGrowOnlyToTheLimit) {
    EXPECT_EQ(evaluateString("t_long(1048576)", scope).text.size(), EV_MAX_STRING);
    // Strings that are held at the same time, none of them too long, are too much together.
    std::string held, measured = "0";
    for (int i = 0; i < 9; ++i) {
        held += ", t_long(1048576)";
        measured += " + strlen(t_long(1048576))";
    }
    const std::pair<std::string, const char*> errors[] = {
        {"t_long(1048577)", "string longer than 1 MiB"},
        {"t_long(1048576) + 'a'", "string longer than 1 MiB"},
        {"strcat(t_long(600000), t_long(600000))", "string longer than 1 MiB"},
        {"strcat(''" + held + ")", "more than 8 MiB of strings"}};
    for (const auto& [text, error] : errors)
        EXPECT_THAT(evaluateString(text, scope).error, testing::HasSubstr(error)) << text;
    EXPECT_NE(evaluate("strmatch(strcat('*a', t_long(100000)), t_long(1000000))", scope).errNo, 0);
    EXPECT_EQ(evaluate(measured, scope).number, 9.0 * EV_MAX_STRING);
}

TEST_F(Function, namesAreTakenOnce) {
    static const EV_FUNCTION refused[] = {{0, "t_scaled", 0, EV_FLOAT, nullptr, lied},
                                          {0, "sin", 0, EV_FLOAT, nullptr, lied},
                                          {0, "no name", 0, EV_FLOAT, nullptr, lied},
                                          {0, "t_none", 0, EV_FLOAT, nullptr, nullptr}};
    for (const EV_FUNCTION& function : refused) EXPECT_EQ(ev_AddFunction(&function), 0) << function.name;
}

} // namespace
