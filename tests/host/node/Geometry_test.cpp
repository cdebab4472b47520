#include "host/expr/EV_Error.h"
#include "host/expr/EV_Function.h"
#include "host/node/ExampleNodes.h"

namespace {

class Geometry : public NodeTest {
protected:
    BoxObject* geo = object("geo", "geo");
};

TEST_F(Geometry, StaysUntilSomethingChanges) {
    RowSop *a = sop(geo, "a"), *b = sop(geo, "b");
    b->setInput(0, a);
    OP_Context at0(0), at1(1);
    EXPECT_FALSE(b->getCookedData(at0));
    const GU_Detail* detail = b->cookedDetail(at0);
    ASSERT_NE(detail, nullptr);
    EXPECT_EQ(detail->points().entries(), 4u);
    const uint64_t id = detail->dataId(), count = detail->getChangeCount();
    EXPECT_EQ(b->getCookedData(at1).peekDetail(), detail);
    EXPECT_EQ(b->cookedDetail(at1)->getChangeCount(), count);

    a->setInt("count", 0, 5);
    EXPECT_FALSE(b->getCookedData(at1));
    EXPECT_EQ(b->cookedDetail(at1)->points().entries(), 7u);
    EXPECT_EQ(detail->dataId(), id);
    EXPECT_GT(detail->getChangeCount(), count);

    a->setExpression("step", 0, "$T");
    b->cookedDetail(at1);
    EXPECT_FALSE(b->getCookedData(at0));
    EXPECT_EQ(b->cookedDetail(at0)->points()[4]->getPos().x(), 0);
    EXPECT_TRUE(b->getCookedData(at0));
}

TEST_F(Geometry, BypassShowsTheInput) {
    RowSop *a = sop(geo, "a"), *b = sop(geo, "b");
    b->setInput(0, a);
    OP_Context context(0);
    b->cookedDetail(context);
    b->setBypass(true);
    EXPECT_EQ(b->cookedDetail(context), a->cookedDetail(context));
    a->setInt("count", 0, 3);
    EXPECT_EQ(b->cookedDetail(context)->points().entries(), 3u);
    b->setBypass(false);
    EXPECT_EQ(b->cookedDetail(context)->points().entries(), 5u);
    a->setBypass(true);
    EXPECT_EQ(a->cookedDetail(context)->points().entries(), 0u);
}

int theCalls = 0;
bool countCall(EV_CallContext&, const EV_Value*, int, EV_Value& result) {
    result = EV_Value(double(++theCalls));
    return true;
}
const EV_FUNCTION theCounter{0, "testcalls", 0, EV_FLOAT, nullptr, &countCall};

TEST_F(Geometry, ImpureExpressionsCookAtEveryRequest) {
    ev_AddFunction(&theCounter);
    RowSop *a = sop(geo, "a"), *b = sop(geo, "b");
    b->setInput(0, a);
    a->setExpression("step", 0, "testcalls()");
    OP_Context context(0);
    theCalls = 0;
    b->cook(context);
    EXPECT_TRUE(b->needToCook(context));
    EXPECT_TRUE(b->getCookedData(context)); // just cooked
    EXPECT_FALSE(b->getCookedData(context));
    b->cook(context);
    EXPECT_EQ(theCalls, 2);
    b->cookedDetail(context);
    EXPECT_FALSE(b->getCookedData(context));
    // Functions of nodes are no reason: their changes are announced.
    a->setExpression("step", 0, "ch(\"count\") + npoints(\"/obj/geo/c\")");
    sop(geo, "c");
    b->cook(context);
    EXPECT_FALSE(b->needToCook(context));
    EXPECT_TRUE(b->getCookedData(context));
}

// ---- expression functions

double value(OP_Node& node, const std::string& text, float t = 0) {
    node.setExpression("force", 0, text.c_str());
    return double(node.evalFloat("force", 0, t));
}

void expectValues(OP_Node& node, std::initializer_list<std::pair<const char*, double>> expected, float t = 0) {
    for (const auto& [text, number] : expected) EXPECT_EQ(value(node, text, t), number) << text;
    EXPECT_EQ(messages(node), "");
}

/// Each is 0, and an error.
void expectFailures(OP_Node& node, std::initializer_list<const char*> texts) {
    for (const char* text : texts) {
        node.clearErrors();
        EXPECT_EQ(value(node, text), 0) << text;
        EXPECT_EQ(node.errors().size(), 1u) << text;
    }
    node.clearErrors();
}

TEST_F(Geometry, FunctionsThatReadParameters) {
    ExampleNode *n = node("n"), *m = node("m12");
    m->setExpression("force", 1, "$T * 10");
    m->setFloat("scale", 0, 2.5);
    m->setString("group", "a`$AGE`");
    expectValues(*n, {{"ch('forcey') + ch('./count')", 5},
                      {"ch('/obj/box/sy')", 1},
                      {"strlen(chs('../m12/group'))", 2},
                      {"opdigits('../m12') + opdigits('.')", 12}});
    EXPECT_FALSE(n->flags().timeDependent);
    expectValues(*n, {{"ch('/obj/box/m12/forcey')", 20}, {"ch('../m12/force2')", 20}}, 2);
    EXPECT_TRUE(n->flags().timeDependent);
    n->setString("group", "`opname(\"../m12\")`:`chs(\"../m12/scale\")`");
    EXPECT_EQ(n->GROUP(), "m12:2.5");
    EXPECT_EQ(messages(*n), "");

    // The reader depends on what it read.
    OP_Context context(0);
    n->cook(context);
    n->setExpression("force", 0, "ch(\"../m12/scale\")");
    n->FORCE.x(0);
    n->flags().changed = false;
    m->setExpression("scale", 0, "$NOBODY");
    EXPECT_TRUE(n->flags().changed);
    n->FORCE.x(0);
    EXPECT_EQ(messages(*n),
              "error OP 1: force.x: \"ch(\"../m12/scale\")\": ch: the parameter at \"../m12/scale\" cannot be "
              "evaluated (\"$NOBODY\": unknown variable $NOBODY at column 1) at column 1\n");

    expectFailures(*n, {"ch('../m12/forcew')", "ch('../m12/force4')", "ch('../m12/scalex')", "ch('../m12/force0')",
                        "ch('../nobody/scale')", "ch('')", "ch('/')", "ch('x')"});
}

TEST_F(Geometry, ChainsOfReadsEnd) {
    ExampleNode *a = node("a"), *b = node("b");
    a->setExpression("scale", 0, "ch(\"../b/scale\") + ch(\"../b/scale\")");
    b->setExpression("scale", 0, "ch(\"../a/scale\") + ch(\"../a/scale\")");
    EXPECT_EQ(a->SCALE(0), 0);
    EXPECT_NE(messages(*a).find("more than 64 parameters read each other by ch"), std::string::npos);
    EXPECT_EQ(EV_errNo(0), EV_ERR_EVALUATION);

    // 2^64 ways through a chain that is no cycle, evaluated once each.
    ExampleNode* last = node("x0");
    last->setFloat("force", 1, 1);
    for (int i = 1; i <= 64; ++i) {
        ExampleNode* next = node("x" + std::to_string(i));
        const std::string read = "ch('../" + last->getName() + "/forcey') / 2";
        next->setExpression("force", 1, (read + " + " + read).c_str());
        last = next;
    }
    EXPECT_EQ(last->FORCE.y(0), 1);
    EXPECT_EQ(messages(*last), "");
    ExampleNode* tooFar = node("toofar");
    tooFar->setExpression("force", 1, "ch(\"../x64/forcey\")");
    EXPECT_EQ(tooFar->FORCE.y(0), 0);
    EXPECT_EQ(tooFar->error(), UT_ERROR_ABORT);
}

TEST_F(Geometry, FunctionsThatReadGeometry) {
    RowSop* row = sop(geo, "row");
    row->setInt("count", 0, 4);
    row->setFloat("step", 0, 0.5);
    ExampleNode* n = node("n");
    expectValues(*n, {{"npoints('/obj/geo')", 4},
                      {"point('/obj/geo/row', 3, 'P', 0) + point('/obj/geo/row', 3, 'P', 3)", 2.5},
                      {"bbox('/obj/geo/row', 'ymin')", 0},
                      {"bbox('/obj/geo/row', 'xmax') * 10 + bbox('../../geo', 'xsize')", 16.5}});
    row->setExpression("step", 0, "$T");
    expectValues(*n, {{"bbox('/obj/geo/row', 'xmax')", 6}}, 2);
    EXPECT_TRUE(n->flags().timeDependent);
    expectFailures(*n, {"point('/obj/geo/row', 4, 'P', 0)", "point('/obj/geo/row', -1, 'P', 0)", "npoints('/obj/box')",
                        "point('/obj/geo/row', 0, 'P', 4)", "point('/obj/geo/row', 0, 'Cd', 0)", "npoints('')",
                        "bbox('/obj/geo/row', '')"});
    // Geometry that asks for itself.
    row->setExpression("count", 0, "npoints(\"../row\") + 1");
    OP_Context context(0);
    EXPECT_FALSE(row->cook(context));
    EXPECT_NE(messages(*row).find("error OP 2: /obj/geo/row"), std::string::npos);
    // A cook inside an evaluation keeps its errors apart.
    row->setExpression("count", 0, "$NOBODY");
    row->setExpression("step", 0, "$NOWHERE");
    EXPECT_EQ(value(*n, "npoints(\"/obj/geo/row\") + 1"), 0);
    EXPECT_EQ(row->errors().size(), 2u); // the second is not hidden by the first
    EXPECT_EQ(row->cookedDetail(context)->points().entries(), 0u);
    EXPECT_NE(messages(*n).find("the geometry of /obj/geo/row cannot be cooked"), std::string::npos);
    EXPECT_EQ(n->errors().size(), 1u);
}

TEST_F(Geometry, LongChainsThroughExpressionsEnd) {
    RowSop* last = sop(geo, "r0");
    for (int i = 1; i <= 1500; ++i) {
        RowSop* next = sop(geo, std::string("r").append(std::to_string(i)).c_str());
        next->setExpression("count", 0, ("npoints('../" + last->getName() + "')").c_str());
        last = next;
    }
    OP_Context context(0);
    EXPECT_FALSE(last->cook(context));
    EXPECT_NE(messages(*geo->findChild("r500")).find("more than 1000 nodes in a row"), std::string::npos);
    EXPECT_TRUE(geo->findChild("r400")->cook(context));
    EXPECT_EQ(static_cast<RowSop*>(geo->findChild("r400"))->cookedDetail(context)->points().entries(), 2u);
}

} // namespace
