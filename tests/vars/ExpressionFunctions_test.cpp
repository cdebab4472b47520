// The functions through which an expression asks the particle network that is being cooked.
#include <algorithm>

#include "core/FLX_ExpressionStack.h"
#include "host/expr/EV_Error.h"
#include "host/expr/EV_Expression.h"
#include "host/node/OP_NodeScope.h"
#include "support/Probe.h"
#include "support/SetParms.h"
#include "vars/FLX_IdTable.h"

namespace {

/// Four particles with ids 1 to 4 at (n, 4 n - 2, -n, 1) with a float, a vector, an int and a string attribute, three
/// events, and two context geometries; published as during a cook.
class ExpressionFunctions : public testing::Test {
protected:
    ExpressionFunctions()
        : source(Probe::addSource(net, "source", 4)) {
        source.attribs = [](Probe&, FLX_ContextData* context) { context->addAttrib(FLX_Attrib::ID); };
        net.start(source);
        GEO_PointAttribDict& attribs = net.detail().pointAttribs();
        const int heat = attribs.append("heat", 4, GB_ATTRIB_FLOAT);
        const int wind = attribs.append("wind", 12, GB_ATTRIB_VECTOR);
        const int step = attribs.append("step", 8, GB_ATTRIB_INT);
        attribs.append("label", 4, GB_ATTRIB_INDEX);
        attribs.append("bytes", 8, GB_ATTRIB_RAW);
        for (int i = 0; i < 4; ++i) {
            GEO_Point* point = net.point(i);
            const auto n = float(i);
            point->setPos({n, 4 * n - 2, -n, 1});
            *point->castAttribData<float>(heat) = 10 * n;
            *point->castAttribData<UT_Vector3>(wind) = {n, 2 * n, 3 * n};
            point->castAttribData<int>(step)[0] = 100 + i;
            point->castAttribData<int>(step)[1] = 7 * i;
        }
        net.context().getEventAttr()->setIndexStrings({"bang:1.5", "bang+0.25", "bangs:9", "old+3.5e1", "odd:x"});
        net.context().setInputGeo("/obj/a", 0);
        net.context().setInputGeo("/obj/d", 3);
    }
    double number(const char* text) {
        EV_EXPRESSION expression(text);
        EV_clearError(0);
        const double value = ev_EvaluateFloat(expression, net.object().scope(), 0, 0);
        EXPECT_EQ(EV_errText(0), "") << text;
        return value;
    }
    std::string words(const char* text) {
        EV_EXPRESSION expression(text);
        return ev_EvaluateString(expression, net.object().scope(), 0, 0);
    }

    Network net;
    Probe& source;
};

} // namespace

TEST_F(ExpressionFunctions, Answers) {
    const FLX_ExpressionScope published(0, &net.context());
    // clang-format off
    struct Case { const char* text; double value; };
    const Case cases[] = {
        {"flxpoint(1.25, 'P', 1)", 3}, /* y is 2 and 6 at points 1 and 2 */ {"flxpoint(-3, 'P', 0)", 0},
        {"flxpoint(-0.5, 'P', 1)", -2}, /* both ends clamped to point 0 */ {"flxpoint(2.5, 'P', 1)", 8},
        {"flxpoint(3.75, 'P', 1)", 10}, {"flxpoint(1e30, 'P', 1)", 10}, {"flxpoint(1/0, 'P', 1)", 10},
        {"flxpoint(-1/0, 'P', 1)", -2}, {"flxpoint(0/0, 'P', 1)", -2}, {"flxpoint(2, 'P', -4)", 2},
        {"flxpoint(2, 'P', 3)", -2}, /* no w under this name */ {"flxpoint(2, 'Pw', 3)", 1},
        {"flxpoint(2, 'Pw', 9)", 1}, {"flxpoint(0.5, 'heat', 0)", 5}, {"flxpoint(0.5, 'heat', 6)", 5},
        {"flxpoint(1.5, 'wind', 2)", 4.5}, {"flxpoint(1.75, 'step', 0)", 101}, /* whole numbers are not mixed */
        {"flxpoint(1.75, 'step', 5)", 7}, {"flxpoint(1, 'label', 0)", 0}, {"flxpoint(1, 'bytes', 0)", 0},
        {"flxpoint(1, 'nothing', 0)", 0}, {"flxpoint(1, '', 0)", 0}, {"flxpointid(3, 'P', 1)", 6},
        {"flxpointid(3.9, 'heat', 0)", 20}, {"flxpointid(4, 'step', 1)", 21}, {"flxpointid(5, 'heat', 0)", 0},
        {"flxpointid(-1, 'heat', 0)", 0}, {"flxpointid(2, 'nothing', 0)", 0}, {"flxpointnum(1)", 0},
        {"flxpointnum(4)", 3}, {"flxpointnum(5)", -1}, {"flxpointnum(0)", -1}, {"flxpointnum(-2)", -1},
        {"flxpointnum(1e20)", -1}, {"flxevent('bang')", 1}, {"flxevent('ban')", 0}, {"flxevent('old')", 0},
        {"flxevent('')", 0}, {"flxeventtime('bang')", 0.25}, /* the withdrawn record counts first */
        {"flxeventtime('bangs')", 9}, {"flxeventtime('old')", 35}, {"flxeventtime('odd')", 0},
        {"flxeventtime('never')", -1}, {"strlen(flxcontextgeo(4))", 0}, {"strlen(flxcontextgeo(-1))", 0},
        {"strlen(flxcontextgeo(1))", 0}};
    // clang-format on
    for (const Case& c : cases) EXPECT_EQ(number(c.text), c.value) << c.text;
    EXPECT_EQ(words("flxcontextgeo(0)"), "/obj/a");
    EXPECT_EQ(words("flxcontextgeo(3.5)"), "/obj/d");
}

