#include <cstring>
#include <limits>
#include <thread>

#include "host/expr/EV_Error.h"
#include "host/node/ExampleNodes.h"
#include "host/node/OP_NodeScope.h"

namespace {

using Parameters = NodeTest;

TEST_F(Parameters, RowsAreRecordedOnceAndInOrder) {
    const int before = ExampleNode::constructed;
    OP_Operator op("fresh", "Fresh", &makeNode<ExampleNode>, 0, 1, nullptr);
    std::vector<std::thread> askers;
    for (int i = 0; i < 4; ++i) askers.emplace_back([&] { op.templates(); });
    for (std::thread& asker : askers) asker.join();
    EXPECT_EQ(ExampleNode::constructed, before + 1);

    std::string tokens;
    for (const PRM_Template& row : op.templates().rows) tokens += row.token + " ";
    EXPECT_EQ(tokens, "switcher scale force count on mode group kind parts ");
}

// A prototype that makes nodes of its own must not record their rows, and has no place in the scene.
class Maker final : public ExampleNode {
public:
    using ExampleNode::ExampleNode;
    ExampleNode inner{nullptr, "inner", nullptr};
    Float LAST{this, {"last", "Last"}, 4};
    inline static int prototypeId = -1;
    inline static float prototypeValue = -1;
    int seen = (prototypeId = getUniqueId(), prototypeValue = LAST(0), 0);
};

TEST_F(Parameters, PrototypesStandAlone) {
    OP_Operator op("maker", "Maker", &makeNode<Maker>, 0, 1, nullptr);
    EXPECT_EQ(op.templates().rows.size(), 10u);
    EXPECT_EQ(op.templates().rows.back().token, "last");
    EXPECT_EQ(Maker::prototypeId, 0);
    EXPECT_EQ(Maker::prototypeValue, 0);
    Maker real(nullptr, "real", &op);
    EXPECT_EQ(real.LAST(0), 4);
    EXPECT_GT(real.getUniqueId(), 0);
}

TEST_F(Parameters, FloatsIntsAndRanges) {
    ExampleNode* n = node("n");
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    // clang-format off
    const struct { const char* token; double value, asFloat; int asInt; } cases[] = {
        {"scale", 2.75, 2.75, 2}, {"scale", -3, 0, 0}, {"scale", 50, 50, 50}, {"scale", nan, 0, 0},
        {"count", 2.9, 2, 2}, {"count", -2.9, -2, -2}, {"count", 1e300, 5, 5}, {"count", -inf, -5, -5},
        {"count", nan, 0, 0}, {"mode", 7, 7, 7}, {"mode", -1, -1, -1}, {"on", 5, 5, 5},
        {"force", 3e10, 3e10f, std::numeric_limits<int>::max()}, {"force", -3e10, -3e10f, INT32_MIN}};
    // clang-format on
    for (const auto& c : cases) {
        n->setFloat(c.token, 0, c.value);
        EXPECT_EQ(n->evalFloat(c.token, 0, 0), float(c.asFloat)) << c.token << " " << c.value;
        EXPECT_EQ(n->evalInt(c.token, 0, 0), c.asInt) << c.token << " " << c.value;
        // An expression meets the same rules.
        n->setExpression(c.token, 0, ("0 + " + std::to_string(c.value)).c_str());
        if (std::isfinite(c.value) && c.value < 1e100) {
            EXPECT_EQ(n->evalFloat(c.token, 0, 0), float(c.asFloat)) << c.token << " " << c.value;
        }
    }
    EXPECT_EQ(messages(*n), "warning OP 5: scale: not a number; 0 is used instead\n");
    for (const int component : {3, -1, 9}) {
        n->setFloat("force", component, 1);
        EXPECT_EQ(n->evalFloat("force", component, 0), 0);
    }
    EXPECT_EQ(n->evalFloat("nothing", 0, 0) + n->evalFloat(999, 0, 0), 0);
    EXPECT_EQ(n->evalInt("group", 0, 0), 0);
}

TEST_F(Parameters, LocalVariablesComeBeforeTheSceneAndTheGlobals) {
    ExampleNode* n = node("n");
    OP_Director& director = *OPgetDirector();
    const auto value = [&](const char* text, float t = 0) {
        n->setExpression("force", 0, text);
        return n->FORCE.x(t);
    };
    // clang-format off
    const struct { const char* text; float t, value; } globals[] = { // 24 frames a second, counted from 1
        {"$BASE", 0, 103}, {"$FF", 0.5f, 13}, {"$FF", 0.52f, float(double(0.52f) * 24 + 1)}, {"$F", 0.52f, 13},
        {"$FEND - $FSTART + $FPS", 0, 263}, {"$TEND * 24 + $TSTART", 0, 239}, {"$PI", 0, 3.14159265f}};
    // clang-format on
    for (const auto& g : globals) EXPECT_EQ(value(g.text, g.t), g.value) << g.text;
    EXPECT_EQ(value("$GUST"), 0);
    EXPECT_EQ(EV_errNo(0), EV_ERR_VARIABLE);
    director.variables["GUST"] = 2.5;
    director.variables["AGE"] = -1;
    director.variablesChanged();
    EXPECT_EQ(n->FORCE.x(0), 2.5f);

    const CH_LocalVariable extra[] = {{"GUST", 9, 0}, {"AGE", 9, 0}, {}};
    EXPECT_EQ(value("$GUST + $AGE"), 9.5f);
    n->getCollection()->setExtraVariables(extra);
    EXPECT_EQ(n->FORCE.x(0), 116);
    n->getCollection()->setExtraVariables(nullptr);
    EXPECT_EQ(n->FORCE.x(0), 9.5f);
}

TEST_F(Parameters, KeysInterpolateMenusTakeTokensAndTextsMayBeLiteral) {
    ExampleNode* n = node("n");
    n->setKeys("scale", 0, CH_Channel({{2, 20}, {1, 10}, {4, 0}, {2, 30}, {5, -5}}));
    const std::pair<float, float> values[] = {{0, 10}, {1.5f, 20}, {2, 30}, {3, 15}, {99, 0}}; // hard below 0
    for (const auto& [t, value] : values) EXPECT_EQ(n->SCALE(t), value) << t;
    EXPECT_TRUE(n->flags().timeDependent);
    EXPECT_EQ(CH_Channel().evaluate(3), 0);

    EXPECT_EQ(n->MODE(), 1);
    for (const auto& [text, number] : {std::pair{"wild", 2}, {"slow", 0}, {"$AGE - 5.5", 1}}) {
        n->setExpression("mode", 0, text);
        EXPECT_EQ(n->MODE(), number) << text;
    }
    n->setFloat("switcher", 0, 1); // a folder without a value
    EXPECT_EQ(n->FOLDERS(), 0);

    n->setString("group", "hit`$AGE+1`_$F");
    EXPECT_EQ(n->GROUP(1), "hit8_25");
    EXPECT_EQ(n->GROUP.raw(), "hit`$AGE+1`_$F");
    n->setString("group", "$AGE", OP_Parameters::Literal);
    EXPECT_EQ(n->GROUP(), "$AGE");
    UT_String text;
    n->evalString(text, "force", 1, 0);
    EXPECT_EQ(text, "2");
    n->evalStringRaw(text, "force");
    EXPECT_EQ(text, "$AGE");
}

TEST_F(Parameters, InstancesAreReadByNumber) {
    ExampleNode* n = node("n");
    EXPECT_EQ(n->evalFloat("weight2", 0, 0), 0.5f);
    for (const char* token :
         {"weight3", "weight", "weight0", "weight02", "weight-1", "weight2 ", "weight#", "path2", "pathx"})
        EXPECT_FALSE(n->hasParm(token)) << token;

    n->setExpression("parts", 0, "10 + 1");
    n->setExpression("weight11", 0, "$AGE * 2");
    n->setString("path11x", "/obj/`$AGE`");
    EXPECT_EQ(n->PARTS(), 11);
    EXPECT_EQ(n->evalFloat("weight11", 0, 0), 14);
    UT_String text;
    n->evalString(text, "path11x", 0, 0);
    EXPECT_EQ(text, "/obj/7");

    n->setInt("parts", 0, 1);
    EXPECT_FALSE(n->hasParm("weight2"));
    n->setInt("parts", 0, std::numeric_limits<int>::max());
    EXPECT_EQ(n->PARTS(), PRM_Parm::maxInstances);
    n->setInt("parts", 0, -4);
    EXPECT_EQ(n->PARTS(), 0);
}

TEST_F(Parameters, SpareParametersKeepTheirOwnText) {
    ExampleNode* n = node("n");
    PRM_Template row;
    row.token = "mine";
    std::string text = "$AGE + 1";
    row.defaults = {text.c_str()};
    EXPECT_GE(n->parms().addSpare(row), 0);
    text = "overwritten";
    EXPECT_EQ(n->evalFloat("mine", 0, 0), 8);
    row.token = "weight2";
    EXPECT_EQ(n->parms().addSpare(row), -1);
}

TEST_F(Parameters, ErrorsNameTokenAndColumn) {
    const std::pair<const char*, const char*> cases[] = {
        {"$AGE + $AEG", "unknown variable $AEG at column 8; did you mean $AGE?"},
        {"2 * $BAD", "variable $BAD has no value here at column 5"}};
    for (const auto& [text, message] : cases) {
        ExampleNode* n = node("n" + std::to_string(std::strlen(text)));
        n->setExpression("force", 1, text);
        for (const float t : {0.0f, 1.0f}) {
            EXPECT_EQ(n->FORCE.y(t), 0) << text;
            EXPECT_EQ(EV_errNo(0), EV_ERR_VARIABLE) << text;
        }
        EXPECT_EQ(messages(*n), "error OP 1: force.y: \"" + std::string(text) + "\": " + message + "\n") << "once";
        EXPECT_EQ(n->error(), UT_ERROR_ABORT);
        n->FORCE.x(0); // a good evaluation leaves no trace of the bad one
        EXPECT_EQ(EV_errNo(0), EV_ERR_NONE);
    }
    ExampleNode* rule = node("rule");
    EV_errNo(0) = EV_ERR_VARIABLE; // without a text
    rule->evaluationError("rule", "$DEAD", 0);
    EXPECT_EQ(messages(*rule), "error OP 1: rule: \"$DEAD\": a variable has no value here\n");
    // A test of the variables hides what they raise, and nothing else.
    ExampleNode* tested = node("tested");
    tested->testing = true;
    for (const auto& [text, told] : {std::pair{"$BAD", 0u}, {"$NOBODY", 1u}}) {
        tested->setExpression("force", 0, text);
        tested->FORCE.x(0);
        EXPECT_EQ(EV_errNo(0), EV_ERR_VARIABLE);
        EXPECT_EQ(tested->errors().size(), told) << text;
    }
}

TEST_F(Parameters, EnableRulesFollowTheOtherParameters) {
    ExampleNode* n = node("n");
    EXPECT_EQ(n->disableParms(), 1u); // group: mode is 1
    EXPECT_TRUE(n->parms().find("mode")->enabled());
    EXPECT_FALSE(n->parms().find("group")->enabled());
    EXPECT_EQ(n->disableParms(), 0u);
    n->setInt("mode", 0, 2);
    EXPECT_EQ(n->disableParms(), 1u);
    EXPECT_TRUE(n->parms().find("group")->enabled());
    n->setInt("on", 0, 0);
    EXPECT_EQ(n->disableParms(), 2u);
    EXPECT_EQ(n->enableParm("group", 1), 1u);
    EXPECT_EQ(n->enableParm("group", 1), 0u);
    EXPECT_EQ(n->enableParm("nothing", 1), 0u);

    const PRM_EnableRule either = enable::notEmpty("group") || enable::isNot("mode", {2});
    EXPECT_TRUE(either.test(*n));
    n->setString("group", "");
    EXPECT_FALSE(either.test(*n));
    EXPECT_TRUE(enable::empty("group").test(*n) && enable::off("on").test(*n));
}

} // namespace
