// Collisions with geometry that moves: as a whole, in parts of the step, or point by point.
#include "host/geo/GEO_PrimQuadric.h"
#include "ops/CollisionRig.h"

namespace {

/// A floor that stands at height c * t.
std::function<void(GU_Detail&, float)> risingFloor(float c) {
    return [c](GU_Detail& detail, float t) { addFloor(detail, c * t); };
}
std::function<void(GU_Detail&, float)> risingTriangles(float c) {
    return [c](GU_Detail& detail, float t) {
        const float y = c * t;
        addFace(detail, {{-5, y, 5}, {5, y, 5}, {5, y, -5}});
        addFace(detail, {{-5, y, 5}, {5, y, -5}, {-5, y, -5}});
    };
}

constexpr int TRANSLATING = 1, DEFORMING = 2;

/// A still floor, which throws back, and a roof above it, one collision after the other.
struct TwoCollisions : CollisionRig {
    FLX_Node& second = net.add("collision", "second", {&hit});

    explicit TwoCollisions(const std::function<void(GU_Detail&, float)>& roof)
        : CollisionRig([](GU_Detail& d, float) { addFloor(d); }) {
        second.setString("soppath", net.addGeometry("roof", roof));
        for (FLX_Node* each : {&hit, &second}) setParms(*each, "behavior=1 dohittime=1");
    }
    /// One step, from a tenth above the floor.
    void fly() {
        net.start(second);
        place(0, {0, 0.1f, 0}, {0, -12, 0});
        net.step();
    }
};

} // namespace

TEST(MovingAndDeformingCollision, BehavioursAndGainsAreRelativeToTheGeometry) {
    // A floor rises at 2, a particle 0.1 above it comes down at 10: they meet after 1/120 s, a fifth of the step.
    // Relative to the floor it has (3, -12): what is left of it, plus the floor's own 2 along the normal.
    const UT_Vector3 thrown(3, -10, 0);
    const float until = 1.0f / 120, left = DT - until, there = 2 * until;
    const float late = 0.1f - 10 * until, onFloor = 2 * DT, past = 0.1f - 10 * DT;
    // A surface that moves as a whole is met where it was when the part began, and takes along to its end; one that
    // deforms is met where it is by then.
    // clang-format off
    struct Case { const char* parms; int state; UT_Vector3 velocity; float movingY, deformingY; };
    const Case cases[] = {
        {"behavior=1", 0, {3, 14, 0}, onFloor, there + 14 * left},
        {"behavior=1 gaintan=0.5 gainnml=0.25", 0, {1.5f, 5, 0}, onFloor, there + 5 * left},
        {"behavior=1 gaintan=0 gainnml=0", 0, {0, 2, 0}, onFloor, onFloor}, /* it stays there, which is no new hit */
        {"behavior=0", FLX_DEAD, thrown, late, there}, {"behavior=2", FLX_STOPPED, thrown, late, there},
        {"behavior=3", FLX_STUCK, thrown, onFloor, onFloor}, {"behavior=4", FLX_SLIDING, thrown, onFloor, onFloor},
        {"behavior=5", 0, thrown, past, past},
        // Bounces too weak, which end with the part: the impulse is 24.
        {"behavior=1 minimpulse=25 finalbehavior=1", FLX_DEAD, thrown, onFloor, there},
        {"behavior=1 minimpulse=25 finalbehavior=2", FLX_STOPPED, thrown, onFloor, there},
        {"behavior=1 minimpulse=25 finalbehavior=3", FLX_STUCK, thrown, onFloor, onFloor}};
    // clang-format on
    for (const Case& c : cases)
        for (const int hint : {TRANSLATING, DEFORMING}) {
            SCOPED_TRACE(testing::Message() << c.parms << ", hint " << hint);
            const bool deforms = hint == DEFORMING;
            CollisionRig rig(deforms ? risingTriangles(2) : risingFloor(2), 1, false);
            rig.addHitAttributes();
            rig.set("{} geohint={}", c.parms, hint);
            rig.fly({2, 0.1f, 0}, thrown);
            expectNear(rig.velocity(), c.velocity, 1e-4);
            EXPECT_EQ(rig.state(), c.state | FLX_JUSTHIT);
            const float y = deforms ? c.deformingY : c.movingY;
            const bool goesOn = c.state == 0 && y != onFloor;
            expectNear(rig.position(), {2 + 3 * until + (goesOn ? c.velocity.x() * left : 0), y, 0}, 1e-5);
            EXPECT_NEAR(rig.net.value("hittime", 0), until, 1e-6);
            EXPECT_NEAR(rig.backtrack()[3], left, 1e-6);
            EXPECT_EQ(rig.net.intValue("numhit", 0), 1);
            EXPECT_EQ(rig.net.value("dist", 0), 0);
            expectNear(rig.vector("hitpos"), {2 + 3 * until, deforms ? there : 0, 0}, 1e-6);
            if (c.state != FLX_STUCK) continue;
            rig.net.step(5);
            EXPECT_NEAR(rig.position().y(), 2 * rig.net.time(), 1e-5) << "stuck, it rises with the floor";
        }
}

