// Operators may work chunk by chunk or each on all particles before the next: nothing must tell the two apart.
#include <cstdlib>
#include <functional>

#include "core/FLX_AttribMap.h"
#include "host/ut/UT_Interrupt.h"
#include "support/RandomNetwork.h"
#include "support/SetParms.h"
#include "vars/FLX_ParticleCook.h"

namespace {

constexpr int STEPS = 14;

/// What each step of a random network shows.
std::vector<std::string> show(unsigned seed, FLX_CookOrder order, std::string& description) {
    RandomNetwork network(seed, order);
    description = network.description();
    std::vector<std::string> shown;
    for (int i = 0; i < STEPS; ++i) shown.push_back(network.step());
    return shown;
}

void expectSame(unsigned seed) {
    std::string description;
    const std::vector<std::string> chunked = show(seed, FLX_CookOrder::Chunk, description);
    const std::vector<std::string> plain = show(seed, FLX_CookOrder::Operator, description);
    for (size_t i = 0; i < STEPS; ++i)
        ASSERT_EQ(chunked[i], plain[i]) << "seed " << seed << ", step " << i + 1 << ":" << description;
}

} // namespace

// FLX_RANDOM_NETWORKS=1000 runs as many.
class RandomNetworks : public ::testing::TestWithParam<int> {};

TEST_P(RandomNetworks, ChunkByChunkIsOperatorByOperator) {
    constexpr int PARTS = 10;
    const char* asked = std::getenv("FLX_RANDOM_NETWORKS");
    const int n = asked ? std::atoi(asked) : 100;
    for (int seed = 1 + GetParam(); seed <= n && !HasFatalFailure(); seed += PARTS) expectSame(unsigned(seed));
}

INSTANTIATE_TEST_SUITE_P(Part, RandomNetworks, ::testing::Range(0, 10));

// ---- what waits, and what ends the waiting

namespace {

/// Tells whose turn it is, and lets a test look in where it has handed its loop over.
class Watched final : public FLX_ParticleOperator {
public:
    Watched(OP_Network* parent, const char* name, OP_Operator* op)
        : FLX_ParticleOperator(parent, name, op) {}

    FLX_PassUse use = FLX_PassUse::Queued;
    std::vector<const Watched*>* log = nullptr;
    std::function<void(Watched&, FLX_ContextData&)> peep;

    FLX_PassUse passUse() const override { return use; }

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override {
        return cookParticles(context, [&](FLX_ParticleCook& cook) {
            if (peep) peep(*this, cook.context());
            if (!log || !mayRun()) return;
            cook.each(0, [this, to = log](GEO_Point*) { to->push_back(this); });
        });
    }
};

/// A birth of 600, and two operators that write down when they meet a particle.
struct WatchedRow {
    WatchedRow() { first.log = second.log = &log; }
    void step() {
        birth.setFloat("impulserate", 0, 0);
        log.clear();
        net.step();
    }

    Network net;
    FLX_Node& birth = net.addBirths(600);
    Watched& first = (Network::registerOperator<Watched>("watched", &FLX_LocalVar::myVariablePair),
                      static_cast<Watched&>(net.add("watched", "first", {&birth})));
    Watched& second = static_cast<Watched&>(net.add("watched", "second", {&first}));
    std::vector<const Watched*> log;
};

std::vector<const Watched*> repeated(std::initializer_list<std::pair<const Watched*, size_t>> runs) {
    std::vector<const Watched*> all;
    for (const auto& [who, times] : runs) all.insert(all.end(), times, who);
    return all;
}

} // namespace

TEST(CookOrder, LoopsRunInPieces) {
    WatchedRow row;
    const Watched *a = &row.first, *b = &row.second;
    row.net.start(row.second);
    row.step();
    // Which 256 come together follows from where the records lie.
    ASSERT_EQ(row.log.size(), 1200u);
    EXPECT_EQ(row.log, repeated({{a, 256}, {b, 256}, {a, 256}, {b, 256}, {a, 88}, {b, 88}}));

    row.net.context().setCookOrder(FLX_CookOrder::Operator);
    row.step();
    EXPECT_EQ(row.log, repeated({{a, 600}, {b, 600}}));
    row.net.context().setCookOrder(FLX_CookOrder::Chunk);
    for (const FLX_PassUse use : {FLX_PassUse::Closing, FLX_PassUse::Barrier}) {
        row.first.use = use;
        row.step();
        EXPECT_EQ(row.log, repeated({{a, 600}, {b, 600}}));
    }
    row.first.use = FLX_PassUse::Queued;
    row.second.setString("source", "0-9");
    row.step();
    EXPECT_EQ(row.log, repeated({{a, 600}, {b, 10}})) << "a group sees what has been done before";
}

