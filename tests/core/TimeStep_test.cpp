// The default rules one by one, and the two orders in which they may run.
#include <bit>
#include <cmath>

#include "support/Probe.h"

namespace {

using F3 = std::array<float, 3>;

/// Whether the phases run one after the other, as they do where particles may be bound to geometry, or fused.
class TimeStep : public testing::TestWithParam<bool> {};

/// A network with one probe whose particles have the listed attributes.
struct Rules {
    Network net;
    Probe& probe;

    Rules(int particles, std::initializer_list<FLX_Attrib> attribs)
        : probe(Probe::addSource(net, "probe", particles)) {
        probe.attribs = [list = std::vector(attribs)](Probe&, FLX_ContextData* context) {
            for (const FLX_Attrib attrib : list) context->addAttrib(attrib);
            if (TimeStep::GetParam()) context->addAttrib(FLX_Attrib::PosPath);
        };
        net.start(probe);
    }
    /// Sets a particle up with velocity and acceleration.
    void move(int i, F3 v, F3 a = {0, 0, 0}) {
        net.setValue("v", i, {v[0], v[1], v[2]});
        net.setValue("accel", i, {a[0], a[1], a[2]});
    }
    F3 get(const char* attrib, int i) {
        return {net.value(attrib, i, 0), net.value(attrib, i, 1), net.value(attrib, i, 2)};
    }
    int& bits(int i) { return net.context().state(net.point(i)); }
    float dt() const { return net.timeStep(); }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(FusedAndPhaseByPhase, TimeStep, testing::Bool());

TEST_P(TimeStep, PositionMovesBeforeTheVelocityDoes) {
    Rules r(2, {FLX_Attrib::Speed, FLX_Attrib::PrevVel});
    r.move(0, {1, 2, 3}, {24, -48, 0});
    const float dt = r.dt();
    r.net.step();
    EXPECT_EQ(r.net.position(0), UT_Vector3(1 * dt, 2 * dt, 3 * dt));
    const F3 v = {1 + 24 * dt, 2 + -48 * dt, 3};
    EXPECT_EQ(r.get("v", 0), v);
    EXPECT_EQ(r.get("pv", 0), v);
    EXPECT_EQ(r.get("accel", 0), (F3{0, 0, 0}));
    EXPECT_FLOAT_EQ(r.net.value("speed", 0), std::sqrt(v[0] * v[0] + v[1] * v[1] + 9));
    EXPECT_EQ(r.net.value("life", 0), dt);
    const float* back = r.net.context().backtrack(r.net.point(0));
    EXPECT_EQ((std::array{back[0], back[1], back[2], back[3]}), (std::array{1.0f, 2.0f, 3.0f, dt}));
    r.bits(0) |= FLX_SUPPRESS_POS;
    r.net.step();
    EXPECT_EQ(back[3], 0) << "a particle that did not move has nothing to re-trace";
    EXPECT_EQ(r.net.point(0)->getPos().w(), 1);
}

TEST_P(TimeStep, EachStateBitStopsItsRulesForOneStep) {
    struct Case {
        const char* what;
        int bits, suppression;
        bool moves, accelerates, turnsUp, ages, turns, spins;
        int left; // of the bits, after preparation
    };
    // clang-format off
    const Case cases[] = {
        {"nothing",            0,                  0,     true,  true,  true,  true,  true,  true,  0},
        {"no position",        FLX_SUPPRESS_POS,   0,     false, true,  true,  true,  true,  true,  0},
        {"no velocity",        FLX_SUPPRESS_VEL,   0,     true,  false, true,  true,  true,  true,  0},
        {"no up",              FLX_SUPPRESS_UP,    0,     true,  true,  false, true,  true,  true,  0},
        {"no age",             FLX_SUPPRESS_AGE,   0,     true,  true,  true,  false, true,  true,  0},
        {"no rotation",        FLX_SUPPRESS_ROT,   0,     true,  true,  true,  true,  false, true,  0},
        {"no spin",            FLX_SUPPRESS_ANGVEL,0,     true,  true,  true,  true,  true,  false, 0},
        {"stopped",            FLX_STOPPED,        0,     false, false, false, true,  true,  true,  FLX_STOPPED},
        {"just hit",           FLX_JUSTHIT,        0,     true,  true,  true,  true,  true,  true,  0},
        {"dead, kept",         FLX_DEAD | FLX_SUPPRESS_REAP, 0, false, false, false, true, true, true, FLX_DEAD},
        {"stuck to nothing",   FLX_STUCK,          0,     false, true,  true,  true,  true,  true,  FLX_STUCK},
        {"all no position",    0, FLX_SUPPRESS_POS,       false, true,  true,  true,  true,  true,  0},
        {"all no up, no age",  0, FLX_SUPPRESS_UP | FLX_SUPPRESS_AGE, true, true, false, false, true, true, 0},
        {"all no turn, spin",  0, FLX_SUPPRESS_ROT | FLX_SUPPRESS_ANGVEL, true, true, true, true, false, false, 0},
        // Sliding on nothing ends at once, and heeds the particle's own bits alone.
        {"sliding",            FLX_SLIDING, FLX_SUPPRESS_POS | FLX_SUPPRESS_VEL, true, true, true, true, true, true, 0},
        {"sliding, no pos",    FLX_SLIDING | FLX_SUPPRESS_POS, 0, false, true, true, true, true, true, 0},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Rules r(1, {FLX_Attrib::Up, FLX_Attrib::PrevVel, FLX_Attrib::Rot, FLX_Attrib::AngVel, FLX_Attrib::Torque});
        r.move(0, {0, 1, 0}, {0, 0, 24});
        r.net.setValue("pv", 0, {1, 0, 0});
        r.net.setValue("up", 0, {1, 0, 0});
        r.net.setValue("w", 0, {0, 2, 0});
        r.net.setValue("torque", 0, {1, 0, 0});
        r.bits(0) = c.bits;
        r.net.context().setRuleSuppression(c.suppression);
        r.net.step();
        ASSERT_EQ(r.net.particles(), 1);
        EXPECT_EQ(r.net.position(0).y() != 0, c.moves);
        EXPECT_EQ(r.net.value("v", 0, 2) != 0, c.accelerates);
        EXPECT_EQ(r.net.value("up", 0, 0) != 1, c.turnsUp);
        EXPECT_EQ(r.net.value("life", 0) != 0, c.ages);
        EXPECT_EQ(r.net.value("rot", 0, 1) != 0, c.turns);
        EXPECT_EQ(r.net.value("w", 0, 0) != 0, c.spins);
        EXPECT_EQ(r.bits(0), c.left);
        EXPECT_EQ(r.net.context().backtrack(r.net.point(0))[3], c.moves ? r.dt() : 0);
        EXPECT_EQ(r.net.value("torque", 0, 0), 0);
    }
}

TEST_P(TimeStep, SpeedLimits) {
    // clang-format off
    const struct { float min, max, speed, limited; } cases[] = {
        {-1, -1, 5, 5}, {2, -1, 1, 2}, {2, -1, 3, 3}, {-1, 3, 5, 3}, {-1, 3, 2, 2}, {2, 3, 1, 2}, {4, 3, 1, 4},
        {4, 3, 5, 3}, {-1, 0, 5, 0}, {4, 2, 3, 4}, {1, -1, 0, 0}}; // without a direction there is nothing to lengthen
    // clang-format on
    Rules r(int(std::size(cases)), {FLX_Attrib::SpeedLimit, FLX_Attrib::Speed});
    int i = 0;
    for (const auto& c : cases) {
        r.net.setValue("speedlimit", i, {c.min, c.max});
        r.move(i++, {0.6f * c.speed, 0, -0.8f * c.speed});
    }
    r.net.step();
    i = 0;
    for (const auto& c : cases) {
        EXPECT_NEAR(r.net.value("v", i, 0), 0.6f * c.limited, 1e-6f) << "case " << i;
        EXPECT_NEAR(r.net.value("v", i, 2), -0.8f * c.limited, 1e-6f) << "case " << i;
        EXPECT_NEAR(r.net.value("speed", i), c.limited, 1e-6f) << "case " << i;
        EXPECT_FLOAT_EQ(r.net.position(i).x(), 0.6f * c.speed * r.dt()) << "it moved with what it had";
        ++i;
    }
}

TEST_P(TimeStep, UpTurnsAsTheVelocityTurns) {
    Rules r(3, {FLX_Attrib::Up, FLX_Attrib::PrevVel});
    // From +x to +y: a quarter turn about z.
    for (int i = 0; i < 3; ++i) {
        r.move(i, {0, i == 1 ? 0.0f : 2.0f, 0});
        r.net.setValue("pv", i, {i == 2 ? 0.0f : 1.0f, 0, 0});
        r.net.setValue("up", i, {1, 2, 3});
    }
    r.net.step();
    EXPECT_NEAR(r.net.value("up", 0, 0), -2, 1e-5f);
    EXPECT_NEAR(r.net.value("up", 0, 1), 1, 1e-5f);
    EXPECT_NEAR(r.net.value("up", 0, 2), 3, 1e-5f);
    for (const int still : {1, 2}) EXPECT_EQ(r.get("up", still), (F3{1, 2, 3})) << "no direction to turn from or to";
}

TEST_P(TimeStep, OrientationTurnsWithTheAngularVelocityBeforeTheTorqueChangesIt) {
    Rules r(2, {FLX_Attrib::Rot, FLX_Attrib::AngVel, FLX_Attrib::Torque, FLX_Attrib::Mass});
    const std::array<float, 4> q = {0.1f, -0.2f, 0.3f, std::sqrt(1 - 0.14f)};
    const F3 w = {0.5f, 1.5f, -2};
    const float dt = r.dt();
    for (int i = 0; i < 2; ++i) {
        r.net.setValue("rot", i, {q[0], q[1], q[2], q[3]});
        r.net.setValue("w", i, {w[0], w[1], w[2]});
        r.net.setValue("torque", i, {1, 2, 3});
        r.net.setValue("mass", i, {i ? 0.0f : 4.0f});
    }
    r.net.step();
    // q + dt/2 (w, 0) q, normalised: Hamilton's product written out in doubles.
    const double a = w[0] / 2, b = w[1] / 2, c = w[2] / 2;
    std::array<double, 4> e = {a * q[3] + b * q[2] - c * q[1], b * q[3] + c * q[0] - a * q[2],
                               c * q[3] + a * q[1] - b * q[0], -a * q[0] - b * q[1] - c * q[2]};
    double length = 0;
    for (size_t i = 0; i < 4; ++i) e[i] = q[i] + dt * e[i], length += e[i] * e[i];
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(r.net.value("rot", 0, i), e[size_t(i)] / std::sqrt(length), 1e-6) << i;
    const double inertia = 4.0 * double(std::bit_cast<float>(0x3e2aaa7eu));
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(r.net.value("w", 0, i), w[size_t(i)] + (i + 1) / inertia * dt, 1e-6);
        EXPECT_EQ(r.net.value("w", 1, i), w[size_t(i)]) << "no mass, no inertia: the torque does nothing";
    }
}

TEST_P(TimeStep, TheExpiredDieAtPreparationAndGoAtTheNextStep) {
    for (const bool deleteDead : {true, false}) {
        SCOPED_TRACE(deleteDead);
        Rules r(5, {FLX_Attrib::ID});
        r.net.context().deleteDead = deleteDead;
        const float dt = r.dt();
        const float spans[] = {1.5f * dt, -1, dt, 100, 0};
        for (int i = 0; i < 5; ++i) r.net.setValue("life", i, {0, spans[i]});
        for (int i = 0; i < 5; ++i) r.net.setInt("id", i, i + 1);
        auto* prim = dynamic_cast<GEO_PrimParticle*>(r.net.detail().primitives()(0));
        r.net.step(); // ages are dt: the third and fifth are marked
        EXPECT_EQ(r.net.particles(), 5);
        EXPECT_EQ(r.bits(2) & r.bits(4) & FLX_DEAD, FLX_DEAD);
        EXPECT_EQ((r.bits(0) | r.bits(1) | r.bits(3)) & FLX_DEAD, 0);
        r.bits(4) |= FLX_SUPPRESS_REAP;
        r.net.step();
        EXPECT_EQ(r.net.particles(), 4) << "one was reaped, one is kept once more";
        EXPECT_EQ(prim->particleCount(), deleteDead ? 4u : 5u);
        r.net.step();
        EXPECT_EQ(r.net.particles(), 2);
        r.net.step(3);
        EXPECT_EQ(r.net.particles(), 2) << "the dead are counted once";
        EXPECT_EQ(prim->particleCount(), deleteDead ? 2u : 5u);
        EXPECT_EQ(r.net.detail().points().entries(), deleteDead ? 2u : 5u);
        EXPECT_EQ(r.net.detail().validate(), "");
        if (deleteDead) {
            EXPECT_EQ(r.net.intValue("id", 0) * 10 + r.net.intValue("id", 1), 24) << "the order stays";
        }
    }
}

TEST_P(TimeStep, PhasesAreSwitchedOneByOne) {
    for (int mask = 0; mask < 8; ++mask) {
        SCOPED_TRACE(mask);
        Rules r(2, {});
        r.move(0, {1, 0, 0}, {1, 0, 0});
        r.net.setValue("life", 0, {1, 2});
        r.bits(1) = FLX_DEAD | FLX_JUSTHIT;
        r.net.setValue("life", 1, {0, -1});
        r.net.context().setDoReap(mask & 1);
        r.net.context().setDoApplyRules(mask & 2);
        r.net.context().setDoPrep(mask & 4);
        r.net.step();
        EXPECT_EQ(r.net.particles(), mask & 1 ? 1 : 2);
        EXPECT_EQ(r.net.position(0).x(), mask & 2 ? r.dt() : 0);
        EXPECT_EQ(r.net.value("life", 0), mask & 2 ? 1 + r.dt() : 1);
        EXPECT_EQ(r.net.value("accel", 0), mask & 4 ? 0 : 1);
        if (!(mask & 1)) {
            EXPECT_EQ(r.bits(1), mask & 4 ? FLX_DEAD : FLX_DEAD | FLX_JUSTHIT);
        }
    }
}

TEST_P(TimeStep, AnErrorOfTheCookNodeFreezesTheSimulation) {
    Rules r(1, {});
    r.move(0, {1, 0, 0});
    const auto works = r.probe.work;
    r.probe.work = [](Probe& self, OP_Context& context) {
        self.initParticleList(context, Probe::contextOf(context).getPrimPart(&self));
        self.addError(FLX_ERR_GEOMETRY);
    };
    r.net.step();
    const float x = r.net.position(0).x(), age = r.net.value("life", 0);
    EXPECT_EQ(x, r.dt()) << "the step before it failed";
    r.net.step(3);
    EXPECT_EQ(r.net.position(0).x(), x);
    EXPECT_EQ(r.net.value("life", 0), age);
    r.probe.work = works;
    r.net.step(2);
    EXPECT_EQ(r.net.position(0).x(), x + r.dt()) << "one more frozen step, then it runs again";
}

TEST_P(TimeStep, PointsThatTwoParticlesShareSeeEveryRuleBeforeAnyPreparation) {
    Network net;
    Probe& probe = Probe::add(net, "probe");
    const auto fill = [](GU_Detail& detail) {
        const int none = -1;
        const int offset = detail.primitiveAttribs().append("generator", 4, GB_ATTRIB_INDEX, &none);
        const int v = detail.pointAttribs().append("v", 12, GB_ATTRIB_VECTOR);
        GEO_Point* shared = detail.appendPoint();
        for (const char* path : {"/obj/fx/a", "/obj/fx/b"}) {
            auto* prim = static_cast<GEO_PrimParticle*>(detail.insertPrimitive(GEOPRIMPART));
            *prim->castAttribData<int>(offset) = detail.primitiveAttribs().addIndex("generator", path);
            prim->appendParticle(shared);
        }
        shared->castAttribData<UT_Vector3>(v)->assign(1, 0, 0);
        // A point of no particle, so that there are as many points as particles.
        detail.appendPoint()->castAttribData<UT_Vector3>(v)->assign(1, 0, 0);
    };
    net.startOn(probe, fill, false);
    net.context().state(net.point(0)) = FLX_SUPPRESS_AGE;
    net.setValue("accel", 0, {24, 0, 0});
    net.step();
    const float dt = net.timeStep();
    EXPECT_FLOAT_EQ(net.value("v", 0), 1 + 2 * 24 * dt)
        << "once for each particle, the second time too with the acceleration";
    EXPECT_FLOAT_EQ(net.position(0).x(), dt + (1 + 24 * dt) * dt);
    EXPECT_EQ(net.value("life", 0), 0);
    EXPECT_EQ(net.position(1).x(), 0) << "no particle, no step";
}
