#include "host/expr/EV_Expression.h"
#include "host/expr/EV_Compiler.h"
#include "host/expr/EV_Function.h"
#include <algorithm>

bool EV_Analysis::readsLocal(int id) const { return std::binary_search(locals.begin(), locals.end(), id); }

bool EV_Analysis::calls(std::string_view functionName) const {
    return std::any_of(functions.begin(), functions.end(),
                       [&](const EV_FUNCTION* function) { return function->name == functionName; });
}

EV_EXPRESSION::EV_EXPRESSION(std::string_view text, int components)
    : myComponents(components) {
    change(text, nullptr, 0);
}

EV_EXPRESSION::~EV_EXPRESSION() = default;
EV_EXPRESSION::EV_EXPRESSION(EV_EXPRESSION&&) noexcept = default;
EV_EXPRESSION& EV_EXPRESSION::operator=(EV_EXPRESSION&&) noexcept = default;

void EV_EXPRESSION::change(std::string_view text) {
    if (text != myText || myWhole) change(text, nullptr, 0);
}

void EV_EXPRESSION::change(std::string_view text, std::shared_ptr<const std::string> whole, size_t offset) {
    myText = text;
    myWhole = std::move(whole);
    myOffset = offset;
    mySyntaxError = compile(nullptr, &myVariableNames);
    myResultType = myCode->resultType;
    myScope = nullptr;
    myMeanings.clear();
    myBindError = mySyntaxError;
}

EV_Error EV_EXPRESSION::typeError(EV_Type needed) const {
    const std::string what =
        std::string(EV_typeName(needed)) + " is needed, this is " + EV_typeName(myResultType) + ",";
    return EV_makeError(EV_ERR_TYPE, whole(), myOffset, what);
}

EV_Error EV_EXPRESSION::compile(const EV_Scope* scope, std::vector<std::string>* names) {
    ++myNumCompilations;
    auto code = std::make_unique<EV_Code>();
    EV_CompileResult result = EV_compile(myText, whole(), myOffset, scope, *code);
    if (names) *names = std::move(result.variableNames);
    code->analysis.canFail = code->analysis.canFail || result.error;
    setCode(std::move(code));
    return result.error;
}

void EV_EXPRESSION::setCode(std::unique_ptr<EV_Code> code) {
    if (myNumRunning > 0) myRetired.push_back(std::move(myCode));
    myCode = std::move(code);
}

bool EV_EXPRESSION::bind(const EV_Scope& scope) {
    if (!mySyntaxError && myVariableNames.empty()) return true;
    const unsigned serial = scope.variableSerial();
    if (myScope != &scope || mySerial != serial) {
        mySyntaxError ? explain(scope) : bindAnew(scope);
        myScope = &scope;
        mySerial = serial;
    }
    return !myBindError;
}

// A name without its $ may be one that the scope knows.
void EV_EXPRESSION::explain(const EV_Scope& scope) {
    const EV_Error error = mySyntaxError.number == EV_ERR_SYNTAX ? compile(&scope, nullptr) : EV_Error();
    myBindError = error ? error : mySyntaxError;
}

void EV_EXPRESSION::bindAnew(const EV_Scope& scope) {
    std::vector<EV_Variable> meanings;
    const bool known = findMeanings(scope, meanings);
    if (known && meanings == myMeanings) return;
    if (!known || !patch(meanings)) myBindError = compile(&scope, nullptr);
    myMeanings.clear();
    if (!myBindError) myMeanings = std::move(meanings);
}

// False when a name is unknown.
bool EV_EXPRESSION::findMeanings(const EV_Scope& scope, std::vector<EV_Variable>& meanings) const {
    meanings.resize(myVariableNames.size());
    for (size_t i = 0; i < meanings.size(); ++i)
        if (!scope.findVariable(myVariableNames[i], meanings[i])) return false;
    return true;
}

// Gives the code's variables other meanings. False, and nothing changed, where that would be other code.
bool EV_EXPRESSION::patch(const std::vector<EV_Variable>& meanings) {
    const auto isFolded = [](const EV_Variable& variable) { return variable.kind == EV_Variable::Value; };
    if (myBindError || myNumRunning > 0 || std::any_of(meanings.begin(), meanings.end(), isFolded) ||
        std::any_of(myMeanings.begin(), myMeanings.end(), isFolded))
        return false;
    for (EV_Site& site : myCode->sites)
        if (site.variable >= 0) site.mean(meanings[size_t(site.variable)]);
    myCode->listVariables();
    return true;
}

const EV_Analysis& EV_EXPRESSION::analysis(const EV_Scope& scope) {
    bind(scope);
    return myCode->analysis;
}

EV_EXPRESSION* ev_AllocExpr(int components) { return new EV_EXPRESSION({}, components); }

void ev_ChangeExpr(EV_EXPRESSION* expression, const char* text) { expression->change(text ? text : ""); }

void ev_FreeExpr(EV_EXPRESSION* expression) { delete expression; }
