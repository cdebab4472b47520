#include "host/node/OP_Parameters.h"

#include <limits>

#include "host/expr/EV_Error.h"
#include "host/expr/EV_Function.h"
#include "host/expr/EV_Number.h"
#include "host/node/OP_EvalState.h"
#include "host/node/OP_ExprFunctions.h"
#include "host/node/OP_NodeScope.h"
#include "host/node/OP_UndoManager.h"
#include "host/ut/UT_ErrorTable.h"

namespace {

struct Nested {
    Nested() { ++OP_EvalState::current().nesting; }
    ~Nested() { --OP_EvalState::current().nesting; }
};

void beginEvaluation(int thread) {
    if (OP_EvalState::current().nesting == 0) EV_clearError(thread);
}

UT_String typedText(const PRM_Parm& parm) {
    if (parm.size() == 0) return parm.text();
    const PRM_Parm::Component& c = parm.component(0);
    return c.kind == PRM_Parm::Component::Expression ? c.text : EV_numberText(c.constant);
}

} // namespace

/// Local variables are refused meanwhile, where the parameter says so.
class OP_Parameters::Refusal {
public:
    Refusal(OP_Parameters& node, const PRM_Template& row)
        : myNode(row.variables == PRM_Variables::Refused ? &node : nullptr) {
        if (!myNode) return;
        ++myNode->myNumRefusals;
        myNode->allowVar(0);
    }
    ~Refusal() {
        if (myNode) myNode->allowVar(--myNode->myNumRefusals == 0);
    }
    Refusal(const Refusal&) = delete;
    Refusal& operator=(const Refusal&) = delete;

private:
    OP_Parameters* myNode;
};

OP_Parameters::OP_Parameters()
    : myScope(std::make_unique<OP_NodeScope>(*this)) {
    if (PRM_Recorder* recorder = PRM_Recorder::current()) recorder->claim(this);
}

OP_Parameters::~OP_Parameters() = default;

// ---- declaration

bool OP_Parameters::isPrototype() const {
    const PRM_Recorder* recorder = PRM_Recorder::current();
    return recorder && recorder->records(this);
}

int OP_Parameters::declareParm(PRM_Template*& row) {
    row = nullptr;
    if (!isPrototype()) return myDeclared++;
    int index = 0;
    row = &PRM_Recorder::current()->append(index);
    return index;
}

void OP_Parameters::initParms(const PRM_TemplateTable* table) { myParms = PRM_ParmList(table); }

// ---- values

double OP_Parameters::evalNumber(PRM_Parm& parm, int component, double t, int thread) {
    if (unsigned(component) >= unsigned(parm.size())) return 0;
    const PRM_Template& row = parm.row();
    const PRM_Parm::Component& c = parm.component(component);
    double value = c.constant;
    if (c.kind != PRM_Parm::Component::Constant) value = evaluateComponent(parm, component, t, thread);
    if (row.type == PRM_Type::Multi) return double(parm.instances().size());
    const double kept = row.number(value);
    if (row.replacesNaN(value) && !isTestingVariables()) warnNotANumber(row);
    return kept;
}

double OP_Parameters::evaluateComponent(PRM_Parm& parm, int component, double t, int thread) {
    PRM_Parm::Component& c = parm.component(component);
    if (c.kind == PRM_Parm::Component::Keys) {
        noteTimeRead();
        return c.keys->evaluate(t);
    }
    Nested nested;
    const int before = EV_errNo(thread);
    EV_EXPRESSION& expression = *c.expression();
    const Refusal refusal(*this, parm.row());
    const double value = ev_EvaluateFloat(expression, *myScope, t, thread);
    noteAnalysis(expression.analysis(*myScope));
    const bool unsound = expression.syntaxError() || expression.bindError();
    if (EV_errNo(thread) != EV_ERR_NONE && before == EV_ERR_NONE && (unsound || !isTestingVariables()))
        evaluationError(parm.componentName(component).c_str(), c.text.c_str(), thread);
    return value;
}

UT_String OP_Parameters::evaluateText(PRM_Parm& parm, int component, double t, int thread) {
    if (parm.row().type != PRM_Type::String) return EV_numberText(evalNumber(parm, component, t, thread));
    EV_StringExpand* expansion = parm.expansion();
    if (!expansion) return parm.text();
    Nested nested;
    const int before = EV_errNo(thread);
    std::string out;
    const bool good = expansion->expand(*myScope, t, thread, out);
    noteAnalysis(expansion->analysis(*myScope));
    if (!good && before == EV_ERR_NONE && (expansion->syntaxError() || !isTestingVariables()))
        evaluationError(parm.row().token.c_str(), parm.text().c_str(), thread);
    return out;
}

void OP_Parameters::noteAnalysis(const EV_Analysis& analysis) {
    if (!analysis.impure) return;
    for (const EV_FUNCTION* function : analysis.functions)
        if (!(function->flags & EV_PURE) && !OPisTrackedFunction(function)) noteImpureRead();
}

float OP_Parameters::evalFloat(int index, int component, float t, int thread) {
    beginEvaluation(thread);
    PRM_Parm* parm = parmAt(index);
    return parm ? float(evalNumber(*parm, component, t, thread)) : 0;
}

int OP_Parameters::evalInt(int index, int component, float t, int thread) {
    beginEvaluation(thread);
    PRM_Parm* parm = parmAt(index);
    return parm ? EV_toInt(evalNumber(*parm, component, t, thread)) : 0;
}

bool OP_Parameters::isTyped(int index, int component) const {
    if (unsigned(index) >= unsigned(myParms.entries())) return true;
    const PRM_Parm& parm = myParms.parm(index);
    return unsigned(component) >= unsigned(parm.size()) ||
           parm.component(component).kind == PRM_Parm::Component::Constant;
}

