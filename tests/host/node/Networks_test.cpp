#include "host/node/ExampleNodes.h"

#include "host/node/OP_OTLDefinition.h"
#include "host/node/PI_ScriptOperator.h"

namespace {

using Networks = NodeTest;

TEST_F(Networks, ChangesReachThroughIndirectInputsOfTwoLevels) {
    ExampleNode *source = node("source"), *other = node("other"), *outer = node("outer");
    auto* inner = static_cast<ExampleNode*>(add(outer, "example", "inner"));
    auto* leaf = static_cast<ExampleNode*>(add(inner, "example", "leaf"));
    auto* below = static_cast<ExampleNode*>(add(inner, "example", "below"));
    inner->setIndirectInput(1, 2);
    leaf->setIndirectInput(0, 1);
    below->setInput(0, leaf);
    EXPECT_EQ(leaf->nInputs(), 0);

    const uint32_t serial = below->getChangeSerial();
    outer->setInput(2, source);
    EXPECT_EQ(leaf->getInput(0), source);
    OP_Context context(0);
    EXPECT_TRUE(below->cook(context));
    source->setFloat("scale", 0, 2);
    EXPECT_EQ(below->getChangeSerial(), serial + 2);
    outer->setInput(0, other); // not the input they stand for
    other->setFloat("scale", 0, 3);
    EXPECT_EQ(below->getChangeSerial(), serial + 2);
    EXPECT_TRUE(below->cook(context));
    EXPECT_EQ(source->works, 2);
    outer->setInput(2, nullptr);
    EXPECT_EQ(leaf->getInput(0), nullptr);
    EXPECT_TRUE(below->flags().changed);
    leaf->setIndirectInput(0, 99);
    EXPECT_EQ(leaf->getInput(0), nullptr);
}

TEST_F(Networks, NodesThatCannotBeMade) {
    node("taken");
    const struct {
        const char *type, *name, *message;
    } cases[] = {
        {"exmaple", "x", "unknown node type \"exmaple\" in /obj/box; did you mean \"example\"?"},
        {"example", "taken", "/obj/box already has a node named \"taken\""},
        {"example", "1a", "\"1a\" in /obj/box is no node name: letters, digits and _ only, no digit first"},
    };
    std::string error;
    for (const auto& c : cases) {
        EXPECT_EQ(box->createNode(c.type, c.name, error), nullptr);
        EXPECT_EQ(error, c.message);
    }
    EXPECT_EQ(OPgetDirector()->createNode("x", "y", error), nullptr);
    EXPECT_EQ(error, "/ cannot hold nodes");

    OP_Network* deep = box;
    for (int i = 0; deep; ++i) {
        ASSERT_LT(i, 200);
        OP_Node* made = deep->createNode("example", "n", error);
        deep = made ? made->castToNetwork() : nullptr;
    }
    EXPECT_NE(error.find("nest deeper than 128 levels"), std::string::npos);
}

TEST_F(Networks, PathsFromAnywhere) {
    ExampleNode *a = node("a"), *b = node("b");
    OP_Node* inside = add(a, "example", "inside");
    BoxObject* geo = object("geo", "ground");
    RowSop *row1 = sop(geo, "row1"), *row2 = sop(geo, "row2");
    // clang-format off
    const struct { const char* path; OP_Node* found; } cases[] = {
        {"/obj/box/a", a}, {"../a", a}, {"inside", nullptr}, {"../a/inside", inside}, {".", b}, {"./../b/.", b},
        {"..", box}, {"../../box//a/", a}, {"/", OPgetDirector()}, {"", nullptr}, {"../../../..", nullptr},
        {"/obj/box/none", nullptr}, {"/obj/ground/row1", row1}, {"../a/..", box}, {"/..", nullptr},
        {"../../ground", geo}};
    // clang-format on
    for (const auto& c : cases) EXPECT_EQ(b->findNode(c.path), c.found) << c.path;
    EXPECT_EQ(inside->getFullPath(), "/obj/box/a/inside");
    EXPECT_EQ(inside->getCreator(), box);
    EXPECT_EQ(b->findOBJNode("../../ground"), geo);
    EXPECT_EQ(b->findOBJNode("../a"), nullptr);
    EXPECT_EQ(b->findSHOPNode("/obj/ground"), nullptr);
    EXPECT_EQ(b->getSOPNode("/obj/ground"), row2);
    row1->setDisplay(true);
    EXPECT_EQ(b->getSOPNode("/obj/ground", 1), row1);
    EXPECT_EQ(b->getSOPNode("/obj/ground/row2"), row2);
    EXPECT_EQ(b->getSOPNode("/obj/box/a"), nullptr);
    EXPECT_EQ(b->getSOPNode("/obj/box"), nullptr);
    // Another display node is another geometry for who asked by the object's path.
    b->flags().changed = false;
    row2->setDisplay(true);
    EXPECT_TRUE(b->flags().changed);
}

TEST_F(Networks, DestroyedNodesLeaveNoReferences) {
    ExampleNode *a = node("a"), *b = node("b", {a, a}), *c = node("c");
    OP_Node* child = add(a, "example", "child");
    const int id = child->getUniqueId();
    c->addExtraInput(child, OP_INTEREST_DATA);
    a->setInput(0, c);
    b->flags().changed = c->flags().changed = false;
    box->destroyNode(a);
    EXPECT_EQ(OP_Node::lookupNode(id), nullptr);
    EXPECT_EQ(b->nInputs(), 0);
    EXPECT_TRUE(c->extraInputs().empty());
    EXPECT_TRUE(b->flags().changed && c->flags().changed);
    c->setFloat("scale", 0, 2); // its old consumer is gone
    box->destroyNode(nullptr);
    box->destroyNode(child); // not its child
    EXPECT_EQ(box->getNchildren(), 2);
    node("a");
}

OP_ScriptOperator* makeScript(const OP_OTLDefinition& definition) {
    return PI_ScriptOperator::createScriptOp(definition, &makeNode<ExampleNode>, nullptr, 0, "icon");
}

TEST_F(Networks, DefinitionsMakeOperators) {
    OP_OperatorTable& table = OP_Director::operatorTable("EXAMPLE");
    table.setScriptCreator(&makeScript);
    OP_OTLDefinition definition, loop;
    definition.name = "pair";
    PRM_Template row;
    row.token = "extra";
    std::string defaultText = "$F * 2", error;
    row.defaults = {defaultText.c_str()};
    definition.parms.rows = {row};
    ASSERT_NE(table.addDefinition(definition, error), nullptr) << error;
    defaultText = "overwritten";
    auto* made = static_cast<ExampleNode*>(add(box, "pair", "p"));
    EXPECT_EQ(made->evalFloat("extra", 0, 1), 50);
    EXPECT_EQ(made->SCALE(0), 1);

    EXPECT_EQ(table.addDefinition(definition, error), nullptr);
    EXPECT_EQ(error, "an operator \"pair\" exists already");
    definition.name = "twice";
    definition.parms.rows[0].token = "scale";
    EXPECT_EQ(table.addDefinition(definition, error), nullptr);
    EXPECT_EQ(error, "twice: parameter \"scale\" exists twice");

    loop.name = "loop";
    loop.build = [](OP_Network& instance, std::string& why) {
        return instance.createNode("loop", "again", why) != nullptr;
    };
    ASSERT_NE(table.addDefinition(loop, error), nullptr) << error;
    EXPECT_EQ(box->createNode("loop", "l", error), nullptr);
    EXPECT_NE(error.find("the definition of \"loop\" contains itself"), std::string::npos);
    EXPECT_EQ(box->getNchildren(), 1);
}

} // namespace
