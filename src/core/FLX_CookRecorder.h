#pragma once

#include <cstdint>

#include "core/FLX_ContextData.h"
#include "host/node/OP_CookMonitor.h"

/// Is told what the cooks of a context consist of. A host hands one to the contexts it wants to know about
/// (`FLX_ContextData::recorder`); the nodes' cooks, those of geometry nodes included, come through the monitor. Begins
/// and ends nest.
class FLX_CookRecorder : public OP_CookMonitor {
public:
    /// The whole of FLX_ContextData::cook or cookGuide, and within it the time step.
    enum class Phase { Context, Step };
    virtual void phaseBegins(FLX_ContextData& context, Phase phase) = 0;
    virtual void phaseEnds(FLX_ContextData& context, Phase phase) = 0;

    /// A cooking operator hands over a loop over its particles. `whyNotQueued` is null when the loop was queued for a
    /// later run, else the reason why it runs at once: a literal, the same text for the same reason.
    virtual void passMade(const FLX_Node& node, const char* whyNotQueued) = 0;
    /// Queued passes of the node have run for so many nanoseconds, within whatever is going on now, whose own time that
    /// is not. To be told once per node and run of the queue, or more often.
    virtual void passesRan(const FLX_Node& node, uint64_t nanoseconds) = 0;
    /// The clock that all these times are taken from, in nanoseconds; never goes back.
    virtual uint64_t now() const = 0;
};

/// A phase, told to the context's recorder when there is one; the phase of the whole context makes the recorder the
/// thread's monitor, too.
class FLX_RecordedPhase {
public:
    using Phase = FLX_CookRecorder::Phase;

    FLX_RecordedPhase(FLX_ContextData& context, Phase phase)
        : myContext(context)
        , myPhase(phase)
        , myRecorder(context.recorder)
        , myScope(phase == Phase::Context ? myRecorder : OP_CookMonitor::current()) {
        if (myRecorder) myRecorder->phaseBegins(context, phase);
    }
    ~FLX_RecordedPhase() {
        if (myRecorder) myRecorder->phaseEnds(myContext, myPhase);
    }
    FLX_RecordedPhase(const FLX_RecordedPhase&) = delete;
    FLX_RecordedPhase& operator=(const FLX_RecordedPhase&) = delete;

private:
    FLX_ContextData& myContext;
    Phase myPhase;
    FLX_CookRecorder* myRecorder;
    OP_MonitorScope myScope;
};
