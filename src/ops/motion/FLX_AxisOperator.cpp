#include "ops/motion/FLX_AxisOperator.h"

#include "host/node/OP_PreDefRules.h"
#include "host/node/OP_UndoManager.h"

namespace {

constexpr const char* RULE_SET = "FLXRotationAxes";

} // namespace

const PRM_ChoiceList FLX_AxisOperator::axesMenu(PRM_ChoiceListType::Replace, &FLX_AxisOperator::buildPreDefAxesMenu);

void FLX_AxisOperator::buildPreDefAxesMenu(void*, PRM_Name* names, int size, const PRM_SpareData*, PRM_Parm*) {
    buildPreDefRulesMenu(names, size, OP_PreDefRules(RULE_SET));
}

int FLX_AxisOperator::initAxes(OP_Node* node, int i, float) {
    const OP_PreDefRules rules(RULE_SET);
    if (i < 0 || i >= rules.entries()) return 0;
    const OP_UndoBlock block("Rotation Axis Set");
    node->setString("rotv", rules.getString(i), Literal);
    return 1;
}
