// Finding the geometry that operators name.
#include "host/node/OP_Operator.h"
#include "host/node/SOP_Node.h"
#include "host/sim/DOP_FullPathData.h"
#include "host/sim/SIM_Geometry.h"
#include "host/sim/SIM_Position.h"
#include "support/MenuOf.h"
#include "support/Probe.h"

namespace {

void onePoint(GU_Detail& detail, float) { detail.appendPoint()->setPos({1, 2, 3, 1}); }

UT_Vector3 first(const GU_Detail* detail) { return detail->points()(0)->getPos(); }

OBJ_Node& object(const char* name) { return *OPgetDirector()->objManager()->findChild(name)->castToOBJNode(); }

UT_DMatrix4 moved(const UT_Vector3D& by) {
    UT_DMatrix4 m(1.0);
    m.translate(by);
    return m;
}

/// A source operator in a network: it has a path parameter and the context geometry menu.
struct Lookup {
    Network net;
    FLX_Node& node;
    FLX_GeoLookup lookup;
    GU_Detail copy;

    Lookup()
        : node(net.add("source", "src")) {
        node.setFloat("constantrate", 0, 0);
    }
    GU_Detail* get(const char* path, bool extra = false, bool ignore = false, bool withCopy = true) {
        return node.getGeo(path, &net.context(), 0, extra, ignore, withCopy ? &copy : nullptr, lookup);
    }
    /// Whether the look-up found a change, asked afresh.
    int changed(const char* path) {
        lookup.changed = 0;
        get(path);
        return lookup.changed;
    }
};

} // namespace

TEST(GeoLookup, ThePathComesFromTheParameterOrTheContext) {
    Lookup l;
    l.node.setString("soppath", "/obj/own");
    l.net.context().setInputGeo("/obj/first", 0);
    l.net.context().setInputGeo("__no_sop__", 3);
    UT_String path;
    const char* expected[] = {"/obj/own", "/obj/first", "", "", ""};
    for (int choice = 0; choice < 5; ++choice) {
        l.node.setInt("usecontextgeo", 0, choice);
        l.node.getGeoPath(path, &l.net.context(), 0);
        EXPECT_EQ(path, expected[choice]) << choice;
    }
    l.node.getGeoPath(path, nullptr, 0);
    EXPECT_EQ(path, "/obj/own") << "without a context there are no context geometries";
    for (const char* none : {"__no_obj__", "__no_sop__", "", "/obj/nothing", (const char*)nullptr})
        EXPECT_EQ(l.get(none), nullptr);
    EXPECT_EQ(Network::messages(l.node), "");
    l.get(l.net.addGeometry("broken", [](GU_Detail&, float) { UTaddError("OP", 1, "no"); }).c_str());
    l.node.stealGlobalErrors();
    EXPECT_NE(Network::messages(l.node).find("error FLX 6:"), std::string::npos) << Network::messages(l.node);
}

TEST(GeoLookup, GeometryIsBroughtIntoTheNetworksSpace) {
    Lookup l;
    const std::string path = l.net.addGeometry("ground", onePoint);
    l.net.start(l.node);
    object("ground").setFloat("t", 0, 10);
    l.net.object().setFloat("t", 1, 5);

    EXPECT_EQ(l.get(path.c_str()), &l.copy);
    EXPECT_EQ(first(&l.copy), UT_Vector3(11, -3, 3));
    EXPECT_EQ(l.lookup.transformed, 1);
    EXPECT_EQ(l.lookup.changed, 1) << "a transform always counts as a change";
    GU_Detail* plain = l.get(path.c_str(), false, false, false);
    EXPECT_EQ(first(plain), UT_Vector3(1, 2, 3)) << "without a copy the geometry stays as it is";
    EXPECT_FALSE(l.lookup.transform.isIdentity());
    EXPECT_EQ(l.get(path.c_str(), false, true), plain) << "the transform is to be ignored";
    EXPECT_EQ(l.lookup.transformed, 0);
    EXPECT_EQ(l.node.getGeo(path.c_str(), nullptr, 0, 0, 0, &l.copy, l.lookup), plain) << "no network, no space";
    l.net.context().objectNode = &object("ground");
    EXPECT_EQ(l.get(path.c_str()), plain) << "the same object";

    // The same geometry under the same transform leaves the copy as it is; another one makes it anew.
    l.net.context().objectNode = &l.net.object();
    l.get(path.c_str());
    l.copy.points()(0)->setPos({0, 0, 0, 1});
    EXPECT_EQ(first(l.get(path.c_str())), UT_Vector3(0, 0, 0));
    object("ground").setFloat("t", 0, 20);
    EXPECT_EQ(first(l.get(path.c_str())), UT_Vector3(21, -3, 3));
}

