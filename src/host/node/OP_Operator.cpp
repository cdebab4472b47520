#include "host/node/OP_Operator.h"

#include "host/node/OP_Node.h"

OP_Operator::OP_Operator(const char* name, const char* label, OP_Constructor constructor, int minInputs, int maxInputs,
                         const OP_VariablePair* variables, unsigned flags)
    : myName(name)
    , myLabel(label)
    , myConstructor(constructor)
    , myMinInputs(minInputs)
    , myMaxInputs(maxInputs)
    , myVariables(variables)
    , myFlags(flags) {}

OP_Operator::~OP_Operator() = default;

const PRM_TemplateTable& OP_Operator::templates() const {
    std::call_once(myRecorded, [this] {
        PRM_Recorder recorder(myTemplates);
        const std::unique_ptr<OP_Node> prototype(myConstructor(nullptr, nullptr, const_cast<OP_Operator*>(this)));
        appendTemplates(myTemplates);
    });
    return myTemplates;
}

void OP_Operator::appendTemplates(PRM_TemplateTable&) const {}

OP_Node* OP_Operator::createNode(OP_Network* parent, const char* name) { return myConstructor(parent, name, this); }

bool OP_Operator::buildNode(OP_Node&, std::string&) { return true; }
