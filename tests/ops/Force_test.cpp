// Forces: mass, direction, noise, and which particles they reach.
#include <vector>

#include "host/ut/UT_Noise.h"
#include "support/Probe.h"
#include "support/SetParms.h"

namespace {

struct Pull {
    Network net;
    Probe& source;
    FLX_Node& pull;

    explicit Pull(int particles = 1, bool mass = false)
        : source(Probe::addSource(net, "source", particles))
        , pull(net.add("force", "pull", {&source})) {
        if (mass) source.attribs = [](Probe& self, FLX_ContextData* context) { self.addMassAttrib(context); };
        net.start(pull);
    }
    void set(const std::string& parms) { setParms(pull, parms); }
    void set(const char* parm, std::initializer_list<double> values) {
        int i = 0;
        for (const double value : values) pull.setFloat(parm, i++, value);
    }
    UT_Vector3 accel(int i = 0) { return net.vector("accel", i); }
    UT_Vector3 step(int i = 0) { return net.step(), accel(i); }
};

} // namespace

TEST(Force, MassComesFromTheAttributeTheParameterOrNowhere) {
    // clang-format off
    struct Case { bool attribute; float value; bool override; double parm; bool ignore; float divisor; };
    const Case cases[] = {
        {false, 0, false, 3, false, 1}, {true, 2, false, 3, false, 2}, {true, 2, true, 4, false, 4},
        {false, 0, true, 4, false, 4}, {true, 2, false, 3, true, 1}, {true, 2, true, 4, true, 1},
        {true, 0, false, 3, false, 0.01f}, {true, -0.00001f, false, 3, false, 0.01f}, {true, -2, false, 3, false, -2},
        {true, 0.00002f, false, 1, false, 0.00002f}};
    // clang-format on
    for (const Case& c : cases) {
        Pull p(1, c.attribute);
        if (c.attribute) p.net.setValue("mass", 0, {c.value});
        p.set("force=0,-9.8,0 scale=0.5");
        p.set("overridemass", {double(c.override)});
        p.set("mass", {c.parm});
        p.set("ignoremass", {double(c.ignore)});
        EXPECT_FLOAT_EQ(p.step().y(), -9.8f * 0.5f / c.divisor) << c.attribute << c.value << c.override << c.ignore;
        EXPECT_EQ(p.accel().x(), 0);
    }
    Pull perParticle(3);
    perParticle.set("force=6,0,0 overridemass=1 mass=1+$PT");
    perParticle.net.step();
    for (int i = 0; i < 3; ++i) EXPECT_FLOAT_EQ(perParticle.accel(i).x(), 6.0f / float(1 + i));
}

TEST(Force, AnObjectGivesTheDirectionInTheNetworksSpace) {
    Pull p;
    OBJ_Node& fan = Network::addObject("fan");
    p.set("force=5,5,5 scale=3");
    p.pull.setString("forcepath", "/obj/fan");
    EXPECT_EQ(p.step(), UT_Vector3(0, 0, -3));
    fan.setFloat("r", 0, -90); // -z turns to -y
    fan.setFloat("t", 0, 7);
    UT_Vector3 a = p.step();
    EXPECT_NEAR(a.x(), 0, 1e-5);
    EXPECT_NEAR(a.y(), -3, 1e-5);
    EXPECT_NEAR(a.z(), 0, 1e-5);
    fan.setFloat("s", 2, 2);
    EXPECT_NEAR(p.step().y(), -6, 1e-5) << "its length is the object's scale";
    p.net.object().setFloat("r", 0, -90);
    EXPECT_NEAR(p.step().z(), -6, 1e-4) << "seen from the network's own space";
    const uint32_t serial = p.pull.getChangeSerial();
    fan.setFloat("t", 0, 8);
    EXPECT_GT(p.pull.getChangeSerial(), serial) << "the force depends on the object";
    p.pull.setString("forcepath", "/obj/gone");
    EXPECT_EQ(p.step(), UT_Vector3(15, 15, 15));
    EXPECT_EQ(Network::messages(p.pull), "");
}

TEST(Force, NoiseIsSampledAtTheParticle) {
    Pull p(2);
    p.net.point(1)->setPos({0.3f, 1.7f, -2.1f, 1});
    p.set("force=1,2,3 scale=2 freq=1,2,3 offset=0.5,0,-1 rough=0.4 atten=1.5 turb=3 seed=6");
    const UT_Vector3 plain = p.step(1);
    EXPECT_EQ(plain, UT_Vector3(2, 4, 6));
    p.net.context().setDoApplyRules(false); // it is to stay where it is
    const int types[] = {0, 2, 1, 3};
    for (int menu = 0; menu < 4; ++menu) {
        p.set("ntype", {double(menu)});
        p.set("amp", {4, 0, 0.5});
        UT_Noise noise(6, types[menu]);
        UT_Vector3 n(0, 0, 0);
        noise.turbulence(UT_Vector3((0.3f - 0.5f) * 1, 1.7f * 2, (-2.1f + 1) * 3), 3, n, 0.4f, 1.5f);
        const UT_Vector3 a = p.step(1);
        EXPECT_FLOAT_EQ(a.x(), (n.x() * 4 + 1) * 2) << menu;
        EXPECT_EQ(a.y(), 4) << "no amplitude, no noise";
        EXPECT_FLOAT_EQ(a.z(), (n.z() * 0.5f + 3) * 2);
        EXPECT_NE(a.x(), plain.x());
        EXPECT_NE(p.accel(0).x(), a.x());
    }
    p.pull.setExpression("seed", 0, "6 + 0 * $PT");
    EXPECT_NE(p.step(1), plain);
    p.set("amp", {0, 0.00001, 0});
    EXPECT_EQ(p.step(1), plain);
}

