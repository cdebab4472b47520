#include "host/expr/EV_Evaluation.h"
#include "host/expr/EV_Function.h"
#include "host/expr/EV_Lexer.h"
#include "host/expr/EV_Number.h"
#include "host/expr/EV_Strings.h"
#include <cmath>
#include <utility>

// Large strings are not kept for the next evaluation.
static void trim(std::string& text) {
    constexpr size_t MOST_KEPT = 1 << 16;
    if (text.capacity() > MOST_KEPT) std::string().swap(text);
}

EV_Evaluation::EV_Evaluation(EV_EXPRESSION& expression, EV_Scope& scope, double t, int thread)
    : myExpression(expression)
    , myScope(scope)
    , myTime(t)
    , myThread(thread)
    , myError(EV_threadError(thread))
    , myIsBound(expression.bind(scope))
    , myCode(&expression.code())
    , myRegisters(size_t(myCode->program.numRegisters))
    , myStrings(size_t(myCode->numStringRegisters)) {
    if (myError.number != EV_ERR_NONE) mySaved = std::make_unique<EV_ThreadError>(std::move(myError));
    myError.number = EV_ERR_NONE;
    myError.text.clear();
    for (std::string& text : myStrings) text.clear(); // what an evaluation before this one left
    ++expression.myNumRunning;
}

EV_Evaluation::~EV_Evaluation() {
    for (std::string& text : myStrings) trim(text);
    if (mySaved) myError = std::move(*mySaved);
    if (--myExpression.myNumRunning == 0) myExpression.myRetired.clear();
}

bool EV_Evaluation::run() {
    if (!myIsBound) {
        EV_raise(myThread, myExpression.bindError().number, myExpression.bindError().message);
        return false;
    }
    VM_loadConstants(myCode->program, myRegisters.data());
    return VM_run(myCode->program, myRegisters.data(), *this);
}

const std::string& EV_Evaluation::text(EV_StringRef ref) const {
    return ref < 0 ? myCode->strings[size_t(-1 - ref)] : myStrings[size_t(ref)];
}

void EV_Evaluation::failType(EV_Type needed) {
    EV_raise(myThread, EV_ERR_TYPE, myExpression.typeError(needed).message);
}

bool EV_Evaluation::failAt(const EV_Site& site, int number, const std::string& what) {
    EV_raise(myThread, number, EV_makeError(number, myExpression.whole(), site.offset, what).message);
    return false;
}

bool EV_Evaluation::callSite(const VM_Instruction& call, double* r) {
    const EV_Site& site = myCode->sites[call.target];
    const VM_Site& at = myCode->program.sites[call.target];
    switch (site.kind) {
    case EV_Site::Local:
        r[call.dst] = double(myScope.localValue(site.id, myThread));
        return myError.number == EV_ERR_NONE || failVariable(site);
    case EV_Site::Global:
        r[call.dst] = myScope.globalValue(site.id, myTime);
        return myError.number == EV_ERR_NONE || failVariable(site);
    case EV_Site::Call: return callFunction(site, at, r);
    case EV_Site::Index: return index(site, at, r);
    case EV_Site::Concat: return concat(site);
    case EV_Site::Choose: return choose(site, r[at.reads[0]] != 0);
    case EV_Site::Compare:
        r[call.dst] = EV_compareStrings(VM_Op(site.id), text(site.strings[0]), text(site.strings[1]));
        return true;
    }
    return false;
}

EV_Error EV_noValueError(int number, std::string_view whole, size_t offset) {
    const std::string name(EV_Lexer(whole.substr(offset)).next().text);
    return EV_makeError(number, whole, offset, "variable $" + name + " has no value here");
}

// The scope has raised a number; the text that it cannot know is added here.
bool EV_Evaluation::failVariable(const EV_Site& site) {
    if (!myError.text.empty()) return false;
    const int number = std::exchange(myError.number, int(EV_ERR_NONE));
    EV_raise(myThread, number, EV_noValueError(number, myExpression.whole(), site.offset).message);
    return false;
}

bool EV_Evaluation::index(const EV_Site& site, const VM_Site& at, double* r) {
    const double i = std::trunc(r[at.reads[0]]);
    const size_t size = at.reads.size() - 1;
    if (!(i >= 0 && i < double(size)))
        return failAt(site, EV_ERR_EVALUATION, "index " + EV_numberText(i) + " is outside the vector,");
    r[at.writes[0]] = r[at.reads[1 + size_t(i)]];
    return true;
}

// Whether a string register may take so many bytes instead of what it holds: a bound on one string, and on what one
// expression can hold at a time.
bool EV_Evaluation::admit(const EV_Site& site, const std::string& old, size_t bytes) {
    if (bytes > EV_MAX_STRING) return failAt(site, EV_ERR_LIMIT, "string longer than 1 MiB");
    myTextBytes += bytes - old.size();
    return myTextBytes <= EV_MAX_STRINGS || failAt(site, EV_ERR_LIMIT, "more than 8 MiB of strings in one expression");
}

