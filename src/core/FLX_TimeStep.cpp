// The step between two cooks: reap the dead, apply the default rules, prepare for the next cook.
#include "core/FLX_Node.h"
#include "core/FLX_PlainStep.h"
#include "core/FLX_Rules.h"
#include "core/FLX_SlideRules.h"
#include "core/FLX_SurfaceCache.h"

namespace {

struct Phases {
    bool reap, rules, prep;
    bool all() const { return reap && rules && prep; }
    bool any() const { return reap || rules || prep; }
};
/// The ordinary step; here the compiler knows.
struct EveryPhase {
    static constexpr bool reap = true, rules = true, prep = true;
};

constexpr size_t AHEAD = 24; // records between the fetch and the use of a particle

inline void fetch(GEO_Point* p) {
    __builtin_prefetch(p, 1);
    __builtin_prefetch(reinterpret_cast<char*>(p) + 64, 1);
}

bool isReapable(int bits) { return (bits & FLX_DEAD) && !(bits & FLX_SUPPRESS_REAP); }

/// Calls work(point, index) for every particle in order.
template <class Work> void forEachParticle(const GEO_PrimParticle& prim, GEO_PointAccess access, Work&& work) {
    size_t index = 0;
    prim.forEachSpan([&](const uint32_t* slots, size_t n) {
        for (size_t i = 0; i < n; ++i) {
            if (i + AHEAD < n) fetch(access(slots[i + AHEAD]));
            work(access(slots[i]), index++);
        }
    });
}

// A dead particle leaves the count once, also when it stays in its primitive because the dead are kept.
void countDeath(FLX_ContextData& context, GEO_PrimParticle& prim, size_t index) {
    if (prim.isDead(index)) return;
    context.bumpNumParticles(-1);
    prim.deadParticle(index);
}

/// Visits every particle in order, drops those that can be reaped and calls work(point) for the others. The number
/// dropped.
template <class Work> size_t reapAnd(FLX_ContextData& context, GEO_PrimParticle& prim, Work&& work) {
    const GEO_PointAccess access = context.getDetail()->points().access();
    const int state = context.core().state;
    if (!context.deleteDead) {
        forEachParticle(prim, access, [&](GEO_Point* p, size_t index) {
            if (isReapable(*p->castAttribData<int>(state))) countDeath(context, prim, index);
            work(p);
        });
        return 0;
    }
    size_t index = 0, counted = 0;
    const size_t dropped = prim.compact(
        [&](uint32_t slot) {
            GEO_Point* p = access(slot);
            const size_t i = index++;
            if (isReapable(*p->castAttribData<int>(state))) {
                counted += !prim.isDead(i);
                return false;
            }
            work(p);
            return true;
        },
        [&](uint32_t slot) { fetch(access(slot)); });
    context.bumpNumParticles(-int(counted));
    return dropped;
}

/// Rules and preparation of one particle that neither sticks nor slides on geometry.
template <bool Plain> inline void stepParticle(GEO_Point* p, const FLX_Rules& rules, bool doRules, bool doPrep) {
    if (doRules) {
        int bits = rules.state(p);
        const int flags = bits | rules.suppression;
        FLX_Rules::floats(p, rules.core.backtrack)[3] = 0;
        // A stuck particle without geometry to stick to stays; a sliding one obeys only its own suppression bits, and
        // without geometry to slide on it moves freely from here on.
        const int motion = bits & FLX_SLIDING ? bits : flags;
        if (bits & FLX_SLIDING) rules.state(p) = bits &= ~FLX_SLIDING;
        if (!(motion & (FLX_SUPPRESS_POS | FLX_STUCK))) rules.applyDefaultPosRules(p, bits);
        if (!(motion & FLX_SUPPRESS_VEL)) rules.applyDefaultVelRules<Plain>(p, bits);
        rules.applyOtherRules<Plain>(p, flags, bits);
    }
    if (doPrep) rules.prepare<Plain>(p);
}

template <bool Plain, class P> size_t stepPrimitive(FLX_ContextData& context, GEO_PrimParticle& prim, const P phases) {
    const auto work = [rules = FLX_Rules(context), phases](GEO_Point* p) {
        stepParticle<Plain>(p, rules, phases.rules, phases.prep);
    };
    if (phases.reap) return reapAnd(context, prim, work);
    forEachParticle(prim, context.getDetail()->points().access(), [&](GEO_Point* p, size_t) { work(p); });
    return 0;
}

// ---- in the order of memory: the records of a simulation whose particles come and go are read in a row all the same

// The list's particles are all the points there are.
bool holdsEveryPoint(const FLX_ContextData& context, const FLX_ParticleList& list) {
    size_t particles = 0;
    for (int i = 0; i < list.entries(); ++i) particles += list.entry(i).prim->particleCount();
    return particles == context.getDetail()->points().entries();
}

// Drops the particles whose points are in the set, and marks of death that no particle bears any more.
size_t dropReapable(FLX_ContextData& context, GEO_PrimParticle& prim, const UT_BitSet& reapable) {
    if (!reapable.any() && !prim.anyMarkedDead()) return 0;
    size_t index = 0, counted = 0;
    const size_t dropped = prim.compact([&](uint32_t slot) {
        const size_t i = index++;
        if (slot >= reapable.size() || !reapable.test(slot)) return true;
        counted += !prim.isDead(i);
        return false;
    });
    context.bumpNumParticles(-int(counted));
    return dropped;
}

template <bool Plain, class P> UT_BitSet stepRecords(const FLX_ContextData& context, const P phases) {
    const GEO_PointList& points = context.getDetail()->points();
    const FLX_Rules rules(context);
    const int state = rules.core.state;
    UT_BitSet reapable;
    const auto general = [&](GEO_Point* p) {
        if (phases.reap && isReapable(*p->castAttribData<int>(state))) {
            if (!reapable.size()) reapable.resize(points.slotEnd());
            reapable.set(p->slot());
            return;
        }
        stepParticle<Plain>(p, rules, phases.rules, phases.prep);
    };
    if constexpr (Plain && std::is_same_v<P, EveryPhase>) {
        if (const FLX_PlainStep plain(rules); plain.fits()) {
            points.forEachBySlot([&general, plain](GEO_Point* p) {
                if (!plain.step(p)) general(p);
            });
            return reapable;
        }
    }
    points.forEachBySlot(general);
    return reapable;
}

// ----

template <bool Plain, class P> size_t stepList(FLX_ContextData& context, const FLX_ParticleList& list, const P phases) {
    size_t dropped = 0;
    // Where the dead stay, each is looked up by its place in the sequence: that takes the order of the sequence.
    if ((!phases.reap || context.deleteDead) && &list == context.getParticleList() && holdsEveryPoint(context, list)) {
        const UT_BitSet reapable = stepRecords<Plain>(context, phases);
        for (int i = 0; phases.reap && i < list.entries(); ++i)
            dropped += dropReapable(context, *list.entry(i).prim, reapable);
        return dropped;
    }
    for (int i = 0; i < list.entries(); ++i) dropped += stepPrimitive<Plain>(context, *list.entry(i).prim, phases);
    return dropped;
}

// Removes the points of what was reaped.
void removeReaped(FLX_ContextData& context, size_t dropped) {
    if (dropped) context.getDetail()->removeUnusedPoints();
}

void runFused(FLX_ContextData& context, FLX_ParticleList& list, const Phases& phases) {
    if (!context.getDetail() || !phases.any()) return;
    const bool plain = FLX_Rules(context).plain();
    if (phases.all())
        removeReaped(context, plain ? stepList<true>(context, list, EveryPhase{})
                                    : stepList<false>(context, list, EveryPhase{}));
    else
        removeReaped(context, plain ? stepList<true>(context, list, phases) : stepList<false>(context, list, phases));
}

// Particles bound to geometry fetch it in mid-step, and a point that two particles share must see every rule before any
// preparation: then the phases run one after the other.
bool canFuse(const FLX_ContextData& context) { return context.getPosPathOffset() < 0 && !context.pointsShared(); }

} // namespace

