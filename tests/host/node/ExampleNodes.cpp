#include "host/node/ExampleNodes.h"

#include "host/expr/EV_Error.h"
#include "support/ErrorBrief.h"

namespace {

constexpr CH_LocalVariable theVariables[] = {{"AGE", 1, 0}, {"BAD", 2, 0}, {}};
constexpr CH_LocalVariable theBaseVariables[] = {{"AGE", 5, 0}, {"BASE", 3, 0}, {}};
constexpr OP_VariablePair theBasePair{theBaseVariables, nullptr};
constexpr OP_VariablePair thePair{theVariables, &theBasePair};

} // namespace

float ExampleNode::getVariableValue(int index, int thread) {
    if (index == 1) return age;
    if (index >= 3) return 100 + float(index);
    EV_errNo(thread) = EV_ERR_VARIABLE;
    return 0;
}

UT_ErrorSeverity ExampleNode::cookMe(OP_Context& context) {
    if (lockInputs(context) >= UT_ERROR_ABORT) return error();
    ++works;
    if (work) work(*this, context);
    return error();
}

UT_ErrorSeverity ExampleNode::bypassMe(OP_Context& context, int& copiedInput) {
    copiedInput = 0;
    lockInput(0, context);
    return error();
}

UT_ErrorSeverity RowSop::cookSop(OP_Context& context, GU_Detail& gdp) {
    if (const GU_Detail* input = inputDetail(0, context)) gdp.copy(*input);
    const int count = COUNT(context.getTime());
    const float step = STEP(context.getTime());
    if (count < 0) UTaddError("OP", OP_ERR_BAD_PARM, "count: below 0");
    for (int i = 0; i < count; ++i) gdp.appendPoint()->setPos({float(i) * step, 0, 0, 1});
    return error();
}

OP_OperatorTable* BoxObject::childTable() const {
    return &OP_Director::operatorTable(getOperator()->getName() == "geo" ? "SOP" : "EXAMPLE");
}

NodeTest::NodeTest() {
    OPresetDirector();
    UTglobalErrors().clear();
    registerType<BoxObject>("OBJ", "box");
    registerType<BoxObject>("OBJ", "geo");
    registerType<RowSop>("SOP", "row");
    registerType<ExampleNode>("EXAMPLE", "example", &thePair);
    box = object("box", "box");
}

OP_Node* NodeTest::add(OP_Network* parent, const char* type, const char* name) {
    std::string error;
    OP_Node* made = parent->createNode(type, name, error);
    EXPECT_NE(made, nullptr) << error;
    return made;
}

std::string messages(const OP_Parameters& node) {
    std::string out;
    for (const UT_Error& error : node.errors()) out += UTerrorBrief(error) + "\n";
    return out;
}