UT_String OP_Parameters::evalString(int index, float t, int thread) {
    beginEvaluation(thread);
    PRM_Parm* parm = parmAt(index);
    return parm ? evaluateText(*parm, 0, t, thread) : UT_String();
}

UT_String OP_Parameters::evalStringRaw(int index) const {
    return unsigned(index) < unsigned(myParms.entries()) ? typedText(myParms.parm(index)) : UT_String();
}

float OP_Parameters::evalFloat(const char* name, int component, float t, int thread) {
    beginEvaluation(thread);
    PRM_Parm* parm = myParms.find(name);
    return parm ? float(evalNumber(*parm, component, t, thread)) : 0;
}

int OP_Parameters::evalInt(const char* name, int component, float t, int thread) {
    beginEvaluation(thread);
    PRM_Parm* parm = myParms.find(name);
    return parm ? EV_toInt(evalNumber(*parm, component, t, thread)) : 0;
}

void OP_Parameters::evalString(UT_String& value, const char* name, int component, float t, int thread) {
    beginEvaluation(thread);
    PRM_Parm* parm = myParms.find(name);
    value = parm ? evaluateText(*parm, component, t, thread) : UT_String();
}

void OP_Parameters::evalStringRaw(UT_String& value, const char* name) const {
    const PRM_Parm* parm = myParms.find(name);
    value = parm ? typedText(*parm) : UT_String();
}

// ---- setting

template <class Change> void OP_Parameters::changeParm(const char* name, const Change& change) {
    PRM_Parm* parm = myParms.find(name);
    if (!parm) return;
    OP_UndoManager::Recording recording(*this, *parm);
    change(*parm);
    parmChanged(*parm);
}

void OP_Parameters::setFloat(const char* name, int component, double value) {
    changeParm(name, [=](PRM_Parm& parm) {
        if (parm.row().type == PRM_Type::String)
            parm.setText(EV_numberText(value));
        else if (unsigned(component) < unsigned(parm.size()))
            parm.setConstant(component, value);
    });
}

void OP_Parameters::setExpression(const char* name, int component, const char* text) {
    changeParm(name, [=, this](PRM_Parm& parm) {
        if (unsigned(component) >= unsigned(parm.size())) return;
        parm.setExpression(component, text);
        if (parm.row().type != PRM_Type::Multi) return;
        // The number of instances is a matter of structure: the expression's value now.
        const double count = evaluateComponent(parm, component, 0, 0);
        parm.setInstanceCount(EV_toInt(count));
    });
}

void OP_Parameters::setKeys(const char* name, int component, const CH_Channel& channel) {
    changeParm(name, [&](PRM_Parm& parm) {
        if (unsigned(component) < unsigned(parm.size())) parm.setKeys(component, channel);
    });
}

void OP_Parameters::setString(const char* name, const UT_String& text, StringMeaning meaning) {
    changeParm(name, [&](PRM_Parm& parm) {
        if (parm.row().type == PRM_Type::String)
            parm.setText(text.str(), meaning == Literal);
        else if (parm.size() > 0)
            parm.setExpression(0, text.str());
    });
}

void OP_Parameters::parmChanged(PRM_Parm&) {}

unsigned OP_Parameters::enableParm(const char* name, int state) {
    PRM_Parm* parm = myParms.find(name);
    return parm && parm->setEnabled(state != 0) ? 1 : 0;
}

unsigned OP_Parameters::disableParms() {
    unsigned changed = 0;
    for (int i = 0; i < myParms.entries(); ++i) {
        PRM_Parm& parm = myParms.parm(i);
        if (!parm.row().enable) continue;
        const bool on = parm.row().enable.test(*this);
        changed += parm.setEnabled(on);
    }
    return changed;
}

void OP_Parameters::resolveObsoleteParms(PRM_ParmList*) {}

// ---- local variables

float OP_Parameters::getVariableValue(int, int) { return 0; }
const CH_LocalVariable* OP_Parameters::resolveExtraVariableForSyntaxHighlight(const char*) { return nullptr; }

// ---- messages

UT_ErrorSeverity OP_Parameters::error() {
    if (ownsGlobalErrors()) stealGlobalErrors();
    return myErrors.severity();
}

void OP_Parameters::stealGlobalErrors() { myErrors.steal(UTglobalErrors()); }

UT_String OP_Parameters::getErrorMessages() const {
    std::string out;
    for (const UT_Error& error : myErrors) {
        if (!out.empty()) out += '\n';
        out += UTerrorText(error);
    }
    return out;
}

void OP_Parameters::warnNotANumber(const PRM_Template& row) {
    const double bound = row.number(std::numeric_limits<double>::quiet_NaN());
    const double kept = bound == bound ? bound : 0; // without a bound the operator takes 0
    myErrors.add({"OP", OP_ERR_BAD_PARM, UT_ERROR_WARNING,
                  row.token + ": not a number; " + EV_numberText(kept) + " is used instead"});
}

void OP_Parameters::evaluationError(const char* token, const char* text, int thread) {
    if (EV_errNo(thread) == EV_ERR_NONE) return;
    std::string message = EV_errText(thread);
    if (message.empty()) {
        const bool variable = EV_errNo(thread) == EV_ERR_VARIABLE;
        message = EV_makeError(EV_errNo(thread), text ? text : "", std::string_view::npos,
                               variable ? "a variable has no value here" : "the expression failed")
                      .message;
    }
    myErrors.add({"OP", OP_ERR_EXPRESSION, UT_ERROR_ABORT, std::string(token ? token : "") + ": " + message});
}
