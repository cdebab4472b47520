// Operators that set a motion attribute: the ways to write the value, which particles they reach, what they write.
#include "host/node/OP_UndoManager.h"
#include "ops/motion/FLX_AxisOperator.h"
#include "support/OperatorRig.h"

namespace {

/// Particles stand still unless a test lets them move.
struct Setter : OperatorRig {
    explicit Setter(const char* type, int particles = 1, double fps = 24, std::vector<FLX_Attrib> attributes = {})
        : OperatorRig(type, particles, std::move(attributes), fps) {
        net.context().setDoApplyRules(false);
        net.context().setDoPrep(false);
    }
    std::vector<float> values(const char* attrib, int i) {
        std::vector<float> out;
        const int size = net.detail().pointAttribs().find(attrib)->getSize() / 4;
        for (int c = 0; c < size; ++c) out.push_back(net.value(attrib, i, c));
        return out;
    }
};

// Those with a vector that stands for an attribute; the turn's axis does not.
// clang-format off
struct Member { const char *type, *stem, *text, *xyz, *attrib; };
const Member members[] = {
    {"acceleration", "acceltype", "accelv", "a", "accel"}, {"velocity", "veltype", "velv", "v", "v"},
    {"angvelocity", "rottype", "rotv", "rot", "w"}, {"translation", "transtype", "transv", "trans", "trans"},
    {"upvector", "uptype", "upv", "up", "up"}, {"rotation", "rottype", "rotv", "rot", "rot"}};
// clang-format on

bool isRotation(const Member& m) { return m.type == std::string("rotation"); }
bool isTurning(const Member& m) { return isRotation(m) || m.type == std::string("angvelocity"); }

} // namespace

TEST(DirectSet, DefaultsLeaveTheValueAsItIs) {
    for (const Member& m : members)
        for (const int form : {0, 1}) {
            SCOPED_TRACE(std::string(m.type) + (form ? " components" : " vector"));
            Setter s(m.type, 2);
            s.node.setInt(m.stem, 0, form);
            if (isRotation(m)) // 260 degrees about (0, 0.6, 0.8)
                s.net.setValue(m.attrib, 1, {0, 0.6f * 0.76604444f, 0.8f * 0.76604444f, -0.64278761f});
            else
                s.net.setValue(m.attrib, 1, {0.3f, -1.7e5f, 2.1e-3f});
            const auto before = s.values(m.attrib, 1), still = s.values(m.attrib, 0);
            s.net.step();
            const auto after = s.values(m.attrib, 1);
            for (size_t c = 0; c < after.size(); ++c) // turns go through an angle
                EXPECT_NEAR(after[c], before[c], isTurning(m) ? 2e-6 * std::max(1.0f, std::abs(before[c])) : 0) << c;
            EXPECT_EQ(s.values(m.attrib, 0), still) << "nothing, and the identity";
            EXPECT_EQ(s.messages(), "");
        }
    Setter limit("speedlimit");
    limit.net.setValue("speedlimit", 0, {0.1f, 7.3f});
    limit.net.step();
    EXPECT_EQ(limit.values("speedlimit", 0), (std::vector<float>{0.1f, 7.3f}));
}

