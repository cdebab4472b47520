// Forces: mass, direction, noise, and which particles they reach.
#include "host/ut/UT_Noise.h"
#include "support/OperatorRig.h"

namespace {

struct Pull : OperatorRig {
    explicit Pull(int particles = 1, std::vector<FLX_Attrib> attributes = {})
        : OperatorRig("force", particles, std::move(attributes)) {}
    UT_Vector3 accel(int i = 0) { return vector("accel", i); }
    UT_Vector3 step(int i = 0) { return net.step(), accel(i); }
};

} // namespace

TEST(Force, MassComesFromTheAttributeTheParameterOrNowhere) {
    // clang-format off
    struct Case { bool attribute; float value; int override; double parm; int ignore; float divisor; };
    const Case cases[] = {
        {false, 0, 0, 3, 0, 1}, {true, 2, 0, 3, 0, 2}, {true, 2, 1, 4, 0, 4}, {false, 0, 1, 4, 0, 4},
        {true, 2, 0, 3, 1, 1}, {true, 2, 1, 4, 1, 1}, {true, 0, 0, 3, 0, 0.01f}, {true, -0.00001f, 0, 3, 0, 0.01f},
        {true, -2, 0, 3, 0, -2}, {true, 0.00002f, 0, 1, 0, 0.00002f}};
    // clang-format on
    for (const Case& c : cases) {
        Pull p(1, c.attribute ? std::vector{FLX_Attrib::Mass} : std::vector<FLX_Attrib>{});
        if (c.attribute) p.net.setValue("mass", 0, {c.value});
        p.set("force=0,-9.8,0 scale=0.5 overridemass={} mass={} ignoremass={}", c.override, c.parm, c.ignore);
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
    p.text("forcepath", "/obj/fan");
    EXPECT_EQ(p.step(), UT_Vector3(0, 0, -3));
    setParms(fan, "r=-90 t=7"); // -z turns to -y
    expectNear(p.step(), {0, -3, 0}, 1e-5);
    fan.setFloat("s", 2, 2);
    EXPECT_NEAR(p.step().y(), -6, 1e-5) << "its length is the object's scale";
    p.net.object().setFloat("r", 0, -90);
    EXPECT_NEAR(p.step().z(), -6, 1e-4) << "seen from the network's own space";
    const uint32_t serial = p.node.getChangeSerial();
    fan.setFloat("t", 0, 8);
    EXPECT_GT(p.node.getChangeSerial(), serial) << "the force depends on the object";
    p.text("forcepath", "/obj/gone");
    EXPECT_EQ(p.step(), UT_Vector3(15, 15, 15));
    EXPECT_EQ(p.messages(), "");
}

TEST(Force, NoiseIsSampledAtTheParticle) {
    constexpr int N = 600; // noise is found for many at once, unless what it depends on varies
    const int types[] = {0, 2, 1, 3};
    for (int menu = 0; menu < 4; ++menu)
        for (const char* varying : {"", "seed=6+0*$PT", "force=1+0*$TX"}) {
            SCOPED_TRACE(fmt::format("{} {}", menu, varying));
            Pull p(N);
            for (int i = 0; i < N; ++i) {
                const float at = float(i);
                p.place(i, {0.37f * at, 11 - 0.21f * at, 0.05f * at * at});
                p.net.setInt("pstate", i, i % 7 == 3 ? FLX_STOPPED : 0);
            }
            p.set("force=1,2,3 scale=2 freq=1,2,3 offset=0.5,0,-1 rough=0.4 atten=1.5 turb=3 seed=6 ntype={}", menu);
            p.set("amp=4,0,0.5");
            p.set(varying);
            p.net.context().setDoApplyRules(false); // they are to stay where they are
            p.net.step();
            UT_Noise noise(6, types[menu]);
            for (int i = 0; i < N; ++i) {
                const UT_Vector3 at = p.position(i);
                UT_Vector3 n(0, 0, 0);
                noise.turbulence(UT_Vector3((at.x() - 0.5f) * 1, at.y() * 2, (at.z() + 1) * 3), 3, n, 0.4f, 1.5f);
                const UT_Vector3 all((n.x() * 4 + 1) * 2, 4 /* no amplitude, no noise */, (n.z() * 0.5f + 3) * 2);
                ASSERT_EQ(p.accel(i), i % 7 == 3 ? UT_Vector3(0, 0, 0) : all) << i;
            }
            p.set("amp=0,0.00001,0");
            EXPECT_EQ(p.step(4), UT_Vector3(2, 4, 6));
        }
}
