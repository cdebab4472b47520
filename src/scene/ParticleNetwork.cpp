#include "scene/ParticleNetwork.h"

#include "core/FLX_ContextData.h"
#include "core/FLX_Node.h"
#include "host/node/OP_Director.h"
#include "host/sim/DOP_FullPathData.h"
#include "host/ut/UT_ErrorTable.h"
#include "host/ut/UT_Interrupt.h"
#include "host/ut/UT_NodePath.h"
#include "scene/NodeSnapshot.h"
#include "scene/StateHash.h"

#include <algorithm>
#include <utility>

namespace {

constexpr PRM_Name inputNames[] = {{"input1", "Context Geometry 1"},
                                   {"input2", "Context Geometry 2"},
                                   {"input3", "Context Geometry 3"},
                                   {"input4", "Context Geometry 4"}};

void appendOperators(const OP_Network& network, std::vector<OP_Node*>& out) {
    for (int i = 0; i < network.getNchildren(); ++i) {
        OP_Node* child = network.getChild(i);
        out.push_back(child);
        if (const OP_Network* inside = child->castToNetwork()) appendOperators(*inside, out);
    }
}

FLX_Node* asOperator(OP_Node* node) { return node ? node->castToFLXNode() : nullptr; }

/// Raises a flag for a scope.
class Busy {
public:
    explicit Busy(bool& flag)
        : myFlag(flag) {
        flag = true;
    }
    ~Busy() { myFlag = false; }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

private:
    bool& myFlag;
};

} // namespace

ParticleNetwork::ParticleNetwork(OP_Network* parent, const char* name, OP_Operator* op)
    : OBJ_Node(parent, name, op)
    , SEED(this, PRMseedName, 0.0)
    , STARTFRAME(this, {"startframe", "Start Frame"}, "$FSTART", PRM_Static)
    , SUBSTEPS(this, {"substeps", "Substeps"}, 1, PRM_Range{PRM_RangeKind::Hard, PRM_RangeKind::Hard, 1, 10000},
               PRM_Static)
    , MAXPARTICLES(this, {"maxparticles", "Maximum Particles"}, 0.0)
    , DELETEDEAD(this, {"deletedead", "Delete Dead Particles"}, true)
    , INITIALSTATE(this, {"initialstate", "Initial State"}, "", PRM_StringKind::File)
    , INPUT1(this, inputNames[0], "", PRM_StringKind::SopPath)
    , INPUT2(this, inputNames[1], "", PRM_StringKind::SopPath)
    , INPUT3(this, inputNames[2], "", PRM_StringKind::SopPath)
    , INPUT4(this, inputNames[3], "", PRM_StringKind::SopPath)
    , COOKFIRST(this, {"cookfirst", "Cook before the Time Step"}, false)
    , INFO(this, {"info", "Info Texts"}, true)
    , GUIDES(this, {"guides", "Guide Geometry"}, false) {}

ParticleNetwork::~ParticleNetwork() {
    if (myContext) myContext->decRef();
}

OP_OperatorTable* ParticleNetwork::childTable() const { return &OP_Director::operatorTable("FLX"); }

bool ParticleNetwork::cookFrame(int frame) {
    if (myBusy) {
        errors().add({"OP", OP_ERR_RECURSION, UT_ERROR_ABORT, getFullPath()});
        return false;
    }
    const Busy busy(myBusy);
    return simulateTo(frame);
}

/// Runs the cooks of one frame and counts the births and deaths they bring.
template <class Cooks> void ParticleNetwork::cookCounted(int frame, const Cooks& cooks) {
    const long long before = myContext->getNumParticles();
    const long long bornBefore = myContext->getNumBorn();
    myFrame = frame;
    cooks();
    myBorn = myContext->getNumBorn() - bornBefore;
    myDied = before + myBorn - myContext->getNumParticles();
}

bool ParticleNetwork::simulateTo(int frame) {
    if (myRunning && frame == myFrame) return true;
    clearErrors();
    const int startFrame = STARTFRAME(0);
    if (!myRunning || frame < myFrame || startFrame != myStart) {
        if (!start()) return false;
        myFrame = frame;
        if (frame < startFrame) return true;
        cookCounted(myStart, [&] { cookStep((double(myStart) - 1) / myFps); });
        myRunning = true;
    }
    while (myFrame < frame && !UTgetInterrupt()->isInterrupted())
        cookCounted(myFrame + 1, [&] {
            for (int s = 1; s <= mySubsteps && !UTgetInterrupt()->isInterrupted(); ++s)
                cookStep(((double(myFrame) - 2) + double(s) / mySubsteps) / myFps);
        });
    error(); // takes what was posted outside of any operator
    return myFrame == frame;
}

