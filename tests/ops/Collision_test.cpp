// Collisions with geometry that stands still: behaviours, what hits record, the sides of a surface.
#include "ops/CollisionRig.h"

#include <fmt/format.h>

#include "host/node/SOP_Node.h"
#include "host/ut/UT_ErrorTable.h"
#include "host/ut/UT_Interrupt.h"

namespace {

void floorAtZero(GU_Detail& detail, float) { addFloor(detail); }

// Thrown from (0.3, 0.1, 0.2) with (1, -12, 0.5): meets the floor after 1/120 of the step's 1/24 s.
const UT_Vector3 FROM(0.3f, 0.1f, 0.2f), THROW(1, -12, 0.5f);
constexpr double UNTIL = 0.1 / 12, LEFT = 1.0 / 24 - UNTIL;
const UT_Vector3 SPOT(float(0.3 + UNTIL), 0, float(0.2 + 0.5 * UNTIL));

} // namespace

TEST(Collision, BouncesWithGains) {
    // clang-format off
    struct Case { const char *parms; float tangent, normal; const char* noNumber; };
    const Case cases[] = {
        {"", 1, 1, ""}, {"gaintan=0.5 gainnml=0.25", 0.5f, 0.25f, ""}, {"gaintan=0", 0, 1, ""}, {"gainnml=0", 1, 0, ""},
        {"gaintan=-1 gainnml=2", -1, 2, ""}, {"gaintan=0/0", 0, 1, "gaintan"}, {"gainnml=0/0", 1, 0, "gainnml"},
        {"gaintan=0*$NUMHIT/0", 0, 1, "gaintan"}, {"gainnml=$NUMHIT/0", 1, 0, "gainnml"}};
    // clang-format on
    for (const auto& [parms, tangent, normal, noNumber] : cases) {
        SCOPED_TRACE(parms);
        CollisionRig rig(floorAtZero);
        rig.set("behavior=1 donumhit=1 {}", parms);
        rig.fly(FROM, THROW,
                *noNumber ? fmt::format("warning OP 5: {}: not a number; 0 is used instead", noNumber) : "");
        const UT_Vector3 v(tangent, 12 * normal, 0.5f * tangent);
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
    for (const auto& [behavior, state] :
         {std::pair<int, int>{0, FLX_DEAD}, {2, FLX_STOPPED}, {3, FLX_STUCK}, {4, FLX_SLIDING}, {5, 0}}) {
        CollisionRig rig(floorAtZero);
        rig.set("behavior={}", behavior);
        rig.fly(FROM, THROW);
        expectNear(rig.velocity(), THROW, 0);
        expectNear(rig.position(), state ? SPOT : FROM + THROW * DT);
        EXPECT_EQ(rig.state(), state | FLX_JUSTHIT) << behavior;
        EXPECT_NEAR(rig.backtrack()[3], LEFT, 1e-7);
        const GB_Attribute* path = rig.net.detail().pointAttribs().find("pospath");
        EXPECT_EQ(path != nullptr, state == FLX_STUCK || state == FLX_SLIDING) << behavior;
        if (!path) continue;
        EXPECT_STREQ(path->getIndex(rig.net.intValue("pospath", 0)), "/obj/wall/out");
        EXPECT_EQ(rig.net.intValue("posprim", 0), 0);
        EXPECT_GT(rig.net.value("posuv", 0, 1), 0.5) << "near the middle";
        rig.net.step(3);
        const UT_Vector3 slid = UT_Vector3(1, 0, 0.5f) * (3 * DT);
        expectNear(rig.position(), state == FLX_STUCK ? SPOT : SPOT + slid, 1e-5);
    }
}

// Its path is written as it was given, or spelled out where the cook node would read it differently.
TEST(Collision, AStuckParticleGoesWhereItsGeometryStandsInTheWorld) {
    for (const bool inside : {false, true}) {
        Network net;
        Probe& source = Probe::addSource(net, "source", 1);
        FLX_Node& sub = net.add("subnet", "sub", {&source});
        FLX_Node& hit = inside ? net.add("collision", "hit", {}, &sub) : net.add("collision", "hit", {&source});
        if (inside) hit.setIndirectInput(0, 0);
        hit.setRender(true);
        net.addGeometry("wall", floorAtZero, true);
        OBJ_Node* wall = hit.findOBJNode("/obj/wall");
        wall->setFloat("t", 1, -0.2);
        hit.setString("soppath", inside ? "../../../wall/out" : "../../wall/out");
        hit.setFloat("behavior", 0, 3);
        net.start(inside ? sub : hit);
        net.point(0)->setPos(UT_Vector4(FROM, 1));
        net.setValue("v", 0, {THROW.x(), THROW.y(), THROW.z()});
        net.step();
        ASSERT_EQ(Network::messages(hit), "");
        EXPECT_STREQ(net.detail().pointAttribs().find("pospath")->getIndex(0),
                     inside ? "/obj/wall/out" : "../../wall/out");
        const float until = 0.3f / 12;
        expectNear(net.position(0), {FROM.x() + until, -0.2f, FROM.z() + 0.5f * until});
        wall->setFloat("t", 1, 1);
        net.step();
        EXPECT_NEAR(net.position(0).y(), 1, 1e-5);
    }
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
    rig.set("behavior=1 hituse=1 hitindex=100");
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
    rig.set("hitindex=2147483647");
    rig.place(0, FROM, THROW);
    rig.net.step();
    EXPECT_EQ(rig.net.value("hitid", 0), 2147483648.0f) << "it stays within an int; this is the float next to it";
}

TEST(Collision, DistanceIsThatOfTheSurfaceAhead) {
    CollisionRig rig(floorAtZero);
    rig.set("behavior=1 dodistance=1");
    rig.fly({0, 3, 0}, {3, -4, 0}); // along (0.6, -0.8, 0), 5 units a second
    EXPECT_NEAR(rig.net.value("dist", 0), 3 / 0.8, 1e-5) << "from the start of the move";
    for (const UT_Vector3& away : {UT_Vector3(3, 4, 0), UT_Vector3(0, 0, 0)}) {
        rig.place(0, {0, 3, 0}, away);
        rig.net.step();
        EXPECT_EQ(rig.net.value("dist", 0), -1);
    }
    rig.hit.setString("soppath", "/obj/nowhere");
    rig.net.setValue("dist", 0, {5});
    rig.net.step();
    EXPECT_EQ(rig.messages(), "warning FLX 11: /obj/nowhere");
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
        rig.set("behavior=1 bounce={} donumhit=1 enforceorient=0", accuracy);
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
    rig.set("behavior=1 bounce=2000000000 enforceorient=0 donumhit=1");
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
        SCOPED_TRACE(testing::Message() << c.finally << " " << c.least);
        CollisionRig rig(floorAtZero);
        rig.set("behavior=1 finalbehavior={} minimpulse={}", c.finally, c.least);
        rig.fly({0, 0.01f, 0}, {2, -0.4f, 0});
        EXPECT_EQ(rig.state(), c.state | FLX_JUSTHIT);
        const float until = 0.01f / 0.4f, left = DT - until;
        expectNear(rig.velocity(), {2, c.state ? -0.4f : 0.4f, 0}, 1e-6);
        expectNear(rig.position(), c.state ? UT_Vector3(2 * until, 0, 0) : UT_Vector3(2 * DT, 0.4f * left, 0), 1e-5);
        EXPECT_EQ(rig.net.detail().pointAttribs().find("posprim") != nullptr, c.finally >= 3);
    }
}

