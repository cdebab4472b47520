#include "ops/motion/FLX_Position.h"

#include <algorithm>

#include "host/ut/UT_Math.h"
#include "ops/motion/FLX_ObjectSpace.h"

namespace {

constexpr PRM_Name endNames[] = {{"cycle", "Cycle"}, {"reverse", "Reverse"}, {nullptr, nullptr}};

void moveTo3(GEO_Point* p, const UT_Vector3& to) { p->setPos(UT_Vector4(to.x(), to.y(), to.z(), p->getPos().w())); }

/// The whole part of `u` picks the curve (the last for all beyond), the fraction the place on it. With `reverse` every
/// second turn runs backwards.
void moveOnCurve(GEO_Point* p, const GEO_PrimList& curves, float u, bool reverse) {
    const int count = int(curves.entries());
    if (count == 0) return;
    const int turn = SYSsplitFloat(u);
    if (reverse && turn > 0 && turn % 2 == 1) u = 1 - u;
    UT_Vector4 place;
    if (curves(size_t(std::clamp(turn, 0, count - 1)))->evaluatePosition(u, 0, place)) moveTo3(p, UT_Vector3(place));
}

} // namespace

const PRM_ChoiceList FLX_Position::endMenu(PRM_ChoiceListType::Replace, endNames);

FLX_Position::FLX_Position(OP_Network* parent, const char* name, OP_Operator* op)
    : FLX_DirectSet(parent, name, op) {
    myGuide = new GOP_Guide;
    myGuideHandle.allocateAndSet(myGuide, 1);
}

const PRM_TemplateTable& FLX_Position::obsoleteTemplates() {
    static const PRM_TemplateTable table =
        PRMstringTable({{"pathobj", "Object"}, {"sop", "SOP"}, {"refobj", "Reference Object"}});
    return table;
}

void FLX_Position::resolveObsoleteParms(PRM_ParmList* obsolete) {
    applyBackwardsPathCompatibility(obsolete, "pathobj", "sop", "pathpath", 1);
    applyBackwardsPathCompatibility(obsolete, "refobj", "", "refpath", 1);
}

UT_ErrorSeverity FLX_Position::cookFlx(OP_Context& context) {
    int mode = ByVector;
    const GU_Detail* path = nullptr;
    const auto begin = [&] {
        mode = MODE();
        if (mode == OnPath && !(path = findPath(context))) return false;
        return !contextOf(context)->isGuideOnly();
    };
    return cookParticles(context, begin, [&](FLX_ParticleCook& cook) {
        if (mode == OnPath) return moveAlong(cook, *path);
        if (mode == ByReference) return moveBy(cook);
        moveTo(cook);
    });
}

template <class Move, class... Sources>
void FLX_Position::eachUntilError(const FLX_ParticleCook& cook, const Move& move, const Sources&... sources) {
    const int skip = APPLYMOTION.skipped();
    if (!mayRun()) return;
    if (!(sources.varies() || ...)) return cook.each(skip, move, sources...);
    bool failed = false;
    cook.each(
        skip,
        [&, move](GEO_Point* p, const auto&... values) {
            if (failed) return;
            move(p, values...);
            failed = error() >= UT_ERROR_ABORT;
        },
        sources...);
}

void FLX_Position::moveTo(const FLX_ParticleCook& cook) {
    POSITION.choose(cook, [&](const auto& position) { eachUntilError(cook, &moveTo3, position); });
}

const GU_Detail* FLX_Position::findPath(OP_Context& opContext) {
    FLX_ContextData* context = contextOf(opContext);
    const float t = opContext.getTime();
    const GU_Detail* path = getGeo(nullptr, context, t, 1, IGNOREXFORM(), &myPathCopy, myLookup);
    if (!path) {
        addError(FLX_ERR_BAD_PATH); // names no path: the warning does
        UT_String text;
        getGeoPath(text, context, t);
        if (text.isstring()) addWarning(FLX_ERR_BAD_PATH, text.c_str());
    } else if (doUpdateViewport(context)) {
        myGuide->merge(*path);
    }
    return path;
}

void FLX_Position::moveAlong(const FLX_ParticleCook& cook, const GU_Detail& path) {
    const auto u = cook.choose(PATHPOS);
    const bool reverse = ENDOPT() == Reverse;
    const GEO_PrimList* curves = &path.primitives();
    eachUntilError(
        cook, [=](GEO_Point* p, float at) { moveOnCurve(p, *curves, at, reverse); }, u);
}

void FLX_Position::moveBy(const FLX_ParticleCook& cook) {
    OBJ_Node* object = findObject(REFPATH());
    OFFSET.choose(cook, [&](const auto& offset) {
        if (!object) return eachUntilError(cook, &moveTo3, offset);
        const UT_DMatrix4 transform = FLXobjectToParticles(*object, cook.context(), cook.time());
        eachUntilError(
            cook, [=](GEO_Point* p, const UT_Vector3& by) { moveTo3(p, rowVecMult(by, transform)); }, offset);
    });
}
