// Collisions with geometry that stands still: behaviours, what hits record, the sides of a surface.
#include "ops/CollisionRig.h"

#include "host/node/SOP_Node.h"
#include "host/ut/UT_ErrorTable.h"
#include "host/ut/UT_Interrupt.h"

#include <sstream>

namespace {

void floorAtZero(GU_Detail& detail, float) { addFloor(detail); }

// Thrown from (0.3, 0.1, 0.2) with (1, -12, 0.5): meets the floor after 1/120 of the step's 1/24 s.
const UT_Vector3 FROM(0.3f, 0.1f, 0.2f), THROW(1, -12, 0.5f);
constexpr double UNTIL = 0.1 / 12, LEFT = 1.0 / 24 - UNTIL;
const UT_Vector3 SPOT(float(0.3 + UNTIL), 0, float(0.2 + 0.5 * UNTIL));

} // namespace

TEST(Collision, BouncesWithGains) {
    struct Case {
        double tangent, normal;
    };
    for (const Case& c : {Case{1, 1}, {0.5, 0.25}, {0, 1}, {1, 0}, {-1, 2}}) {
        CollisionRig rig(floorAtZero);
        rig.set({{"behavior", 1}, {"gaintan", c.tangent}, {"gainnml", c.normal}});
        rig.fly(FROM, THROW);
        const UT_Vector3 v(float(c.tangent), float(12 * c.normal), float(0.5 * c.tangent));
        expectNear(rig.velocity(), v, 1e-5);
        expectNear(rig.position(), SPOT + v * float(LEFT), 2e-6);
        EXPECT_EQ(rig.state(), FLX_JUSTHIT);
        EXPECT_NEAR(rig.backtrack()[3], LEFT, 1e-7);
        expectNear({rig.backtrack()[0], rig.backtrack()[1], rig.backtrack()[2]}, rig.velocity(), 0);
        rig.net.step();
        EXPECT_EQ(rig.state(), 0) << "the mark lasts one step";
    }
}

TEST(Collision, BehavioursEndTheMove) {
    struct Case {
        int behavior, state;
        bool attached, movesOn;
    };
    for (const Case& c : {Case{0, FLX_DEAD | FLX_JUSTHIT, false, false},
                          {2, FLX_STOPPED | FLX_JUSTHIT, false, false},
                          {3, FLX_STUCK | FLX_JUSTHIT, true, false},
                          {4, FLX_SLIDING | FLX_JUSTHIT, true, false},
                          {5, FLX_JUSTHIT, false, true}}) {
        CollisionRig rig(floorAtZero);
        rig.set("behavior", c.behavior);
        rig.fly(FROM, THROW);
        expectNear(rig.velocity(), THROW, 0);
        expectNear(rig.position(), c.movesOn ? FROM + THROW * DT : SPOT);
        EXPECT_EQ(rig.state(), c.state) << c.behavior;
        EXPECT_NEAR(rig.backtrack()[3], LEFT, 1e-7);
        EXPECT_EQ(rig.net.detail().pointAttribs().find("pospath") != nullptr, c.attached) << c.behavior;
        if (!c.attached) continue;
        EXPECT_STREQ(rig.net.detail().pointAttribs().find("pospath")->getIndex(rig.net.intValue("pospath", 0)),
                     "/obj/wall/out");
        EXPECT_EQ(rig.net.intValue("posprim", 0), 0);
        EXPECT_GT(rig.net.value("posuv", 0, 1), 0.5) << "near the middle";
        rig.net.step(3);
        if (c.behavior == 3) expectNear(rig.position(), SPOT);
        if (c.behavior == 4) expectNear(rig.position(), SPOT + UT_Vector3(1, 0, 0.5f) * (3 * DT), 1e-5);
    }
}

TEST(Collision, AStuckParticleGoesWhereItsGeometryStandsInTheWorld) {
    CollisionRig rig(floorAtZero);
    rig.set("behavior", 3);
    OBJ_Node* wall = rig.hit.findOBJNode("/obj/wall");
    wall->setFloat("t", 1, -0.2);
    rig.hit.setString("soppath", "../../wall/out");
    rig.fly(FROM, THROW);
    const float until = 0.3f / 12;
    expectNear(rig.position(), {FROM.x() + until, -0.2f, FROM.z() + 0.5f * until});
    EXPECT_STREQ(rig.net.detail().pointAttribs().find("pospath")->getIndex(0), "../../wall/out");
    wall->setFloat("t", 1, 1);
    rig.net.step();
    EXPECT_NEAR(rig.position().y(), 1, 1e-5);
}

