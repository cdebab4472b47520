// The passes that wait in a cook.
#include "core/FLX_ContextData.h"
#include "core/FLX_PassQueue.h"

void FLX_ContextData::enqueuePass(std::unique_ptr<FLX_Pass> pass, const FLX_ParticleList& list, int entries,
                                  bool inOrder) {
    // What counts the particles must count those that stay.
    if (pass->countsParticles() && willReap()) flushPasses();
    inOrder |= pass->countsParticles();
    myPasses->add(std::move(pass), FLX_PassDomain(list, entries), inOrder);
    myPassesWait = true;
}

bool FLX_ContextData::enqueueStep(const FLX_StepPhases& phases) {
    if (!queuesPasses() || !canFuseStep()) return false;
    flushPasses();
    if (std::unique_ptr<FLX_StepPass> step = FLX_StepPass::make(*this, phases)) {
        myPasses->addStep(std::move(step), FLX_PassDomain(myParticleList, myParticleList.entries()));
        myPassesWait = true;
    }
    return true;
}

void FLX_ContextData::runPasses() const {
    myPassesWait = false; // what the passes call must not run them again
    myPasses->run();
}

bool FLX_ContextData::willReap() const { return myPassesWait && myPasses->willReap(); }

void FLX_ContextData::completeInfoLater(FLX_Node* node) { myPasses->completeLater(node); }

void FLX_ContextData::settleGroupCounts() const {
    if (myPassesWait && myPasses->hasMarked()) runPasses();
}
