// The passes that wait in a cook.
#include "core/FLX_ContextData.h"

#include "core/FLX_CookRecorder.h"
#include "core/FLX_PassQueue.h"

namespace {

/// A pass that tells at its end how long it has run.
class TimedPass final : public FLX_Pass {
public:
    TimedPass(std::unique_ptr<FLX_Pass> pass, const FLX_Node& node, FLX_CookRecorder& recorder)
        : myPass(std::move(pass))
        , myNode(node)
        , myRecorder(recorder) {}
    ~TimedPass() override { myRecorder.passesRan(myNode, myNanoseconds); }

    void run(const FLX_Chunk& chunk) override {
        const uint64_t start = myRecorder.now();
        myPass->run(chunk);
        myNanoseconds += myRecorder.now() - start;
    }

private:
    std::unique_ptr<FLX_Pass> myPass;
    const FLX_Node& myNode;
    FLX_CookRecorder& myRecorder;
    uint64_t myNanoseconds = 0;
};

} // namespace

void FLX_ContextData::enqueuePass(std::unique_ptr<FLX_Pass> pass, const FLX_Node& node, const FLX_ParticleList& list,
                                  int entries, bool inOrder) {
    // What counts the particles must count those that stay.
    if (pass->countsParticles() && willReap()) flushPasses();
    inOrder |= pass->countsParticles();
    if (recorder) pass = std::make_unique<TimedPass>(std::move(pass), node, *recorder);
    myPasses->add(std::move(pass), FLX_PassDomain(list, entries), inOrder);
    myPassesWait = true;
}

bool FLX_ContextData::enqueueStep(const FLX_StepPhases& phases) {
    // Who is told what the step takes is told at once.
    if (recorder || !queuesPasses() || !canFuseStep()) return false;
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
