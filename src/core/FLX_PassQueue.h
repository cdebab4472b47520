#pragma once

#include <memory>
#include <vector>

#include "core/FLX_Pass.h"
#include "core/FLX_PassDomain.h"
#include "core/FLX_StepPass.h"

class FLX_ContextData;
class FLX_Node;

/// The passes of a cook that have not run yet, in the order in which they were handed over. They run chunk by chunk:
/// all of them on some 256 particles before the first of them on the next, so that a particle is fetched from memory
/// once. Each pass keeps to its own particle, so the outcome is that of one pass after the other. A pass that only puts
/// constants into fields goes into the loop of one before it.
class FLX_PassQueue {
public:
    explicit FLX_PassQueue(FLX_ContextData& context)
        : myContext(context) {}

    bool empty() const { return myPasses.empty(); }
    /// With `inOrder` the pass meets particles in the order of its domain, if it is the last one when the queue runs.
    void add(std::unique_ptr<FLX_Pass> pass, FLX_PassDomain domain, bool inOrder);
    /// The same for the time step, which must be the first.
    void addStep(std::unique_ptr<FLX_StepPass> step, FLX_PassDomain domain);
    /// Runs all that waits.
    void run();
    /// Forgets what waits: the cook broke off.
    void clear();

    /// Particles may go, and the numbers of points with them, when the queue runs.
    bool willReap() const { return myStep && myStep->deletesDead(); }
    /// The operator's info text has marks (see FLX_LateCounts) that the reaping will turn into numbers.
    void completeLater(FLX_Node* node) { myMarked.push_back(node); }
    bool hasMarked() const { return !myMarked.empty(); }

private:
    struct Entry {
        std::unique_ptr<FLX_Pass> pass;
        FLX_PassDomain domain;
        bool isStep;
        bool inOrder;
    };

    class SequenceWalk;

    bool joins(const FLX_Pass& pass, const FLX_PassDomain& domain);
    void walk() const;
    bool coversEveryPoint() const;
    void walkSequences() const;
    void walkRecords() const;
    void reap();

    FLX_ContextData& myContext;
    FLX_StepPass* myStep = nullptr; ///< the first pass, when that is the time step
    std::vector<Entry> myPasses;
    std::vector<FLX_Node*> myMarked;
};
