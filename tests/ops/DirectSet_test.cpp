// Operators that set a motion attribute: the ways to write the value, which particles they reach, what they write.
#include "host/node/OP_UndoManager.h"
#include "ops/motion/FLX_AxisOperator.h"
#include "support/Probe.h"

namespace {

/// One operator over particles that stand still unless a test lets them move.
struct Setter {
    Network net;
    Probe& source;
    FLX_Node& node;

    explicit Setter(const char* type, int particles = 1, double fps = 24, bool speed = false)
        : net(fps)
        , source(Probe::addSource(net, "source", particles))
        , node(net.add(type, "set", {&source})) {
        if (speed) source.attribs = [](Probe&, FLX_ContextData* context) { context->addAttrib(FLX_Attrib::Speed); };
        // So that the defaults read what is there, whoever made it.
        net.start(node);
        net.context().setDoApplyRules(false);
        net.context().setDoPrep(false);
    }
    void set(const std::string& parm, std::initializer_list<const char*> expressions) {
        int i = 0;
        for (const char* text : expressions) node.setExpression(parm.c_str(), i++, text);
    }
    std::vector<float> values(const char* attrib, int i, int size) {
        std::vector<float> out;
        for (int c = 0; c < size; ++c) out.push_back(net.value(attrib, i, c));
        return out;
    }
    UT_Vector3 vector(const char* attrib, int i = 0) { return net.vector(attrib, i); }
    void guideCook() {
        OP_Context context(net.time());
        net.context().cookGuide(context);
    }
};

// Those with a vector that stands for an attribute; the turn's axis does not.
// clang-format off
struct Member { const char *type, *stem, *text, *xyz, *attrib; int size; };
const Member members[] = {
    {"acceleration", "acceltype", "accelv", "a", "accel", 3}, {"velocity", "veltype", "velv", "v", "v", 3},
    {"angvelocity", "rottype", "rotv", "rot", "w", 3}, {"translation", "transtype", "transv", "trans", "trans", 3},
    {"upvector", "uptype", "upv", "up", "up", 3}, {"rotation", "rottype", "rotv", "rot", "rot", 4}};
// clang-format on

} // namespace

TEST(DirectSet, DefaultsLeaveTheValueAsItIs) {
    for (const Member& m : members) {
        for (const int form : {0, 1}) {
            SCOPED_TRACE(std::string(m.type) + (form ? " components" : " vector"));
            Setter s(m.type, 2);
            s.node.setInt(m.stem, 0, form);
            const std::string what = m.type;
            if (what == "rotation") // 260 degrees about (0, 0.6, 0.8)
                s.net.setValue(m.attrib, 1, {0, 0.6f * 0.76604444f, 0.8f * 0.76604444f, -0.64278761f});
            else
                s.net.setValue(m.attrib, 1, {0.3f, -1.7e5f, 2.1e-3f});
            const auto before = s.values(m.attrib, 1, m.size), still = s.values(m.attrib, 0, m.size);
            s.net.step();
            const auto after = s.values(m.attrib, 1, m.size);
            const bool exact = what != "rotation" && what != "angvelocity"; // those go through an angle
            for (size_t c = 0; c < after.size(); ++c)
                EXPECT_NEAR(after[c], before[c], exact ? 0 : 2e-6 * std::max(1.0f, std::abs(before[c]))) << c;
            EXPECT_EQ(s.values(m.attrib, 0, m.size), still) << "nothing, and the identity";
            EXPECT_EQ(Network::messages(s.node), "");
        }
    }
    Setter limit("speedlimit");
    limit.net.setValue("speedlimit", 0, {0.1f, 7.3f});
    limit.net.step();
    EXPECT_EQ(limit.values("speedlimit", 0, 2), (std::vector<float>{0.1f, 7.3f}));
}

