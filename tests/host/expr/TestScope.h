#pragma once
#include "host/expr/EV_Error.h"
#include "host/expr/EV_Expression.h"
#include <map>
#include <string>
#include <vector>

// A place for expressions to stand in: named local variables, constant values and globals that grow with time. Counts
// what it is asked.
class TestScope : public EV_Scope {
public:
    std::map<std::string, float> locals; // ids 100, 101, ... in the order of their names
    std::map<std::string, double> values;
    std::map<std::string, double> globals; // value times t
    std::string failing;                   // this local variable raises error 10
    unsigned serial = 1;
    std::vector<std::string> asked;

    bool findVariable(std::string_view name, EV_Variable& out) const override {
        if (const int i = numberOf(locals, name); i >= 0) return out = {EV_Variable::Local, 100 + i, 0}, true;
        if (const auto at = values.find(std::string(name)); at != values.end())
            return out = {EV_Variable::Value, 0, at->second}, true;
        if (const int i = numberOf(globals, name); i >= 0) return out = {EV_Variable::Global, i, 0}, true;
        return false;
    }
    unsigned variableSerial() const override { return serial; }
    float localValue(int id, int thread) override {
        const auto at = std::next(locals.begin(), id - 100);
        asked.push_back(at->first);
        if (at->first == failing) EV_errNo(thread) = EV_ERR_VARIABLE;
        return at->second;
    }
    double globalValue(int id, double t) override { return std::next(globals.begin(), id)->second * t; }
    void variableNames(std::vector<std::string>& out) const override {
        for (const auto& [name, value] : locals) out.push_back(name);
        for (const auto& [name, value] : values) out.push_back(name);
        for (const auto& [name, value] : globals) out.push_back(name);
    }
    OP_Parameters* node() override { return nullptr; }

private:
    template <class Map> static int numberOf(const Map& map, std::string_view name) {
        const auto at = map.find(std::string(name));
        return at == map.end() ? -1 : int(std::distance(map.begin(), at));
    }
};

// Evaluates once; errors end in `error` and leave the thread's number clear.
struct Outcome {
    double number = 0;
    std::string text;
    int errNo = 0;
    std::string error;
};

inline Outcome evaluate(const std::string& text, EV_Scope& scope, double t = 0, bool asString = false) {
    EV_EXPRESSION expression(text);
    Outcome out;
    if (asString)
        out.text = ev_EvaluateString(expression, scope, t, 0);
    else
        out.number = ev_EvaluateFloat(expression, scope, t, 0);
    out.errNo = EV_errNo(0);
    out.error = EV_errText(0);
    EV_clearError(0);
    return out;
}

inline Outcome evaluateString(const std::string& text, EV_Scope& scope) { return evaluate(text, scope, 0, true); }
