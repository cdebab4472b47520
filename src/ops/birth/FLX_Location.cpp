#include "ops/birth/FLX_Location.h"

#include "host/ut/UT_Interrupt.h"
#include "host/ut/UT_Math.h"

namespace {

constexpr PRM_Name methodNames[] = {
    {"ortho", "Cartesian"}, {"cylin", "Cylindrical"}, {"polar", "Polar"}, {nullptr, nullptr}};

} // namespace

const PRM_ChoiceList FLX_Location::methodMenu(PRM_ChoiceListType::Replace, methodNames);

void FLX_Location::addAttrib(void* data) {
    addIdentityAttribs(static_cast<FLX_ContextData*>(data), DOID(), DOORIGIN(), DOGEN(), DOSPEED());
}

UT_ErrorSeverity FLX_Location::cookFlx(OP_Context& opContext) {
    FLX_ContextData* context = contextOf(opContext);
    if (lockInputs(opContext) >= UT_ERROR_ABORT) return error();
    GEO_PrimParticle* prim = context->getPrimPart(this);
    initParticleList(opContext, prim);
    if (prim && !context->isGuideOnly()) {
        const bool countable = addBirths(context, prim, RATES, opContext.getTime());
        GB_PointGroup* group = GROUP.make(*context);
        if (countable && context->born(prim) > 0)
            giveBirths(context, prim, group, opContext.getTime(), opContext.getThread());
    }
    unlockInputs();
    clearSample();
    return error();
}

void FLX_Location::giveBirths(FLX_ContextData* context, GEO_PrimParticle* prim, GB_PointGroup* group, float t,
                              int thread) {
    setupVars(context, nullptr, nullptr);
    const FLX_ChosenVector loc = chooseVector(LOC, t, thread);
    const FLX_LifeParms::Sources life{choose(LIFE.LIFE, t, thread), choose(LIFE.LIFEVAR, t, thread)};
    const auto originIndex = choose(ORIGININDEX, t, thread);
    const FLX_SpreadParms::Sources spread{chooseVector(SPREAD.VEL, t, thread), chooseVector(SPREAD.VAR, t, thread),
                                          &SPREAD.DOELLIPSE};
    const UT_Vector3 coordinates = loc();
    const UT_Vector4 place = position(METHOD(), coordinates);
    if (UTgetInterrupt()->opInterrupt(-1)) return;

    clearSample();
    setIteration(0);
    sample().position = &place;
    const auto originOf = [&] { return originIndex(); };
    const auto lifeOf = [&] { return life.draw(*context); };
    const auto velocityOf = [&](GEO_Point* point, UT_Vector3& v) {
        v = spread.draw(*context);
        FLXstoreSpeed(*context, point, v);
    };
    FLX_Birth birth;
    birth.prim = prim;
    birth.position = place;
    birth.origin = originOf;
    birth.life = lifeOf;
    birth.velocity = velocityOf;
    // Births round up: what is born too early is made up for by the cooks that follow.
    constexpr int POLL_INTERVAL = 512;
    float& born = context->born(prim);
    for (int births = 1; born > 0; ++births) {
        if (births % POLL_INTERVAL == 0 && UTgetInterrupt()->opInterrupt(-1)) break;
        GEO_Point* point = birthParticle(context, birth);
        if (!point) break;
        if (group) group->add(point);
        countIteration();
        born -= 1;
    }
}

UT_Vector4 FLX_Location::position(int method, const UT_Vector3& c) {
    constexpr float RADIANS = 0.017453292f;
    const float a = RADIANS * c.y();
    switch (method) {
    case Cylindrical: return {c.x() * UT_Math::cos(a), c.x() * UT_Math::sin(a), c.z(), 1};
    case Polar: {
        const float b = RADIANS * c.z();
        return {c.x() * UT_Math::cos(a) * UT_Math::cos(b), c.x() * UT_Math::sin(a) * UT_Math::cos(b),
                c.x() * UT_Math::sin(b), 1};
    }
    default: return {c.x(), c.y(), c.z(), 1};
    }
}
