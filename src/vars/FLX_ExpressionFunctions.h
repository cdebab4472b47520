#pragma once

#include <span>

#include "host/expr/EV_Function.h"

/// What every expression may ask of the particle network that is being cooked on its thread: flxevent, flxeventtime,
/// flxpoint, flxpointid, flxpointnum, flxcontextgeo. While none is, they give their failure values (0, -1 or "").
std::span<const EV_FUNCTION> FLXexpressionFunctions();
