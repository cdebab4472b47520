// The variables that read a particle, and the decision between once per cook and once per particle.
#include <cmath>
#include <cstdio>
#include <map>

#include "host/expr/EV_Error.h"
#include "host/expr/EV_Function.h"
#include "vars/FLX_VariableList.h"
#include "vars/Reader.h"

namespace {

int calls = 0;

bool countCall(EV_CallContext&, const EV_Value* args, int, EV_Value& result) {
    ++calls;
    result = args[0];
    return true;
}

constexpr EV_Type oneNumber[] = {EV_FLOAT};
const EV_FUNCTION counted{EV_NOFAIL, "testcount", 1, EV_FLOAT, oneNumber, &countCall};

struct Recording : Reading {
    explicit Recording(int particles)
        : Reading(particles, {FLX_Attrib::ID, FLX_Attrib::Mass}) {
        ev_AddFunction(&counted);
    }
    void addHeat() {
        source.attribs = [](Probe&, FLX_ContextData* context) {
            context->addUserVariable("heat", 8, GB_ATTRIB_FLOAT, nullptr, nullptr);
        };
    }
    std::vector<float> values(const char* expression) {
        op->setExpression("a", 0, expression);
        calls = 0;
        net.step();
        std::vector<float> found;
        for (const auto& row : op->rows) found.push_back(row.a);
        return found;
    }
};

} // namespace

// Of which attribute and component is written down in the table file.
TEST(ParticleVariables, EachReadsItsComponent) {
    Reading r(1);
    Network& net = r.net;
    Reader* const op = r.op;
    r.source.attribs = [](Probe&, FLX_ContextData* context) {
        for (int i = 0; i < FLX_NUM_ATTRIBS; ++i) context->addAttrib(FLX_Attrib(i));
    };
    net.start(*op);
    // Attribute k of the dictionary, component c, is 10 k + c + 1.
    std::map<std::pair<std::string, int>, float> expected;
    const GB_AttributeDict& dict = net.detail().pointAttribs();
    for (size_t k = 0; k < dict.entries(); ++k) {
        const GB_Attribute& attrib = *dict[k];
        if (attrib.getType() == GB_ATTRIB_RAW || attrib.getName() == "pstate") continue;
        for (int c = 0; c < attrib.components(); ++c) {
            const float value = float(10 * k) + float(c + 1);
            char* at = net.point(0)->data() + attrib.getOffset() + 4 * c;
            if (GBisFloatType(attrib.getType()))
                *reinterpret_cast<float*>(at) = value;
            else
                *reinterpret_cast<int*>(at) = int(value);
            expected[{attrib.getName(), c}] = value;
        }
    }
    net.point(0)->setPos({-1, -2, -3, -4});
    for (int c = 0; c < 3; ++c) expected[{"P", c}] = float(-1 - c);
    op->setupVars(&net.context(), nullptr);
    op->setCurPoint(net.point(0));
    EV_clearError(0);
    std::map<std::string, int> ids;
    for (const CH_LocalVariable* v = FLX_LocalVar::myVariablePair.variables; v->name; ++v) ids[v->name] = v->id;
    const auto get = [&](const std::string& name) { return op->getVariableValue(ids.at(name), 0); };
    const FLX_VariableList table;
    std::map<std::string, int> bits;
    int fields = 0;
    for (int i = 0; i < table.numvar(); ++i) {
        const std::string name = table.variable(i)->name.str();
        const char* const expression = table.variable(i)->expression.c_str();
        char attrib[32];
        int number = 0;
        if (std::sscanf(expression, "(*lvar.pstate & %d)", &number) == 1) bits[name] = number;
        if (std::sscanf(expression, "lvar.%31[A-Za-z][%d]", attrib, &number) != 2 || name.starts_with("BB")) continue;
        EXPECT_EQ(get(name), expected.at({attrib, number})) << name;
        ++fields;
    }
    EXPECT_EQ(fields, 105);
    EXPECT_EQ(get("SPEED"), expected.at({"speed", 0}));
    EXPECT_EQ(get("TIMEINC"), net.timeStep());
    const double w = expected[{"w", 0}];
    EXPECT_NEAR(get("WA"), std::sqrt(w * w + (w + 1) * (w + 1) + (w + 2) * (w + 2)) * 57.295776, 1e-2);
    EXPECT_EQ(bits.size(), 12u);
    for (const auto& [name, mask] : bits) {
        net.context().state(net.point(0)) = mask;
        for (const auto& [other, otherMask] : bits) EXPECT_EQ(get(other), mask == otherMask) << name << " " << other;
    }
    EXPECT_EQ(EV_errNo(0), EV_ERR_NONE);
    for (const int none : {199, 332}) EXPECT_EQ(op->getVariableValue(none, 0), 0);
    op->setCurPoint(nullptr);
    EXPECT_EQ(get("MASS"), 0);
}

