// Setting positions: by a vector, along curves, by an object; and turning particles to what they look at.
#include "host/geo/GEO_PrimPoly.h"
#include "support/OperatorRig.h"

namespace {

struct Placed : OperatorRig {
    explicit Placed(const char* type, int particles = 1, std::vector<FLX_Attrib> attributes = {})
        : OperatorRig(type, particles, std::move(attributes)) {
        net.context().setDoApplyRules(false);
    }
    /// v turned by the particle's quaternion: v + 2 w (u × v) + 2 u × (u × v).
    UT_Vector3 turned(int i, const UT_Vector3& v) {
        const UT_Vector3 u = vector("rot", i), t = cross(u, v) * 2.0f;
        return v + t * net.value("rot", i, 3) + cross(u, t);
    }
    void expectFacing(int i, const UT_Vector3& d) {
        expectNear(turned(i, vector("v", i).normalized()), d.normalized(), 2e-6, std::to_string(i).c_str());
    }
};

void addLine(GU_Detail& detail, const UT_Vector3& from, const UT_Vector3& to) {
    GEO_PrimPoly* line = GU_PrimPoly::build(&detail, 2, GU_PrimPoly::GU_POLY_OPEN, 1);
    line->getVertexPoint(0)->setPos(UT_Vector4(from.x(), from.y(), from.z(), 1));
    line->getVertexPoint(1)->setPos(UT_Vector4(to.x(), to.y(), to.z(), 1));
}

std::string addCurves(Network& net, int count) {
    return net.addGeometry(
        "curves",
        [count](GU_Detail& detail, float) {
            for (int i = 0; i < count; ++i) addLine(detail, {0, float(i), 0}, {8, float(i), 0});
        },
        true);
}

} // namespace

TEST(Position, ByAVector) {
    Placed p("position", 3);
    p.net.point(1)->setPos({1, 2, 3, 0.5f});
    p.net.step();
    EXPECT_EQ(p.position(1), UT_Vector3(1, 2, 3)) << "the defaults keep it";
    p.set("t=$PT*2 t.2=$TX+$TZ");
    p.net.step();
    EXPECT_EQ(p.position(1), UT_Vector3(2, 2, 4)) << "evaluated before it moves";
    EXPECT_EQ(p.net.point(1)->getPos().w(), 0.5f);
    p.node.setInt("postype", 0, 0);
    p.text("posv", "vector3(4, 5, 6)");
    p.net.step();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(p.position(i), UT_Vector3(4, 5, 6));
}

TEST(Position, StopsAtTheFirstError) {
    for (const int form : {0, 1}) {
        Placed p("position", 4);
        for (int i = 0; i < 4; ++i) p.place(i, {9, 9, 9});
        p.node.setInt("postype", 0, form);
        p.text("posv", "vector3(3, 2, 1)[$PT * 2]");
        for (int c = 0; c < 3; ++c) p.node.setExpression("t", c, "vector3(3, 2, 1)[$PT * 2]");
        p.net.step();
        const float expected[] = {3, 1, 0 /* it failed */, 9 /* not reached */};
        for (int i = 0; i < 4; ++i) EXPECT_EQ(p.position(i), UT_Vector3(expected[i], expected[i], expected[i])) << i;
        EXPECT_GE(p.node.error(), UT_ERROR_ABORT);
    }
}

TEST(Position, AlongCurves) {
    // clang-format off
    struct Case { const char* at; int curves; bool reverse; float x, y; }; // curve i runs from (0, i) to (8, i)
    const Case cases[] = {
        {"0", 2, false, 0, 0}, {"0.25", 2, true, 2, 0}, {"1.25", 2, false, 2, 1}, {"1.25", 2, true, 6, 1},
        {"4.25", 2, false, 2, 1}, {"4.25", 2, true, 2, 1}, {"3.25", 2, true, 6, 1}, {"1", 2, false, 0, 1},
        {"1", 2, true, 8, 1}, {"0.75", 1, false, 6, 0}, {"-3", 2, false, 0, 0}, {"1e30", 2, false, 0, 1},
        {"0/0", 2, false, 0, 0}, {"0.5", 0, false, 5, 5}};
    // clang-format on
    for (const Case& c : cases)
        for (const char* dependence : {"", "+0*$PT"}) {
            SCOPED_TRACE(std::string(c.at) + dependence + (c.reverse ? " reverse" : ""));
            Placed p("position", 2);
            p.place(1, {5, 5, 0});
            p.set("mswitcher=1 endopt={} pathpos={}{}", int(c.reverse), c.at, dependence);
            p.text("pathpath", addCurves(p.net, c.curves));
            p.net.step();
            expectNear(p.position(1), {c.x, c.y, 0});
            const bool told = std::string(c.at) == "0/0";
            EXPECT_EQ(p.messages(), told ? "warning OP 5: pathpos: not a number; 0 is used instead" : "");
        }
}

TEST(Position, TheCurvesComeFromTheirOwnSpace) {
    Placed p("position");
    const std::string path = addCurves(p.net, 1);
    p.set("mswitcher=1 pathpos=0.5");
    p.text("pathpath", path);
    auto* object = p.node.findNode(path.c_str())->getCreator();
    p.net.object().setFloat("t", 1, 3);
    for (const float x : {10.0f, 20.0f}) { // the copy follows the object
        object->setFloat("t", 0, x);
        p.net.step();
        expectNear(p.position(), {4 + x, -3, 0});
    }
    p.set("pathpos=0.75 ignorexform=1 usecontextgeo=2");
    p.text("pathpath", "/obj/nothing");
    p.net.context().setInputGeo(path, 1);
    EXPECT_EQ(p.guide().primitives().entries(), 1u) << "the guide shows the curve";
    expectNear(p.position(), {24, -3, 0});
    p.net.step();
    expectNear(p.position(), {6, 0, 0});
}

