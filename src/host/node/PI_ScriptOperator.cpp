#include "host/node/PI_ScriptOperator.h"

#include "host/node/OP_Network.h"

namespace {

void keepTexts(std::vector<PRM_Template>& rows) {
    for (PRM_Template& row : rows) {
        for (PRM_Default& def : row.defaults)
            if (def.text) def.text = PRMpermanentText(def.text);
        keepTexts(row.instance);
    }
}

} // namespace

OP_ScriptOperator::OP_ScriptOperator(const OP_OTLDefinition& definition, OP_Constructor constructor,
                                     const OP_VariablePair* variables, unsigned flags)
    : OP_Operator(definition.name.c_str(), definition.label.c_str(), constructor, definition.minInputs,
                  definition.maxInputs, variables, flags)
    , myDefinition(definition) {
    keepTexts(myDefinition.parms.rows);
}

void OP_ScriptOperator::appendTemplates(PRM_TemplateTable& table) const {
    table.rows.insert(table.rows.end(), myDefinition.parms.rows.begin(), myDefinition.parms.rows.end());
}

bool OP_ScriptOperator::buildNode(OP_Node& node, std::string& error) {
    OP_Network* instance = node.castToNetwork();
    if (!myDefinition.build || !instance) return true;
    if (myBuilding) {
        error = "the definition of \"" + getName() + "\" contains itself";
        return false;
    }
    myBuilding = true;
    const bool good = myDefinition.build(*instance, error);
    myBuilding = false;
    return good;
}

OP_ScriptOperator* PI_ScriptOperator::createScriptOp(const OP_OTLDefinition& definition, OP_Constructor constructor,
                                                     const OP_VariablePair* variables, unsigned flags,
                                                     const char* iconName) {
    auto op = std::make_unique<OP_ScriptOperator>(definition, constructor, variables, flags);
    op->setIconName(iconName ? iconName : "");
    return op.release();
}
