#pragma once

#include "host/geo/GB_Group.h"

class GEO_Detail;

/// Set operations on groups of one detail.
class GU_Group {
public:
    /// target = (not1 ? all - a : a) op (not2 ? all - b : b); COPY (0) takes the second operand. The target may be
    /// one of the operands.
    static void boolean(const GEO_Detail& detail, GB_PointGroup& target, const GB_PointGroup& a, bool not1,
                        GU_GroupBoolOp op, const GB_PointGroup& b, bool not2);
    static void boolean(const GEO_Detail& detail, GB_PrimitiveGroup& target, const GB_PrimitiveGroup& a, bool not1,
                        GU_GroupBoolOp op, const GB_PrimitiveGroup& b, bool not2);
};
