#pragma once

#include "host/node/OP_OTLDefinition.h"
#include "host/node/OP_Operator.h"

/// The operator type made from a script definition; it keeps the definition for its instances.
class OP_ScriptOperator : public OP_Operator {
public:
    OP_ScriptOperator(const OP_OTLDefinition& definition, OP_Constructor constructor, const OP_VariablePair* variables,
                      unsigned flags);
    const OP_OTLDefinition& definition() const { return myDefinition; }
    OP_Node* createNode(OP_Network* parent, const char* name) override;

private:
    OP_OTLDefinition myDefinition;
};

class PI_ScriptOperator {
public:
    /// A script operator whose nodes `constructor` makes; the definition's parameters follow those of the class.
    static OP_ScriptOperator* createScriptOp(const OP_OTLDefinition& definition, OP_Constructor constructor,
                                             const OP_VariablePair* variables, unsigned flags, const char* iconName);
};
