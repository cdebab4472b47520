// Setting positions: by a vector, along curves, by an object; and turning particles to what they look at.
#include "host/geo/GEO_PrimPoly.h"
#include "support/Probe.h"
#include "support/SetParms.h"

namespace {

struct Placed {
    Network net;
    Probe& source;
    FLX_Node& node;

    explicit Placed(const char* type, int particles = 1, bool up = false)
        : source(Probe::addSource(net, "source", particles))
        , node(net.add(type, "set", {&source})) {
        if (up) source.attribs = [](Probe& self, FLX_ContextData* context) { self.addUpAttrib(context); };
        net.start(node);
        net.context().setDoApplyRules(false);
    }
    void expectAt(int i, float x, float y, float z, float within = 1e-6f) {
        const UT_Vector3 p = net.position(i);
        EXPECT_NEAR(p.x(), x, within);
        EXPECT_NEAR(p.y(), y, within);
        EXPECT_NEAR(p.z(), z, within);
    }
    /// v turned by the particle's quaternion: v + 2 w (u × v) + 2 u × (u × v).
    UT_Vector3 turned(int i, const UT_Vector3& v) {
        const UT_Vector3 u = net.vector("rot", i), t = cross(u, v) * 2.0f;
        return v + t * net.value("rot", i, 3) + cross(u, t);
    }
    UT_Vector3 velocity(int i) { return net.vector("v", i); }
    void expectFacing(int i, const UT_Vector3& d, float within = 2e-6f) {
        const UT_Vector3 facing = turned(i, velocity(i).normalized()), want = d.normalized();
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(facing[c], want[c], within) << i << " " << c;
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
    EXPECT_EQ(p.net.position(1), UT_Vector3(1, 2, 3)) << "the defaults keep it";
    setParms(p.node, "t=$PT*2 t.2=$TX+$TZ");
    p.net.step();
    EXPECT_EQ(p.net.position(1), UT_Vector3(2, 2, 4)) << "evaluated before it moves";
    EXPECT_EQ(p.net.point(1)->getPos().w(), 0.5f);
    p.node.setInt("postype", 0, 0);
    p.node.setString("posv", "vector3(4, 5, 6)");
    p.net.step();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(p.net.position(i), UT_Vector3(4, 5, 6));
}

TEST(Position, StopsAtTheFirstError) {
    for (const int form : {0, 1}) {
        Placed p("position", 4);
        for (int i = 0; i < 4; ++i) p.net.point(i)->setPos({9, 9, 9, 1});
        p.node.setInt("postype", 0, form);
        p.node.setString("posv", "vector3(3, 2, 1)[$PT * 2]");
        for (int c = 0; c < 3; ++c) p.node.setExpression("t", c, "vector3(3, 2, 1)[$PT * 2]");
        p.net.step();
        EXPECT_EQ(p.net.position(0), UT_Vector3(3, 3, 3));
        EXPECT_EQ(p.net.position(1), UT_Vector3(1, 1, 1));
        EXPECT_EQ(p.net.position(2), UT_Vector3(0, 0, 0)) << "it failed";
        EXPECT_EQ(p.net.position(3), UT_Vector3(9, 9, 9)) << "not reached";
        EXPECT_GE(p.node.error(), UT_ERROR_ABORT);
    }
    Placed constant("position");
    constant.node.setExpression("t", 0, "vector3(3, 2, 1)[5]");
    constant.net.point(0)->setPos({9, 9, 9, 1});
    constant.net.step();
    EXPECT_EQ(constant.net.position(0), UT_Vector3(9, 9, 9)) << "no particle is touched";
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
    for (const Case& c : cases) {
        for (const char* dependence : {"", " + 0 * $PT"}) {
            Placed p("position", 2);
            p.net.point(1)->setPos({5, 5, 0, 1});
            p.node.setInt("mswitcher", 0, 1);
            p.node.setString("pathpath", addCurves(p.net, c.curves));
            p.node.setExpression("pathpos", 0, (std::string(c.at) + dependence).c_str());
            p.node.setInt("endopt", 0, c.reverse);
            p.net.step();
            SCOPED_TRACE(std::string(c.at) + (c.reverse ? " reverse" : ""));
            p.expectAt(1, c.x, c.y, 0);
            const bool told = std::string(c.at) == "0/0";
            EXPECT_EQ(Network::messages(p.node), told ? "warning OP 5: pathpos: not a number; 0 is used instead" : "");
        }
    }
}

TEST(Position, TheCurvesComeFromTheirOwnSpace) {
    Placed p("position");
    const std::string path = addCurves(p.net, 1);
    setParms(p.node, "mswitcher=1 pathpos=0.5");
    p.node.setString("pathpath", path);
    auto* object = p.node.findNode(path.c_str())->getCreator();
    for (const float x : {10.0f, 20.0f}) { // the copy follows the object
        object->setFloat("t", 0, x);
        p.net.step();
        p.expectAt(0, 4 + x, 0, 0);
    }
    p.net.object().setFloat("t", 1, 3);
    p.net.step();
    p.expectAt(0, 24, -3, 0);
    p.node.setInt("ignorexform", 0, 1);
    p.net.step();
    p.expectAt(0, 4, 0, 0);

    p.node.setTemplate(true);
    p.net.context().guidesWanted = 1;
    p.node.setFloat("pathpos", 0, 0.75);
    OP_Context context(p.net.time());
    p.net.context().cookGuide(context);
    EXPECT_EQ(p.node.guideHandle().peekDetail()->primitives().entries(), 1u) << "the guide shows the curve";
    p.expectAt(0, 4, 0, 0);

    p.node.setString("pathpath", "/obj/nothing");
    p.net.step();
    EXPECT_EQ(Network::messages(p.node),
              "error FLX 11: No object or geometry has this path\nwarning FLX 11: /obj/nothing");
    p.expectAt(0, 4, 0, 0);
    p.net.context().setInputGeo(path, 1);
    p.node.setInt("usecontextgeo", 0, 2);
    p.net.step();
    p.expectAt(0, 6, 0, 0);
}

TEST(Position, ByAReference) {
    for (const char* dependence : {"", " + 0 * $PT"}) {
        Placed p("position", 2);
        OBJ_Node& object = Network::addObject("anchor");
        setParms(object, "t=5 r.2=90 s=2");
        p.node.setInt("mswitcher", 0, 2);
        p.node.setString("refpath", "/obj/anchor");
        p.node.setExpression("reft", 0, (std::string("1") + dependence).c_str());
        p.node.setFloat("reft", 2, 7);
        p.net.step();
        p.expectAt(1, 5, 2, 7); // (2, 0, 7) turned to (0, 2, 7), then moved
        p.net.object().setFloat("t", 1, 10);
        p.net.step();
        p.expectAt(1, 5, -8, 7);
        p.node.setInt("reftype", 0, 0);
        p.node.setString("refposv",
                         (std::string("vector3(0, 1, 0)") + (*dependence ? " * (1 + 0 * $PT)" : "")).c_str());
        p.net.step();
        p.expectAt(1, 4, -10, 0);
        p.node.setString("refpath", "/obj/gone");
        p.net.step();
        p.expectAt(1, 0, 1, 0);
        EXPECT_EQ(Network::messages(p.node), "warning FLX 11: /obj/gone");
    }
}

TEST(Position, EnablesAndOldParameters) {
    Placed p("position");
    p.node.disableParms();
    p.node.setInt("usecontextgeo", 0, 1);
    EXPECT_EQ(p.node.disableParms(), 1u);
    EXPECT_FALSE(p.node.parms().find("pathpath")->enabled());
    PRM_ParmList old(p.node.getOperator()->getObsoleteTemplates());
    old.find("pathobj")->setText("track");
    old.find("sop")->setText("curve");
    old.find("refobj")->setText("anchor");
    p.node.resolveObsoleteParms(&old);
    UT_String text;
    p.node.evalString(text, "pathpath", 0, 0);
    EXPECT_EQ(text, "../../track/curve");
    p.node.evalString(text, "refpath", 0, 0);
    EXPECT_EQ(text, "../../anchor");

    Placed look("lookat");
    const auto enabled = [&](const char* parm) { return look.node.parms().find(parm)->enabled(); };
    look.node.disableParms();
    EXPECT_TRUE(!enabled("objpath") && enabled("dir"));
    setParms(look.node, "reference=2 mode=1");
    EXPECT_EQ(look.node.disableParms(), 2u);
    EXPECT_TRUE(enabled("objpath") && !enabled("dir"));
    PRM_ParmList before(look.node.getOperator()->getObsoleteTemplates());
    before.find("obj")->setText("anchor");
    look.node.resolveObsoleteParms(&before);
    look.node.evalString(text, "objpath", 0, 0);
    EXPECT_EQ(text, "../../anchor");
}

// ---- look-at

namespace {

struct Looking : Placed {
    OBJ_Node& target;

