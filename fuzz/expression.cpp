// Feeds texts to the expression language: as an expression, evaluated once and, together with others made of it, in
// columns, whose lanes must agree with single evaluations; and as a string parameter with parts to expand. Links
// against libFuzzer, or against replay.cpp, which runs the corpus.
#include "host/expr/EV_Columns.h"
#include "host/expr/EV_Error.h"
#include "host/expr/EV_Function.h"
#include "host/expr/EV_StringExpand.h"

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

[[noreturn]] void complain(const std::string& text, const char* what) {
    std::fprintf(stderr, "%s: %s\n", what, text.c_str());
    std::abort();
}

void checkError(const std::string& text, bool failed) {
    if (failed && EV_errText(0).empty()) complain(text, "an error without a text");
    EV_clearError(0);
}

bool sameNumber(double a, double b) {
    return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b) || (std::isnan(a) && std::isnan(b));
}

EV_ColumnList::Local meaning(int id, double&) {
    return id == BAD ? EV_ColumnList::Local::Refused : EV_ColumnList::Local::Input;
}

void fillInputs(EV_Columns& columns) {
    for (size_t i = 0; i < columns.inputs().size(); ++i)
        for (int lane = 0; lane < VM_LANES; ++lane)
            columns.input(i)[lane] = double(localValue(columns.inputs()[i], lane));
}

// What stands in it twice is computed once, products and comparisons join what reads them.
void runColumns(const std::string& text, Scope& scope) {
    EV_EXPRESSION expressions[] = {EV_EXPRESSION(text), EV_EXPRESSION("1 - (" + text + ") * $TX"),
                                   EV_EXPRESSION("$AGE > (" + text + ") && (" + text + ") <= $ID")};
    EV_ColumnList list;
    int results[3];
    for (int e = 0; e < 3; ++e) results[e] = list.add(expressions[e], scope, 0.5, meaning);
    EV_clearError(0);
    EV_Columns columns(list);
    fillInputs(columns);
    columns.run(VM_LANES);
    for (int e = 0; e < 3; ++e)
        for (const int lane : {0, 1, 5, 255}) {
            if (results[e] < 0) continue;
            scope.lane = lane;
            const double single = ev_EvaluateFloat(expressions[e], scope, 0.5, 0);
            const double inColumn =
                columns.isNumber(results[e]) ? columns.number(results[e]) : columns.column(results[e])[lane];
            if (!sameNumber(single, inColumn)) complain(text, "a column and a single evaluation differ");
        }
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
    runColumns(text, scope);
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