// As one expression or as three, constant or per particle: the same bits. And they are the value that was meant.
TEST(DirectSet, TheFormsOfAVectorAgree) {
    std::vector<Member> all(std::begin(members), std::end(members));
    all.push_back({"turn", "turntype", "turnv", "turn", "v"});
    const std::pair<const char*, const char*> forms[] = {
        {"vector3(0.1, 2, -0.3) / 3", "0.1/3,2/3,-0.3/3"}, // constants
        {"vector3(0.1, 2, -0.3) / (3 + 0 * $PT)", "0.1/(3+0*$PT),2/(3+0*$PT),-0.3/(3+0*$PT)"},
        {"vector3($PT + 0.1, 2, $TY - 0.3) / 3", "($PT+0.1)/3,2/3,($TY-0.3)/3"},
    };
    for (const Member& m : all) {
        SCOPED_TRACE(m.type);
        std::vector<std::string> states;
        for (const auto& [vector, components] : forms)
            for (const bool asVector : {true, false}) {
                Setter s(m.type, 3);
                for (int i = 0; i < 3; ++i) {
                    s.net.setValue("v", i, {1, 0.5f, 0.25f * float(i)});
                    s.place(i, {0, float(i) * 0.7f, 0});
                }
                s.node.setInt(m.stem, 0, !asVector);
                for (const char* angle : {"rotvel", "rotangle"})
                    if (s.node.hasParm(angle)) s.node.setFloat(angle, 0, 77);
                if (asVector)
                    s.text(m.text, vector);
                else
                    s.set("{}={}", m.xyz, components);
                const std::string before = s.net.state();
                s.net.step();
                EXPECT_EQ(s.messages(), "");
                EXPECT_NE(s.net.state(), before);
                states.push_back(s.net.state());
                const bool varies = vector == forms[2].first;
                for (int i = 0; i < 3 && !isTurning(m) && m.type != std::string("turn"); ++i) {
                    const float n = varies ? float(i) : 0;
                    expectNear(s.vector(m.attrib, i), {(n + 0.1f) / 3, 2.0f / 3, (0.7f * n - 0.3f) / 3}, 1e-7);
                }
            }
        EXPECT_TRUE(states[0] == states[1] && states[0] == states[2] && states[0] == states[3]);
        EXPECT_TRUE(states[4] == states[5]);
        EXPECT_TRUE(states[4] != states[0]);
    }
}

TEST(DirectSet, ReachesAllOrMovingParticles) {
    const auto reached = [&](const char* type, const char* attrib, int moving) {
        Setter s(type, 6);
        for (const char* parm : {"applymotion", "mode"})
            if (s.node.hasParm(parm)) s.node.setInt(parm, 0, moving);
        for (const char* parm :
             {"a", "v", "rot", "trans", "up", "t", "turn", "turnspeed", "rotvel", "rotangle", "speedlimit", "force"})
            if (s.node.hasParm(parm)) s.node.setFloat(parm, 0, 100);
        for (int i = 0; i < 6; ++i) s.net.setValue("v", i, {0, 1, 0});
        s.setStates({0, FLX_DEAD | FLX_SUPPRESS_REAP, FLX_STOPPED, FLX_STUCK, FLX_SLIDING, FLX_JUSTHIT});
        const auto value = [&](int i) { return attrib ? s.values(attrib, i) : std::vector<float>{s.position(i).x()}; };
        std::vector<std::vector<float>> before;
        for (int i = 0; i < 6; ++i) before.push_back(value(i));
        s.net.step();
        int mask = 0;
        for (int i = 0; i < 6; ++i) mask |= int(value(i) != before[size_t(i)]) << i;
        return mask;
    };
    for (const Member& m : members) {
        EXPECT_EQ(reached(m.type, m.attrib, 0), 0b111111) << m.type;
        EXPECT_EQ(reached(m.type, m.attrib, 1), 0b110001) << m.type;
    }
    EXPECT_EQ(reached("position", nullptr, 0), 0b111111);
    EXPECT_EQ(reached("position", nullptr, 1), 0b110001);
    for (const auto& [type, attrib] : {std::pair{"turn", "v"}, {"force", "accel"}, {"lookat", "rot"}})
        for (const int mode : {0, 1})
            EXPECT_EQ(reached(type, attrib, mode), 0b110001) << type << ": moving particles, always";
    EXPECT_EQ(reached("speedlimit", "speedlimit", 0), 0b111111) << "all, always";
}

TEST(DirectSet, VelocityKeepsTheSpeedInStep) {
    for (const char* z : {"12", "12+$PT"}) {
        Setter s("velocity", 2, 24, {FLX_Attrib::Speed});
        s.set("v=3,-4,{}", z);
        s.net.step();
        EXPECT_EQ(s.vector("v"), UT_Vector3(3, -4, 12));
        EXPECT_EQ(s.net.value("speed", 0), 13);
    }
}

