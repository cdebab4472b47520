#pragma once

#include <memory>
#include <vector>

#include "core/FLX_Pass.h"
#include "core/FLX_PassDomain.h"
#include "host/geo/GU_Detail.h"
#include "host/ut/UT_BitSet.h"

class FLX_ContextData;

/// Parts of the time step: reap the dead, apply the default rules, prepare for the next cook.
struct FLX_StepPhases {
    bool reap, rules, prep;

    bool all() const { return reap && rules && prep; }
    bool any() const { return reap || rules || prep; }
};

/// The time step as the first of the passes that run chunk by chunk. Particles that can be reaped are noted on the way
/// and taken out of their primitives at the end, when every pass has run.
class FLX_StepPass : public FLX_Pass {
public:
    /// Takes the step's interval, offsets and switches from the context now. Null when there is nothing to do.
    static std::unique_ptr<FLX_StepPass> make(const FLX_ContextData& context, FLX_StepPhases phases);

    /// Points of the particles that were found dead so far.
    const UT_BitSet& reapable() const { return myReapable; }
    /// Where the dead are deleted no later pass sees them; else they stay and are seen.
    bool deletesDead() const { return myDeletesDead; }
    /// Takes what can be reaped out of the primitives and, where the dead are deleted, out of the detail; `dropped` is
    /// how many particles each range of the domain has lost.
    void reap(FLX_ContextData& context, const FLX_PassDomain& domain, std::vector<size_t>& dropped) const;

protected:
    explicit FLX_StepPass(const FLX_ContextData& context);
    void noteReapable(uint32_t slot);

private:
    bool myDeletesDead;
    bool myReaps = false;
    const GU_Detail& myDetail;
    UT_BitSet myReapable;
};
