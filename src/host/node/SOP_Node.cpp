#include "host/node/SOP_Node.h"

#include <algorithm>

SOP_Node::SOP_Node(OP_Network* parent, const char* name, OP_Operator* op)
    : OP_Network(parent, name, op) {}

SOP_Node::~SOP_Node() = default;

GU_DetailHandle SOP_Node::getCookedData(OP_Context& context) {
    if (isCooking()) return {};
    const bool fresh = myFresh && myFreshTime == context.getTime() && !flags().changed;
    myFresh = false;
    return fresh || !needToCook(context) ? myHandle : GU_DetailHandle();
}

GU_Detail* SOP_Node::cookedDetail(OP_Context& context) {
    cook(context);
    myFresh = false;
    return isCooking() ? nullptr : myHandle.peekDetail();
}

const GU_Detail* SOP_Node::inputDetail(int i, OP_Context& context) {
    OP_Node* input = getInput(i);
    SOP_Node* sop = input ? input->castToSOPNode() : nullptr;
    if (!sop || lockInput(i, context) >= UT_ERROR_ABORT) return nullptr;
    sop->myFresh = false;
    return sop->myHandle.peekDetail();
}

UT_ErrorSeverity SOP_Node::cookMe(OP_Context& context) {
    if (!myOwn) myOwn.allocateAndSet(new GU_Detail);
    GU_Detail& gdp = *myOwn.peekDetail();
    myHandle = myOwn;
    gdp.stashAll();
    const UT_ErrorSeverity severity = std::max(cookSop(context, gdp), error());
    if (severity >= UT_ERROR_ABORT) gdp.stashAll();
    gdp.bumpChange();
    markFresh(context);
    return severity;
}

UT_ErrorSeverity SOP_Node::bypassMe(OP_Context& context, int& copiedInput) {
    if (lockInput(0, context) >= UT_ERROR_ABORT) return error();
    OP_Node* input = getInput(0);
    SOP_Node* sop = input ? input->castToSOPNode() : nullptr;
    myHandle = sop ? sop->myHandle : GU_DetailHandle();
    copiedInput = sop ? 0 : -1;
    if (!myHandle) myHandle.allocateAndSet(new GU_Detail);
    markFresh(context);
    return error();
}

void SOP_Node::markFresh(const OP_Context& context) {
    myFresh = true;
    myFreshTime = context.getTime();
}