TEST(Collision, PathsAreSpelledOutWhereTheCookNodeReadsThemDifferently) {
    Network net;
    Probe& source = Probe::addSource(net, "source", 1);
    FLX_Node& sub = net.add("subnet", "sub", {&source});
    FLX_Node& hit = net.add("collision", "hit", {}, &sub);
    hit.setIndirectInput(0, 0);
    hit.setRender(true);
    net.addGeometry("wall", floorAtZero, true);
    hit.setString("soppath", "../../../wall/out");
    hit.setFloat("behavior", 0, 3);
    net.start(sub);
    net.point(0)->setPos(UT_Vector4(FROM, 1));
    net.setValue("v", 0, {THROW.x(), THROW.y(), THROW.z()});
    net.step();
    ASSERT_EQ(Network::messages(hit), "");
    EXPECT_STREQ(net.detail().pointAttribs().find("pospath")->getIndex(0), "/obj/wall/out");
    expectNear(net.position(0), SPOT);
}

TEST(Collision, RecordsWhereAndWhenItHit) {
    CollisionRig rig([](GU_Detail& detail, float) {
        for (int i = 0; i < 7; ++i) addFloor(detail, -1 - float(i));
        GEO_PrimPoly* top = addFloor(detail);
        const int uv = detail.vertexAttribs().append("uv", 12, GB_ATTRIB_FLOAT);
        const int cd = detail.pointAttribs().append("Cd", 12, GB_ATTRIB_FLOAT);
        for (int i = 0; i < 4; ++i) {
            const UT_Vector4 p = top->getVertexPoint(i)->getPos();
            *top->getVertex(i)->castAttribData<UT_Vector3>(uv) = {p.x() * 10, p.z(), 7};
            *top->getVertexPoint(i)->castAttribData<UT_Vector3>(cd) = {p.x(), 0.5f, p.z() - 1};
        }
    });
    rig.addHitAttributes();
    rig.set({{"behavior", 1}, {"hituse", 1}, {"hitindex", 100}});
    rig.fly(FROM, THROW);
    const float t = rig.net.time();
    expectNear(rig.vector("hitpos"), SPOT);
    expectNear(rig.vector("hitN"), {0, 1, 0}, 0);
    EXPECT_EQ(rig.net.intValue("numhit", 0), 1);
    EXPECT_EQ(rig.net.intValue("hitid", 0), 107);
    EXPECT_NEAR(rig.net.value("hittime", 0), t - LEFT, 1e-7);
    EXPECT_EQ(rig.net.value("dist", 0), 0);
    expectNear(rig.vector("hituv"), {SPOT.x() * 10, SPOT.z(), 7}, 2e-5);
    expectNear(rig.vector("hitCd"), {SPOT.x(), 0.5f, SPOT.z() - 1}, 5e-6);
    OP_Context now(t);
    const GU_Detail* wall = rig.hit.getSOPNode("/obj/wall/out", 0)->cookedDetail(now);
    UT_Vector4 at;
    wall->primitives()(7)->evaluatePosition(rig.net.value("hitposuv", 0, 0), rig.net.value("hitposuv", 0, 1), at);
    expectNear(UT_Vector3(at), SPOT, 3e-6);
    rig.net.step();
    EXPECT_EQ(rig.net.intValue("numhit", 0), 1);
    EXPECT_EQ(rig.net.value("dist", 0), -1) << "nothing above";
}

TEST(Collision, HitIdsStayWithinAnInt) {
    CollisionRig rig([](GU_Detail& detail, float) { addFloor(detail, -9), addFloor(detail); });
    rig.set({{"dohitid", 1}, {"hituse", 1}, {"hitindex", 2147483647}});
    rig.fly(FROM, THROW);
    EXPECT_EQ(rig.net.value("hitid", 0), 2147483648.0f); // the float next to it
}

TEST(Collision, DistanceIsThatOfTheSurfaceAhead) {
    CollisionRig rig(floorAtZero);
    rig.set({{"behavior", 1}, {"dodistance", 1}});
    rig.fly({0, 3, 0}, {3, -4, 0}); // along (0.6, -0.8, 0), 5 units a second
    EXPECT_NEAR(rig.net.value("dist", 0), 3 / 0.8, 1e-5) << "from the start of the move";
    rig.place(0, {0, 3, 0}, {3, 4, 0});
    rig.net.step();
    EXPECT_EQ(rig.net.value("dist", 0), -1);
    rig.place(0, {0, 3, 0}, {0, 0, 0});
    rig.net.step();
    EXPECT_EQ(rig.net.value("dist", 0), -1);
}

TEST(Collision, BouncesSeveralTimesInOneStepWithinItsAccuracy) {
    // Between walls 0.1 apart at 24 units a second: the step of 1 unit holds 10 hits, from the middle.
    const auto corridor = [](GU_Detail& detail, float) {
        addFace(detail, {{0.1f, -9, -9}, {0.1f, -9, 9}, {0.1f, 9, 9}, {0.1f, 9, -9}});
        addFace(detail, {{0, -9, 9}, {0, -9, -9}, {0, 9, -9}, {0, 9, 9}});
    };
    for (const int accuracy : {0, 1, 3, 10, 30}) {
        CollisionRig rig(corridor);
        rig.set({{"behavior", 1}, {"bounce", accuracy}, {"donumhit", 1}, {"enforceorient", 0}});
        rig.fly({0.05f, 0, 0}, {24, 1, 0});
        const int hits = std::min(accuracy, 10);
        EXPECT_EQ(rig.net.intValue("numhit", 0), hits);
        const double along = hits ? 1 - (0.05 + 0.1 * (hits - 1)) : 1;
        const double x = hits == 0 ? 1.05 : hits % 2 ? 0.1 - along : along;
        EXPECT_NEAR(rig.position().x(), x, 1e-5) << accuracy;
        EXPECT_NEAR(rig.position().y(), DT, 1e-6);
        EXPECT_EQ(rig.velocity().x(), hits % 2 ? -24 : 24);
    }
}