TEST(Position, ByAReference) {
    for (const char* dependence : {"", "+0*$PT"}) {
        Placed p("position", 2);
        OBJ_Node& object = Network::addObject("anchor");
        setParms(object, "t=5 r.2=90 s=2");
        const auto expectNext = [&](const UT_Vector3& at) {
            p.net.step();
            expectNear(p.position(1), at, 1e-6);
        };
        p.set("mswitcher=2 reft=1{} reft.2=7", dependence);
        p.text("refpath", "/obj/anchor");
        expectNext({5, 2, 7}); // (2, 0, 7) turned to (0, 2, 7), then moved
        p.net.object().setFloat("t", 1, 10);
        expectNext({5, -8, 7});
        p.set("reftype=0");
        p.text("refposv", std::string("vector3(0, 1, 0)*(1") + dependence + ")");
        expectNext({4, -10, 0});
        p.text("refpath", "/obj/gone");
        expectNext({0, 1, 0});
        EXPECT_EQ(p.messages(), "warning FLX 11: /obj/gone");
    }
}

// ---- look-at

namespace {

struct Looking : Placed {
    OBJ_Node& target;

    Looking(int mode, int reference, std::vector<FLX_Attrib> attributes = {})
        : Placed("lookat", 5, std::move(attributes))
        , target(Network::addObject("target")) {
        set("mode={} reference={}", mode, reference);
        text("objpath", "/obj/target");
        setParms(target, "t=3,-2 r.2=90");
        const float velocities[][3] = {{1, 0, 0}, {0, -3, 0}, {0.2f, 0.4f, -0.7f}, {-5, 1, 2}, {0, 0, -1}};
        for (int i = 0; i < 5; ++i) {
            place(i, {float(i) - 1.5f, 2, float(3 * i) - 4});
            net.setValue("v", i, {velocities[i][0], velocities[i][1], velocities[i][2]});
        }
    }
};

} // namespace

TEST(Lookat, EveryParticleFacesThePointOrTheDirection) {
    for (const int reference : {0, 1, 2}) {
        Looking look(1, reference);
        look.net.object().setFloat("t", 2, 1);
        // In the network's own space the world's origin is at (0, 0, -1), the object at (3, -2, -1).
        const UT_Vector3 points[] = {{0, 0, -1}, {0, 0, 0}, {3, -2, -1}}, v = look.vector("v", 3);
        look.net.step();
        for (int i = 0; i < 5; ++i) look.expectFacing(i, points[reference] - look.position(i));
        EXPECT_EQ(look.vector("v", 3), v) << "the rotation is set, not the velocity";
        for (const char* dependence : {"", "+0*$PT"}) {
            Looking along(0, reference);
            setParms(along.net.object(), "r=90 t=1e4"); // y to z, z to -y
            along.set("dir=2{},1,0", dependence);
            along.net.step();
            // The world seen from the network: y is -z. The object turns (2, 1, 0) to (-1, 2, 0) first.
            const UT_Vector3 directions[] = {{2, 0, -1}, {2, 1, 0}, {-1, 0, -2}};
            for (int i = 0; i < 5; ++i) along.expectFacing(i, directions[reference]);
        }
    }
}

TEST(Lookat, TheInstancesPlaceCounts) {
    Placed look("lookat", 1, {FLX_Attrib::Trans});
    look.set("mode=1");
    look.place(0, {-4, -5, 0});
    look.net.setValue("trans", 0, {4, 0, 0});
    look.net.setValue("v", 0, {1, 0, 0});
    look.net.step();
    // The instance stands at (0, -5, 0), so x turns to y: a quarter turn about z.
    const float rot[] = {0, 0, 0.70710678f, 0.70710678f};
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(look.net.value("rot", 0, i), rot[i], 1e-6);
}

TEST(Lookat, OppositeDirectionsTurnAboutTheUpwardAxis) {
    for (const bool up : {false, true}) {
        Looking look(0, 1, up ? std::vector{FLX_Attrib::Up} : std::vector<FLX_Attrib>{});
        if (up) look.net.setValue("up", 0, {0, 0, 3});
        look.set("dir=-1,0,0");
        look.net.step();
        look.expectFacing(0, {-1, 0, 0}); // its velocity is (1, 0, 0)
        const UT_Vector3 axis = up ? UT_Vector3(0, 0, 1) : UT_Vector3(0, 1, 0);
        expectNear(look.turned(0, axis), axis, 1e-6);
    }
    // A particle at the very point it looks at turns round, too; one without velocity turns from the z axis.
    Looking at(1, 1);
    at.place(0, {0, 0, 0});
    at.net.setValue("v", 1, {0, 0, 0});
    at.net.step();
    at.expectFacing(0, {-1, 0, 0});
    expectNear(at.turned(1, {0, 0, 1}), (-at.position(1)).normalized(), 1e-6);
}

TEST(Lookat, LeavesAloneWhatHasNoObject) {
    Looking lost(1, 2);
    lost.text("objpath", "/obj/gone");
    lost.net.step();
    for (int i = 0; i < 5; ++i) EXPECT_EQ(lost.net.value("rot", i, 3), 1);
    EXPECT_EQ(lost.messages(), "warning FLX 11: /obj/gone");
}