void FLX_Node::timestepStatic(OP_Context& opContext) {
    FLX_ContextData& context = *contextOf(opContext);
    if (context.isGuideOnly() || !context.getDetail()) return;
    if (context.cookNode && context.cookNode->error() >= UT_ERROR_ABORT) return;
    if (canFuse(context)) {
        runFused(context, *context.getParticleList(),
                 {context.shouldDoReap(), context.shouldDoApplyRules(), context.shouldDoPrep()});
        return;
    }
    reapParticles(opContext);
    applyRulesToList(context.getParticleList(), &context);
    prepParticles(opContext);
}

void FLX_Node::reapParticles(OP_Context& opContext) {
    FLX_ContextData& context = *contextOf(opContext);
    if (context.shouldDoReap()) runFused(context, *context.getParticleList(), {true, false, false});
}

void FLX_Node::prepParticles(OP_Context& opContext) {
    FLX_ContextData& context = *contextOf(opContext);
    if (context.shouldDoPrep()) runFused(context, *context.getParticleList(), {false, false, true});
}

void FLX_Node::applyRulesToList(FLX_ParticleList* list, FLX_ContextData* context) {
    if (!context->shouldDoApplyRules()) return;
    if (context->getPosPathOffset() < 0) {
        runFused(*context, *list, {false, true, false});
        return;
    }
    const FLX_Rules rules(*context);
    FLX_SurfaceCache surfaces(*context);
    for (int i = 0; i < list->entries(); ++i) {
        forEachParticle(*list->entry(i).prim, context->getDetail()->points().access(), [&](GEO_Point* p, size_t) {
            const int bits = rules.state(p);
            if (!(bits & (FLX_SLIDING | FLX_STUCK))) {
                stepParticle<false>(p, rules, true, false);
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