// Between two faces of opposite sides at one place nobody gets away.
TEST(Collision, BouncesInOneStepAreLimited) {
    CollisionRig rig([](GU_Detail& detail, float) {
        addFloor(detail);
        addFace(detail, {{-5, 0, -5}, {5, 0, -5}, {5, 0, 5}, {-5, 0, 5}});
    });
    rig.set({{"behavior", 1}, {"bounce", 2000000000}, {"enforceorient", 0}, {"donumhit", 1}});
    rig.fly({0.3f, 0.5f, 0.2f}, {0, -24, 0}, "warning OP 5: bounce: more than 10000; 10000 is used instead");
    EXPECT_EQ(rig.net.intValue("numhit", 0), 10000);
}

TEST(Collision, WeakBouncesEndInTheFinalBehaviour) {
    // The impulse is 0.4 * (1 + gain).
    // clang-format off
    struct Case { int finally; double least; int state; };
    const Case cases[] = {
        {1, 1, FLX_DEAD}, {1, 0.7, 0}, {2, 1, FLX_STOPPED}, {3, 1, FLX_STUCK}, {4, 1, FLX_SLIDING}, {0, 1, 0},
        {1, -1, FLX_DEAD}};
    // clang-format on
    for (const Case& c : cases) {
        CollisionRig rig(floorAtZero);
        rig.set({{"behavior", 1}, {"finalbehavior", c.finally}, {"minimpulse", c.least}});
        rig.fly({0, 0.01f, 0}, {2, -0.4f, 0});
        EXPECT_EQ(rig.state(), c.state | FLX_JUSTHIT) << c.finally << " " << c.least;
        const float until = 0.01f / 0.4f, left = DT - until;
        if (c.state) {
            expectNear(rig.velocity(), {2, -0.4f, 0}, 0);
            expectNear(rig.position(), {2 * until, 0, 0}, 1e-5);
        } else {
            expectNear(rig.velocity(), {2, 0.4f, 0}, 1e-6);
            expectNear(rig.position(), {2 * DT, 0.4f * left, 0});
        }
        const bool attached = c.finally >= 3;
        EXPECT_EQ(rig.net.detail().pointAttribs().find("posprim") != nullptr, attached);
        if (attached) {
            EXPECT_EQ(rig.net.intValue("pospath", 0), 0);
        }
    }
}

TEST(Collision, TheRestOfTheStepTakesHalfTheAcceleration) {
    Network net;
    Probe& source = Probe::addSource(net, "source", 2);
    FLX_Node& pull = net.add("force", "pull", {&source});
    FLX_Node& hit = net.add("collision", "hit", {&pull});
    hit.setString("soppath", net.addGeometry("wall", floorAtZero, true));
    hit.setFloat("behavior", 0, 1);
    pull.setFloat("force", 1, -10);
    net.start(hit);
    for (int i = 0; i < 2; ++i) {
        net.point(i)->setPos(UT_Vector4(FROM, 1));
        net.setValue("v", i, {0, -12, 0});
        net.setValue("accel", i, {0, 0, 0});
    }
    net.setInt("pstate", 1, 0);
    net.context().setDoPrep(false); // keeps the mark that a particle's velocity rule is suppressed
    net.setInt("pstate", 1, FLX_SUPPRESS_VEL);
    net.step();
    EXPECT_NEAR(net.value("v", 0, 1), 12 - 10 * LEFT / 2, 1e-5);
    EXPECT_NEAR(net.position(0).y(), 12 * LEFT, 2e-6);
    EXPECT_NEAR(net.value("v", 1, 1), 12, 1e-5);
}

TEST(Collision, WhoIsNotTested) {
    CollisionRig rig(floorAtZero, 8);
    rig.set({{"behavior", 1}, {"donumhit", 1}});
    rig.start();
    const int states[] = {0, FLX_DEAD, FLX_STOPPED, FLX_STUCK, FLX_SLIDING, FLX_JUSTHIT, 0, 0};
    rig.net.context().setDoApplyRules(false);
    rig.net.context().setDoReap(false);
    rig.net.context().setDoPrep(false);
    for (int i = 0; i < 8; ++i) {
        rig.place(i, {0, -0.4f, 0}, {0, 5, 0});
        rig.net.setInt("pstate", i, states[i]);
        rig.net.setValue("life", i, {i == 6 ? 0.0f : 1.0f, 100});
        float* b = rig.net.context().backtrack(rig.net.point(i));
        b[0] = b[2] = 0, b[1] = -12, b[3] = i == 7 ? 0 : DT;
    }
    rig.net.step();
    for (int i = 0; i < 8; ++i) {
        const bool tested = i == 0 || i == 5;
        EXPECT_EQ(rig.net.intValue("numhit", i), tested) << i;
        EXPECT_EQ(rig.velocity(i).y(), tested ? 12 : 5) << "the velocity of the move counts, not the present one";
    }
}