    explicit Looking(int mode, int reference, bool up = false)
        : Placed("lookat", 5, up)
        , target(Network::addObject("target")) {
        node.setInt("mode", 0, mode);
        node.setInt("reference", 0, reference);
        node.setString("objpath", "/obj/target");
        setParms(target, "t=3,-2 r.2=90");
        const float velocities[][3] = {{1, 0, 0}, {0, -3, 0}, {0.2f, 0.4f, -0.7f}, {-5, 1, 2}, {0, 0, -1}};
        for (int i = 0; i < 5; ++i) {
            net.point(i)->setPos({float(i) - 1.5f, 2, float(3 * i) - 4, 1});
            net.setValue("v", i, {velocities[i][0], velocities[i][1], velocities[i][2]});
        }
    }
};

} // namespace

TEST(Lookat, EveryParticleFacesThePoint) {
    for (const int reference : {0, 1, 2}) {
        Looking look(1, reference);
        look.net.object().setFloat("t", 2, 1);
        // In the network's own space the world's origin is at (0, 0, -1), the object at (3, -2, -1).
        const UT_Vector3 points[] = {{0, 0, -1}, {0, 0, 0}, {3, -2, -1}};
        look.net.step();
        for (int i = 0; i < 5; ++i) look.expectFacing(i, points[reference] - look.net.position(i));
        EXPECT_EQ(Network::messages(look.node), "");
        const UT_Vector3 v = look.velocity(3);
        look.target.setFloat("t", 2, 40);
        look.net.step();
        if (reference == 2) {
            look.expectFacing(3, UT_Vector3(3, -2, 39) - look.net.position(3));
        }
        EXPECT_EQ(look.velocity(3), v) << "the rotation is set, not the velocity";
    }
}

TEST(Lookat, EveryParticleFacesTheDirection) {
    for (const int reference : {0, 1, 2}) {
        std::string states[2];
        for (const char* dependence : {"", " + 0 * $PT"}) {
            Looking look(0, reference);
            look.net.object().setFloat("r", 0, 90); // y to z, z to -y
            look.net.object().setFloat("t", 0, 1e4);
            look.node.setExpression("dir", 0, (std::string("2") + dependence).c_str());
            setParms(look.node, "dir.1=1,0");
            look.net.step();
            // The world seen from the network: y is -z. The object turns (2, 1, 0) to (-1, 2, 0) first.
            const UT_Vector3 directions[] = {{2, 0, -1}, {2, 1, 0}, {-1, 0, -2}};
            for (int i = 0; i < 5; ++i) look.expectFacing(i, directions[reference]);
            setParms(look.target, "r=33.3 s.1=1.7");
            look.net.object().setFloat("r", 1, -71.9);
            look.net.step();
            states[*dependence != 0] = look.net.state();
        }
        EXPECT_TRUE(states[0] == states[1]) << "the same bits, in reference " << reference;
    }
}

TEST(Lookat, TheInstancesPlaceCounts) {
    Network net;
    Probe& source = Probe::addSource(net, "source", 1);
    FLX_Node& move = net.add("translation", "move", {&source});
    FLX_Node& look = net.add("lookat", "look", {&move});
    move.setFloat("trans", 0, 4);
    look.setInt("mode", 0, 1);
    net.start(look);
    net.context().setDoApplyRules(false);
    net.point(0)->setPos({-4, -5, 0, 1});
    net.setValue("v", 0, {1, 0, 0});
    net.step();
    // The instance stands at (0, -5, 0), so x turns to y: a quarter turn about z.
    const float rot[] = {0, 0, 0.70710678f, 0.70710678f};
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(net.value("rot", 0, i), rot[i], 1e-6);
}

TEST(Lookat, OppositeDirectionsTurnAboutTheUpwardAxis) {
    for (const bool up : {false, true}) {
        Looking look(0, 1, up);
        if (up)
            for (int i = 0; i < 5; ++i) look.net.setValue("up", i, {0, 0, 3});
        for (int c = 0; c < 3; ++c) look.node.setFloat("dir", c, c == 0 ? -1 : 0);
        look.net.step();
        look.expectFacing(0, {-1, 0, 0}); // its velocity is (1, 0, 0)
        const UT_Vector3 axis = up ? UT_Vector3(0, 0, 1) : UT_Vector3(0, 1, 0), kept = look.turned(0, axis);
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(kept[c], axis[c], 1e-6);
    }
    // A particle at the very point it looks at turns round, too; one without velocity turns from the z axis.
    Looking at(1, 1);
    at.net.point(0)->setPos({0, 0, 0, 1});
    at.net.setValue("v", 1, {0, 0, 0});
    at.net.step();
    at.expectFacing(0, {-1, 0, 0});
    const UT_Vector3 facing = at.turned(1, {0, 0, 1}), want = (-at.net.position(1)).normalized();
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(facing[c], want[c], 1e-6);
}

TEST(Lookat, LeavesAloneWhatDoesNotMoveOrHasNoObject) {
    Looking look(1, 0);
    const int bits[] = {FLX_DEAD | FLX_SUPPRESS_REAP, FLX_STOPPED, FLX_STUCK, FLX_SLIDING, 0};
    for (int i = 0; i < 5; ++i) look.net.context().state(look.net.point(i)) = bits[i];
    look.net.context().setDoPrep(false);
    look.net.step();
    for (int i = 0; i < 5; ++i) EXPECT_EQ(look.net.value("rot", i, 3) == 1, i < 3) << i;

    Looking lost(1, 2);
    lost.node.setString("objpath", "/obj/gone");
    lost.net.step();
    for (int i = 0; i < 5; ++i) EXPECT_EQ(lost.net.value("rot", i, 3), 1);
    EXPECT_EQ(Network::messages(lost.node), "warning FLX 11: /obj/gone");
}