TEST(ParticleVariables, DerivedValues) {
    Recording r(4);
    r.source.attribs = [](Probe&, FLX_ContextData* context) { context->addAttrib(FLX_Attrib::Rot); };
    r.net.start(*r.op);
    const auto value = [&](const char* expression) { return r.values(expression)[0]; };
    struct Life {
        float age, span, life;
    };
    for (const Life& c : {Life{2, 1, 1}, {2, 0, 0}, {0.5f, 2, 0.25f}, {3, -1, -3}, {3, 0.000009f, 0}}) {
        r.net.setValue("life", 0, {c.age, c.span});
        r.net.setInt("pstate", 0, FLX_SUPPRESS_AGE | FLX_SUPPRESS_REAP);
        EXPECT_EQ(value("$LIFE"), c.life) << c.age << " " << c.span;
    }
    r.net.setInt("pstate", 0, 0);
    r.net.setValue("life", 0, {0, 100});

    EXPECT_EQ(value("$ROTX + $ROTA"), 0) << "the identity has no axis";
    r.net.setValue("rot", 0, {0, 0.5f, 0, 0.8660254f});
    EXPECT_NEAR(value("$ROTA"), 60, 1e-4);
    EXPECT_NEAR(value("$ROTY"), 1, 1e-6);
    r.net.setValue("rot", 0, {0, 0, 2, -1.5f});
    EXPECT_NEAR(value("$ROTA"), 360, 1e-3) << "beyond -1 counts as -1";
    r.net.setValue("v", 0, {2, -3, 6});
    EXPECT_EQ(value("$SPEED"), 7);

    for (int i = 0; i < 4; ++i) {
        r.net.setValue("v", i, {0, 0, 0});
        r.net.point(i)->setPos({float(i), 5, float(2 * i * i), 1});
    }
    EXPECT_EQ(r.values("$BBX"), (std::vector<float>{0, 1 / 3.0f, 2 * (1 / 3.0f), 1}));
    EXPECT_EQ(r.values("$BBY"), (std::vector<float>{0, 0, 0, 0})) << "no extent";
    EXPECT_NEAR(r.values("$BBZ")[1], 2 / 18.0, 1e-6);
}

TEST(ParticleVariables, OncePerCookOrOncePerParticle) {
    Recording r(5);
    r.net.start(*r.op);
    struct Case {
        const char* expression;
        int calls; // of the counted function: one test, then one value or one per particle
    };
    // clang-format off
    const Case cases[] = {
        {"testcount(3)", 2}, {"testcount($NPT * 2)", 2}, {"testcount($NGRP + $TIMEINC)", 2}, {"testcount($FF)", 2},
        {"testcount($TX + $NPT)", 6}, {"testcount($ITER)", 6}, {"testcount(flxpoint(0, 'P', 1))", 2},
        {"testcount(flxpointid(2, 'P', 1) + flxpointnum(3) + flxevent('bang'))", 2}, {"testcount($PT)", 6},
        {"testcount(flxpoint($PT, 'P', 1))", 6}, {"testcount($MASS)", 6}, {"testcount($SPEED)", 6}, {"testcount($SLIDING)", 6},
        // What the test with every variable 1 does not reach does not count.
        {"testcount(0 ? $TX : 4)", 2}, {"testcount($NPT < 1 ? 7 : $TX)", 6}, {"testcount(0 && $TX)", 2},
        {"testcount($NPT == 5 ? $TX : 3)", 2}};
    // clang-format on
    for (const Case& c : cases) {
        const auto found = r.values(c.expression);
        EXPECT_EQ(found.size(), 5u) << c.expression << "\n" << Network::messages(*r.op);
        EXPECT_EQ(calls, c.calls) << c.expression;
        EXPECT_EQ(r.op->aVaries, c.calls > 2) << c.expression;
    }
    EXPECT_EQ(r.values("$ITER * 10 + $PT"), (std::vector<float>{0, 11, 22, 33, 44}));
    r.op->setExpression("vec", 1, "$PT");
    r.op->setFloat("vec", 2, 9);
    r.op->setExpression("n", 0, "$PT + 0.9");
    r.op->setExpression("late", 0, "testcount($PT)");
    r.op->setString("name", "`$PT`");
    r.values("2");
    EXPECT_TRUE(r.op->nVaries);
    EXPECT_TRUE(r.op->nameVaries);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(r.op->rows[size_t(i)].v, UT_Vector3(0, float(i), 9)) << "one component varies";
        EXPECT_EQ(r.op->rows[size_t(i)].n, i);
        EXPECT_EQ(r.op->rows[size_t(i)].late, i % 2 ? float(i) : -1);
    }
    EXPECT_EQ(calls, 1 + 2) << "tested once, then evaluated only where it was asked";
    r.op->setString("name", "plain $F");
    r.values("2");
    EXPECT_FALSE(r.op->nameVaries);
}