TEST(Collision, NothingHappensAtTimeZero) {
    CollisionRig rig(floorAtZero);
    rig.hit.setString("group", "struck");
    rig.start();
    rig.place(0, {0, -0.4f, 0}, {0, -12, 0});
    rig.net.setValue("life", 0, {1, 100});
    float* b = rig.net.context().backtrack(rig.net.point(0));
    b[0] = b[2] = 0, b[1] = -12, b[3] = DT;
    rig.net.context().setDoApplyRules(false);
    rig.net.context().time = 0;
    OP_Context context(0);
    rig.net.context().cook(context);
    EXPECT_EQ(rig.state(), 0);
    ASSERT_NE(rig.net.detail().pointGroups().find("struck"), nullptr) << "the group is there from the start";
    EXPECT_TRUE(rig.net.detail().pointGroups().find("struck")->isEmpty());
}

TEST(Collision, SpeedLimitsHoldAfterABounceAndSpeedIsKept) {
    CollisionRig rig(floorAtZero, 3);
    rig.source.attribs = [](Probe& self, FLX_ContextData* context) {
        self.addSpeedLimitAttrib(context);
        self.addSpeedAttrib(context);
    };
    rig.set({{"behavior", 1}, {"gainnml", 0.5}});
    rig.start();
    const float limits[3][2] = {{-1, -1}, {9, 10}, {-1, 3}};
    const float expected[] = {6, 9, 3};
    for (int i = 0; i < 3; ++i) {
        rig.place(i, FROM, {0, -12, 0});
        rig.net.setValue("speedlimit", i, {limits[i][0], limits[i][1]});
        rig.net.setInt("pstate", i, FLX_SUPPRESS_VEL); // the rule would limit the throw
    }
    rig.net.step();
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(rig.velocity(i).y(), expected[i], 1e-5) << i;
        EXPECT_NEAR(rig.net.value("speed", i), expected[i], 1e-5) << i;
    }
}

TEST(Collision, ValuesInExpressionsAreReadAfterTheHitIsRecorded) {
    CollisionRig rig([](GU_Detail& detail, float) {
        addFloor(detail);
        addFace(detail, {{-5, 0.2f, -5}, {5, 0.2f, -5}, {5, 0.2f, 5}, {-5, 0.2f, 5}}); // a ceiling, facing down
    });
    rig.addHitAttributes();
    rig.set("behavior", 1);
    rig.hit.setExpression("gainnml", 0, "1 / (1 + $NUMHIT)");
    rig.hit.setExpression("hitindex", 0, "$NUMHIT * 10 + ($HTY > 0.1)");
    rig.hit.setExpression("gaintan", 0, "$HITID == 10 ? 0.5 : ($HITID == 21 ? 0.25 : 8)");
    rig.fly({0, 0.1f, 0}, {16, -24, 0});
    // Down 0.1 at 24, then up 0.2 at 12, then down at 4.
    const double t = 0.1 / 24 + 0.2 / 12;
    expectNear(rig.velocity(), {2, -4, 0}, 1e-5);
    EXPECT_EQ(rig.net.intValue("numhit", 0), 2);
    EXPECT_EQ(rig.net.intValue("hitid", 0), 21);
    EXPECT_NEAR(rig.net.value("hittime", 0), rig.net.time() - DT + t, 1e-6);
    EXPECT_NEAR(rig.position().x(), 16 * 0.1 / 24 + 8 * 0.2 / 12 + 2 * (DT - t), 5e-6);
}

TEST(Collision, TheToleranceIsThatOfTheParticle) {
    CollisionRig rig(floorAtZero, 4);
    rig.hit.setExpression("tolerance", 0, "0.02 * $PT");
    rig.start();
    for (int i = 0; i < 4; ++i) rig.place(i, {0, 0.545f, 0}, {0, -12, 0}); // stops 0.045 above the floor
    rig.net.step();
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(rig.state(i), i == 3 ? FLX_DEAD | FLX_JUSTHIT : 0) << i;
        EXPECT_NEAR(rig.position(i).y(), i == 3 ? 0 : 0.045, 1e-6) << "it dies on the surface";
    }
    CollisionRig bounce(floorAtZero);
    bounce.set({{"tolerance", 0.06}, {"behavior", 1}, {"donumhit", 1}});
    bounce.fly({0, 0.545f, 0}, {0, -12, 0});
    EXPECT_NEAR(bounce.position().y(), 0.045, 1e-6) << "it turns back where it is";
    EXPECT_EQ(bounce.velocity().y(), 12);
    EXPECT_EQ(bounce.net.intValue("numhit", 0), 1);
}

