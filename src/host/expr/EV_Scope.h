#pragma once
#include <bit>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class OP_Parameters;

// What a $NAME stands for, found out once when an expression is bound to a scope.
struct EV_Variable {
    enum Kind {
        Local,  // asked for at every evaluation: EV_Scope::localValue(id)
        Global, // depends on time alone: EV_Scope::globalValue(id, t)
        Value   // does not change while the scope's serial stays: folded into the code
    };
    Kind kind = Value;
    int id = 0;
    double value = 0;

    bool operator==(const EV_Variable& other) const {
        const auto bits = [](double number) { return std::bit_cast<uint64_t>(number); };
        return kind == other.kind && id == other.id && bits(value) == bits(other.value);
    }
};

// What an expression may ask of the place it stands in: a node with its local variables, the scene's variables, the
// globals. A scope is used by one thread at a time.
class EV_Scope {
public:
    virtual ~EV_Scope();

    // Resolves a name without its '$', in the order: the node's own variables, the scene's, the globals. False:
    // unknown.
    virtual bool findVariable(std::string_view name, EV_Variable& out) const = 0;

    // A number that differs whenever findVariable may answer differently than before (names added or removed, ids or
    // values changed). Expressions bind again when it differs from the one they were bound with.
    virtual unsigned variableSerial() const = 0;

    // The value of a local variable now. May set EV_errNo(thread); the evaluation then fails and yields 0.
    virtual float localValue(int id, int thread) = 0;

    // The value of a global (F, FF, T, FPS, ...) at time t in seconds.
    virtual double globalValue(int id, double t) = 0;

    // Appends every name that findVariable knows, without '$'; for suggestions in error messages.
    virtual void variableNames(std::vector<std::string>& out) const = 0;

    // The node the expression stands on, for functions such as ch(); null when there is none.
    virtual OP_Parameters* node() = 0;
};
