// The time step has a quick way for plain particles and one in the order of memory: both must give what the general way
// gives.
#include <cmath>
#include <cstring>
#include <vector>

#include "core/FLX_State.h"
#include "host/geo/GEO_PrimPoly.h"
#include "support/Probe.h"
#include "support/SetParms.h"

namespace {

/// What the rules read and write of one particle, as bits.
struct Record {
    float P[4], core[13]; // v, accel, life, pstate, backtrack
    bool operator==(const Record& other) const { return std::memcmp(this, &other, sizeof *this) == 0; }
};

enum class Way { Plain, WithSpeed, WithLimit, WithLooseGeometry };

/// The particles after each of so many steps of a fountain whose particles die at different ages and, when disturbed,
/// have state bits set at random.
std::vector<std::vector<Record>> run(Way way, bool disturbed) {
    Network net;
    FLX_Node& birth = net.add("location", "birth");
    FLX_Node& pull = net.add("force", "pull", {&birth});
    setParms(birth, "constantrate=480 life=0.5 lifevar=0.4");
    birth.setFloat("dospeed", 0, way == Way::WithSpeed);
    pull.setFloat("force", 1, -9.8);
    FLX_Node& limit = net.add("speedlimit", "limit", {&pull});
    Probe& probe = Probe::add(net, "probe", {way == Way::WithLimit ? &limit : &pull});
    if (disturbed) pull.setFloat("amp", 0, 5);
    uint32_t random = 1;
    probe.work = [&](Probe& self, OP_Context& context) {
        self.buildParticleList(context, 0);
        static constexpr int bits[] = {0, 0, 0, 0, 0x4, 0x8, 0x100, 0x200, 0x800, 0x1002, 0x8000, 0x10};
        const GEO_PrimParticle& prim = *net.context().hasPrimPart(&birth);
        for (size_t k = 0; disturbed && k < prim.particleCount(); ++k)
            net.context().state(prim.particle(k)) |=
                bits[((random = random * 1664525u + 1013904223u) >> 16) % std::size(bits)];
    };
    net.start(probe);
    if (way == Way::WithLooseGeometry) {
        auto* face = static_cast<GEO_PrimPoly*>(net.detail().insertPrimitive(GEOPRIMPOLY));
        face->appendVertex(net.detail().appendPoint());
    }
    std::vector<std::vector<Record>> all;
    for (int i = 0; i < 40; ++i) {
        net.step();
        EXPECT_EQ(net.detail().validate(), "");
        const GEO_PrimParticle& prim = *net.context().hasPrimPart(&birth);
        EXPECT_EQ(int(prim.particleCount()), net.particles());
        auto& frame = all.emplace_back();
        for (size_t k = 0; k < prim.particleCount(); ++k) {
            GEO_Point* p = prim.particle(k);
            Record record;
            std::memcpy(record.P, p->getPos().data(), sizeof record.P);
            std::memcpy(record.core, p->data() + net.context().getVelocityOffset(), sizeof record.core);
            frame.push_back(record);
        }
    }
    return all;
}

} // namespace

TEST(TimeStepWays, EveryWayGivesTheSameBits) {
    for (const bool disturbed : {false, true}) {
        const auto plain = run(Way::Plain, disturbed);
        ASSERT_GT(plain.back().size(), 150u);
        ASSERT_LT(plain.back().size(), 400u); // of 800 born
        EXPECT_EQ(run(Way::WithSpeed, disturbed), plain);
        EXPECT_EQ(run(Way::WithLimit, disturbed), plain);
        EXPECT_EQ(run(Way::WithLooseGeometry, disturbed), plain);
    }
}

TEST(TimeStepWays, ThePlainWayFollowsTheRules) {
    Network net;
    FLX_Node& birth = net.addBirths(4);
    net.start(birth);
    birth.setFloat("impulserate", 0, 0);
    FLX_ContextData& context = net.context();
    const GEO_PrimParticle& prim = *context.hasPrimPart(&birth);
    const int bits[] = {0, FLX_STOPPED, FLX_JUSTHIT | FLX_SUPPRESS_AGE, FLX_DEAD | FLX_SUPPRESS_REAP};
    for (size_t i = 0; i < 4; ++i) {
        GEO_Point* p = prim.particle(i);
        p->setPos({1, 2, 3, -0.0f});
        context.velocity(p) = {8, 0, -4};
        context.accel(p) = {0, 16, 2};
        context.life(p)[0] = 1;
        context.life(p)[1] = i == 0 ? 1 : 50;
        context.state(p) = bits[i];
    }
    net.step();
    ASSERT_EQ(net.particles(), 4);
    const float dt = net.timeStep();
    for (size_t i = 0; i < 4; ++i) {
        GEO_Point* p = prim.particle(i);
        const bool moves = i == 0 || i == 2;
        EXPECT_EQ(p->getPos(), moves ? UT_Vector4(1 + 8 * dt, 2, 3 - 4 * dt, 0) : UT_Vector4(1, 2, 3, 0)) << i;
        EXPECT_TRUE(std::signbit(p->getPos().w())) << i;
        EXPECT_EQ(context.velocity(p), moves ? UT_Vector3(8, 16 * dt, -4 + 2 * dt) : UT_Vector3(8, 0, -4)) << i;
        EXPECT_EQ(context.accel(p), UT_Vector3(0, 0, 0)) << i;
        EXPECT_EQ(context.life(p)[0], i == 2 ? 1 : 1 + dt) << i;
        EXPECT_EQ(context.backtrack(p)[0], moves ? 8 : context.backtrack(p)[0]) << i;
        EXPECT_EQ(context.backtrack(p)[3], moves ? dt : 0) << i;
    }
    EXPECT_EQ(context.state(prim.particle(0)), int(FLX_DEAD)); // 1 s and one step old, a span of 1 s
    EXPECT_EQ(context.state(prim.particle(1)), int(FLX_STOPPED));
    EXPECT_EQ(context.state(prim.particle(2)), 0);
    net.step();
    EXPECT_EQ(net.particles(), 2); // the suppression lasted one step
}