TEST(Collision, TheRestOfTheStepTakesHalfTheAcceleration) {
    CollisionRig rig(floorAtZero, 2);
    FLX_Node& pull = rig.net.add("force", "pull", {&rig.source});
    pull.setFloat("force", 1, -10);
    rig.hit.setInput(0, &pull);
    rig.set("behavior=1");
    rig.start();
    for (int i = 0; i < 2; ++i) {
        rig.place(i, FROM, {0, -12, 0});
        rig.net.setValue("accel", i, {0, 0, 0});
    }
    rig.net.context().setDoPrep(false); // keeps the mark that a particle's velocity rule is suppressed
    rig.net.setInt("pstate", 1, FLX_SUPPRESS_VEL);
    rig.net.step();
    EXPECT_NEAR(rig.velocity(0).y(), 12 - 10 * LEFT / 2, 1e-5);
    EXPECT_NEAR(rig.position(0).y(), 12 * LEFT, 2e-6);
    EXPECT_NEAR(rig.velocity(1).y(), 12, 1e-5);
}

TEST(Collision, WhoIsNotTested) {
    for (const bool atTimeZero : {false, true}) {
        CollisionRig rig(floorAtZero, 8);
        rig.set("behavior=1 donumhit=1");
        rig.hit.setString("group", "struck");
        rig.start();
        const int states[] = {0, FLX_DEAD, FLX_STOPPED, FLX_STUCK, FLX_SLIDING, FLX_JUSTHIT, 0, 0};
        FLX_ContextData& context = rig.net.context();
        context.setDoApplyRules(false);
        context.setDoReap(false);
        context.setDoPrep(false);
        for (int i = 0; i < 8; ++i) {
            rig.place(i, {0, -0.4f, 0}, {0, 5, 0});
            rig.net.setInt("pstate", i, states[i]);
            rig.net.setValue("life", i, {i == 6 ? 0.0f : 1.0f, 100});
            float* b = context.backtrack(rig.net.point(i));
            b[0] = b[2] = 0, b[1] = -12, b[3] = i == 7 ? 0 : DT;
        }
        if (atTimeZero) {
            context.time = 0;
            OP_Context at(0);
            context.cook(at);
        } else {
            rig.net.step();
        }
        for (int i = 0; i < 8; ++i) {
            const bool tested = (i == 0 || i == 5) && !atTimeZero;
            EXPECT_EQ(rig.net.intValue("numhit", i), tested) << i;
            EXPECT_EQ(rig.velocity(i).y(), tested ? 12 : 5) << "the velocity of the move counts, not the present one";
        }
        EXPECT_EQ(rig.net.detail().pointGroups().find("struck")->entries(), atTimeZero ? 0u : 2u);
    }
}

