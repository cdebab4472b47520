#pragma once
#include "host/expr/EV_Value.h"
#include <string>
#include <string_view>
#include <vector>

class EV_Scope;

// Where and when a function is called.
struct EV_CallContext {
    EV_Scope* scope = nullptr; // null while a pure function is folded at compile time
    int thread = 0;            // as given to the evaluation; 0 = calling thread
    double time = 0;           // seconds
    std::string message;       // what went wrong, when the callback returns false

    // For `return context.fail("no such node /obj/a")`. The expression's text and the column are added.
    bool fail(std::string what) {
        message = std::move(what);
        return false;
    }
};

// Computes `result` (a number 0 on entry) from `count` arguments, already checked against the declared types. False:
// the evaluation fails with context.message.
using EV_Callback = bool (*)(EV_CallContext& context, const EV_Value* args, int count, EV_Value& result);

enum EV_FunctionFlags : int {
    EV_PURE = 1,     // the result depends on the arguments alone: constant arguments are folded
    EV_NOFAIL = 2,   // never returns false
    EV_VARIADIC = 4, // the last argument may be repeated
};

// A function of the language; tables of these are static and stay alive. No flags: it may read anything, and may fail.
struct EV_FUNCTION {
    int flags = 0;
    const char* name = nullptr;
    int numArgs = 0;
    EV_Type resultType = EV_FLOAT;
    const EV_Type* argTypes = nullptr; // numArgs of them
    EV_Callback callback = nullptr;
    const char* help = "";  // one line, for example "length of a vector"
    const char* usage = ""; // the arguments by name, for example "x, min, max"
    int minArgs = -1;       // -1: all of them
};

// Adds a function to every expression that is compiled from now on. 1 when it was added, or was there already; 0 when
// another function has the name or the record makes no sense.
int ev_AddFunction(const EV_FUNCTION* function);

// The function of that name, or null. Functions built into the language have no callback.
const EV_FUNCTION* EV_findFunction(std::string_view name);

// Every function, built in or added, ordered by name; one that takes several forms of arguments appears once for each.
std::vector<const EV_FUNCTION*> EV_listFunctions();
