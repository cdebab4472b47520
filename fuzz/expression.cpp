// Feeds texts to the expression language: as an expression, evaluated once and over a column, whose lanes must agree
// with single evaluations; and as a string parameter with parts to expand. Links against libFuzzer, or against
// replay.cpp, which runs the corpus.
#include "host/expr/EV_Code.h"
#include "host/expr/EV_Error.h"
#include "host/expr/EV_Function.h"
#include "host/expr/EV_StringExpand.h"
#include "host/vm/VM_ColumnRun.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

struct Name {
    const char* name;
    EV_Variable meaning;
};

const Name theNames[] = {
    {"TX", {EV_Variable::Local, 0, 0}},    {"ID", {EV_Variable::Local, 1, 0}}, {"AGE", {EV_Variable::Local, 2, 0}},
    {"BAD", {EV_Variable::Local, 3, 0}},   {"T", {EV_Variable::Global, 0, 0}}, {"FF", {EV_Variable::Global, 1, 0}},
    {"PI", {EV_Variable::Value, 0, 3.25}}, {"N", {EV_Variable::Value, 0, -7}},
};

constexpr int BAD = 3;

float localValue(int id, int lane) {
    const float values[] = {0.0f, 1.0f, -2.5f, 1e30f, -0.0f, INFINITY, NAN, 3.0f};
    return values[(lane * 3 + id) % 8];
}

double globalValue(int id, double t) { return id == 0 ? t : 24 * t + 1; }

/// One particle's values; reading $BAD fails.
class Scope final : public EV_Scope {
public:
    int lane = 0;

    bool findVariable(std::string_view name, EV_Variable& out) const override {
        for (const Name& known : theNames)
            if (name == known.name) return out = known.meaning, true;
        return false;
    }
    unsigned variableSerial() const override { return 1; }
    float localValue(int id, int thread) override {
        if (id == BAD) EV_errNo(thread) = EV_ERR_VARIABLE;
        return ::localValue(id, lane);
    }
    double globalValue(int id, double t) override { return ::globalValue(id, t); }
    void variableNames(std::vector<std::string>& out) const override {
        for (const Name& known : theNames) out.emplace_back(known.name);
    }
    OP_Parameters* node() override { return nullptr; }
};

/// Serves variables for all lanes at once.
class Columns final : public VM_Host {
public:
    Columns(const EV_Code& code, double t)
        : myCode(code)
        , myTime(t) {}
    bool callSite(const VM_Instruction& call, double* registers, int lanes) override {
        const EV_Site& site = myCode.sites[call.target];
        for (int i = 0; i < lanes; ++i)
            registers[call.dst * lanes + i] =
                site.kind == EV_Site::Local ? double(localValue(site.id, i)) : globalValue(site.id, myTime);
        return true;
    }

private:
    const EV_Code& myCode;
    double myTime;
};

[[noreturn]] void complain(const std::string& text, const char* what) {
    std::fprintf(stderr, "%s: %s\n", what, text.c_str());
    std::abort();
}

void checkError(const std::string& text, bool failed) {
    if (failed && EV_errText(0).empty()) complain(text, "an error without a text");
    EV_clearError(0);
}

// Variables only: what a column can be asked for.
bool runsInColumns(const EV_Code& code) {
    for (const EV_Site& site : code.sites)
        if (site.kind == EV_Site::Local ? site.id == BAD : site.kind != EV_Site::Global) return false;
    return code.resultType != EV_STRING;
}

bool sameNumber(double a, double b) {
    return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b) || (std::isnan(a) && std::isnan(b));
}

void compareLanes(EV_EXPRESSION& expression, Scope& scope, const std::string& text, const VM_ColumnRun& columns) {
    const VM_Program& program = expression.code().program;
    for (const int lane : {0, 1, 5, 255}) {
        scope.lane = lane;
        ev_Vector single(3);
        ev_EvaluateVector(expression, single, scope, 0.5, 0);
        for (size_t k = 0; k < program.results.size(); ++k)
            if (!sameNumber(single[int(k)], columns.column(program.results[k])[lane]))
                complain(text, "a column and a single evaluation differ");
    }
}

void runColumns(EV_EXPRESSION& expression, Scope& scope, const std::string& text) {
    if (!expression.bind(scope) || !runsInColumns(expression.code())) return;
    const VM_Program& program = expression.code().program;
    VM_ColumnRun columns(program, true);
    Columns host(expression.code(), 0.5);
    if (!columns.run(host)) complain(text, "a column stopped");
    compareLanes(expression, scope, text, columns);
}

void runExpression(const std::string& text) {
    Scope scope;
    EV_EXPRESSION expression(text);
    ev_EvaluateFloat(expression, scope, 0.5, 0);
    checkError(text, EV_errNo(0) != 0);
    const std::string result = ev_EvaluateString(expression, scope, 0.5, 0);
    if (result.size() > EV_MAX_STRING) complain(text, "a string over the limit");
    checkError(text, EV_errNo(0) != 0);
    ev_Vector vector;
    const bool done = ev_EvaluateVector(expression, vector, scope, 0.5, 0);
    if (done != (EV_errNo(0) == 0)) complain(text, "result and error disagree");
    checkError(text, !done);
    runColumns(expression, scope, text);
    EV_clearError(0);
}

void runExpansion(const std::string& text) {
    Scope scope;
    EV_StringExpand expansion(text);
    std::string out;
    const bool done = expansion.expand(scope, 0.5, 0, out);
    checkError(text, !done);
    expansion.analysis(scope);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    runExpression(text);
    runExpansion(text);
    return 0;
}