TEST(Collision, AParticleThatStartsOnASurfaceFindsTheNextOne) {
    const auto floors = [](GU_Detail& detail, float) {
        for (const float y : {0.0f, -0.2f, -0.3f, -0.35f}) addFloor(detail, y);
    };
    CollisionRig rig(floors);
    rig.set({{"hituse", 1}, {"dohitid", 1}});
    rig.fly({0.3f, 0, 0}, {0, -12, 0});
    EXPECT_EQ(rig.net.intValue("hitid", 0), 1) << "the second floor, not the one it rests on";
    EXPECT_NEAR(rig.position().y(), -0.2, 1e-6);
    CollisionRig alone(floorAtZero);
    alone.fly({0.3f, 0, 0}, {0, -12, 0});
    EXPECT_EQ(alone.state(), 0);
}

TEST(Collision, ParticlesKeepToTheirSide) {
    // Two floors facing up. A particle between them, recorded above the lower one, comes to the upper one from below:
    // it goes through with the normal part of its velocity as it is. On the lower one it bounces.
    const auto floors = [](GU_Detail& detail, float) {
        addFloor(detail, 0);
        addFloor(detail, 0.3f);
    };
    for (const bool enforced : {true, false}) {
        CollisionRig rig(floors);
        rig.set({{"behavior", 1}, {"enforceorient", enforced}, {"gainnml", 0.5}, {"gaintan", 0.5}});
        rig.fly({0, 0.1f, 0}, {8, -24, 0}); // down 0.1, then up at 12: arrives 0.3 higher after 0.025
        expectNear(rig.velocity(), {2, enforced ? 12.0f : -6.0f, 0}, 1e-5);
        const float left = float(1.0 / 24 - 0.1 / 24 - 0.3 / 12);
        EXPECT_NEAR(rig.position().y(), 0.3 + (enforced ? 12 : -6) * left, 1e-5);
    }
}

TEST(Collision, TheSideIsRememberedOverSteps) {
    for (const bool stored : {true, false}) {
        CollisionRig rig(floorAtZero);
        rig.set({{"behavior", 1}, {"dohittest", stored}, {"donormalstep", 1}});
        rig.hit.setString("hittestattrib", "side");
        rig.hit.setString("prevhitnmlattrib", "lastN");
        rig.fly({0, 0.1f, 0}, {0, -12, 0});
        EXPECT_EQ(rig.net.detail().pointAttribs().find("side") != nullptr, stored);
        if (stored) {
            EXPECT_EQ(rig.net.intValue("side", 0), -1);
            expectNear(rig.vector("lastN"), {0, 1, 0}, 0);
        }
        // From below it passes when its side is known, else it is thrown back down.
        rig.place(0, {0, -0.1f, 0}, {0, 12, 0});
        rig.net.step();
        EXPECT_EQ(rig.velocity().y(), stored ? 12 : -12);
        if (stored) {
            EXPECT_EQ(rig.net.intValue("side", 0), -1);
        }
    }
}

// Named like something that particles have, the attribute for the side is done without, and the bounce is as ever.
TEST(Collision, TheSideTakesNoOtherAttributesPlace) {
    for (const char* name : {"P", "pstate", "life", "id", "numhit", "Cd"})
        for (const char* parm : {"hittestattrib", "prevhitnmlattrib"}) {
            SCOPED_TRACE(std::string(parm) + " " + name);
            CollisionRig rig(floorAtZero);
            rig.set({{"behavior", 1}, {"dohittest", 1}, {"donormalstep", 1}, {"donumhit", 1}});
            rig.hit.setString(parm, name);
            rig.start();
            ASSERT_EQ(rig.hit.setupErrors().size(), 1u);
            const UT_Error& told = *rig.hit.setupErrors().begin();
            EXPECT_EQ(UTerrorBrief(told), std::string("warning FLX 9: ") + name + " is a standard attribute");
            EXPECT_EQ(rig.net.detail().pointAttribs().find("P"), nullptr);
            rig.place(0, FROM, THROW);
            rig.net.step();
            EXPECT_EQ(rig.state(), FLX_JUSTHIT);
            EXPECT_EQ(rig.net.intValue("numhit", 0), 1);
            EXPECT_NEAR(rig.net.value("life", 0), DT, 1e-6);
            expectNear(rig.velocity(), {1, 12, 0.5f}, 1e-5);
        }
}

