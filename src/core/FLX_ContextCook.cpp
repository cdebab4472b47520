// One step of a simulation: the time step for the interval just passed, then the network.
#include <utility>

#include "core/FLX_ContextData.h"
#include "core/FLX_CookRecorder.h"
#include "core/FLX_ExpressionStack.h"
#include "core/FLX_Node.h"
#include "core/FLX_PassQueue.h"

namespace {

// Codes by which a display detail tells its viewers what came.
constexpr int NOTIFY_PARTICLES = 4;
constexpr int NOTIFY_PARTICLES_AND_GUIDES = 7;

} // namespace

FLX_ContextData* FLX_ContextData::getExpressionData(int thread) {
    FLX_ContextData* context = FLX_ExpressionStack::top(thread);
    if (context) context->flushPasses();
    return context;
}

/// Lets passes wait for a scope; what a broken cook has left does not run.
class FLX_ContextData::Queueing {
public:
    explicit Queueing(FLX_ContextData& context)
        : myContext(context) {
        context.myQueueing = context.myCookOrder == FLX_CookOrder::Chunk;
    }
    ~Queueing() {
        myContext.myQueueing = myContext.myPassesWait = false;
        myContext.myPasses->clear();
    }
    Queueing(const Queueing&) = delete;
    Queueing& operator=(const Queueing&) = delete;

private:
    FLX_ContextData& myContext;
};

void FLX_ContextData::runStep(OP_Context& context) {
    const FLX_RecordedPhase recorded(*this, FLX_RecordedPhase::Phase::Step);
    if (cookNode)
        cookNode->timestep(context);
    else
        FLX_Node::timestepStatic(context);
}

void FLX_ContextData::clearCookState() {
    guideHandles.clear();
    guideOwners.clear();
    pointList.clear();
    instanceGuideOwner = -1;
    instanceGuide.clear();
    guideChanged = 0;
    mySelectionChanged = false;
}

void FLX_ContextData::cook(OP_Context& context) {
    const FLX_RecordedPhase recorded(*this, FLX_RecordedPhase::Phase::Context);
    context.setData(this);
    context.setPass(OP_Context::newPass());
    {
        const FLX_ExpressionScope scope(context.getThread(), this);
        Queueing queueing(*this);
        const float coming = timeStep;
        myGuideOnly = false;
        if (myResetPending)
            myParticleList.merge(&myCarriedList);
        else
            timeStep = myPreviousTimeStep; // the rules integrate over the interval that has just passed
        if (myDoCookFirst) {
            const FLX_RecordedPhase preparation(*this, FLX_RecordedPhase::Phase::Step);
            FLX_Node::prepParticles(context);
        } else {
            runStep(context);
        }
        timeStep = coming;

        // The step may wait still: it has its own list of what it works on.
        myParticleList.clear();
        myDisplayDetail = nullptr;
        clearCookState();
        if (cookNode && myDoCook) {
            cookNode->preCook(context);
            cookNode->cook(context);
            cookNode->postCook(context);
        }
        flushPasses();
        myPreviousTimeStep = timeStep;
        myResetPending = false;
    }
    myParticleList.merge(&myCarriedList);

    if (myDisplayDetail) {
        myDisplayDetail->notifyCache(guideChanged ? NOTIFY_PARTICLES_AND_GUIDES : NOTIFY_PARTICLES);
        myDisplayDetail->bumpDisplay();
    } else if (cookNode && cookNode->getParent()) {
        OP_Node* display = cookNode->getParent()->getDisplayNodePtr();
        if (FLX_Node* node = display ? display->castToFLXNode() : nullptr) node->warnDisplayFlag();
    }

    if (myDoCookFirst) {
        const bool prep = std::exchange(myDoPrep, false);
        runStep(context);
        myDoPrep = prep;
    }
}

void FLX_ContextData::cookGuide(OP_Context& context) {
    if (!cookNode) return;
    const FLX_RecordedPhase recorded(*this, FLX_RecordedPhase::Phase::Context);
    context.setData(this);
    context.setPass(OP_Context::newPass());
    {
        const FLX_ExpressionScope scope(context.getThread(), this);
        myGuideOnly = true;
        clearCookState();
        cookNode->preCook(context);
        cookNode->cook(context);
        cookNode->postCook(context);
    }
    if (myDisplayDetail) myDisplayDetail->bumpDisplay();
}
