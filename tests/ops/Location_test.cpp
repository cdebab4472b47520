// Births at one point in space, against the random sequence written out again.
#include <cmath>
#include <fmt/format.h>
#include <vector>

#include "host/ut/UT_Interrupt.h"
#include "support/Near.h"
#include "support/Network.h"
#include "support/RandomModel.h"
#include "support/SetParms.h"

namespace {

struct Location {
    Network net;
    FLX_Node& birth;

    template <class... Values>
    explicit Location(fmt::format_string<Values...> parms, Values&&... values)
        : net()
        , birth(net.addBirths(0)) {
        setParms(birth, fmt::format(parms, std::forward<Values>(values)...));
    }
    void set(const std::string& parms) { setParms(birth, parms); }
    float born() { return net.context().born(net.context().getPrimPart(static_cast<FLX_Node*>(&birth))); }
};

} // namespace

TEST(Location, CountsPerCook) {
    struct Case {
        double constant, impulse, constantActive, impulseActive;
    };
    const Case cases[] = {{0, 10, 1, 1},  {100, 0, 1, 1},   {24, 3, 1, 1}, {100, 10, 0, 0},
                          {7.2, 0, 1, 0}, {5, 2.5, 0.1, 0}, {0, 0.3, 1, 2}};
    for (const Case& c : cases) {
        Location l("constantrate={} impulserate={} constantactivate={} impulseactivate={}", c.constant, c.impulse,
                   c.constantActive, c.impulseActive);
        float born = 0;
        int count = 0;
        for (int frame = 0; frame < 20; ++frame) {
            frame ? l.net.step() : l.net.start(l.birth);
            if (c.constantActive > 0) born += float(c.constant) * l.net.timeStep();
            if (c.impulseActive > 0) born += float(c.impulse);
            for (; born > 0; born -= 1) ++count;
            ASSERT_EQ(l.net.particles(), count) << c.constant << " " << c.impulse << " frame " << frame;
            ASSERT_EQ(l.born(), born);
        }
        EXPECT_EQ(Network::messages(l.birth), "");
    }
}

TEST(Location, RefusedBirthsAreOwed) {
    Location l("impulserate=2 life=0/($ITER*0) constantrate=0/0");
    l.net.start(l.birth);
    l.net.step(3);
    EXPECT_EQ(Network::messages(l.birth), "warning OP 5: constantrate: not a number; 0 is used instead\n"
                                          "warning OP 5: life: not a number; 0 is used instead");
    EXPECT_EQ(l.net.particles(), 0);
    EXPECT_EQ(l.born(), 8);
    l.set("life=1 constantrate=0");
    l.net.context().maxParticles = 5;
    l.net.step();
    EXPECT_EQ(l.net.particles(), 5);
    EXPECT_EQ(l.born(), 5);
    EXPECT_EQ(Network::messages(l.birth), "");
}

TEST(Location, LargeCountsCanBeStoppedAndEndlessOnesAreRefused) {
    Location l("impulserate=700");
    UTgetInterrupt()->clear();
    UTgetInterrupt()->fireAtPoll(2); // before the births, and after the first 512
    l.net.start(l.birth);
    UTgetInterrupt()->clear();
    EXPECT_EQ(l.net.particles(), 512);
    l.net.step();
    EXPECT_EQ(l.net.particles(), 1400) << "what was not born is owed";
    l.set("impulserate=1e30"); // no births bring it down
    l.net.step();
    EXPECT_EQ(l.net.particles(), 1400);
    EXPECT_EQ(l.born(), 0);
    EXPECT_EQ(l.birth.error(), UT_ERROR_ABORT);
}

TEST(Location, LifeAndVelocityAreDrawnInOrder) {
    for (const bool ball : {true, false}) {
        Location l("impulserate=40 life=3 lifevar=0.5 vel=1,2,3 var=0.5,1,2 doellipse={} dospeed=1", int(ball));
        l.net.start(l.birth, 77);
        RandomModel model{77};
        ASSERT_EQ(l.net.particles(), 40);
        bool outside = false;
        for (int i = 0; i < 40; ++i) {
            ASSERT_EQ(l.net.value("life", i, 1), 3 + 0.5f * (2 * model.random() - 1));
            const auto d = model.spread(ball);
            outside = outside || d[0] * d[0] + d[1] * d[1] + d[2] * d[2] >= 1;
            const float v[] = {1 + 0.5f * d[0], 2 + 1 * d[1], 3 + 2 * d[2]};
            for (int k = 0; k < 3; ++k) ASSERT_EQ(l.net.value("v", i, k), v[k]) << i;
            ASSERT_FLOAT_EQ(l.net.value("speed", i), std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]));
        }
        EXPECT_EQ(outside, !ball);
        EXPECT_EQ(l.net.context().getRandomSeed(), model.seed);
    }
}

