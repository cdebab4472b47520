#pragma once
#include "host/expr/EV_Function.h"
#include "host/vm/VM_Op.h"
#include <span>

class EV_Emitter;
struct EV_Term;

// A function of the language itself. It is one operation of the machine (op), or code that `emit` writes, or a pure
// callback.
struct EV_Builtin : EV_FUNCTION {
    VM_Op op = VM_Op::End;
    EV_Term (*emit)(EV_Emitter& emitter, std::vector<EV_Term>& args, size_t offset) = nullptr;
};

// The forms of the function of that name, one for each list of arguments it takes; empty when there is none.
std::span<const EV_Builtin> EV_findBuiltins(std::string_view name);

// All of them, ordered by name.
std::span<const EV_Builtin> EV_builtins();