TEST(MovingCollision, PartsOfTheStepFollowTheGeometry) {
    // The floor jumps up by 0.4 in the last quarter of the step only; the particle hangs at 0.2.
    const auto late = [](GU_Detail& detail, float t) {
        const float into = std::max(0.0f, t / DT - 0.75f) * 4;
        addFloor(detail, 0.4f * std::min(into, 1.0f));
    };
    for (const int parts : {1, 2, 4}) {
        CollisionRig rig(late, 1, false);
        rig.set("behavior=1 geohint={} sample={} dohittime=1", TRANSLATING, parts);
        rig.fly({2, 0.2f, 0}, {0, 0, 0});
        const float rise = 0.4f / DT * float(parts); // within the part in which it happens
        expectNear(rig.velocity(), {0, 2 * rise, 0}, 1e-3 * rise);
        EXPECT_NEAR(rig.net.value("hittime", 0), DT * (1 - 0.5 / parts), 1e-6) << parts;
        EXPECT_NEAR(rig.position().y(), 0.4, 1e-5);
    }
}

TEST(MovingCollision, ARestingParticleIsCarried) {
    // A hair above a floor that rises at 1, rising a hair slower.
    CollisionRig rig(risingFloor(1), 1, false);
    rig.addHitAttributes();
    rig.set("behavior=1 geohint={} tolerance=0.001", TRANSLATING);
    rig.fly({2, 5e-6f, 0}, {0, 0.99999f, 0});
    EXPECT_NEAR(rig.position().y(), DT, 1e-7) << "on the floor at the end";
    EXPECT_EQ(rig.velocity().y(), 0.99999f);
    EXPECT_EQ(rig.state(), 0);
    EXPECT_EQ(rig.net.intValue("numhit", 0), 0) << "no hit";
    EXPECT_EQ(rig.backtrack()[3], DT);
    CollisionRig fled(risingFloor(-12), 1, false);
    fled.set("behavior=1 geohint={}", TRANSLATING);
    fled.fly({2, 0.1f, 0}, {0, -10, 0});
    EXPECT_EQ(fled.state(), 0) << "nor is one that the floor flees";
    expectNear(fled.position(), {2, 0.1f - 10 * DT, 0});
}

TEST(MovingCollision, TheToleranceProbesAroundTheStart) {
    const auto wall = [](GU_Detail& detail, float) {
        addFace(detail, {{0, -5, 5}, {0, -5, -5}, {0, 5, -5}, {0, 5, 5}});
    };
    // clang-format off
    struct Case { UT_Vector3 from, velocity; double tolerance; bool dies; };
    const Case cases[] = {
        {{0.05f, 0, 0}, {0, 0, 1}, 0.1, true}, {{0.05f, 0, 0}, {0, 0, 1}, 0.04, false},
        {{0.05f, 0, 0}, {0, 0, 1}, 0, false}, {{-0.05f, 0, 0}, {0, 1, 0}, 0.1, true},
        {{0.05f, 0, 0}, {1, 0, 0}, 0.1, true}, /* behind */ {{0.05f, 0, 0}, {0, 0, 0}, 0.1, false} /* nothing to probe about */};
    // clang-format on
    for (const Case& c : cases) {
        CollisionRig rig(wall);
        rig.set("behavior=0 geohint={} tolerance={}", TRANSLATING, c.tolerance);
        rig.fly(c.from, c.velocity);
        EXPECT_EQ(rig.state(), c.dies ? FLX_DEAD | FLX_JUSTHIT : 0) << c.tolerance;
    }
}

TEST(MovingCollision, PartOfAMoveIsTestedByWholeParts) {
    // Two floors; the first, still, stops the particle's move after 0.2 of the step. What the second tests is what is
    // left, in whole parts.
    for (const int parts : {1, 2, 4}) {
        TwoCollisions two([](GU_Detail& d, float) { addFloor(d, 0.39f); });
        setParms(two.second, fmt::format("behavior=0 geohint={} sample={}", TRANSLATING, parts));
        two.fly(); // ends at 0.4, after 0.8 of a step upwards: 0.39 lies in its last part
        EXPECT_EQ(two.state(), parts == 1 ? FLX_JUSTHIT : FLX_JUSTHIT | FLX_DEAD) << parts;
    }
}

// Two faces more in every step, which leave the mean in the middle; the floor keeps its number.
TEST(MovingCollision, AnotherTopologyIsToldOf) {
    const auto fill = [](GU_Detail& detail, float t) {
        const float y = 2 * t;
        addFloor(detail, y);
        for (float i = 0; i < t / DT - 0.5f; ++i)
            for (const float x : {20 + i, -20 - i}) addFace(detail, {{x, y, 1}, {x + 1, y, 0}, {x - 1, y, -1}});
    };
    const char* changes =
        "warning OP 5: geohint: translating geometry changes its topology, surfaces may be taken for others";
    CollisionRig rig(fill, 1, false);
    rig.set("behavior=1 geohint={}", TRANSLATING);
    rig.fly({2, 0.1f, 0}, {3, -10, 0}, changes);
    expectNear(rig.velocity(), {3, 14, 0}, 1e-4);
    expectNear(rig.position(), {2 + 3.0f / 120, 2 * DT, 0}, 1e-5);
    rig.net.step();
    EXPECT_EQ(rig.messages(), changes);
    rig.hit.setString("soppath", "/obj/nowhere");
    rig.net.step();
    EXPECT_EQ(rig.messages(), "warning FLX 11: /obj/nowhere");
}

