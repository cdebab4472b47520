#pragma once

#include "host/node/CH_LocalVariable.h"

/// A class's local variables chained to those of its base; a name is looked up from the front of the chain.
struct OP_VariablePair {
    const CH_LocalVariable* variables = nullptr; ///< may be null: no variables of its own
    const OP_VariablePair* base = nullptr;
};
