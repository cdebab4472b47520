#pragma once

#include "core/FLX_ContextData.h"
#include "core/FLX_ErrorCodes.h"
#include "host/node/PRM_Handle.h"
#include "host/ut/UT_ErrorLog.h"

/// The group that an operator's particles join: those born, those that hit something.
struct FLX_GroupParms {
    FLX_GroupParms(OP_Parameters* owner, const char* label)
        : GROUP(owner, {"group", label}, "", PRM_StringKind::NewPointGroup)
        , PRESERVEGROUP(owner, {"preservegroup", "Preserve Group"}, false) {}

    /// The same without running passes that wait, unless info texts still count members of a group.
    GB_PointGroup* make(const FLX_ContextData& context) const {
        if (GROUP.raw().isstring()) context.settleGroupCounts();
        return make(*context.peekDetail());
    }
    /// Made, or emptied unless preserved, once per cook; null without a name or for a name no group may have.
    GB_PointGroup* make(GU_Detail& detail) const {
        const UT_String name = GROUP();
        if (!name.isstring()) return nullptr;
        GB_PointGroup* existing = PRESERVEGROUP() ? detail.pointGroups().find(name.str()) : nullptr;
        if (existing) return existing;
        GB_PointGroup* made = detail.pointGroups().newGroup(name.str(), 0);
        if (!made) UTaddWarning("FLX", FLX_ERR_BADGROUP, name.c_str());
        return made;
    }

    PRM_Text GROUP;
    PRM_Toggle PRESERVEGROUP;
};