bool EV_Evaluation::concat(const EV_Site& site) {
    std::string& out = myStrings[size_t(site.stringResult)];
    const EV_StringRef left = site.strings[0], right = site.strings[1];
    if (!admit(site, out, text(left).size() + text(right).size())) return false;
    if (left != site.stringResult) out = text(left);
    out += text(right);
    return true;
}

bool EV_Evaluation::choose(const EV_Site& site, bool first) {
    const EV_StringRef from = site.strings[first ? 0 : 1];
    if (from == site.stringResult) return true;
    std::string& out = myStrings[size_t(site.stringResult)];
    if (!admit(site, out, text(from).size())) return false;
    out = text(from);
    return true;
}

// A string register is read once in its life, so an argument takes its text over.
void EV_Evaluation::gather(const EV_Site& site, const VM_Site& at, const double* r, EV_Value* args) {
    size_t numReads = 0, numStrings = 0;
    for (size_t i = 0; i < site.argTypes.size(); ++i) {
        EV_Value& arg = args[i];
        arg.type = site.argTypes[i];
        for (int k = 0; k < EV_typeSize(arg.type); ++k) arg.v[k] = r[at.reads[numReads++]];
        if (arg.type != EV_STRING) continue;
        const EV_StringRef from = site.strings[numStrings++];
        if (from < 0)
            arg.s = text(from);
        else {
            myTextBytes -= myStrings[size_t(from)].size();
            arg.s.swap(myStrings[size_t(from)]);
            myStrings[size_t(from)].clear();
        }
    }
}

bool EV_Evaluation::store(const EV_Site& site, const VM_Site& at, EV_Value& value, double* r) {
    if (value.type != site.resultType)
        return failCall(site,
                        std::string("gave ") + EV_typeName(value.type) + " instead of " + EV_typeName(site.resultType));
    if (value.type == EV_STRING && !admit(site, myStrings[size_t(site.stringResult)], value.s.size())) return false;
    for (size_t k = 0; k < at.writes.size(); ++k) r[at.writes[k]] = value.v[k];
    if (value.type == EV_STRING) myStrings[size_t(site.stringResult)].swap(value.s);
    return true;
}

bool EV_Evaluation::callFunction(const EV_Site& site, const VM_Site& at, double* r) {
    const size_t count = site.argTypes.size();
    EV_Borrowed<EV_Value> args(count + 1); // the last one is the result
    EV_Value& result = args[count];
    gather(site, at, r, args.data());
    result.type = EV_FLOAT;
    result.v[0] = 0;
    EV_CallContext context{&myScope, myThread, myTime, {}};
    bool done = site.function->callback(context, args.data(), int(count), result);
    done = done && myError.number == EV_ERR_NONE ? store(site, at, result, r) : failCall(site, context.message);
    for (EV_Value& value : args) trim(value.s);
    return done;
}

// An error that was raised inside the function, in another expression perhaps, says more than its failure.
bool EV_Evaluation::failCall(const EV_Site& site, const std::string& message) {
    if (!myError.text.empty()) return false;
    const int number = std::exchange(myError.number, int(EV_ERR_NONE));
    const std::string what = std::string(site.function->name) + (message.empty() ? " failed" : ": " + message);
    return failAt(site, number ? number : int(EV_ERR_EVALUATION), what);
}

double ev_EvaluateFloat(EV_EXPRESSION& expression, EV_Scope& scope, double t, int thread) {
    if (expression.bind(scope) && expression.code().analysis.constant && expression.resultType() == EV_FLOAT)
        return expression.code().constant.number();
    EV_Evaluation evaluation(expression, scope, t, thread);
    if (!evaluation.run()) return 0;
    if (evaluation.resultType() == EV_FLOAT) return evaluation.result(0);
    evaluation.failType(EV_FLOAT);
    return 0;
}

std::string ev_EvaluateString(EV_EXPRESSION& expression, EV_Scope& scope, double t, int thread) {
    EV_Evaluation evaluation(expression, scope, t, thread);
    if (!evaluation.run()) return {};
    if (evaluation.resultType() == EV_STRING) return evaluation.stringResult();
    if (evaluation.resultType() == EV_FLOAT) return EV_numberText(evaluation.result(0));
    evaluation.failType(EV_STRING);
    return {};
}

bool ev_EvaluateVector(EV_EXPRESSION& expression, ev_Vector& result, EV_Scope& scope, double t, int thread) {
    EV_Evaluation evaluation(expression, scope, t, thread);
    const bool done = evaluation.run();
    const EV_Type type = done ? evaluation.resultType() : EV_VECTOR;
    result.resize(type == EV_VECTOR4 ? 4 : 3);
    for (int i = 0; i < result.size(); ++i) result[i] = 0;
    if (!done) return false;
    if (type == EV_STRING) {
        evaluation.failType(EV_VECTOR);
        return false;
    }
    for (int i = 0; i < result.size(); ++i) result[i] = evaluation.result(type == EV_FLOAT ? 0 : i);
    return true;
}