TEST(CookOrder, WhatGivesAccessToParticlesRunsWhatWaits) {
    using W = Watched;
    using C = FLX_ContextData;
    const auto inherit = [](C& c, const char* name, int size, GB_AttribType type) {
        GU_Detail other;
        other.pointAttribs().append(name, size, type, nullptr);
        FLX_AttribMap().build(&c, &other, c.peekDetail(), UT_String(name), 0);
    };
    // clang-format off
    struct Door { const char* name; bool runs; std::function<void(W&, C&)> open; };
    const Door doors[] = {
        {"peekDetail", false, [](W&, C& c) { c.peekDetail(); }},
        {"offsets", false, [](W&, C& c) { c.getMassOffset(); }},
        {"peekParticleList", false, [](W& w, C& c) { c.peekParticleList(), w.peekParticleList(); }},
        {"an attribute that is there", false, [](W&, C& c) { c.addAttrib(FLX_Attrib::ID); }},
        {"activation", false, [](W& w, C&) { w.ACTIVATE(0); }},
        {"its own primitive", false, [](W& w, C& c) { c.getPrimPart(&w); }},
        {"a barrier's own primitive, which it may read before it has its inputs", true,
         [](W& w, C& c) { w.use = FLX_PassUse::Barrier; c.getPrimPart(&w); w.use = FLX_PassUse::Queued; }},
        {"a step in mid-cook, which waits itself", true,
         [](W&, C& c) { OP_Context at(c.time); at.setData(&c); FLX_Node::timestepStatic(at); }},
        {"the rules", true, [](W&, C& c) { FLX_Node::applyRulesToList(c.peekParticleList(), &c); }},
        {"getDetail", true, [](W&, C& c) { c.getDetail(); }},
        {"getDisplayDetail", true, [](W&, C& c) { c.getDisplayDetail(); }},
        {"getParticleList", true, [](W&, C& c) { c.getParticleList(); }},
        {"the operator's own list", true, [](W& w, C&) { w.getParticleList(); }},
        {"getNumParticles", true, [](W&, C& c) { c.getNumParticles(); }},
        {"an expression function's context", true, [](W&, C&) { FLX_ContextData::getExpressionData(0); }},
        {"a new attribute", true, [](W&, C& c) { c.addAttrib(FLX_Attrib::Charge); }},
        {"a new variable", true, [](W&, C& c) { c.addUserVariable("some", 4, GB_ATTRIB_FLOAT, nullptr, nullptr); }},
        {"another detail", true, [](W&, C& c) { c.setRefDetail(c.peekDetail()); }},
        {"an inherited attribute", true,
         [&](W&, C& c) { inherit(c, "heat", 4, GB_ATTRIB_FLOAT); }},
        {"what comes with an inherited up vector that is there", true,
         [&](W&, C& c) { inherit(c, "up", 12, GB_ATTRIB_VECTOR); }},
        {"a user variable's value", true, [](W&, C& c) { c.getUserVariableValue(c.peekDetail()->points()(0), 0, 0); }},
        {"a copy", true, [](W&, C& c) { FLX_ContextData copy("copy"); copy.copyFrom(c, nullptr); }},
        {"a variable outside the loop", true, [](W& w, C&) { w.curPoint(); }},
        {"the info text", true,
         [](W& w, C&) { OP_Context at(0); std::string text; w.getNodeSpecificInfoText(at, 0, text); }},
    };
    // clang-format on
    for (const Door& door : doors) {
        WatchedRow row;
        row.net.start(row.second);
        row.net.detail().pointAttribs().append("up", 12, GB_ATTRIB_VECTOR, nullptr);
        size_t before = 1, after = 0;
        row.second.peep = [&](Watched& self, FLX_ContextData& context) {
            before = row.log.size();
            door.open(self, context);
            after = row.log.size();
        };
        row.step();
        EXPECT_EQ(before, 0u) << door.name;
        EXPECT_EQ(after, door.runs ? 600u : 0u) << door.name;
        EXPECT_EQ(row.log.size(), 1200u) << door.name;
    }
}

// The loop that waits is asked for the interrupt when it is handed over; what has been handed over runs to its end.
TEST(CookOrder, AnInterruptLeavesNoHalfDoneLoop) {
    WatchedRow row;
    row.net.start(row.second);
    UTgetInterrupt()->clear();
    row.second.peep = [](Watched&, FLX_ContextData&) { UTgetInterrupt()->interrupt(); };
    row.step();
    UTgetInterrupt()->clear();
    EXPECT_EQ(row.log, std::vector<const Watched*>(600, &row.first));
}

namespace {

/// A birth of 600 in the first step, and operators in a row behind it.
struct Row {
    FLX_Node& add(const char* type, const char* name, const std::string& parms) {
        last = &net.add(type, name, {last});
        setParms(*last, parms);
        return *last;
    }
    void start(FLX_CookOrder order) {
        net.context().setCookOrder(order);
        net.start(*last);
        net.context().deleteDead = 1;
        birth.setFloat("impulserate", 0, 0);
    }
    /// Steps that a test looks at one by one; the states after all of them.
    template <class Look> std::string steps(int n, const Look& look) {
        std::string states;
        for (int step = 0; step < n; ++step) {
            net.step();
            look(step);
            states += net.state();
        }
        return states;
    }

    Network net;
    FLX_Node& birth = net.addBirths(600);
    FLX_Node* last = &birth;
};

} // namespace