TEST(Collision, ParticlesThatSlippedThroughAreBroughtBack) {
    // The particle starts 0.003 below the floor, on the wrong side.
    // clang-format off
    struct Case { double normalStep, backStep; UT_Vector3 velocity; bool found; };
    const Case cases[] = {
        {0.005, 0, {12, -1, 0}, true}, /* along the last normal */ {0.002, 0, {12, -1, 0}, false}, /* too short */
        {0, 0.005, {0, -12, 0}, true}, /* back along the move */ {0, 0.002, {0, -12, 0}, false}, /* too short */
        {0, 0.005, {12, -0.01f, 0}, false}, /* seen from the side */
        {0, 0.005, {0, 12, 0}, true}, /* hits by itself, from below */ {0, 0, {0, -12, 0}, false}};
    // clang-format on
    for (const Case& c : cases) {
        CollisionRig rig(floorAtZero);
        rig.set({{"behavior", 1}, {"dohittest", 1}, {"donormalstep", 1}, {"gainnml", 0.5}});
        rig.set({{"normalstep", c.normalStep}, {"backstep", c.backStep}});
        rig.hit.setString("hittestattrib", "hittest");
        rig.hit.setString("prevhitnmlattrib", "prevhitN");
        rig.addHitAttributes();
        rig.start();
        rig.place(0, {0, -0.003f, 0}, c.velocity);
        rig.net.setInt("hittest", 0, -1);
        rig.net.setValue("prevhitN", 0, {0, 1, 0});
        rig.net.step();
        ASSERT_EQ(rig.net.intValue("numhit", 0), c.found) << c.normalStep << " " << c.backStep;
        if (!c.found) {
            expectNear(rig.velocity(), c.velocity, 0);
            EXPECT_EQ(rig.net.value("dist", 0), -1) << "nothing ahead";
            continue;
        }
        EXPECT_EQ(rig.net.value("dist", 0), 0);
        const bool below = c.velocity.y() > 0;
        const float y = below ? 12 : -0.5f * c.velocity.y();
        EXPECT_NEAR(rig.velocity().y(), y, 1e-5);
        const float left = below ? DT - 0.003f / 12 : DT; // a correction takes no time
        EXPECT_NEAR(rig.position().y(), y * left, 1e-6);
        EXPECT_NEAR(rig.net.value("hittime", 0), rig.net.time() - left, 1e-6);
    }
}

TEST(Collision, GroupsAndEventsTellWhoHit) {
    CollisionRig rig(floorAtZero, 4);
    rig.hit.setString("group", "struck");
    rig.hit.setString("event", "crash bang");
    rig.hit.setFloat("behavior", 0, 5);
    rig.start();
    rig.net.step();
    const auto members = [&] {
        const GB_PointGroup* group = rig.net.detail().pointGroups().find("struck");
        int bits = 0;
        for (int i = 0; i < 4; ++i) bits |= group->contains(rig.net.point(i)) << i;
        return bits;
    };
    const auto events = [&] { return rig.net.context().getEventAttr()->indexStrings(); };
    EXPECT_EQ(members(), 0);
    EXPECT_TRUE(events().empty());
    const auto throwDown = [&](int bits) {
        for (int i = 0; i < 4; ++i) rig.place(i, {0, 0.1f, 0}, {0, bits >> i & 1 ? -12.0f : 1.0f, 0});
        rig.net.step();
    };
    throwDown(0b0101);
    EXPECT_EQ(members(), 0b0101);
    const auto raised = [&](const char* name) {
        char text[64];
        std::snprintf(text, sizeof text, "%s:%f", name, double(rig.net.time()));
        return std::string(text);
    };
    EXPECT_EQ(events(), (std::vector<std::string>{raised("crash"), raised("bang")}));
    throwDown(0b1000);
    EXPECT_EQ(members(), 0b1000) << "made anew";
    rig.set("preservegroup", 1);
    throwDown(0b0001);
    EXPECT_EQ(members(), 0b1001);
    throwDown(0);
    for (const std::string& event : events()) EXPECT_NE(event.find('+'), std::string::npos) << event << " is withdrawn";
}

TEST(Collision, SourceGroupsChooseWhoCollides) {
    CollisionRig rig(floorAtZero, 4);
    rig.set({{"behavior", 5}, {"donumhit", 1}});
    rig.start();
    rig.net.detail().pointGroups().newGroup("none");
    struct Case {
        const char *group, *message;
        int bits;
    };
    for (const Case& c :
         {Case{"1 3", "", 0b1010}, {"none", "", 0}, {"", "", 0b1111}, {"gone", "error FLX 2: gone", 0}}) {
        rig.hit.setString("source", c.group);
        for (int i = 0; i < 4; ++i) {
            rig.place(i, {0, 0.1f, 0}, {0, -12, 0});
            rig.net.setInt("numhit", i, 0);
        }
        rig.net.step();
        EXPECT_EQ(Network::messages(rig.hit), c.message);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(rig.net.intValue("numhit", i), c.bits >> i & 1) << c.group << " " << i;
    }
}

TEST(Collision, WithoutGeometryNothingIsHitAndAWrongPathIsTold) {
    CollisionRig rig(floorAtZero);
    rig.set("dodistance", 1);
    rig.hit.setString("soppath", "/obj/nowhere");
    rig.start();
    rig.place(0, FROM, THROW);
    rig.net.setValue("dist", 0, {5});
    rig.net.step();
    EXPECT_EQ(Network::messages(rig.hit), "warning FLX 11: /obj/nowhere");
    EXPECT_EQ(rig.state(), 0);
    EXPECT_EQ(rig.net.value("dist", 0), -1);
    rig.hit.setString("soppath", "");
    rig.net.step();
    EXPECT_EQ(Network::messages(rig.hit), "");
}