// As one expression or as three, constant or per particle: the same bits. And they are the value that was meant.
TEST(DirectSet, TheFormsOfAVectorAgree) {
    const Member turn{"turn", "turntype", "turnv", "turn", "v", 3};
    std::vector<Member> all(std::begin(members), std::end(members));
    all.push_back(turn);
    struct Form {
        const char *vector, *x, *y, *z;
    };
    const Form forms[] = {
        {"vector3(0.1, 2, -0.3) / 3", "0.1 / 3", "2 / 3", "-0.3 / 3"}, // constants
        {"vector3(0.1, 2, -0.3) / (3 + 0 * $PT)", "0.1 / (3 + 0 * $PT)", "2 / (3 + 0 * $PT)", "-0.3 / (3 + 0 * $PT)"},
        {"vector3($PT + 0.1, 2, $TY - 0.3) / 3", "($PT + 0.1) / 3", "2 / 3", "($TY - 0.3) / 3"},
    };
    for (const Member& m : all) {
        std::vector<std::string> states;
        for (const Form& form : forms) {
            for (const int components : {0, 1}) {
                Setter s(m.type, 3);
                for (int i = 0; i < 3; ++i) {
                    s.net.setValue("v", i, {1, 0.5f, 0.25f * float(i)});
                    s.net.point(i)->setPos({0, float(i) * 0.7f, 0, 1});
                }
                s.node.setInt(m.stem, 0, components);
                if (s.node.hasParm("rotvel")) s.node.setFloat("rotvel", 0, 77);
                if (s.node.hasParm("rotangle")) s.node.setFloat("rotangle", 0, 77);
                if (components)
                    s.set(m.xyz, {form.x, form.y, form.z});
                else
                    s.node.setString(m.text, form.vector);
                const std::string before = s.net.state();
                s.net.step();
                EXPECT_EQ(Network::messages(s.node), "") << m.type;
                EXPECT_NE(s.net.state(), before) << m.type;
                states.push_back(s.net.state());
                if (m.size == 4 || std::string(m.type) == "turn" || std::string(m.type) == "angvelocity") continue;
                const bool varies = &form == &forms[2];
                for (int i = 0; i < 3; ++i) {
                    const UT_Vector3 value = s.vector(m.attrib, i);
                    EXPECT_FLOAT_EQ(value.x(), ((varies ? float(i) : 0) + 0.1f) / 3) << m.type;
                    EXPECT_FLOAT_EQ(value.y(), 2.0f / 3);
                    EXPECT_NEAR(value.z(), ((varies ? 0.7f * float(i) : 0) - 0.3f) / 3, 1e-7);
                }
            }
        }
        EXPECT_TRUE(states[0] == states[1] && states[0] == states[2] && states[0] == states[3]) << m.type;
        EXPECT_TRUE(states[4] == states[5]) << m.type;
        EXPECT_TRUE(states[4] != states[0]) << m.type;
    }
}

TEST(DirectSet, ReachesAllOrMovingParticles) {
    const int bits[] = {0, FLX_DEAD | FLX_SUPPRESS_REAP, FLX_STOPPED, FLX_STUCK, FLX_SLIDING, FLX_JUSTHIT};
    const auto reached = [&](const char* type, const char* attrib, int moving) {
        Setter s(type, 6);
        if (s.node.hasParm("applymotion")) s.node.setInt("applymotion", 0, moving);
        for (const char* parm :
             {"a", "v", "rot", "trans", "up", "t", "turn", "turnspeed", "rotvel", "rotangle", "speedlimit"})
            if (s.node.hasParm(parm)) s.node.setFloat(parm, 0, 100);
        for (int i = 0; i < 6; ++i) {
            s.net.setValue("v", i, {0, 1, 0});
            s.net.context().state(s.net.point(i)) = bits[i];
        }
        const int size = s.net.detail().pointAttribs().find(attrib ? attrib : "v")->getSize() / 4;
        std::vector<std::vector<float>> before;
        for (int i = 0; i < 6; ++i) before.push_back(s.values(attrib ? attrib : "v", i, size));
        s.net.step();
        int mask = 0;
        for (int i = 0; i < 6; ++i) {
            const bool moved = attrib ? s.values(attrib, i, size) != before[size_t(i)] : s.net.position(i).x() == 100;
            mask |= int(moved) << i;
        }
        return mask;
    };
    for (const Member& m : members) {
        EXPECT_EQ(reached(m.type, m.attrib, 0), 0b111111) << m.type;
        EXPECT_EQ(reached(m.type, m.attrib, 1), 0b110001) << m.type;
    }
    EXPECT_EQ(reached("position", nullptr, 0), 0b111111);
    EXPECT_EQ(reached("position", nullptr, 1), 0b110001);
    EXPECT_EQ(reached("turn", "v", 0), 0b110001) << "moving particles, always";
    EXPECT_EQ(reached("speedlimit", "speedlimit", 0), 0b111111) << "all, always";
}

