#pragma once

#include <cstddef>

#include "core/FLX_ContextData.h"

class GB_PointGroup;

/// Births that differ in life span and velocity alone, without a map and without a parent: whole records are written,
/// many at a time. A particle holds what `FLX_Node::birthParticle` would have given it. Attributes must not be appended
/// meanwhile.
class FLX_BirthBatch {
public:
    struct Newborn {
        float life; ///< seconds, above 0
        UT_Vector3 velocity;
    };

    /// `origin` is the value of "origin" where that exists; `group` may be null.
    FLX_BirthBatch(FLX_ContextData& context, GEO_PrimParticle& prim, const UT_Vector4& position, int origin,
                   GB_PointGroup* group);

    /// Gives birth to n particles. The caller sees to it that the context has room for them.
    void give(const Newborn* newborns, size_t n);

private:
    FLX_ContextData& myContext;
    GEO_PrimParticle& myPrim;
    GB_PointGroup* myGroup;
    GEO_PointModel myModel;
};