TEST(ParticleVariables, AWarningOrAFailureMakesAParameterPerParticle) {
    Recording r(3);
    r.net.start(*r.op);
    // Attributes that nobody added stand at the defaults they would have.
    EXPECT_EQ(r.values("$DRAG + 10 * $DIST + 100 * $SCALEZ"), (std::vector<float>{91, 91, 91}));
    EXPECT_TRUE(r.op->aVaries);
    EXPECT_EQ(Network::messages(*r.op),
              "warning FLX 1: $DRAG = 1\nwarning FLX 1: $DIST = -1\nwarning FLX 1: $SCALEZ = 1")
        << "once each";
    EXPECT_EQ(r.values("$PARENT + $ROTA"), (std::vector<float>{-1, -1, -1}));
    r.values("$NOSUCH");
    EXPECT_NE(Network::messages(*r.op).find("unknown variable $NOSUCH"), std::string::npos) << Network::messages(*r.op);
    EXPECT_TRUE(r.op->rows.empty()) << "an expression that means nothing stops the operator";
    r.values("5");
    EXPECT_EQ(Network::messages(*r.op), "");
    EXPECT_FALSE(r.op->aVaries);
}

TEST(ParticleVariables, ActivationMayNotReadThem) {
    Recording r(2);
    r.net.start(*r.op);
    r.op->setExpression("activate", 0, "$AGE");
    EXPECT_TRUE(r.values("$PT").empty());
    EXPECT_GE(r.op->error(), UT_ERROR_ABORT) << Network::messages(*r.op);
    r.op->setExpression("activate", 0, "1");
    EXPECT_EQ(r.values("$PT").size(), 2u) << "only the activation was denied";
}

TEST(ParticleVariables, GroupsSkippedParticlesAndEmptyDetails) {
    Recording r(6);
    r.net.start(*r.op);
    GB_PointGroup* group = r.net.detail().pointGroups().newGroup("some");
    for (const int i : {5, 1, 3}) group->add(r.net.point(i));
    r.op->setString("source", "some");
    EXPECT_EQ(r.values("$PT * 100 + $ITER * 10 + $NGRP"), (std::vector<float>{103, 313, 523}))
        << "in the detail's order";
    EXPECT_EQ(r.values("$NGRP * 2"), (std::vector<float>{6, 6, 6}));
    r.op->setString("source", "none such");
    EXPECT_TRUE(r.values("1").empty());
    EXPECT_EQ(Network::messages(*r.op), "error FLX 2: none such");
    r.net.detail().pointGroups().newGroup("empty");
    r.op->setString("source", "empty");
    EXPECT_TRUE(r.values("1").empty());
    EXPECT_EQ(Network::messages(*r.op), "");

    r.op->setString("source", "");
    r.net.context().state(r.net.point(2)) = FLX_STOPPED;
    r.op->skip = FLX_STOPPED;
    EXPECT_EQ(r.values("testcount($ITER)"), (std::vector<float>{0, 1, 3, 4, 5})) << "the skipped one is counted";
    EXPECT_EQ(calls, 6) << "but not evaluated";

    Recording none(0);
    none.net.start(*none.op);
    EXPECT_TRUE(none.values("testcount($TX)").empty());
    EXPECT_TRUE(none.op->aVaries) << "also without a particle to test with";
    EXPECT_EQ(calls, 1);
    none.values("testcount($NPT)");
    EXPECT_FALSE(none.op->aVaries);
}

TEST(ParticleVariables, UserVariablesAreCompiledOnce) {
    Recording r(2);
    r.addHeat();
    r.net.start(*r.op);
    r.net.setValue("heat", 1, {3, 4});
    EXPECT_EQ(r.values("$HEAT2 + $PT"), (std::vector<float>{0, 5}));
    EXPECT_NE(r.op->resolveExtraVariableForSyntaxHighlight("HEAT1"), nullptr);
    EXPECT_EQ(r.op->resolveExtraVariableForSyntaxHighlight("heat1"), nullptr);
    const EV_EXPRESSION& expression = *r.op->parms().parm(r.op->A.index()).component(0).expression();
    r.net.step(5);
    r.op->adds = "spark"; // moves no variable that was there
    r.net.step(2);
    EXPECT_EQ(expression.numCompilations(), 1) << "once for all cooks";
    EXPECT_EQ(r.op->rows[1].a, 5);
}

TEST(ParticleVariables, UserVariablesAddedInMidCookResolve) {
    for (const bool others : {true, false}) {
        Recording r(2);
        if (others) r.addHeat();
        r.net.start(*r.op);
        for (const char* name : {"spark", "flame", "glow", "smoke"}) {
            r.op->adds = name;
            const std::string text = "$SPARK + 2" + std::string(others ? " + $HEAT1" : "");
            EXPECT_EQ(r.values(text.c_str()), (std::vector<float>{2, 2})) << name;
        }
        EXPECT_EQ(r.values("$SMOKE + $GLOW + 1"), (std::vector<float>{1, 1}));
        EXPECT_EQ(Network::messages(*r.op), "");
        EXPECT_EQ(r.op->getCollection()->extraVariables(), nullptr) << "after the cook";
    }
}

TEST(ParticleVariables, AnInterruptStopsBeforeThePrimitive) {
    Recording r(3);
    r.net.start(*r.op);
    UTgetInterrupt()->clear();
    UTgetInterrupt()->fireAtPoll(2); // the first is before the loop
    EXPECT_TRUE(r.values("1").empty());
    UTgetInterrupt()->clear();
    EXPECT_EQ(r.values("1").size(), 3u);
}
