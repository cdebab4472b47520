#pragma once
#include "host/expr/EV_Emitter.h"

// Checks a call's arguments against the forms of the function and writes its code. `offset` is where the function's
// name stands.
EV_Term EV_emitCall(EV_Emitter& emitter, std::string_view name, std::vector<EV_Term>& args, size_t offset);
