#pragma once

#include "host/node/OP_OTLDefinition.h"
#include "host/node/OP_Operator.h"

/// The operator type made from a script definition; it keeps the definition for its instances. The definition's rows
/// follow those of the class.
class OP_ScriptOperator : public OP_Operator {
public:
    OP_ScriptOperator(const OP_OTLDefinition& definition, OP_Constructor constructor, const OP_VariablePair* variables,
                      unsigned flags);
    const OP_OTLDefinition& definition() const { return myDefinition; }
    /// Fills a new instance by the definition's `build`. A definition that contains itself is an error.
    bool buildNode(OP_Node& node, std::string& error) override;

protected:
    void appendTemplates(PRM_TemplateTable& table) const override;

private:
    OP_OTLDefinition myDefinition;
    bool myBuilding = false;
};

class PI_ScriptOperator {
public:
    /// A script operator whose nodes `constructor` makes; the definition's parameters follow those of the class.
    static OP_ScriptOperator* createScriptOp(const OP_OTLDefinition& definition, OP_Constructor constructor,
                                             const OP_VariablePair* variables, unsigned flags, const char* iconName);
};