TEST(DirectSet, VelocityKeepsTheSpeedInStep) {
    for (const char* z : {"12", "12 + $PT"}) {
        Setter s("velocity", 2, 24, true);
        s.set("v", {"3", "-4", z});
        s.net.step();
        EXPECT_EQ(s.vector("v"), UT_Vector3(3, -4, 12));
        EXPECT_EQ(s.net.value("speed", 0), 13);
    }
    Setter alone("velocity");
    alone.set("v", {"3", "-4", "12"});
    alone.net.step();
    EXPECT_EQ(alone.vector("v"), UT_Vector3(3, -4, 12));
    EXPECT_EQ(alone.net.detail().pointAttribs().find("speed"), nullptr);
}

TEST(DirectSet, AnglesAreInDegrees) {
    const float h = 0.70710678f;
    // clang-format off
    struct Turned { const char *axis[3], *angle; float rot[4]; };
    const Turned cases[] = {
        {{"0", "0", "2"}, "-90", {0, 0, h, -h}}, /* 270 degrees */ {{"0", "0", "2"}, "270", {0, 0, h, -h}},
        {{"0", "0", "-1"}, "90 + 720", {0, 0, -h, h}}, {{"3", "4", "0"}, "60 + 0 * $PT", {0.3f, 0.4f, 0, 0.8660254f}},
        {{"0", "0", "0"}, "60", {0, 0, 0, 1}} /* no axis */};
    // clang-format on
    for (const Turned& c : cases) {
        Setter s("rotation");
        s.set("rot", {c.axis[0], c.axis[1], c.axis[2]});
        s.set("rotangle", {c.angle});
        s.net.step();
        for (int i = 0; i < 4; ++i) EXPECT_NEAR(s.net.value("rot", 0, i), c.rot[i], 1e-6) << c.angle << " " << i;
    }
    Setter spin("angvelocity");
    EXPECT_NE(spin.net.detail().pointAttribs().find("rot"), nullptr) << "something to turn";
    spin.set("rot", {"0", "3", "4"});
    spin.set("rotvel", {"-90"});
    spin.net.step();
    EXPECT_NEAR(spin.vector("w").y(), -0.6 * 1.57079633, 1e-6);
    EXPECT_NEAR(spin.vector("w").z(), -0.8 * 1.57079633, 1e-6);
    spin.set("rot", {"0", "0", "0"});
    spin.net.step();
    EXPECT_EQ(spin.vector("w"), UT_Vector3(0, 0, 0));
}

TEST(DirectSet, TurnRotatesTheVelocity) {
    for (const char* speed : {"90", "90 + 0 * $PT"}) {
        Setter s("turn", 2, 1); // steps of a second
        s.net.setValue("v", 0, {1, 0, 0});
        s.net.setValue("v", 1, {0, 3, 4});
        s.set("turnspeed", {speed});
        s.net.step();
        const UT_Vector3 a = s.vector("v", 0), b = s.vector("v", 1);
        EXPECT_NEAR(a.x(), 0, 1e-6);
        EXPECT_NEAR(a.y(), 1, 1e-6);
        EXPECT_NEAR(b.x(), -3, 1e-6);
        EXPECT_NEAR(b.y(), 0, 1e-6);
        EXPECT_NEAR(b.z(), 4, 1e-6);
        s.net.step(3);
        EXPECT_NEAR(s.vector("v", 1).y(), 3, 1e-5) << "a whole turn";
    }
    Setter finer("turn", 1, 24);
    finer.net.setValue("v", 0, {0, 0, 2});
    finer.set("turn", {"5", "0", "0"});
    finer.net.step(24);
    EXPECT_NEAR(finer.vector("v").y(), -2 * 0.70710678, 1e-5) << "45 degrees a second";
    EXPECT_NEAR(finer.vector("v").z(), 2 * 0.70710678, 1e-5);
}

