#include "host/expr/EV_Function.h"
#include "host/expr/EV_Builtin.h"
#include "host/expr/EV_Lexer.h"
#include "host/ut/UT_Lock.h"
#include <algorithm>
#include <map>

namespace {

struct Table {
    UT_Lock lock;
    std::map<std::string, const EV_FUNCTION*, std::less<>> functions;
};

Table& table() {
    static Table theTable;
    return theTable;
}

bool isName(std::string_view name) {
    return !name.empty() && EV_startsName(name[0]) && std::all_of(name.begin(), name.end(), EV_inName);
}

bool makesSense(const EV_FUNCTION& function) {
    const bool counts =
        function.numArgs >= 0 && function.minArgs <= function.numArgs && (function.numArgs == 0 || function.argTypes);
    const bool repeats = !(function.flags & EV_VARIADIC) || function.numArgs > 0;
    return function.name && isName(function.name) && function.callback && counts && repeats &&
           function.resultType >= EV_FLOAT && function.resultType < EV_ANY;
}

} // namespace

int ev_AddFunction(const EV_FUNCTION* function) {
    if (!function || !makesSense(*function) || !EV_findBuiltins(function->name).empty()) return 0;
    UT_AutoLock lock(table().lock);
    return table().functions.try_emplace(function->name, function).first->second == function;
}

const EV_FUNCTION* EV_findFunction(std::string_view name) {
    const auto builtins = EV_findBuiltins(name);
    if (!builtins.empty()) return &builtins[0];
    UT_AutoLock lock(table().lock);
    const auto at = table().functions.find(name);
    return at == table().functions.end() ? nullptr : at->second;
}

std::vector<const EV_FUNCTION*> EV_listFunctions() {
    std::vector<const EV_FUNCTION*> out;
    for (const EV_Builtin& builtin : EV_builtins()) out.push_back(&builtin);
    {
        UT_AutoLock lock(table().lock);
        for (const auto& [name, function] : table().functions) out.push_back(function);
    }
    std::stable_sort(out.begin(), out.end(),
                     [](const EV_FUNCTION* a, const EV_FUNCTION* b) { return std::string_view(a->name) < b->name; });
    return out;
}
