// The step between two cooks: reap the dead, apply the default rules, prepare for the next cook.
#include "core/FLX_Node.h"
#include "core/FLX_PassQueue.h"
#include "core/FLX_SlideRules.h"
#include "core/FLX_StepParticle.h"
#include "core/FLX_SurfaceCache.h"

namespace {

void runStep(FLX_ContextData& context, const FLX_ParticleList& list, const FLX_StepPhases& phases) {
    std::unique_ptr<FLX_StepPass> step = FLX_StepPass::make(context, phases);
    if (!step) return;
    context.flushPasses();
    FLX_PassQueue alone(context);
    alone.addStep(std::move(step), FLX_PassDomain(list, list.entries()));
    alone.run();
}

/// Calls work(point) for every particle in order.
template <class Work> void forEachParticle(const GEO_PrimParticle& prim, GEO_PointAccess access, Work&& work) {
    prim.forEachSpan([&](const uint32_t* slots, size_t n) {
        for (size_t i = 0; i < n; ++i) work(access(slots[i]));
    });
}

} // namespace

void FLX_Node::timestepStatic(OP_Context& opContext) {
    FLX_ContextData& context = *contextOf(opContext);
    if (context.isGuideOnly() || !context.peekDetail()) return;
    if (context.cookNode && context.cookNode->error() >= UT_ERROR_ABORT) return;
    if (context.canFuseStep()) {
        const FLX_StepPhases phases{context.shouldDoReap(), context.shouldDoApplyRules(), context.shouldDoPrep()};
        if (!context.enqueueStep(phases)) runStep(context, *context.getParticleList(), phases);
        return;
    }
    reapParticles(opContext);
    applyRulesToList(context.getParticleList(), &context);
    prepParticles(opContext);
}

void FLX_Node::reapParticles(OP_Context& opContext) {
    FLX_ContextData& context = *contextOf(opContext);
    if (context.shouldDoReap()) runStep(context, *context.getParticleList(), {true, false, false});
}

void FLX_Node::prepParticles(OP_Context& opContext) {
    FLX_ContextData& context = *contextOf(opContext);
    if (!context.shouldDoPrep()) return;
    const FLX_StepPhases phases{false, false, true};
    if (!context.enqueueStep(phases)) runStep(context, *context.getParticleList(), phases);
}

void FLX_Node::applyRulesToList(FLX_ParticleList* list, FLX_ContextData* context) {
    if (!context->shouldDoApplyRules()) return;
    if (context->getPosPathOffset() < 0) {
        runStep(*context, *list, {false, true, false});
        return;
    }
    const FLX_Rules rules(*context);
    FLX_SurfaceCache surfaces(*context);
    for (int i = 0; i < list->entries(); ++i) {
        forEachParticle(*list->entry(i).prim, context->getDetail()->points().access(), [&](GEO_Point* p) {
            const int bits = rules.state(p);
            if (!(bits & (FLX_SLIDING | FLX_STUCK))) {
                FLXstepParticle<false>(p, rules, true, false);
                return;
            }
            const int flags = bits | rules.suppression;
            FLX_Rules::floats(p, rules.core.backtrack)[3] = 0;
            if (bits & FLX_SLIDING) {
                FLXapplyDefaultSlideRules(p, rules, surfaces, *context);
            } else {
                if (!(flags & FLX_SUPPRESS_POS)) FLXsetPosFromSop(p->getPos(), p, surfaces);
                if (!(flags & FLX_SUPPRESS_VEL)) rules.applyDefaultVelRules<false>(p, bits);
            }
            rules.applyOtherRules<false>(p, flags, bits);
        });
    }
}