TEST(DirectSet, SpeedLimitsAreKeptByTheNextStep) {
    Setter s("speedlimit", 3);
    s.set("speedlimit", {"1", "2 + $PT"});
    for (int i = 0; i < 3; ++i) s.net.setValue("v", i, {0, i == 0 ? 0.5f : 9.0f, 0});
    s.net.step();
    EXPECT_EQ(s.vector("v", 2).y(), 9) << "not yet";
    s.net.context().setDoApplyRules(true);
    s.net.step();
    for (int i = 0; i < 3; ++i) EXPECT_FLOAT_EQ(s.vector("v", i).y(), i == 0 ? 1.0f : 2.0f + float(i));
}

TEST(DirectSet, AccelerationIsShownByItsGuide) {
    Setter s("acceleration", 2);
    s.set("a", {"24 + $PT", "0", "-48"});
    s.net.point(1)->setPos({0, 1, 0, 1});
    s.node.setTemplate(true);
    s.net.context().guidesWanted = 1;
    s.guideCook();
    EXPECT_EQ(s.vector("accel", 1), UT_Vector3(0, 0, 0)) << "shown, not written";
    const GU_Detail* guide = s.node.guideHandle().peekDetail();
    ASSERT_EQ(guide->primitives().entries(), 2u);
    const GEO_Primitive* line = guide->primitives()(1);
    EXPECT_EQ(UT_Vector3(line->getVertexPoint(0)->getPos()), UT_Vector3(0, 1, 0));
    const UT_Vector3 tip(line->getVertexPoint(1)->getPos());
    EXPECT_FLOAT_EQ(tip.x(), 25.0f / 24);
    EXPECT_FLOAT_EQ(tip.z(), -2);
    s.net.step();
    EXPECT_EQ(s.vector("accel", 1), UT_Vector3(25, 0, -48));
    EXPECT_EQ(guide->primitives().entries(), 2u);
}

TEST(DirectSet, VectorExpressionsSeeTimeAndVariables) {
    Setter s("translation", 2);
    s.node.setInt("transtype", 0, 0);
    s.net.step(5);
    s.node.setString("transv", "vector3($T, 2 * $F, $T) * 1");
    s.net.step();
    EXPECT_FLOAT_EQ(s.vector("trans").x(), 6.0f / 24);
    EXPECT_FLOAT_EQ(s.vector("trans").y(), 14);
    s.node.setString("transv", "$PT + 1"); // a number stands in all three
    s.net.step();
    EXPECT_EQ(s.vector("trans", 1), UT_Vector3(2, 2, 2));
    s.node.setString("transv", "vector3($ITER, `1 + 1`, 0)"); // raw: back-quotes are no part of the language
    s.net.step();
    EXPECT_NE(Network::messages(s.node), "");
}

TEST(DirectSet, AVectorThatFailsForOneParticleIsZeroThere) {
    Setter late("velocity", 3);
    for (int i = 0; i < 3; ++i) late.net.setValue("v", i, {7, 7, 7});
    late.node.setInt("veltype", 0, 0);
    late.node.setString("velv", "vector3(1, 2, 3)[$PT * 5]");
    late.net.step();
    const std::string messages = Network::messages(late.node);
    EXPECT_NE(messages.find("velv: \"vector3(1, 2, 3)[$PT * 5]\": "), std::string::npos) << messages;
    EXPECT_GE(late.node.error(), UT_ERROR_ABORT);
    EXPECT_NE(messages.find('\n'), std::string::npos) << "each failure is another one";
    EXPECT_EQ(late.vector("v", 0), UT_Vector3(1, 1, 1));
    EXPECT_EQ(late.vector("v", 2), UT_Vector3(0, 0, 0));
    late.node.setString("velv", "vector3(1, 2, 3)");
    late.net.step();
    EXPECT_EQ(Network::messages(late.node), "");
    EXPECT_EQ(late.vector("v"), UT_Vector3(1, 2, 3));
    // The error of a number is not told as one of the vector that is evaluated after it.
    Setter s("rotation", 2);
    s.node.setInt("rottype", 0, 0);
    s.node.setString("rotv", "vector3($PT, 1, 0)");
    s.set("rotangle", {"$NOTHING"});
    s.net.step();
    EXPECT_EQ(Network::messages(s.node).find("rotv"), std::string::npos) << Network::messages(s.node);
    EXPECT_NE(Network::messages(s.node).find("rotangle: "), std::string::npos);
}

