#pragma once
#include "host/expr/EV_Code.h"

// What compiling gives besides the code.
struct EV_CompileResult {
    EV_Error error;
    std::vector<std::string> variableNames;
};

// Compiles `text`, with the names of `scope`; without a scope every variable is taken for a local one whose id is its
// number in order of appearance. Errors quote `whole`, in which the text stands at byte `base`.
EV_CompileResult EV_compile(std::string_view text, std::string_view whole, size_t base, const EV_Scope* scope,
                            EV_Code& code);