bool ParticleNetwork::start() {
    // Nothing that operators keep may reach from one run into the next.
    if (myUsed) {
        std::string why;
        if (!NodeSnapshot(*this).restore(*this, why)) {
            errors().add({"OP", OP_ERR_UNKNOWN, UT_ERROR_ABORT, why});
            return false;
        }
        myUsed = false;
    }
    if (myContext) myContext->decRef();
    myContext = new FLX_ContextData(getFullPath().c_str());
    resetSimulation();
    return true;
}

void ParticleNetwork::resetSimulation() {
    myRunning = false;
    myBorn = myDied = 0;
    if (!myContext) myContext = new FLX_ContextData(getFullPath().c_str());
    const OP_Director& director = *OPgetDirector();
    myFps = director.fps;
    myStart = STARTFRAME(0);
    mySubsteps = std::max(SUBSTEPS(0), 1);
    const float time = float((double(myStart) - 1) / myFps);

    setupErrors().clear();
    for (OP_Node* node : operators()) node->setupErrors().clear();
    prepareContext(time);
    GU_Detail* detail = myContext->getDetail() ? myContext->getDetail() : new GU_Detail;
    const UT_String initial = INITIALSTATE(time);
    myContext->reset(cookNode(), detail, initial.c_str(), false, unsigned(SEED(time)), false);
    if (!myContext->loadError().empty()) setupErrors().add({"OP", OP_ERR_FILE, UT_ERROR_ABORT, myContext->loadError()});
}

void ParticleNetwork::prepareContext(float time) {
    FLX_ContextData& ctx = *myContext;
    ctx.frameReset();
    ctx.time = time;
    ctx.timeStep = float(1 / (myFps * mySubsteps));
    ctx.deleteDead = DELETEDEAD(time);
    ctx.objectNode = this;
    ctx.cookNode = cookNode();
    ctx.displayNode = asOperator(getDisplayNodePtr());
    ctx.infoEnabled = INFO(time);
    ctx.guidesWanted = GUIDES(time);
    ctx.maxParticles = MAXPARTICLES(time);
    ctx.recorder = myRecorder;
    ctx.setDoCookFirst(COOKFIRST(time));
    ctx.setCookOrder(myCookOrder);
    const Text* const inputs[] = {&INPUT1, &INPUT2, &INPUT3, &INPUT4};
    for (int i = 0; i < 4; ++i) ctx.setInputGeo(seenFromHere((*inputs[i])(time)), i);
}

// Operators would look for a relative path from where they stand. One that leads nowhere stays, for their messages.
UT_String ParticleNetwork::seenFromHere(const UT_String& path) {
    if (!path.isstring() || UT_NodePath::isAbsolute(path.str())) return path;
    DOP_FullPathData data;
    const std::string full = UT_NodePath::join(getFullPath(), path.str());
    const bool exists = findNode(full.c_str()) || DOPfindDataFromPath(full.c_str(), data, 0, this, 0);
    return exists ? UT_String(full) : path;
}

void ParticleNetwork::cookStep(double exactTime) {
    const float time = float(exactTime);
    prepareContext(time);
    myUsed = true;
    OP_Context context(time);
    context.setData(myContext);
    myContext->cook(context);
}

void ParticleNetwork::cookGuides() {
    if (!myContext || !myRunning || myBusy) return;
    const Busy busy(myBusy);
    const int wanted = std::exchange(myContext->guidesWanted, 1);
    OP_Context context(myContext->time);
    context.setData(myContext);
    myContext->cookGuide(context);
    myContext->guidesWanted = wanted;
}

FLX_Node* ParticleNetwork::cookNode() const {
    if (FLX_Node* node = asOperator(getRenderNodePtr())) return node;
    if (FLX_Node* node = asOperator(getDisplayNodePtr())) return node;
    return getNchildren() ? asOperator(getChild(getNchildren() - 1)) : nullptr;
}

GU_Detail* ParticleNetwork::particleDetail() const { return myContext ? myContext->getDetail() : nullptr; }

GU_Detail* ParticleNetwork::displayDetail() const {
    GU_Detail* shown = myContext ? myContext->getDisplayDetail() : nullptr;
    return shown ? shown : particleDetail();
}

long long ParticleNetwork::particleCount() const {
    long long count = 0;
    const GU_Detail* detail = particleDetail();
    for (const GEO_Primitive* p = detail ? detail->primitives().head(GEOPRIMPART) : nullptr; p;
         p = detail->primitives().next(p, GEOPRIMPART))
        count += p->getVertexCount();
    return count;
}

uint64_t ParticleNetwork::stateHash() const { return myContext ? hashState(*myContext) : 0; }

std::vector<OP_Node*> ParticleNetwork::operators() const {
    std::vector<OP_Node*> out;
    appendOperators(*this, out);
    return out;
}

UT_ErrorSeverity ParticleNetwork::severity() {
    UT_ErrorSeverity worst = std::max(errors().severity(), setupErrors().severity());
    for (OP_Node* node : operators())
        worst = std::max({worst, node->errors().severity(), node->setupErrors().severity()});
    return worst;
}