TEST(DeformingCollision, TheFractionOfTheStepFollowsTheTimeThatIsOver) {
    // A roof comes down at 2 while the particle, after its bounce off a still floor a fifth into the step, rises at 12;
    // they meet at s with 0.2 - 2 s = 12 (s - 1/120).
    TwoCollisions two([](GU_Detail& d, float t) {
        addFace(d, {{-5, 0.2f - 2 * t, -5}, {5, 0.2f - 2 * t, -5}, {0, 0.2f - 2 * t, 5}});
    });
    two.second.setFloat("geohint", 0, DEFORMING);
    two.fly();
    const double s = 0.3 / 14;
    EXPECT_NEAR(two.net.value("hittime", 0), s, 1e-6);
    EXPECT_NEAR(two.velocity().y(), -16, 1e-4);
    EXPECT_NEAR(two.position().y(), 0.2 - 2 * s - 16 * (DT - s), 1e-5);
}

TEST(DeformingCollision, ASurfaceTooFastToBeFollowedPassesBy) {
    for (const float speed : {5e37f, 1.5e38f, 3e38f}) {
        CollisionRig rig(risingTriangles(speed), 1, false);
        rig.set("behavior=1 geohint={} donumhit=1", DEFORMING);
        rig.fly({2, 0.1f, 1}, {0, 0, 0});    // at rest
        const bool followed = speed < 1e38f; // the bounce can be told in floats
        EXPECT_NEAR(rig.velocity().y(), followed ? 1e38 : 0, 1e32);
        EXPECT_NEAR(rig.position().y(), followed ? 1e38 * DT : double(0.1f), followed ? 1e32 : 0);
        EXPECT_EQ(rig.net.intValue("numhit", 0), followed);
    }
}

TEST(MovingAndDeformingCollision, WhatCannotBeDoneIsSaid) {
    CollisionRig spheres([](GU_Detail& detail, float) { GU_PrimSphere::build(&detail, UT_Matrix4(1.0f)); }, 1, false);
    spheres.set("behavior=0 geohint={}", DEFORMING);
    spheres.fly({0, 3, 0}, {0, -100, 0},
                "warning OP 5: geohint: spheres, tubes and circles are not hit while geometry deforms; make them "
                "polygons");
    EXPECT_EQ(spheres.state(), 0);
    CollisionRig parts(risingFloor(2), 1, false);
    parts.set("behavior=0 geohint={} sample=2000000000", TRANSLATING);
    parts.fly({2, 0.1f, 0}, {0, -10, 0}, "warning OP 5: sample: more than 1000; 1000 is used instead");
    EXPECT_EQ(parts.state(), FLX_DEAD | FLX_JUSTHIT);
}

TEST(MovingCollision, APointThatIsNowhereDoesNotStopTheOthers) {
    for (const bool always : {true, false}) { // else it vanishes during the step
        const auto fill = [=](GU_Detail& detail, float t) {
            risingFloor(2)(detail, t);
            if (!always && t == 0) return addFace(detail, {{9, 0, 9}, {9, 0, 8}, {8, 0, 8}}), void();
            addFace(detail, {{9, NAN, 9}, {9, 2 * t, 8}, {8, 2 * t, 8}});
        };
        CollisionRig rig(fill, 1, false);
        rig.set("behavior=1 geohint={}", TRANSLATING);
        rig.fly({2, 0.1f, 0}, {0, -10, 0});
        expectNear(rig.velocity(), {0, 14, 0}, 1e-4);
    }
}

TEST(DeformingCollision, ChangingTopologyIsAnError) {
    CollisionRig rig(
        [](GU_Detail& detail, float t) {
            const float y = 0;
            addFace(detail, {{-5, y, 5}, {5, y, 5}, {5, y, -5}});
            if (t > 1.5f * DT) addFace(detail, {{-5, y, 5}, {5, y, -5}, {-5, y, -5}});
        },
        1, false);
    rig.set("geohint={}", DEFORMING);
    rig.fly({2, 0.1f, 4}, {0, 1, 0});
    rig.place(0, {2, 0.1f, 4}, {0, -12, 0});
    rig.net.step();
    EXPECT_EQ(rig.messages(), "error FLX 22: The deforming geometry changes its topology");
    EXPECT_EQ(rig.state(), 0);
    rig.net.step(); // the error has frozen it; now the topology stays
    rig.net.step();
    EXPECT_EQ(rig.messages(), "");
}