TEST(Collision, SpeedLimitsHoldAfterABounceAndSpeedIsKept) {
    CollisionRig rig(floorAtZero, 3);
    rig.source.attribs = [](Probe& self, FLX_ContextData* context) {
        self.addSpeedLimitAttrib(context);
        self.addSpeedAttrib(context);
    };
    rig.set("behavior=1 gainnml=0.5");
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
    rig.set("behavior=1");
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
    bounce.set("tolerance=0.06 behavior=1 donumhit=1");
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
    rig.set("hituse=1 dohitid=1");
    rig.fly({0.3f, 0, 0}, {0, -12, 0});
    EXPECT_EQ(rig.net.intValue("hitid", 0), 1) << "the second floor, not the one it rests on";
    EXPECT_NEAR(rig.position().y(), -0.2, 1e-6);
    // With a tolerance without end it is looked for as far as floats reach.
    for (const char* tolerance : {"1/0", "1e39", "3e38", "0.01/$VX"})
        for (const int hint : {0, 2}) {
            SCOPED_TRACE(testing::Message() << tolerance << ", hint " << hint);
            CollisionRig wide(floors);
            wide.set("hituse=1 dohitid=1 geohint={} behavior=1 bounce=2", hint);
            wide.set("enforceorient=0 gainnml=-1 donumhit=1"); // goes through what it hits
            wide.hit.setExpression("tolerance", 0, tolerance);
            wide.fly({0.3f, 0, 0}, {0, -0.1f, 0});
            EXPECT_EQ(wide.net.intValue("numhit", 0), hint == 0 ? 1 : 2);
            EXPECT_EQ(wide.net.intValue("hitid", 0), 1);
        }
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
        rig.set("behavior=1 enforceorient={} gainnml=0.5 gaintan=0.5", int(enforced));
        rig.fly({0, 0.1f, 0}, {8, -24, 0}); // down 0.1, then up at 12: arrives 0.3 higher after 0.025
        expectNear(rig.velocity(), {2, enforced ? 12.0f : -6.0f, 0}, 1e-5);
        const float left = float(1.0 / 24 - 0.1 / 24 - 0.3 / 12);
        EXPECT_NEAR(rig.position().y(), 0.3 + (enforced ? 12 : -6) * left, 1e-5);
    }
}