TEST(GeoLookup, ChangesAreReported) {
    Lookup l;
    const std::string still = l.net.addGeometry("still", onePoint, true);
    const std::string moving = l.net.addGeometry("moving", onePoint);
    // In the network's own object, so that no transform gets in the way.
    l.net.context().objectNode = nullptr;
    EXPECT_EQ(l.changed(still.c_str()), 1) << "never seen";
    EXPECT_EQ(l.changed(still.c_str()), 0);
    EXPECT_EQ(l.changed(moving.c_str()), 1) << "another one than last time";
    EXPECT_EQ(l.changed(moving.c_str()), 0);
    l.lookup.changed = 1;
    l.get(moving.c_str());
    EXPECT_EQ(l.lookup.changed, 1) << "a change the caller knows of stays one";
    l.lookup.changed = 0;
    l.node.getGeo(moving.c_str(), nullptr, 3, 0, 0, nullptr, l.lookup);
    EXPECT_EQ(l.lookup.changed, 1) << "another time";
    EXPECT_EQ(l.changed(still.c_str()), 1);
    l.node.findNode(still.c_str())->opChanged(OP_PARM_CHANGED);
    EXPECT_EQ(l.changed(still.c_str()), 1);
    l.get("/obj/nothing");
    EXPECT_EQ(l.lookup.lastSop, nullptr);
}

TEST(GeoLookup, ExtraInputsMakeTheNodeDepend) {
    Lookup l;
    const std::string path = l.net.addGeometry("ground", onePoint);
    l.net.start(l.node);
    l.get(path.c_str(), false);
    EXPECT_TRUE(l.node.extraInputs().empty());
    l.get(path.c_str(), true);
    l.get(path.c_str(), true);
    EXPECT_EQ(l.node.extraInputs().size(), 3u) << "the geometry, its object and the network's object, once each";
    for (OP_Node* moved : {static_cast<OP_Node*>(&object("ground")), static_cast<OP_Node*>(&l.net.object())}) {
        const uint32_t serial = l.node.getChangeSerial();
        moved->setFloat("t", 0, 4);
        EXPECT_GT(l.node.getChangeSerial(), serial);
    }
}

