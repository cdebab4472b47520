#include "ops/birth/FLX_Location.h"

#include <array>

#include "core/FLX_BirthBatch.h"
#include "core/FLX_RandomAhead.h"
#include "host/ut/UT_Interrupt.h"
#include "host/ut/UT_Math.h"

namespace {

constexpr size_t POLL_INTERVAL = 512; // births

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
    float& born = context->born(prim);
    if (!life.varies() && !originIndex.varies() && !spread.varies()) {
        FLX_BirthBatch batch(*context, *prim, place, originIndex.constant(), group);
        return giveAlike(*context, batch, life(), FLX_SpreadParms::Values(spread), born);
    }
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
    for (size_t births = 0; born > 0; ++births) {
        if (births && births % POLL_INTERVAL == 0 && UTgetInterrupt()->opInterrupt(-1)) break;
        GEO_Point* point = birthParticle(context, birth);
        if (!point) break;
        if (group) group->add(point);
        countIteration();
        born -= 1;
    }
}

void FLX_Location::giveAlike(FLX_ContextData& context, FLX_BirthBatch& batch, const FLX_LifeParms::Values life,
                             const FLX_SpreadParms::Values spread, float& born) {
    std::array<FLX_BirthBatch::Newborn, POLL_INTERVAL / 8> newborns;
    FLX_RandomAhead random(context);
    bool refused = false;
    for (size_t births = 0; born > 0 && !refused; births += newborns.size()) {
        if (births && births % POLL_INTERVAL == 0 && UTgetInterrupt()->opInterrupt(-1)) break;
        size_t n = 0;
        float left = born;
        for (; n < newborns.size() && left > 0; ++n, left -= 1) {
            newborns[n].life = life.draw(random);
            refused = !(newborns[n].life > 0) || !context.allowBirths(int(n) + 1);
            if (refused) break;
            newborns[n].velocity = spread.draw(random);
        }
        batch.give(newborns.data(), n);
        born = left;
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
