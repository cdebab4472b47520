#pragma once

#include "host/geo/GU_Detail.h"
#include "host/node/OBJ_Node.h"

#include <cstdint>
#include <functional>
#include <vector>

enum class FLX_CookOrder;
class FLX_ContextData;
class FLX_CookRecorder;
class FLX_Node;

/// The object that holds particle operators and owns their simulation: it resets it at the start frame and cooks it
/// once per substep from there on.
///
/// At the start frame the context is reset and cooked once, at time (startframe - 1) / fps. Every later frame f is
/// `substeps` cooks, substep s (1 ... substeps) at ((f - 2) + s / substeps) / fps; the time step is 1 / (fps substeps).
/// Before the start frame the network is empty. The operator to cook is the child with the render flag, else the one
/// with the display flag, else the last; the display node is the child with the display flag.
class ParticleNetwork final : public OBJ_Node {
public:
    ParticleNetwork(OP_Network* parent, const char* name, OP_Operator* op);
    ~ParticleNetwork() override;

    Int SEED;
    Int STARTFRAME;
    Int SUBSTEPS;
    Int MAXPARTICLES;
    Toggle DELETEDEAD;
    Text INITIALSTATE;
    Text INPUT1, INPUT2, INPUT3, INPUT4;
    Toggle COOKFIRST;
    Toggle INFO;
    Toggle GUIDES;

    /// Simulates to the frame: the steps in between for a later one, everything from the start for an earlier one. That
    /// rewind makes the operators anew (same values, wires and flags), so pointers to them end there. False when the
    /// network is being cooked already (an error of this node), or when an interrupt stopped it after some frame.
    bool cookFrame(int frame);
    /// The frame that was cooked last; meaningless before the first.
    int currentFrame() const { return myFrame; }
    /// Resets without cooking, so that the attributes and variables of the operators exist.
    void resetSimulation();
    /// Cooks guide geometry at the current frame; particles stay as they are. Messages of the nodes are those of this
    /// cook afterwards.
    void cookGuides();

    /// The order in which operators work on the particles from the next step on; chunk by chunk unless told otherwise.
    /// Results are the same.
    void setCookOrder(FLX_CookOrder order) { myCookOrder = order; }
    /// Who is told of every cook from the next step on (null: nobody); not owned, and outlives the cooks.
    void setRecorder(FLX_CookRecorder* recorder) { myRecorder = recorder; }

    /// Null before the first frame.
    FLX_ContextData* context() const { return myContext; }
    /// The particles; null before the first frame.
    GU_Detail* particleDetail() const;
    /// What the display node shows: its copy of the particles, or the particles.
    GU_Detail* displayDetail() const;
    /// Vertices of all particle primitives.
    long long particleCount() const;
    /// Particles born, and reaped, in the current frame.
    long long born() const { return myBorn; }
    long long died() const { return myDied; }
    uint64_t stateHash() const;

    /// The operator that is cooked; null when there is none.
    FLX_Node* cookNode() const;
    /// Every operator, in order, those inside sub-networks after the one that holds them.
    std::vector<OP_Node*> operators() const;
    /// The worst severity of this node and every operator, set-up messages included.
    UT_ErrorSeverity severity();

    const char* getChildType() const override { return "FLX"; }
    OP_OpTypeId getChildTypeID() const override { return FLX_OPTYPE_ID; }
    OP_OperatorTable* childTable() const override;

private:
    bool simulateTo(int frame);
    bool start();
    template <class Cooks> void cookCounted(int frame, const Cooks& cooks);
    void cookStep(double time);
    void prepareContext(float time);
    UT_String seenFromHere(const UT_String& path);

    FLX_ContextData* myContext = nullptr;
    FLX_CookOrder myCookOrder{};
    FLX_CookRecorder* myRecorder = nullptr;
    bool myRunning = false; ///< the start frame was cooked
    bool myBusy = false;
    bool myUsed = false; ///< operators have cooked since they were made
    int myFrame = 0;
    int myStart = 0;
    int mySubsteps = 1;
    double myFps = 24;
    long long myBorn = 0;
    long long myDied = 0;
};
