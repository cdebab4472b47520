#include "host/node/OP_OperatorTable.h"

#include <set>

#include "host/node/OP_OTLDefinition.h"
#include "host/node/PI_ScriptOperator.h"
#include "host/ut/UT_NodePath.h"

namespace {

// First thing wrong with a definition, or empty.
std::string soundness(const OP_OTLDefinition& d) {
    if (!UT_NodePath::isValidName(d.name)) return "\"" + d.name + "\" is no operator name";
    if (d.minInputs < 0 || d.maxInputs < d.minInputs)
        return d.name + ": inputs " + std::to_string(d.minInputs) + " to " + std::to_string(d.maxInputs) +
               " are no range";
    return {};
}

std::string firstDoubleToken(const PRM_TemplateTable& table) {
    std::set<std::string> seen;
    for (const PRM_Template& row : table.rows)
        if (row.type != PRM_Type::Folder && !seen.insert(row.token).second) return row.token;
    return {};
}

} // namespace

bool OP_OperatorTable::addOperator(std::unique_ptr<OP_Operator> op) {
    if (!op || getOperator(op->getName())) return false;
    myOperators.push_back(std::move(op));
    return true;
}

OP_Operator* OP_OperatorTable::getOperator(const std::string& name) const {
    for (const auto& op : myOperators)
        if (op->getName() == name) return op.get();
    return nullptr;
}

std::vector<std::string> OP_OperatorTable::names() const {
    std::vector<std::string> out;
    for (const auto& op : myOperators) out.push_back(op->getName());
    return out;
}

OP_Operator* OP_OperatorTable::addDefinition(const OP_OTLDefinition& definition, std::string& error) {
    error = soundness(definition);
    if (error.empty() && getOperator(definition.name)) error = "an operator \"" + definition.name + "\" exists already";
    if (error.empty() && !myScriptCreator) error = myFamily + " operators cannot be defined by scripts";
    if (!error.empty()) return nullptr;
    std::unique_ptr<OP_Operator> op(myScriptCreator(definition));
    const std::string twice = op ? firstDoubleToken(op->templates()) : std::string();
    if (!op || !twice.empty()) {
        error = definition.name + (op ? ": parameter \"" + twice + "\" exists twice" : ": cannot be made an operator");
        return nullptr;
    }
    myOperators.push_back(std::move(op));
    return myOperators.back().get();
}

void OP_OperatorTable::addScriptIndexFile(const char* kind, const char* file, const char* className, const char* path,
                                          int minInputs, int maxInputs, bool isNetwork, bool isHidden) {
    myScriptFiles.push_back({kind, file, className, path, minInputs, maxInputs, isNetwork, isHidden});
}