TEST_F(ExpressionFunctions, WithoutContextOrPointsTheyFailSoftly) {
    const FLX_ExpressionScope ofAnotherThread(7, &net.context());
    const auto expectNothing = [&] {
        EXPECT_EQ(number("flxpoint(1, 'P', 1) + flxpointid(2, 'P', 1)"), 0);
        EXPECT_EQ(number("flxpointnum(1)"), -1);
    };
    expectNothing();
    EXPECT_EQ(number("flxevent('bang')"), 0);
    EXPECT_EQ(number("flxeventtime('bang')"), -1);
    EXPECT_EQ(words("flxcontextgeo(0)"), "");
    net.detail().stashAll();
    const FLX_ExpressionScope published(0, &net.context());
    expectNothing();
}

namespace {

/// A detail with ids up to two thousand million, made by hand.
struct ManyIds {
    GU_Detail detail;
    FLX_IdTable table;
    const int nextId = 2000000000;
    const int unused = detail.attribs().append("nextid", 4, GB_ATTRIB_INT, &nextId);
    const int id = detail.pointAttribs().append("id", 4, GB_ATTRIB_INT);
    GEO_PrimParticle* const prim = dynamic_cast<GEO_PrimParticle*>(detail.insertPrimitive(GEOPRIMPART));

    GEO_Point* add(GEO_Point* point, int value) {
        *point->castAttribData<int>(id) = value;
        return point;
    }
};

} // namespace

TEST(IdTable, ManyDeadIdsDoNotCostATableOfThem) {
    ManyIds m;
    m.add(m.detail.appendPoint(), 4); // no particle, so without a number
    std::vector<GEO_Point*> points;
    for (const int value : {1500000000, 3, 1999999999, 2000000000, -5, 3}) {
        points.push_back(m.add(m.prim->birthPoint(), value));
        EXPECT_EQ(m.table.find(m.detail, 4), nullptr);
    }
    EXPECT_EQ(m.table.find(m.detail, 1500000000), points[0]);
    EXPECT_EQ(m.table.find(m.detail, 3), points[1]);
    EXPECT_EQ(m.table.find(m.detail, 1999999999), points[2]);
    for (const int none : {2000000000, -5, 4}) EXPECT_EQ(m.table.find(m.detail, none), nullptr) << none;
}

TEST(IdTable, ManyBornOutOfOrderAmongManyDeadIds) {
    ManyIds m;
    auto* second = dynamic_cast<GEO_PrimParticle*>(m.detail.insertPrimitive(GEOPRIMPART));
    const auto idOf = [](int i) { return 1000000 * ((i * 37) % 401 + 1); };
    for (int i = 0; i < 400; ++i) {
        GEO_Point* born = m.add((i % 3 ? m.prim : second)->birthPoint(), idOf(i));
        EXPECT_EQ(m.table.find(m.detail, idOf(i)), born);
        EXPECT_EQ(m.table.find(m.detail, idOf(i / 2)), m.detail.points()(size_t(i / 2)));
    }
    EXPECT_EQ(m.table.numBuilds(), 1u);
}

TEST(IdTable, IsBuiltAgainWhenIdsCanHaveChangedOnly) {
    Network net;
    FLX_Node& births = net.addBirths(20);
    births.setInt("addid", 0, 1);
    births.setFloat("life", 0, 0.2);
    net.context().deleteDead = 1;
    FLX_IdTable table;
    const auto idOf = [&](size_t i) { return net.intValue("id", int(i)); };
    const auto finds = [&] {
        for (size_t i = 0; i < net.detail().points().entries(); ++i)
            if (table.find(net.detail(), idOf(i)) != net.point(int(i))) return false;
        return true;
    };
    net.start(births);
    for (int cook = 0; cook < 4; ++cook, net.step()) { // each cook tells those who draw
        EXPECT_TRUE(finds());
        EXPECT_EQ(table.numBuilds(), 1u) << cook;
    }
    auto* later = dynamic_cast<GEO_PrimParticle*>(net.detail().insertPrimitive(GEOPRIMPART));
    GEO_Point* born = later->birthPoint();
    *born->castAttribData<int>(net.context().getIDOffset()) = 1; // the first with an id counts
    EXPECT_EQ(table.find(net.detail(), 1), net.point(0));
    EXPECT_EQ(table.numBuilds(), 1u);
    *net.point(0)->castAttribData<int>(net.context().getIDOffset()) = 3;
    net.detail().bumpChange();
    EXPECT_EQ(table.find(net.detail(), 1), born);
    EXPECT_EQ(table.find(net.detail(), 3), net.point(0));
    EXPECT_EQ(table.numBuilds(), 2u);
}