TEST(DirectSet, AnglesAreInDegrees) {
    const float h = 0.70710678f;
    // clang-format off
    struct Turned { const char *parms; float rot[4]; };
    const Turned cases[] = {
        {"rot=0,0,2 rotangle=-90", {0, 0, h, -h}}, /* 270 degrees */ {"rot=0,0,2 rotangle=270", {0, 0, h, -h}},
        {"rot=0,0,-1 rotangle=90+720", {0, 0, -h, h}}, {"rot=3,4,0 rotangle=60+0*$PT", {0.3f, 0.4f, 0, 0.8660254f}},
        {"rot=0,0,0 rotangle=60", {0, 0, 0, 1}} /* no axis */};
    // clang-format on
    for (const Turned& c : cases) {
        Setter s("rotation");
        s.set(c.parms);
        s.net.step();
        for (int i = 0; i < 4; ++i) EXPECT_NEAR(s.net.value("rot", 0, i), c.rot[i], 1e-6) << c.parms << " " << i;
    }
    Setter spin("angvelocity");
    EXPECT_NE(spin.net.detail().pointAttribs().find("rot"), nullptr) << "something to turn";
    spin.set("rot=0,3,4 rotvel=-90");
    spin.net.step();
    expectNear(spin.vector("w"), {0, -0.6f * 1.57079633f, -0.8f * 1.57079633f}, 1e-6);
    spin.set("rot=0,0,0");
    spin.net.step();
    EXPECT_EQ(spin.vector("w"), UT_Vector3(0, 0, 0));
}

TEST(DirectSet, TurnRotatesTheVelocity) {
    Setter s("turn", 2, 1); // steps of a second
    s.net.setValue("v", 0, {1, 0, 0});
    s.net.setValue("v", 1, {0, 3, 4});
    s.set("turnspeed=90");
    s.net.step();
    expectNear(s.vector("v", 0), {0, 1, 0}, 1e-6);
    expectNear(s.vector("v", 1), {-3, 0, 4}, 1e-6);
    Setter finer("turn");
    finer.net.setValue("v", 0, {0, 0, 2});
    finer.set("turn=5,0,0");
    finer.net.step(24);
    expectNear(finer.vector("v"), {0, -2 * 0.70710678f, 2 * 0.70710678f}, 1e-5, "45 degrees a second");
}

TEST(DirectSet, SpeedLimitsAreKeptByTheNextStep) {
    Setter s("speedlimit", 3);
    s.set("speedlimit=1,2+$PT");
    for (int i = 0; i < 3; ++i) s.net.setValue("v", i, {0, i == 0 ? 0.5f : 9.0f, 0});
    s.net.step();
    EXPECT_EQ(s.vector("v", 2).y(), 9) << "not yet";
    s.net.context().setDoApplyRules(true);
    s.net.step();
    for (int i = 0; i < 3; ++i) EXPECT_FLOAT_EQ(s.vector("v", i).y(), i == 0 ? 1.0f : 2.0f + float(i));
}

TEST(DirectSet, GuidesShowForcesAndAccelerations) {
    for (const auto& [type, parm] : {std::pair{"acceleration", "a"}, {"force", "force"}}) {
        SCOPED_TRACE(type);
        Setter s(type, 2);
        s.set("{}=24+$PT,0,-48", parm);
        s.place(1, {0, 1, 0});
        const GU_Detail& guide = s.guide();
        EXPECT_EQ(s.vector("accel", 1), UT_Vector3(0, 0, 0)) << "shown, not written";
        ASSERT_EQ(guide.primitives().entries(), 2u);
        const GEO_Primitive* line = guide.primitives()(1);
        EXPECT_EQ(UT_Vector3(line->getVertexPoint(0)->getPos()), UT_Vector3(0, 1, 0));
        expectNear(UT_Vector3(line->getVertexPoint(1)->getPos()), {25.0f / 24, 1, -2}, 1e-6);
        s.net.step();
        EXPECT_EQ(s.vector("accel", 1), UT_Vector3(25, 0, -48));
        EXPECT_EQ(guide.primitives().entries(), 2u) << "emptied and drawn anew";
    }
}

TEST(DirectSet, VectorExpressionsSeeTimeAndVariables) {
    Setter s("translation", 2);
    s.node.setInt("transtype", 0, 0);
    s.net.step(5);
    s.text("transv", "vector3($T, 2 * $F, $T) * 1");
    s.net.step();
    expectNear(s.vector("trans"), {6.0f / 24, 14, 6.0f / 24}, 1e-6);
    s.text("transv", "$PT + 1"); // a number stands in all three
    s.net.step();
    EXPECT_EQ(s.vector("trans", 1), UT_Vector3(2, 2, 2));
}

