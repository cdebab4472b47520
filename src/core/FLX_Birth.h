#pragma once

#include "core/FLX_FunctionRef.h"
#include "host/ut/UT_Vector3.h"
#include "host/ut/UT_Vector4.h"

class FLX_AttribMap;
class GB_AttributeData;
class GEO_Point;
class GEO_PrimParticle;

/// How a newborn's "origin" is put together; bits add up.
enum FLX_OriginMode { FLX_ORIGIN_INDEX = 1, FLX_ORIGIN_OFFSET = 2, FLX_ORIGIN_PARENT = 4 };

/// One particle to be born: where, what it inherits, and what its operator evaluates at the moments that birth asks for
/// it. The callables are evaluated in this order, each once per birth: life, (after inheritance) origin, velocity.
struct FLX_Birth {
    GEO_PrimParticle* prim = nullptr;
    UT_Vector4 position{0, 0, 0, 1};
    const FLX_AttribMap* map = nullptr;       ///< null: nothing is inherited
    const GB_AttributeData* source = nullptr; ///< laid out like a point of the map's source
    const GEO_Point* parent = nullptr;        ///< the particle it descends from
    FLX_FunctionRef<int()> origin;            ///< asked when mode has FLX_ORIGIN_INDEX and "origin" exists
    int originAdd = 0;
    int originMode = FLX_ORIGIN_INDEX;
    FLX_FunctionRef<float()> life;                           ///< seconds; 0 or less: no birth
    FLX_FunctionRef<void(GEO_Point*, UT_Vector3&)> velocity; ///< may be empty; sets or changes "v"
};
