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

enum class Way { Plain, WithSpeed, WithLimit, WithLooseGeometry, PhaseByPhase };

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
    if (way == Way::PhaseByPhase)
        probe.attribs = [](Probe&, FLX_ContextData* context) { context->addAttrib(FLX_Attrib::PosPath); };
    uint32_t random = 1;
    probe.work = [&](Probe& self, OP_Context& context) {
        self.buildParticleList(context, 0);
        static constexpr int bits[] = {0, 0, 0, 0, 0x4, 0x8, 0x100, 0x200, 0x800, 0x1002, 0x8000, 0x10};
        const GEO_PrimParticle& prim = *net.context().hasPrimPart(&birth);
        for (size_t k = 0; disturbed && k < prim.particleCount(); ++k) {
            GEO_Point* p = prim.particle(k);
            if (net.context().life(p)[0] == 0) p->getPos().w() = -0.0f; // a newborn's, which no rule touches
            random = random * 1664525u + 1013904223u;
            net.context().state(p) |= bits[(random >> 16) % std::size(bits)];
        }
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
        for (const Way way : {Way::WithSpeed, Way::WithLimit, Way::WithLooseGeometry, Way::PhaseByPhase})
            EXPECT_EQ(run(way, disturbed), plain) << int(way);
        for (const Record& record : plain.back()) EXPECT_EQ(std::signbit(record.P[3]), disturbed);
    }
}