// ---- whole networks

TEST(ExpressionFunctionsInNetworks, KilledIdsAreGone) {
    Network net;
    Probe& source = Probe::addSource(net, "source", 10);
    source.attribs = [](Probe&, FLX_ContextData* context) { context->addAttrib(FLX_Attrib::ID); };
    FLX_Node& force = net.add("force", "pull", {&source});
    setParms(force, "ignoremass=1 force.1=flxpointnum(3),flxpointnum(4)");
    force.setExpression("force", 0, "flxpointid(3, 'P', 0)");
    net.context().deleteDead = 1;
    net.start(force);
    net.point(2)->setPos({7, 0, 0, 1});
    net.setValue("life", 2, {1, 0.5f});
    net.step(); // marked dead, not yet reaped
    EXPECT_EQ(net.vector("accel"), UT_Vector3(7, 2, 3));
    net.step();
    EXPECT_EQ(net.vector("accel"), UT_Vector3(0, -1, 2)) << "those behind move up";
}

TEST(ExpressionFunctionsInNetworks, EventsOfTheSameCookAreSeen) {
    Network net;
    Probe& source = Probe::add(net, "source");
    source.work = [&](Probe& self, OP_Context& context) {
        FLX_ContextData& data = Probe::contextOf(context);
        self.initParticleList(context, data.getPrimPart(&self));
        if (net.time() == 0) self.give(context, data.getPrimPart(&self));
        UT_String name("bang");
        if (net.time() > 0.1f) data.addEvent(name, 0.5f);
    };
    FLX_Node& late = net.add("force", "late", {&source});
    setParms(late, "ignoremass=1 force=flxevent('bang')*10+(flxeventtime('bang')==$T?5:0)");
    net.start(late);
    net.step(2);
    EXPECT_EQ(net.value("accel", 0), 0);
    net.step(10); // 0.5 s
    EXPECT_EQ(net.value("accel", 0), 15);
    net.step();
    EXPECT_EQ(net.value("accel", 0), 10);
}

// noise and turb are the field that a force adds, at the same roughness, seed and type.
TEST(ExpressionFunctionsInNetworks, NoiseIsTheFieldOfForces) {
    const std::pair<int, const char*> cases[] = {{0, "-noise($TX, $TY, $TZ)"}, {3, "-turb(vector3($TX, $TY, $TZ), 3)"}};
    for (const auto& [depth, text] : cases) {
        Network net;
        FLX_Node& field = net.add("force", "field", {&Probe::addSource(net, "source", 6)});
        FLX_Node& words = net.add("force", "words", {&field});
        setParms(field, "ignoremass=1 seed=0 rough=0.5 amp=1 turb=" + std::to_string(depth));
        words.setInt("ignoremass", 0, 1);
        net.start(words);
        for (int i = 0; i < 6; ++i) {
            const auto n = float(i);
            net.point(i)->setPos({0.37f * n, 1.9f - 0.71f * n, n * n * 0.13f, 1});
        }
        net.step();
        float largest = 0;
        for (int i = 0; i < 6; ++i) largest = std::max(largest, std::abs(net.value("accel", i)));
        EXPECT_GT(largest, 0.05f);
        words.setExpression("force", 0, text);
        net.step();
        for (int i = 0; i < 6; ++i) EXPECT_EQ(net.value("accel", i), 0) << i;
    }
}

// Births in batches, deaths in the same cooks, and from the fifth on a second location: nobody's number is another's.
TEST(ExpressionFunctionsInNetworks, NumbersFollowBirthsAndDeaths) {
    Network net;
    FLX_Node& early = net.addBirths(20);
    early.setExpression("impulserate", 0, "20 + 3 * $F");
    early.setFloat("life", 0, 0.1);
    FLX_Node& none = net.add("location", "none");
    FLX_Node& late = net.add("location", "late");
    for (FLX_Node* node : {&none, &late}) setParms(*node, "constantactivate=0 life=100 impulserate=7");
    none.setInt("impulseactivate", 0, 0);
    FLX_Node& choice = net.add("switch", "choice", {&none, &late});
    choice.setExpression("input", 0, "$F >= 5");
    FLX_Node& all = net.add("collect", "all", {&early, &choice});
    FLX_Node& force = net.add("force", "force", {&all});
    setParms(force, "ignoremass=1 force=flxpointnum($ID)-$PT");
    force.setExpression("force", 1, "flxpointid($ID, 'id', 0) - $ID");
    net.context().deleteDead = 1;
    net.start(force);
    for (int cook = 0; cook < 12; ++cook, net.step())
        for (int i = 0; i < net.particles(); ++i)
            ASSERT_EQ(net.vector("accel", i), UT_Vector3(0, 0, 0)) << "cook " << cook << ", " << i;
    EXPECT_GT(net.particles(), 100);
}