// Those that are about to be reaped are not counted, by whatever reads the number of a particle.
TEST(CookOrder, NumbersAreThoseOfTheParticlesThatStay) {
    for (const FLX_CookOrder order : {FLX_CookOrder::Chunk, FLX_CookOrder::Operator}) {
        Row row;
        Network& net = row.net;
        setParms(row.birth, "life=0.3 lifevar=0.25");
        row.add("force", "pull", "force=$ITER,$PT*2,$NPT+$ITER+$AGE*0");
        row.start(order);
        int before = net.particles();
        row.steps(5, [&](int step) {
            ASSERT_TRUE(net.particles() > 0 && (step < 3 || net.particles() < before));
            before = net.particles();
            for (int i = 0; i < net.particles(); ++i) {
                if (net.intValue("pstate", i) & FLX_DEAD) continue; // goes with the next step
                const auto n = float(i);
                ASSERT_EQ(net.vector("accel", i), UT_Vector3(n, 2 * n, float(net.particles()) + n)) << step;
            }
        });
    }
}

// What follows the step in its loop reaches those that it finds alive, also with an attribute that is not as usual.
TEST(CookOrder, WritesBehindTheStepLeaveOutTheDyingAndTheStuck) {
    const auto run = [](FLX_CookOrder order) {
        Row row;
        Network& net = row.net;
        setParms(row.birth, "life=0.3 lifevar=0.25");
        row.add("force", "pull", "force.1=-9.8");
        row.add("force", "push", "force=0.1");
        row.add("velocity", "wind", "applymotion=1 v=0,0,0.1");
        row.add("speedlimit", "limit", "speedlimit=-1,1.5");
        row.start(order);
        for (int i = 0; i < 600; i += 7) net.setInt("pstate", i, FLX_STOPPED);
        return row.steps(6, [&](int step) {
            for (int i = 0; i < net.particles(); ++i) {
                const int bits = net.intValue("pstate", i);
                ASSERT_EQ(net.value("accel", i, 1), bits & (FLX_DEAD | FLX_STOPPED) ? 0 : -9.8f);
                if (bits & FLX_STOPPED) continue;
                ASSERT_FLOAT_EQ(net.value("v", i, 1), bits & FLX_DEAD ? -9.8f * net.timeStep() : 0) << step;
            }
        });
    };
    EXPECT_EQ(run(FLX_CookOrder::Chunk), run(FLX_CookOrder::Operator));
}

// Constants may go before expressions that are evaluated in columns, but not before those that read or write the same.
TEST(CookOrder, ConstantsStayBehindWhatTheyMatterTo) {
    Row row;
    Network& net = row.net;
    row.add("force", "drag", "force=$VX*0.5");
    row.add("velocity", "wind", "v=2,2,2"); // drag reads what it sets, ...
    row.add("translation", "drift", "trans=$AGE,0,0");
    row.add("translation", "trans", "trans=1,2,3"); // ... and drift sets what it sets
    row.start(FLX_CookOrder::Chunk);
    float before[] = {net.value("accel", 0), net.value("accel", 299)};
    row.steps(4, [&](int) {
        for (const int i : {0, 299}) {
            EXPECT_EQ(net.value("v", i), 2);
            EXPECT_FLOAT_EQ(net.value("accel", i), (2 + before[i > 0] / 24) * 0.5f);
            EXPECT_EQ(net.value("trans", i), 1);
            before[i > 0] = net.value("accel", i);
        }
    });
}

// To know how an object moved, the geometry that its transform reads is made anew in place, at the step's beginning;
// loops that wait meet it as it is at the end.
TEST(CookOrder, GeometryOfAnotherTimeWaitsForLoopsThatReadIt) {
    const auto run = [](FLX_CookOrder order) {
        Row row;
        Network& net = row.net;
        row.birth.setFloat("vel", 1, -5);
        FLX_Node& ground = row.add("collision", "ground", "behavior=1 dohitdiff=1 dohitpos=1 donumhit=1");
        FLX_Node& ball = row.add("collision", "ball", "behavior=1 dohitdiff=1 dohitpos=1 donumhit=1 geohint=1");
        ground.setString("soppath", net.addGeometry("ground", [](GU_Detail& detail, float t) {
            detail.cube({-9, -9, -9}, {9, -0.5f + 0.2f * t, 9});
            const UT_Vector3 colour(t, 0, 0);
            detail.pointAttribs().append("Cd", 12, GB_ATTRIB_VECTOR, &colour);
        }));
        const auto cube = [](GU_Detail& detail, float) { detail.cube({5, 5, 5}, {6, 6, 6}); };
        ball.setString("soppath", net.addGeometry("ball", cube, true));
        OPgetDirector()->findNode("/obj/ball")->setExpression("t", 1, "bbox(\"/obj/ground/out\", \"ymax\")");
        row.start(order);
        const std::string states = row.steps(6, [](int) {});
        EXPECT_EQ(net.intValue("numhit", 0), 1);
        EXPECT_FLOAT_EQ(net.value("hitCd", 0), 3 / 24.0f) << "the ground at the end of the third step";
        return states;
    };
    EXPECT_EQ(run(FLX_CookOrder::Chunk), run(FLX_CookOrder::Operator));
}