TEST(GeoLookup, SimulationDataIsFoundByItsPath) {
    Lookup l;
    auto geometry = std::make_shared<SIM_Geometry>();
    GU_DetailHandle handle;
    handle.allocateAndSet(new GU_Detail);
    onePoint(*handle.peekDetail(), 0);
    geometry->setGeometry(handle);
    geometry->setTransform(moved({1, 0, 0}));
    auto position = std::make_shared<SIM_Position>();
    position->setTransform(moved({0, 0, 7}));
    auto ball = std::make_shared<SIM_Object>();
    ball->setData("Geometry", geometry);
    ball->setData("Position", position);
    ASSERT_TRUE(DOPaddObject("/sim/ball", ball));
    l.net.start(l.node);
    for (const char* path : {"/sim/ball", "/sim/ball/Geometry"}) {
        l.lookup.changed = 0;
        ASSERT_EQ(l.get(path), &l.copy) << path;
        EXPECT_EQ(first(&l.copy), UT_Vector3(2, 2, 10));
        EXPECT_EQ(l.lookup.changed, 1);
        EXPECT_EQ(l.lookup.transformed, 1);
    }
    l.net.addGeometry("stage", onePoint);
    object("stage").setFloat("t", 1, 100);
    ball->setObjectNode(&object("stage"));
    EXPECT_EQ(first(l.get("/sim/ball")), UT_Vector3(2, 102, 10)) << "then placed like its object";
    EXPECT_EQ(first(l.get("/sim/ball", false, true)), UT_Vector3(2, 2, 10))
        << "the object's transform is ignored, its own not";
    EXPECT_EQ(l.get("/sim/ball/Position"), nullptr);
    for (const char* none : {"/sim", "/sim/none", "/sim/ball/Nothing", "/sim/ball/Geometry/x"})
        EXPECT_EQ(l.get(none), nullptr) << none;
    EXPECT_FALSE(DOPaddObject("/sim//ball/", ball)) << "it is there";
    EXPECT_FALSE(DOPaddObject("sim/other", ball)) << "no path from the root";
    OPgetDirector()->objManager()->destroyNode(&object("stage"));
    EXPECT_EQ(first(l.get("/sim/ball")), UT_Vector3(2, 2, 10)) << "without its object, where it is itself";
    EXPECT_TRUE(DOPremoveObject("/sim/ball"));
    EXPECT_EQ(l.get("/sim/ball"), nullptr);
}

TEST(GeoLookup, PathMenus) {
    Lookup l;
    l.net.addGeometry("ground", onePoint);
    const std::string objects = std::string("__no_obj__ ") + PRMseparatorName.token + " ";
    const std::string sops = std::string("__no_sop__ ") + PRMseparatorName.token + " ";
    EXPECT_EQ(menuOf(&FLX_Node::buildObjMenu, &l.node, 10), objects + "fx ground ");
    EXPECT_EQ(menuOf(&FLX_Node::buildObjMenu, &l.node, 3), objects) << "room for nothing else";
    EXPECT_EQ(menuOf(&FLX_Node::buildForceObjMenu, &l.node, 10), objects) << "no object has a force";
    EXPECT_EQ(menuOf(&FLX_Node::buildSopMenu, &l.node, 10), sops) << "no object named";
    PRM_Template row;
    row.type = PRM_Type::String;
    row.token = "obj";
    row.defaults = {PRM_Default("ground")};
    l.node.parms().addSpare(row);
    EXPECT_EQ(menuOf(&FLX_Node::buildSopMenu, &l.node, 10), sops + "out ");
}

TEST(GeoLookup, OldParametersBecomeOnePath) {
    static const PRM_TemplateTable table = PRMstringTable({{"obj", "Object"}, {"sop", "SOP"}});
    // clang-format off
    struct Case { const char *object, *sop; bool relative; const char* path; };
    const Case cases[] = {
        {"A", "B", false, "/obj/A/B"}, {"A", "", false, "/obj/A"}, {"__no_obj__", "B", false, ""},
        {"A", "__no_obj__", true, ""}, {"", "", false, "kept"}, {"with $X", "B", false, "/obj/with $X/B"}};
    // clang-format on
    Network net;
    Probe& probe = Probe::add(net, "probe");
    PRM_Template row;
    row.type = PRM_Type::String;
    row.token = "soppath";
    probe.parms().addSpare(row);
    for (const Case& c : cases) {
        PRM_ParmList old(&table);
        old.find("obj")->setText(c.object);
        old.find("sop")->setText(c.sop);
        probe.setString("soppath", "kept");
        probe.applyBackwardsPathCompatibility(&old, nullptr, nullptr, nullptr, c.relative);
        UT_String path;
        probe.evalString(path, "soppath", 0, 0);
        EXPECT_EQ(path, c.path) << c.object << " " << c.sop;
        EXPECT_EQ(old.find("obj")->text() + old.find("sop")->text(), "");
    }
}
