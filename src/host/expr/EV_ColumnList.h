#pragma once
#include "host/vm/VM_Kernels.h"
#include <bit>
#include <cstdint>
#include <functional>
#include <vector>

class EV_EXPRESSION;
class EV_Scope;
struct EV_Code;

// Expressions of numbers that are to be evaluated together over lanes, and what each of their variables is there:
// all that EV_Columns are made from. To be used at once, while the expressions keep their code: between add and use
// none of them may be bound to other variables or given another text.
class EV_ColumnList {
public:
    // What a local variable is here: an input with a value in each lane, a number for all lanes, or something that
    // only the scope can serve.
    enum class Local { Input, Number, Refused };
    using Locals = std::function<Local(int id, double& number)>;

    // The number of the result; or -1, and nothing changed, when the expression cannot be evaluated like this: it could
    // fail, calls functions of the application, handles strings, yields no number, or is very large. Globals have their
    // values at time t.
    int add(EV_EXPRESSION& expression, EV_Scope& scope, double t, const Locals& locals);

    struct Variable {
        int id = -1; // of an input; -1: a number
        uint64_t number = 0;

        double value() const { return std::bit_cast<double>(number); }
        friend bool operator==(const Variable&, const Variable&) = default;
    };
    // Lists with the same key give the same columns.
    struct Key {
        VM_Path path = VM_path();
        std::vector<uint64_t> codes;     // serials
        std::vector<Variable> variables; // of all codes, one per site

        friend bool operator==(const Key&, const Key&) = default;
    };
    const Key& key() const { return myKey; }
    const std::vector<const EV_Code*>& codes() const { return myCodes; }

private:
    bool addVariables(const EV_Code& code, EV_Scope& scope, double t, const Locals& locals);

    Key myKey;
    std::vector<const EV_Code*> myCodes;
    size_t mySize = 0; // instructions and constants
};