TEST(Collision, TheSideIsRememberedOverSteps) {
    for (const bool stored : {true, false}) {
        CollisionRig rig(floorAtZero);
        rig.set("behavior=1 dohittest={} donormalstep=1", int(stored));
        rig.hit.setString("hittestattrib", "side");
        rig.hit.setString("prevhitnmlattrib", "lastN");
        rig.fly({0, 0.1f, 0}, {0, -12, 0});
        EXPECT_EQ(rig.net.detail().pointAttribs().find("side") != nullptr, stored);
        if (stored) expectNear(rig.vector("lastN"), {0, 1, 0}, 0);
        // From below it passes when its side is known, else it is thrown back down.
        rig.place(0, {0, -0.1f, 0}, {0, 12, 0});
        rig.net.step();
        EXPECT_EQ(rig.velocity().y(), stored ? 12 : -12);
        EXPECT_EQ(stored ? rig.net.intValue("side", 0) : -1, -1);
    }
}

// Named like something that particles have, the attribute for the side is done without, and the bounce is as ever.
TEST(Collision, TheSideTakesNoOtherAttributesPlace) {
    for (const char* name : {"P", "life", "numhit", "Cd"})
        for (const char* parm : {"hittestattrib", "prevhitnmlattrib"}) {
            SCOPED_TRACE(std::string(parm) + " " + name);
            CollisionRig rig(floorAtZero);
            rig.set("behavior=1 dohittest=1 donormalstep=1 donumhit=1");
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
    // A name that changes later on names an attribute that nobody has added.
    CollisionRig rig(floorAtZero);
    rig.set("behavior=1 dohittest=1 sample=2");
    rig.hit.setString("hittestattrib", "side`ch('sample')`");
    rig.fly(FROM, THROW);
    rig.set("sample=3");
    rig.net.step();
    EXPECT_EQ(rig.messages(), "warning FLX 9: side3");
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
        rig.set("behavior=1 dohittest=1 donormalstep=1 gainnml=0.5");
        rig.set("normalstep={} backstep={}", c.normalStep, c.backStep);
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
    rig.set("behavior=5 donumhit=1");
    rig.start();
    rig.net.detail().pointGroups().newGroup("none");
    const auto events = [&] { return rig.net.context().getEventAttr()->indexStrings(); };
    // Throws these down; who is in the group then.
    const auto struck = [&](int bits) {
        for (int i = 0; i < 4; ++i) rig.place(i, {0, 0.1f, 0}, {0, bits >> i & 1 ? -12.0f : 1.0f, 0});
        rig.net.step();
        int members = 0;
        for (int i = 0; i < 4; ++i)
            members |= rig.net.detail().pointGroups().find("struck")->contains(rig.net.point(i)) << i;
        return members;
    };
    EXPECT_EQ(struck(0), 0);
    EXPECT_TRUE(events().empty());
    EXPECT_EQ(struck(0b0101), 0b0101);
    const std::string now = fmt::format(":{:f}", rig.net.time());
    EXPECT_EQ(events(), (std::vector<std::string>{"crash" + now, "bang" + now}));
    EXPECT_EQ(struck(0b1000), 0b1000) << "made anew";
    struct Case {
        const char *source, *message;
        int struck;
    };
    for (const Case& c :
         {Case{"1 3", "", 0b1010}, {"none", "", 0}, {"", "", 0b1111}, {"gone", "error FLX 2: gone", 0}}) {
        rig.hit.setString("source", c.source);
        EXPECT_EQ(struck(0b1111), c.struck) << c.source;
        EXPECT_EQ(rig.messages(), c.message);
    }
    rig.hit.setString("source", "");
    struck(0); // the error has frozen the group
    struck(0b1000);
    rig.set("preservegroup=1");
    EXPECT_EQ(struck(0b0001), 0b1001);
    struck(0);
    for (const std::string& event : events()) EXPECT_NE(event.find('+'), std::string::npos) << event << " is withdrawn";
}

TEST(Collision, InterruptsAndActivationStopIt) {
    CollisionRig rig(floorAtZero);
    rig.start();
    rig.hit.setTemplate(true);
    rig.net.context().guidesWanted = 1;
    UTgetInterrupt()->clear();
    for (const char* stop : {"inactive", "interrupted", ""}) {
        rig.set("activate={}", int(stop != std::string("inactive")));
        if (stop == std::string("interrupted")) UTgetInterrupt()->fireAtPoll(1);
        rig.place(0, FROM, THROW);
        rig.net.step();
        UTgetInterrupt()->clear();
        EXPECT_EQ(rig.state(), *stop ? 0 : FLX_DEAD | FLX_JUSTHIT) << stop;
        EXPECT_EQ(rig.hit.guideHandle().peekDetail()->primitives().entries(), 1u) << "the guide shows the geometry";
    }
}