TEST(DirectSet, AMenuOffersPredefinedAxes) {
    OP_UndoManager& undo = OP_UndoManager::instance();
    for (const char* type : {"rotation", "angvelocity"}) {
        Setter s(type);
        const PRM_Template& init = s.node.parms().find("init")->row();
        ASSERT_TRUE(init.menu && init.callback);
        PRM_Name names[20];
        init.menu->builder()(&s.node, names, 20, nullptr, nullptr);
        int y = 0, count = 0;
        for (; names[count].token; ++count)
            if (std::string(names[count].label) == "Y Axis") y = count;
        ASSERT_GE(count, 3);
        undo.setEnabled(true);
        EXPECT_EQ(init.callback(&s.node, y, 0), 1);
        EXPECT_EQ(undo.undoName(), "Rotation Axis Set");
        UT_String text;
        s.node.evalStringRaw(text, "rotv");
        EXPECT_EQ(text, "vector3(0, 1, 0)");
        EXPECT_EQ(init.callback(&s.node, count, 0), 0) << "no such rule";
        EXPECT_EQ(undo.undoSteps(), 1);
        // Every one of them evaluates.
        s.node.setInt("rottype", 0, 0);
        for (int i = 0; i < count; ++i) {
            init.callback(&s.node, i, 0);
            s.net.step();
            EXPECT_LT(s.node.error(), UT_ERROR_ABORT) << names[i].label << ": " << Network::messages(s.node);
        }
        while (undo.undo()) {
        }
        s.node.evalStringRaw(text, "rotv");
        EXPECT_EQ(text.str().substr(0, 8), "vector3(");
        EXPECT_NE(text.str().find('$'), std::string::npos);
        undo.setEnabled(false);
    }
}

TEST(DirectSet, AnAttributeOfAnotherTypeIsLeftAlone) {
    for (const char* type : {"upvector", "translation", "rotation", "angvelocity", "speedlimit", "lookat"}) {
        Network net;
        Probe& source = Probe::addSource(net, "source", 2);
        FLX_Node& node = net.add(type, "set", {&source});
        source.attribs = [](Probe&, FLX_ContextData* context) {
            const int one = 1;
            for (const char* name : {"up", "trans", "rot", "w", "speedlimit"})
                context->getDetail()->pointAttribs().append(name, 4, GB_ATTRIB_INT, &one);
        };
        net.start(node);
        net.step(2);
        for (const char* name : {"up", "trans", "rot", "w", "speedlimit"}) EXPECT_EQ(net.intValue(name, 1), 1) << type;
    }
}

TEST(DirectSet, FaultyVectorTextsAreToldOfOnceWithOrWithoutParticles) {
    const std::pair<const char*, const char*> faults[] = {
        {"vector3($NOPE, 1, 2)", "unknown variable $NOPE at column 9"},
        {"vector3(1, 2", ") is missing"},
        {"'a' + 'b'", "a vector is needed, this is a string"},
    };
    for (const Member& member : members)
        for (const auto& [text, fault] : faults)
            for (const int particles : {0, 3}) {
                Setter s(member.type, particles);
                s.node.setFloat(member.stem, 0, 0);
                s.node.setString(member.text, text);
                for (int i = 0; i < particles; ++i) s.net.setValue(member.attrib, i, {5, 6, 7});
                s.net.step(2);
                const std::string found = Network::messages(s.node);
                EXPECT_TRUE(found.starts_with(std::string("error OP 1: ") + member.text + ": ")) << found;
                EXPECT_NE(found.find(fault), std::string::npos) << found;
                EXPECT_EQ(found.find('\n'), std::string::npos) << found;
                const bool isRotation = member.size == 4;
                for (int i = 0; i < particles && !isRotation; ++i)
                    EXPECT_EQ(s.values(member.attrib, i, 3), (std::vector<float>{0, 0, 0})) << member.type << text;
            }
}
