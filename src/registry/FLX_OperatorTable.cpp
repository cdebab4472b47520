#include "core/FLX_Node.h"
#include "host/expr/EV_Function.h"
#include "host/node/OP_Director.h"
#include "host/node/OP_OperatorTable.h"
#include "host/node/PI_ScriptOperator.h"
#include "ops/stream/FLX_SubNet.h"
#include "registry/FLX_Catalogue.h"
#include "vars/FLX_ExpressionFunctions.h"

namespace {

OP_ScriptOperator* createScriptOperator(const OP_OTLDefinition& definition) {
    return definition.isSubNetwork ? FLX_SubScript::createScriptOperator(definition) : nullptr;
}

} // namespace

void FLX_Node::buildOperatorTable(OP_OperatorTable& table) {
    static bool built = false;
    if (std::exchange(built, true)) return;
    for (const FLX_CatalogueRow& row : FLXcatalogue()) {
        auto op = std::make_unique<OP_Operator>(row.name, row.label, row.constructor, row.minInputs, row.maxInputs,
                                                row.variables, row.flags);
        op->setClassName(row.className);
        op->setObsoleteTemplates(row.obsolete());
        table.addOperator(std::move(op));
    }
    table.setDefaultType("switch");
    table.setScriptCreator(&createScriptOperator);
    table.addScriptIndexFile("subnet", "SUBflx", "FLX_SubScript", nullptr, 0, 0, true, false);
    table.addScriptIndexFile("vex", "VEXflx", "FLX_VexScript", nullptr, 1, 1, false, false);
    initializeExpressions();
}

void FLX_Node::initializeExpressions() {
    OPgetDirector();
    for (const EV_FUNCTION& function : FLXexpressionFunctions()) ev_AddFunction(&function);
}