TEST(Collision, InterruptsAndActivationStopIt) {
    CollisionRig rig(floorAtZero);
    rig.hit.setString("group", "struck");
    rig.start();
    rig.set("activate", 0);
    rig.place(0, FROM, THROW);
    rig.net.step();
    EXPECT_EQ(rig.state(), 0);
    rig.set("activate", 1);
    rig.place(0, FROM, THROW);
    UTgetInterrupt()->clear();
    UTgetInterrupt()->fireAtPoll(1);
    rig.net.step();
    UTgetInterrupt()->clear();
    EXPECT_EQ(rig.state(), 0);
    rig.place(0, FROM, THROW);
    rig.net.step();
    EXPECT_EQ(rig.state(), FLX_DEAD | FLX_JUSTHIT);
}

TEST(Collision, TheGuideShowsTheGeometry) {
    CollisionRig rig(floorAtZero);
    rig.start();
    rig.hit.setTemplate(true);
    rig.net.context().guidesWanted = 1;
    for (const double active : {1, 0}) {
        rig.set("activate", active);
        rig.net.step();
        EXPECT_EQ(rig.hit.guideHandle().peekDetail()->primitives().entries(), 1u) << "also when inactive";
    }
}

TEST(Collision, OldParametersBecomeNewOnes) {
    CollisionRig rig(floorAtZero);
    PRM_ParmList old(rig.hit.getOperator()->getObsoleteTemplates());
    old.find("obj")->setText("wall");
    old.find("sop")->setText("out");
    old.find("geomoves")->setConstant(0, 1);
    rig.hit.resolveObsoleteParms(&old);
    UT_String path;
    rig.hit.evalString(path, "soppath", 0, 0);
    EXPECT_EQ(path, "../../wall/out");
    EXPECT_EQ(rig.hit.evalInt("geohint", 0, 0), 1);
    EXPECT_EQ(old.find("geomoves")->component(0).constant, 0);
}

TEST(Collision, DisablesWhatDoesNotCount) {
    CollisionRig rig(floorAtZero);
    const std::string bounce = "gainnml gaintan finalbehavior bounce enforceorient dohittest ";
    const std::string all =
        "soppath minimpulse sample hittestattrib donormalstep backstep prevhitnmlattrib normalstep " + bounce;
    // clang-format off
    struct Case { std::vector<std::pair<const char*, double>> values; std::string enabled; };
    const Case cases[] = {
        {{}, "soppath "}, {{{"usecontextgeo", 1}}, ""}, {{{"behavior", 1}}, bounce},
        {{{"finalbehavior", 2}}, bounce + "minimpulse "},
        {{{"geohint", 1}}, "gainnml gaintan finalbehavior sample minimpulse "},
        {{{"geohint", 2}}, "gainnml gaintan finalbehavior bounce minimpulse "},
        {{{"geohint", 0}, {"finalbehavior", 0}, {"dohittest", 1}}, bounce + "hittestattrib donormalstep backstep "},
        {{{"donormalstep", 1}}, bounce + "hittestattrib donormalstep backstep prevhitnmlattrib normalstep "},
        {{{"enforceorient", 0}}, "gainnml gaintan finalbehavior bounce enforceorient "}};
    // clang-format on
    for (const Case& c : cases) {
        for (const auto& [parm, value] : c.values) rig.set(parm, value);
        rig.hit.disableParms();
        std::istringstream parms(all);
        for (std::string parm; parms >> parm;)
            EXPECT_EQ(rig.hit.parms().find(parm)->enabled(),
                      (" " + c.enabled).find(" " + parm + " ") != std::string::npos)
                << parm;
    }
}

namespace {

// Hills of triangles below a thousand particles, some of which stand in their list more than once.
struct Crowd {
    CollisionRig rig;
    bool isRepeated;