TEST(DirectSet, AVectorThatFailsForOneParticleIsZeroThere) {
    Setter late("velocity", 3);
    for (int i = 0; i < 3; ++i) late.net.setValue("v", i, {7, 7, 7});
    late.node.setInt("veltype", 0, 0);
    late.text("velv", "vector3(1, 2, 3)[$PT * 5]");
    late.net.step();
    const std::string messages = late.messages();
    EXPECT_NE(messages.find("velv: \"vector3(1, 2, 3)[$PT * 5]\": "), std::string::npos) << messages;
    EXPECT_GE(late.node.error(), UT_ERROR_ABORT);
    EXPECT_NE(messages.find('\n'), std::string::npos) << "each failure is another one";
    EXPECT_EQ(late.vector("v", 0), UT_Vector3(1, 1, 1));
    EXPECT_EQ(late.vector("v", 2), UT_Vector3(0, 0, 0));
    late.text("velv", "vector3(1, 2, 3)");
    late.net.step();
    EXPECT_EQ(late.messages(), "");
    EXPECT_EQ(late.vector("v"), UT_Vector3(1, 2, 3));
    // The error of a number is not told as one of the vector that is evaluated after it.
    Setter s("rotation", 2);
    s.node.setInt("rottype", 0, 0);
    s.text("rotv", "vector3($PT, 1, 0)");
    s.set("rotangle=$NOTHING");
    s.net.step();
    EXPECT_EQ(s.messages().find("rotv"), std::string::npos) << s.messages();
    EXPECT_NE(s.messages().find("rotangle: "), std::string::npos);
}

TEST(DirectSet, AMenuOffersPredefinedAxes) {
    OP_UndoManager& undo = OP_UndoManager::instance();
    for (const char* type : {"rotation", "angvelocity"}) {
        Setter s(type);
        const PRM_Template& init = s.node.parms().find("init")->row();
        const auto axis = [&] {
            UT_String text;
            s.node.evalStringRaw(text, "rotv");
            return text.str();
        };
        const std::string old = axis();
        PRM_Name names[20];
        init.menu->builder()(&s.node, names, 20, nullptr, nullptr);
        undo.setEnabled(true);
        s.node.setInt("rottype", 0, 0);
        int count = 0;
        for (; names[count].token; ++count) { // every one of them evaluates
            EXPECT_EQ(init.callback(&s.node, count, 0), 1);
            EXPECT_EQ(axis() == "vector3(0, 1, 0)", std::string(names[count].label) == "Y Axis");
            s.net.step();
            EXPECT_LT(s.node.error(), UT_ERROR_ABORT) << names[count].label << ": " << s.messages();
        }
        EXPECT_GE(count, 3);
        EXPECT_EQ(init.callback(&s.node, count, 0), 0) << "no such rule";
        EXPECT_EQ(undo.undoName(), "Rotation Axis Set");
        while (undo.undo()) {
        }
        EXPECT_EQ(axis(), old);
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
        {"vector3(1, `1 + 1`, 0)", ""}, // raw: back-quotes are no part of the language
        {"'a' + 'b'", "a vector is needed, this is a string"},
    };
    for (const Member& member : members)
        for (const auto& [text, fault] : faults)
            for (const int particles : {0, 3}) {
                Setter s(member.type, particles);
                s.node.setFloat(member.stem, 0, 0);
                s.text(member.text, text);
                for (int i = 0; i < particles; ++i) s.net.setValue(member.attrib, i, {5, 6, 7});
                s.net.step(2);
                const std::string found = s.messages();
                EXPECT_TRUE(found.starts_with(std::string("error OP 1: ") + member.text + ": ")) << found;
                EXPECT_NE(found.find(fault), std::string::npos) << found;
                EXPECT_EQ(found.find('\n'), std::string::npos) << found;
                for (int i = 0; i < particles && !isRotation(member); ++i)
                    EXPECT_EQ(s.vector(member.attrib, i), UT_Vector3(0, 0, 0)) << member.type << text;
            }
}