// Noise that is found for many particles at once has the bits of noise found for each.
TEST(Force, ConstantNoiseEqualsVaryingNoise) {
    constexpr int N = 600;
    for (int menu = 0; menu < 4; ++menu) {
        std::vector<UT_Vector3> found[3];
        for (int way = 0; way < 3; ++way) {
            Pull p(N);
            for (int i = 0; i < N; ++i) {
                const float at = float(i);
                p.net.point(i)->setPos({0.37f * at, 11 - 0.21f * at, 0.05f * at * at, 1});
                p.net.setInt("pstate", i, i % 7 == 3 ? FLX_STOPPED : 0);
            }
            p.set("force=1,2,3 freq=0.5,0.25,1 amp=4,0,-1.5 turb=2 atten=1.5 seed=6");
            p.set("ntype", {double(menu)});
            if (way == 1) p.pull.setExpression("seed", 0, "6 + 0 * $PT");
            if (way == 2) p.pull.setExpression("force", 0, "1 + 0 * $TX");
            p.net.context().setDoApplyRules(false);
            p.net.step();
            for (int i = 0; i < N; ++i) found[way].push_back(p.accel(i));
        }
        EXPECT_EQ(found[0], found[1]) << menu;
        EXPECT_EQ(found[0], found[2]) << menu;
        EXPECT_EQ(found[0][3], UT_Vector3(0, 0, 0)) << "a stopped particle";
        EXPECT_NE(found[0][4], UT_Vector3(1, 2, 3));
    }
}

TEST(Force, ReachesLiveParticles) {
    Pull p(6);
    p.set("force", {1, 0, 0});
    const int bits[] = {0, FLX_DEAD | FLX_SUPPRESS_REAP, FLX_STOPPED, FLX_STUCK, FLX_SLIDING, FLX_JUSTHIT};
    for (int i = 0; i < 6; ++i) p.net.context().state(p.net.point(i)) = bits[i];
    p.net.context().setDoApplyRules(false);
    p.net.step();
    for (int i = 0; i < 6; ++i) EXPECT_EQ(p.accel(i).x(), i == 0 || i > 3) << i;
    EXPECT_EQ(p.pull.getParticleList()->entries(), 1) << "the particles go on";
}

TEST(Force, GuidesShowTheForce) {
    Pull p(2);
    p.set("force", {24, 0, 0});
    p.net.point(1)->setPos({0, 1, 0, 1});
    p.pull.setTemplate(true);
    p.net.context().guidesWanted = 1;
    p.net.step();
    const GU_Detail* guide = p.pull.guideHandle().peekDetail();
    ASSERT_EQ(guide->primitives().entries(), 2u);
    EXPECT_EQ(UT_Vector3(guide->primitives()(1)->getVertexPoint(0)->getPos()), UT_Vector3(0, 1, 0));
    EXPECT_EQ(UT_Vector3(guide->primitives()(1)->getVertexPoint(1)->getPos()), UT_Vector3(24 * p.net.timeStep(), 1, 0));
    OP_Context context(p.net.time());
    p.net.context().cookGuide(context);
    EXPECT_EQ(guide->primitives().entries(), 2u) << "emptied and drawn anew";
}

TEST(Force, DisablesWhatDoesNotCount) {
    Pull p;
    const auto enabled = [&](const char* parm) { return p.pull.parms().find(parm)->enabled(); };
    p.pull.disableParms();
    EXPECT_TRUE(enabled("force") && enabled("overridemass") && !enabled("mass"));
    p.set("overridemass", {1});
    p.pull.setString("forcepath", "/obj/fan");
    EXPECT_EQ(p.pull.disableParms(), 2u);
    EXPECT_TRUE(!enabled("force") && enabled("mass"));
    p.set("ignoremass", {1});
    EXPECT_EQ(p.pull.disableParms(), 2u);
    EXPECT_TRUE(!enabled("overridemass") && !enabled("mass"));
    EXPECT_EQ(p.pull.disableParms(), 0u);

    PRM_ParmList old(p.pull.getOperator()->getObsoleteTemplates());
    old.find("forceobj")->setText("fan");
    p.pull.resolveObsoleteParms(&old);
    UT_String path;
    p.pull.evalString(path, "forcepath", 0, 0);
    EXPECT_EQ(path, "../../fan");
}
