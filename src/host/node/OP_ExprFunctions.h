#pragma once

struct EV_FUNCTION;

/// Adds the expression functions that look at nodes: ch chs opname opdigits point npoints bbox.
void OPaddExpressionFunctions();

/// True for those of them whose changes reach the reader by its dependencies: a cached result stays good until then.
bool OPisTrackedFunction(const EV_FUNCTION* function);
