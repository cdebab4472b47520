#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "host/node/OBJ_Node.h"
#include "host/node/OP_Director.h"
#include "host/node/PRM_Handle.h"
#include "host/node/PRM_SharedNames.h"
#include "host/node/SOP_Node.h"
#include "host/ut/UT_ErrorTable.h"
#include "support/MakeNode.h"

/// A node with handles of every kind and local variables, that holds nodes of its own kind.
class ExampleNode : public OP_Network {
public:
    ExampleNode(OP_Network* parent, const char* name, OP_Operator* op)
        : OP_Network(parent, name, op) {
        ++constructed;
    }
    inline static int constructed = 0;

    static constexpr PRM_Name modes[] = {{"slow", "Slow"}, {"fast", "Fast"}, {"wild", "Wild"}, {}};
    static constexpr PRM_ChoiceList modeMenu{PRM_ChoiceListType::Replace, modes};
    static std::vector<PRM_Template> instanceRows() {
        PRM_Template weight, path;
        weight.token = "weight#", weight.label = "Weight #", weight.defaults = {0.5};
        path.token = "path#x", path.label = "Path #", path.type = PRM_Type::String;
        return {weight, path};
    }

    // clang-format off
    Folders   FOLDERS {this, {{"Main", 3}, {"More", 2}}};
    Float     SCALE   {this, {"scale", "Scale"}, 1, PRMhardMin(0, 10)};
    Floats<3> FORCE   {this, {"force", "Force"}, {"$AGE", 2, "$F"}};
    Int       COUNT   {this, {"count", "Count"}, 3, PRM_Range{PRM_RangeKind::Hard, PRM_RangeKind::Hard, -5, 5}};
    Toggle    ON      {this, {"on", "On"}, true};
    Menu      MODE    {this, {"mode", "Mode"}, 1, &modeMenu, enable::on("on")};
    Text      GROUP   {this, {"group", "Group"}, "all", enable::on("on") && enable::is("mode", {0, 2})};
    Folders   KIND    {this, {{"A", 0}, {"B", 0}}, {"kind", ""}, true};
    Multi     PARTS   {this, {"parts", "Parts"}, 2, instanceRows()};
    // clang-format on

    // What a cook does after its inputs, and how often it got there.
    std::function<void(ExampleNode&, OP_Context&)> work;
    int works = 0;

    // Local variables: AGE works, BAD does not.
    float age = 7;
    bool testing = false;
    float getVariableValue(int index, int thread) override;
    bool isTestingVariables() const override { return testing; }

    const char* getOpType() const override { return "EXAMPLE"; }
    OP_OpTypeId getOpTypeID() const override { return FLX_OPTYPE_ID; }
    const char* getChildType() const override { return "EXAMPLE"; }
    OP_OpTypeId getChildTypeID() const override { return FLX_OPTYPE_ID; }
    OP_OperatorTable* childTable() const override { return &OP_Director::operatorTable("EXAMPLE"); }

protected:
    UT_ErrorSeverity cookMe(OP_Context& context) override;
    UT_ErrorSeverity bypassMe(OP_Context& context, int& copiedInput) override;
};

/// A geometry node with `count` points in a row along x, `step` apart; behind its input's, when it has one.
class RowSop final : public SOP_Node {
public:
    using SOP_Node::SOP_Node;
    Int COUNT{this, {"count", "Count"}, 2};
    Float STEP{this, {"step", "Step"}, 1};

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override;
};

/// Objects for the tests: "box" holds example nodes, "geo" geometry.
class BoxObject final : public OBJ_Node {
public:
    using OBJ_Node::OBJ_Node;
    const char* getChildType() const override { return "EXAMPLE"; }
    OP_OpTypeId getChildTypeID() const override { return FLX_OPTYPE_ID; }
    OP_OperatorTable* childTable() const override;
};

/// A fresh scene for every test.
class NodeTest : public testing::Test {
protected:
    NodeTest();
    ~NodeTest() override { OPresetDirector(); }

    /// A node under a parent of any family; fails the test when it cannot be made.
    OP_Node* add(OP_Network* parent, const char* type, const char* name);
    ExampleNode* node(const std::string& name, std::initializer_list<OP_Node*> inputs = {}) {
        auto* made = static_cast<ExampleNode*>(add(box, "example", name.c_str()));
        int i = 0;
        for (OP_Node* input : inputs) made->setInput(i++, input);
        return made;
    }
    BoxObject* object(const char* type, const char* name) {
        return static_cast<BoxObject*>(add(OPgetDirector()->objManager(), type, name));
    }
    RowSop* sop(OP_Network* parent, const char* name) { return static_cast<RowSop*>(add(parent, "row", name)); }

    BoxObject* box;
};

/// All of a node's messages, brief, one per line.
std::string messages(const OP_Parameters& node);
