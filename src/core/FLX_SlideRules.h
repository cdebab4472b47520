#pragma once

#include "core/FLX_Rules.h"

class FLX_SurfaceCache;

/// The position and velocity rules of a particle that slides on the primitive named by its pospath, posprim and posuv.
/// They obey the particle's own suppression bits only. A particle whose surface is lost is set free.
void FLXapplyDefaultSlideRules(GEO_Point* point, const FLX_Rules& rules, FLX_SurfaceCache& surfaces,
                               FLX_ContextData& context);

/// Places a position on the primitive named by the particle's pospath, posprim and posuv; leaves it when there is none.
void FLXsetPosFromSop(UT_Vector4& pos, GEO_Point* point, FLX_SurfaceCache& surfaces);
