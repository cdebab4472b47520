#include "core/FLX_StepPass.h"

#include <type_traits>

#include "core/FLX_PlainStep.h"
#include "core/FLX_Rules.h"
#include "core/FLX_StepParticle.h"

namespace {

/// The ordinary step; here the compiler knows.
struct EveryPhase {
    static constexpr bool reap = true, rules = true, prep = true;
};

bool isReapable(int bits) { return (bits & FLX_DEAD) && !(bits & FLX_SUPPRESS_REAP); }

template <bool Plain, class P> class StepPass final : public FLX_StepPass {
public:
    StepPass(const FLX_ContextData& context, const FLX_Rules& rules, const P phases)
        : FLX_StepPass(context)
        , myRules(rules)
        , myPhases(phases) {}

    void run(const FLX_Chunk& chunk) override {
        if constexpr (std::is_same_v<P, EveryPhase>)
            if (runQuickly(chunk)) return;
        chunk.forEach([this, rules = myRules, follow = follower()](size_t, GEO_Point* p) { step(p, rules, follow); });
    }

private:
    /// What follows the step of a particle that nothing leaves out. Its acceleration is 0 when the step has emptied it,
    /// so what operators make of that is known.
    struct Sequel {
        explicit Sequel(const FLX_Writing& following, int accelOffset)
            : rest(following)
            , accel(rest.extractFromZero(accelOffset)) {
            for (const FLX_Write& write : following.writes())
                isMore |= write.offset != accelOffset || write.floats != 3;
        }

        FLX_WriteProgram rest;
        UT_Vector3 accel;
        bool isMore = false; ///< than the acceleration
    };

    bool runQuickly(const FLX_Chunk& chunk) {
        using Quick = FLX_PlainStep<!Plain>;
        if (!mySequel) mySequel.emplace(following(), myRules.core.accel);
        const Quick quick(myRules, mySequel->accel);
        if (!quick.fits() || !myRules.plainButLimited()) return false;
        if (mySequel->isMore)
            mySequel->rest.withRunner([&](const auto& write) { runQuickly(chunk, quick, write); });
        else
            runQuickly(chunk, quick, [](GEO_Point*) {});
        return true;
    }
    template <class Quick, class Write>
    void runQuickly(const FLX_Chunk& chunk, const Quick& quick, const Write& write) {
        // For the few: what the loop keeps in registers it keeps for the many.
        const auto follow = [this](GEO_Point* p) {
            if (!following().empty()) following().apply(p);
        };
        chunk.forEach([this, quick, write, follow](size_t, GEO_Point* p) {
            switch (quick.step(p)) {
            case Quick::NotMine: return step(p, myRules, follow);
            case Quick::Expired: return follow(p);
            case Quick::Living: return write(p);
            }
        });
    }
    template <class Follow> void step(GEO_Point* p, const FLX_Rules& rules, const Follow& follow) {
        if (myPhases.reap && isReapable(rules.state(p))) {
            noteReapable(p->slot());
            if (deletesDead()) return;
        }
        FLXstepParticle<Plain>(p, rules, myPhases.rules, myPhases.prep);
        follow(p);
    }

    FLX_Rules myRules;
    P myPhases;
    std::optional<Sequel> mySequel; ///< from the first loop on
};

template <class P> std::unique_ptr<FLX_StepPass> makePass(const FLX_ContextData& context, const P phases) {
    const FLX_Rules rules(context);
    if (rules.plain()) return std::make_unique<StepPass<true, P>>(context, rules, phases);
    return std::make_unique<StepPass<false, P>>(context, rules, phases);
}

// A dead particle leaves the count once, also when it stays in its primitive because the dead are kept.
void countDead(FLX_ContextData& context, const FLX_PassRange& range, const UT_BitSet& reapable) {
    for (size_t i = 0; i < range.count; ++i) {
        if (!reapable.test(range.prim->particleSlot(i)) || range.prim->isDead(i)) continue;
        context.bumpNumParticles(-1);
        range.prim->deadParticle(i);
    }
}

// Drops the particles whose points are in the set, and marks of death that no particle bears any more.
size_t dropDead(FLX_ContextData& context, GEO_PrimParticle& prim, const UT_BitSet& reapable) {
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

} // namespace

FLX_StepPass::FLX_StepPass(const FLX_ContextData& context)
    : myDeletesDead(context.deleteDead != 0)
    , myDetail(*context.peekDetail()) {
    setMayBeFollowed(true);
}

std::unique_ptr<FLX_StepPass> FLX_StepPass::make(const FLX_ContextData& context, FLX_StepPhases phases) {
    if (!context.peekDetail() || !phases.any()) return nullptr;
    std::unique_ptr<FLX_StepPass> pass =
        phases.all() ? makePass(context, EveryPhase{}) : makePass<FLX_StepPhases>(context, phases);
    pass->myReaps = phases.reap;
    return pass;
}

void FLX_StepPass::noteReapable(uint32_t slot) {
    if (!myReapable.size()) myReapable.resize(myDetail.points().slotEnd());
    myReapable.set(slot);
}

void FLX_StepPass::reap(FLX_ContextData& context, const FLX_PassDomain& domain, std::vector<size_t>& dropped) const {
    const std::vector<FLX_PassRange>& ranges = domain.ranges();
    dropped.assign(ranges.size(), 0);
    size_t total = 0;
    for (size_t i = 0; myReaps && i < ranges.size(); ++i) {
        const FLX_PassRange& range = ranges[i];
        const bool any = myReapable.any();
        if (myDeletesDead && (any || range.prim->anyMarkedDead()))
            dropped[i] = dropDead(context, *range.prim, myReapable);
        else if (!myDeletesDead && any)
            countDead(context, range, myReapable);
        total += dropped[i];
    }
    if (total) context.peekDetail()->removeUnusedPoints();
}