    explicit Crowd(const std::function<void(CollisionRig&)>& set, bool varying, bool repeated)
        : rig(hills, 1000)
        , isRepeated(repeated) {
        rig.set({{"behavior", 1}, {"gainnml", 0.8}, {"donumhit", 1}, {"dohitid", 1}});
        set(rig);
        // The same values by expressions that are evaluated at each particle's turn.
        if (varying)
            for (const char* parm : {"tolerance", "gainnml", "gaintan"}) {
                const double value = parm == std::string("gainnml") ? 0.8 : parm == std::string("gaintan") ? 1 : reach;
                rig.hit.setExpression(parm, 0, (std::to_string(value) + " + 0 * $ID").c_str());
            }
        else
            rig.set("tolerance", reach);
        rig.start();
        uint32_t random = 1;
        const auto between = [&random](float low, float high) {
            random = random * 1664525u + 1013904223u;
            return low + (high - low) * float(random >> 8) / 16777216.0f;
        };
        for (int i = 0; i < 1000; ++i) {
            const bool caught = i < 40; // between hills and ceiling, so fast that every turn has its hits
            const UT_Vector3 place(between(-5, 5), caught ? 0.4f : between(-0.6f, 3), between(-5, 5));
            rig.place(i, place, {between(-9, 9), caught ? -150 : between(-30, 5), between(-9, 9)});
            if (i % 50 == 7) rig.net.setInt("pstate", i, FLX_STOPPED);
        }
        rig.place(3, {0, NAN, 0}, {0, -1, 0});
        rig.place(4, {0, 1, 0}, {0, INFINITY, 0});
        rig.place(5, {0, 1, 0}, {0, 0, 0});
        if (isRepeated) repeat();
    }
    static void hills(GU_Detail& detail, float) {
        addFloor(detail, 0.5f); // a ceiling: who comes below it bounces at every turn
        const auto at = [](int i, int j) {
            return UT_Vector3(float(i) / 4 - 5, 0.3f * float((i * 7 + j * 3) % 5) / 4, float(j) / 4 - 5);
        };
        for (int i = 0; i < 40; ++i)
            for (int j = 0; j < 40; ++j) {
                addFace(detail, {at(i, j), at(i + 1, j + 1), at(i + 1, j)});
                addFace(detail, {at(i, j), at(i, j + 1), at(i + 1, j + 1)});
            }
    }
    // Some stand in other chunks again, some several times in one.
    void repeat() {
        GEO_PrimParticle* prim = rig.net.context().hasPrimPart(&rig.source);
        for (int i = 0; i < 300; ++i) prim->appendParticle(rig.net.point(i * 3));
        for (int i = 0; i < 300; ++i) prim->appendParticle(rig.net.point(i * 3 % 40));
        rig.net.context().setCookOrder(FLX_CookOrder::Operator);
        rig.net.context().setDoApplyRules(false); // which would move them again and again
    }
    void step() {
        FLX_ContextData& context = rig.net.context();
        if (isRepeated)
            rig.net.detail().points().forEach(nullptr, [&](GEO_Point* p) {
                const UT_Vector3 v = context.velocity(p);
                float* backtrack = context.backtrack(p);
                for (int k = 0; k < 3; ++k) backtrack[k] = v[k];
                backtrack[3] = DT;
                context.life(p)[0] += DT;
                p->setPos(UT_Vector4(UT_Vector3(p->getPos()) + v * DT, 1));
            });
        rig.net.step();
    }

    int hitsOf(const GEO_Point* p) {
        return *p->castAttribData<int>(rig.net.detail().pointAttribs().getOffset("numhit", 4, GB_ATTRIB_INT));
    }

    static constexpr double reach = 0.0625;
};

} // namespace

// The loop that sorts out and casts ahead does what the one does that takes particle after particle.
TEST(Collision, WorkingAheadChangesNothing) {
    struct Case {
        const char* name;
        std::function<void(CollisionRig&)> set;
        int hits; ///< at least, in four steps
    };
    const Case cases[] = {
        {"bounce", [](CollisionRig&) {}, 300},
        {"die", [](CollisionRig& rig) { rig.set("behavior", 0); }, 20},
        {"stick in the end",
         [](CollisionRig& rig) {
             rig.set({{"finalbehavior", 3}, {"minimpulse", 20}});
         },
         200},
        {"distance", [](CollisionRig& rig) { rig.set("dodistance", 1); }, 300},
        {"one bounce", [](CollisionRig& rig) { rig.set("bounce", 1); }, 200},
        {"die in the end",
         [](CollisionRig& rig) {
             rig.set({{"bounce", 1}, {"finalbehavior", 1}, {"minimpulse", 60}});
         },
         40},
        {"none", [](CollisionRig& rig) { rig.set("bounce", 0); }, 0},
        {"sides",
         [](CollisionRig& rig) {
             rig.set({{"dohittest", 1}, {"donormalstep", 1}});
         },
         300},
        {"a group", [](CollisionRig& rig) { rig.hit.setString("group", "hit"); }, 300},
    };
    for (const Case& c : cases)
        for (const bool repeated : {false, true}) {
            std::vector<std::string> states[2];
            int hits = 0;
            for (const bool varying : {false, true}) {
                Crowd crowd(c.set, varying, repeated);
                for (int step = 0; step < 4; ++step) {
                    crowd.step();
                    states[varying].push_back(crowd.rig.net.state());
                }
                hits = 0;
                crowd.rig.net.detail().points().forEach(nullptr, [&](const GEO_Point* p) { hits += crowd.hitsOf(p); });
            }
            for (size_t step = 0; step < 4; ++step)
                EXPECT_TRUE(states[0][step] == states[1][step])
                    << c.name << ", step " << step << (repeated ? ", repeated" : "");
            EXPECT_GE(hits, c.hits) << c.name;
            EXPECT_TRUE(c.hits > 0 || hits == 0) << c.name;
        }
}
