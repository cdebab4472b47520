#include "ops/stream/FLX_SubNet.h"

#include "host/node/PI_ScriptOperator.h"

FLX_Node* FLX_SubNet::outputNode() const {
    OP_Node* output = getRenderNodePtr();
    return output ? output->castToFLXNode() : nullptr;
}

UT_ErrorSeverity FLX_SubNet::cookFlx(OP_Context& context) {
    if (FLX_Node* output = outputNode())
        passOn(*output, context);
    else
        actAsNull(context);
    return error();
}

void FLX_SubNet::passOn(FLX_Node& output, OP_Context& context) {
    initParticleList(context, nullptr);
    addExtraInput(&output, OP_INTEREST_DATA);
    if (!output.cook(context)) {
        const std::string text = output.getFullPath() + "\n" + output.getErrorMessages().str();
        UTaddError("OP", FLX_ERR_SUBNET, text.c_str());
        return;
    }
    const FLX_ParticleList& list = *output.peekParticleList();
    for (int i = 0; i < list.entries(); ++i) addToParticleList(context, list.entry(i).prim, -1);
}

void FLX_SubNet::actAsNull(OP_Context& context) {
    if (!getInput(0)) {
        initParticleList(context, contextOf(context)->getPrimPart(this));
        return;
    }
    if (lockInput(0, context) >= UT_ERROR_ABORT) return;
    buildInputParticleList(0, context);
    unlockInput(0);
}

UT_String FLX_SubNet::inputLabel(int i) const {
    const Text* labels[] = {&LABEL1, &LABEL2, &LABEL3, &LABEL4};
    return i >= 0 && i < 4 ? labels[i]->raw() : UT_String();
}

void FLX_SubNet::getOperationInfo(UT_String& info, OP_Context& context) {
    FLX_Node::getOperationInfo(info, context);
    info += OP_INFO_SEPARATOR_STRING;
    if (const FLX_Node* output = outputNode())
        info += "Sub-Network output from: " + getFullPath() + "/" + output->getName();
    else
        info += "No output node available in this sub-network.";
}

void FLX_SubNet::childDeleted(OP_Node* child) {
    FLX_Node::childDeleted(child);
    opChanged(OP_OUTPUT_CHANGED, nullptr);
}

void FLX_SubNet::childFlagChange(OP_Node* child) {
    FLX_Node::childFlagChange(child);
    opChanged(OP_OUTPUT_CHANGED, nullptr);
}

OP_ScriptOperator* FLX_SubScript::createScriptOperator(const OP_OTLDefinition& definition) {
    constexpr unsigned SUBNET_FLAGS = 0x22;
    const OP_Constructor construct = [](OP_Network* parent, const char* name, OP_Operator* op) -> OP_Node* {
        return new FLX_SubScript(parent, name, op);
    };
    return PI_ScriptOperator::createScriptOp(definition, construct, nullptr, SUBNET_FLAGS, "FLX_subnet");
}