// Births that are all alike are written in batches; an expression of the same value makes them one by one.
TEST(Location, BatchesEqualSingleBirths) {
    struct State {
        std::vector<std::string> records;
        std::vector<bool> members;
        std::vector<double> counts;
    };
    const auto run = [](bool single, bool ball) {
        Location l("impulserate=331.5 lifevar=100 life=100.02 var=1,2,3 doellipse={} doorigin=1 dogen=1 dospeed=1 "
                   "preservegroup=1 originindex={}",
                   int(ball), single ? "5+0*$ITER" : "5");
        l.birth.setString("group", "born");
        l.net.start(l.birth, 3);
        FLX_ContextData& context = l.net.context();
        context.addAttrib(FLX_Attrib::PrevVel);
        for (int frame = 0; frame < 12; ++frame) {
            context.deleteDead = 1; // places come free here and there
            context.maxParticles = frame < 8 ? 1500 : 2200;
            for (int i = frame; i < l.net.particles(); i += 7) l.net.setValue("life", i, {1, 0.5f});
            l.net.step();
        }
        const GU_Detail& detail = l.net.detail();
        EXPECT_EQ(detail.validate(), "");
        State state;
        for (size_t i = 0; i < detail.points().entries(); ++i) {
            const GEO_Point* p = detail.points()(i);
            state.records.emplace_back(reinterpret_cast<const char*>(p), detail.pointRecords().stride());
            state.members.push_back(detail.pointGroups().find("born")->contains(p));
        }
        state.counts = {double(l.net.particles()), double(context.getRandomSeed()), double(context.nextID()),
                        double(context.getNumBorn()), l.born()};
        return state;
    };
    for (const bool ball : {true, false}) {
        const State batches = run(false, ball), singles = run(true, ball);
        EXPECT_EQ(batches.counts, singles.counts);
        EXPECT_EQ(batches.counts[0], 2200);
        EXPECT_EQ(batches.members, singles.members);
        ASSERT_EQ(batches.records.size(), singles.records.size());
        for (size_t i = 0; i < batches.records.size(); ++i) ASSERT_EQ(batches.records[i], singles.records[i]) << i;
    }
}

TEST(Location, CoordinateSystems) {
    const float s3 = std::sqrt(3.0f) / 2;
    // clang-format off
    struct Case { int method; const char* loc; UT_Vector3 at; };
    const Case cases[] = {
        {0, "1,2,3", {1, 2, 3}}, {1, "2,90,5", {0, 2, 5}}, {1, "2,-30,5", {2 * s3, -1, 5}}, {2, "2,90,0", {0, 2, 0}},
        {2, "2,0,90", {0, 0, 2}}, {2, "4,60,30", {s3 * 2, 3, 2}}, {7, "1,2,3", {1, 2, 3}}, {-1, "1,2,3", {1, 2, 3}}};
    // clang-format on
    for (const Case& c : cases) {
        Location l("impulserate=1 loc={} method={}", c.loc, c.method);
        l.net.start(l.birth);
        expectNear(l.net.position(0), c.at, 1e-6, c.loc);
        EXPECT_EQ(l.net.point(0)->getPos().w(), 1);
    }
}

TEST(Location, ParametersMayReadTheSample) {
    Location l("impulserate=3 var=0,0,0 loc=4,5,6 vel=$ITER,$TX+10*$TZ+100*$WEIGHT,$NPART originindex=7+$ITER "
               "doorigin=1 dogen=1");
    l.net.start(l.birth);
    l.net.step();
    ASSERT_EQ(l.net.particles(), 6);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(l.net.vector("v", i), UT_Vector3(float(i % 3), 164, i < 3 ? 0 : 3)) << "$ITER starts in each cook";
        EXPECT_EQ(l.net.intValue("origin", i), 7 + i % 3);
        EXPECT_EQ(l.net.intValue("id", i), i + 1);
        EXPECT_EQ(l.net.intValue("parent", i), 0);
        EXPECT_EQ(l.net.intValue("gen", i), 1);
    }
    EXPECT_EQ(Network::messages(l.birth), "");
    l.set("life=5+$P");
    l.net.step();
    EXPECT_EQ(Network::messages(l.birth), "warning FLX 1: $P = 0");
    EXPECT_EQ(l.net.value("life", 8, 1), 5);

    l.set("constantrate=$ITER+5");
    l.net.step();
    EXPECT_GE(l.birth.error(), UT_ERROR_ABORT) << "rates may not";
}

TEST(Location, BirthGroupsAreMadeAnewOrKept) {
    for (const bool preserve : {false, true}) {
        Location l("impulserate=$FF<4?2:0 preservegroup={}", int(preserve));
        l.birth.setString("group", "young");
        l.net.start(l.birth);
        const auto members = [&] {
            std::vector<int> found;
            GU_Detail& detail = l.net.detail();
            detail.points().forEach(detail.pointGroups().find("young"),
                                    [&](GEO_Point* p) { found.push_back(int(detail.points().number(p))); });
            return found;
        };
        l.net.step();
        EXPECT_EQ(members(), preserve ? (std::vector<int>{0, 1, 2, 3}) : (std::vector<int>{2, 3}));
        l.net.step(3); // frame 5: nothing is born
        EXPECT_EQ(members(), preserve ? (std::vector<int>{0, 1, 2, 3, 4, 5}) : std::vector<int>{});
    }
    Location bad("impulserate=2");
    bad.birth.setString("group", "no such? name");
    bad.net.start(bad.birth);
    EXPECT_EQ(bad.net.particles(), 2) << "births go on without a group";
    EXPECT_EQ(bad.net.detail().pointGroups().entries(), 0u);
}
