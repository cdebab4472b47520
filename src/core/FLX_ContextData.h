#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/FLX_Attributes.h"
#include "core/FLX_BlindData.h"
#include "core/FLX_ContextDataHandle.h"
#include "core/FLX_ParticleList.h"
#include "core/FLX_Random.h"
#include "core/FLX_UserVariables.h"
#include "host/geo/GEO_PrimParticle.h"
#include "host/geo/GU_Detail.h"
#include "host/geo/GU_DetailHandle.h"
#include "host/node/CH_LocalVariable.h"
#include "host/ut/UT_String.h"
#include "host/ut/UT_Vector3.h"

class FLX_CookRecorder;
class FLX_Node;
class FLX_Pass;
class FLX_PassQueue;
struct FLX_StepPhases;
class OBJ_Node;
class OP_Context;

/// In which order the operators of a cook work on the particles. The results are the same.
enum class FLX_CookOrder {
    Chunk,    ///< all operators on some particles, then on the next
    Operator, ///< each operator on all particles, then the next operator
};

/// The whole state of one particle simulation. A host creates one per network, resets it, and cooks it once per step;
/// during a cook it travels as the data of the OP_Context. One thread at a time.
class FLX_ContextData {
public:
    explicit FLX_ContextData(const char* name);
    virtual ~FLX_ContextData();
    FLX_ContextData(const FLX_ContextData&) = delete;
    FLX_ContextData& operator=(const FLX_ContextData&) = delete;

    // ---- set by the host before each cook
    float time = 0;                 ///< seconds
    float timeStep = 1;             ///< seconds
    int deleteDead = 0;             ///< reaping removes dead particles and their points
    OBJ_Node* objectNode = nullptr; ///< the object whose space the particles live in
    FLX_Node* cookNode = nullptr;   ///< the operator whose result is wanted
    FLX_Node* displayNode = nullptr;
    int infoEnabled = 0;
    int guidesWanted = 0;
    int maxParticles = 0;                 ///< births are allowed below it; 0 or less: no limit
    FLX_CookRecorder* recorder = nullptr; ///< is told of the cooks; not owned

    // ---- collected during a cook
    std::vector<GU_DetailHandle> guideHandles;
    std::vector<int> guideOwners; ///< unique id of each guide's operator, -1 for none
    std::vector<GEO_Point*> pointList;
    GU_DetailHandle instanceGuide;
    int instanceGuideOwner = -1;
    int guideChanged = 0;

    // ---- life cycle
    void incRef() { ++myRefCount; }
    /// At the last reference deletes the detail, then the context.
    void decRef();
    flx_ContextDataHandleRef* getIndirectHandle();

    /// Prepares for a new simulation on `detail`, which the context then owns. A file is loaded as the initial state;
    /// one that cannot be read is reported through `loadError()` and leaves the detail empty. See the manual for the
    /// steps.
    void reset(FLX_Node* node, GU_Detail* detail, const char* initialStateFile, bool keepGeometry, unsigned seed,
               bool resetPending);
    const std::string& loadError() const { return myLoadError; }
    /// Returns the host's fields to their defaults; particles are left alone.
    void frameReset();
    void offsetReset();
    void recacheOffset();
    /// Makes this a copy of src for a cache; src's detail is duplicated into `detail` when one is given.
    void copyFrom(const FLX_ContextData& src, GU_Detail* detail);

    // ---- cooking
    void cook(OP_Context& context);
    /// Cooks for guide geometry alone: no step, no change of particles or lists.
    void cookGuide(OP_Context& context);
    /// The context being cooked on that thread (0 = calling thread), or null.
    static FLX_ContextData* getExpressionData(int thread);

    // ---- passes (see FLX_PassQueue). What reads or changes particles runs those that wait first: getDetail and
    // everything else here that gives access to particles, their number or their attributes. The `peek` functions do
    // not: for what no pass changes, such as names, groups as such, offsets, which primitives there are.
    FLX_CookOrder getCookOrder() const { return myCookOrder; }
    void setCookOrder(FLX_CookOrder order) { myCookOrder = order; }
    /// Runs the passes that wait.
    void flushPasses() const {
        if (myPassesWait) runPasses();
    }
    /// Whether passes may wait now: within a cook, chunk by chunk. A point that two particles share must see one pass
    /// before the next.
    bool queuesPasses() const { return myQueueing && !myPointsShared; }
    /// Hands over a pass of an operator over the first `entries` primitives of the list: it waits until something needs
    /// the particles, or the cook ends. With `inOrder` it meets the particles in the list's order.
    void enqueuePass(std::unique_ptr<FLX_Pass> pass, const FLX_Node& node, const FLX_ParticleList& list, int entries,
                     bool inOrder);
    /// The time step becomes the first pass of the cook; false when it must run at once.
    bool enqueueStep(const FLX_StepPhases& phases);
    /// Reap, rules and preparation may go over a particle in one. Particles bound to geometry fetch it in mid-step, and
    /// a point that two particles share must see every rule before any preparation: then the phases run one after the
    /// other.
    bool canFuseStep() const { return getPosPathOffset() < 0 && !myPointsShared; }
    /// Particles will go, and points be renumbered, when the passes that wait run.
    bool willReap() const;
    /// See FLX_PassQueue::completeLater.
    void completeInfoLater(FLX_Node* node);
    /// To be called before a group loses members while passes wait: info texts may count them yet.
    void settleGroupCounts() const;

    const UT_String& getName() const { return myName; }
    GU_Detail* getDetail() const {
        flushPasses();
        return myDetail;
    }
    GU_Detail* peekDetail() const { return myDetail; }
    void setRefDetail(GU_Detail* detail) {
        flushPasses();
        myDetail = detail;
        myFoundIn = nullptr;
        myNextIdOffset = -1;
    }
    GU_Detail* getDisplayDetail() const {
        flushPasses();
        return myDisplayDetail;
    }
    FLX_ParticleList* getParticleList() {
        flushPasses();
        return &myParticleList;
    }
    FLX_ParticleList* peekParticleList() { return &myParticleList; }
    unsigned getRandomSeed() const { return mySeed; }
    bool isGuideOnly() const { return myGuideOnly; }

    bool shouldDoPrep() const { return myDoPrep; }
    bool shouldDoReap() const { return myDoReap; }
    bool shouldDoApplyRules() const { return myDoApplyRules; }
    bool shouldDoCook() const { return myDoCook; }
    bool shouldDoCookFirst() const { return myDoCookFirst; }
    void setDoPrep(bool on) { myDoPrep = on; }
    void setDoReap(bool on) { myDoReap = on; }
    void setDoApplyRules(bool on) { myDoApplyRules = on; }
    void setDoCook(bool on) { myDoCook = on; }
    void setDoCookFirst(bool on) { myDoCookFirst = on; }
    int getRuleSuppression() const { return myRuleSuppression; }
    void setRuleSuppression(int bits) { myRuleSuppression = bits; }
    int getSelectionChanged() const { return mySelectionChanged; }
    void setSelectionChanged() { mySelectionChanged = 1; }

    // ---- attributes. Offsets are bytes into a point's attribute data; -1: absent.
    int offset(FLX_Attrib attrib) const { return myOffsets[size_t(attrib)]; }
    /// What the detail itself says of an attribute by name, size and type; looked up again when it has others.
    int foundOffset(FLX_Attrib attrib) const;
    void setOffset(FLX_Attrib attrib, int offset) { myOffsets[size_t(attrib)] = offset; }
#define FLX_ATTRIBUTE_ACCESS(stem, ...)                                                                                \
    int get##stem##Offset() const { return offset(FLX_Attrib::stem); }                                                 \
    void set##stem##Offset(int offset) { setOffset(FLX_Attrib::stem, offset); }
    FLX_ATTRIBUTES(FLX_ATTRIBUTE_ACCESS)
#undef FLX_ATTRIBUTE_ACCESS
    /// Creates the attribute unless its offset is known; its offset, or -1 when another of that name is in the way.
    int addAttrib(FLX_Attrib attrib);

    const FLX_CoreOffsets& core() const { return myCore; }
    int getVelocityOffset() const { return myCore.velocity; }
    int getAccelOffset() const { return myCore.accel; }
    int getStateOffset() const { return myCore.state; }
    int getLifeOffset() const { return myCore.life; }
    int getBacktrackOffset() const { return myCore.backtrack; }
    int getBornOffset() const { return myCore.born; }
    int getSourceOffset() const { return myCore.source; }
    int getGeneratorOffset() const { return myCore.generator; }

    UT_Vector3& velocity(GEO_Point* p) const { return *p->castAttribData<UT_Vector3>(myCore.velocity); }
    UT_Vector3& accel(GEO_Point* p) const { return *p->castAttribData<UT_Vector3>(myCore.accel); }
    int& state(GEO_Point* p) const { return *p->castAttribData<int>(myCore.state); }
    /// Age and life span; a span below 0 is immortal.
    float* life(GEO_Point* p) const { return p->castAttribData<float>(myCore.life); }
    /// Velocity of the last position rule and its time step.
    float* backtrack(GEO_Point* p) const { return p->castAttribData<float>(myCore.backtrack); }
    /// A birth operator's running birth count and current source element.
    float& born(GEO_Primitive* prim) const { return *prim->castAttribData<float>(myCore.born); }
    int& source(GEO_Primitive* prim) const { return *prim->castAttribData<int>(myCore.source); }

    // ---- particles
    void bumpNumParticles(int n) {
        myNumParticles += n;
        if (n > 0) myNumBorn += n;
    }
    /// Births since the reset.
    long long getNumBorn() const { return myNumBorn; }
    int getNumParticles() const {
        flushPasses();
        return myNumParticles;
    }
    /// With those that the passes that wait will reap.
    int peekNumParticles() const { return myNumParticles; }
    bool allowBirth() const { return allowBirths(1); }
    bool allowBirths(int n) const { return maxParticles <= 0 || n <= maxParticles - getNumParticles(); }

    /// The operator's particle primitive, created when needed; null without a detail or before the first reset.
    GEO_PrimParticle* getPrimPart(FLX_Node* node);
    GEO_PrimParticle* hasPrimPart(FLX_Node* node);
    /// The operator whose primitive this is, or null.
    FLX_Node* getGenerator(const GEO_PrimParticle* prim) const;
    /// Records `node` as the primitive's owner, unless input (when 0 or more) is one that it only refers to.
    void addToParticleList(GEO_PrimParticle* prim, FLX_Node* node, int input);
    void cacheDetail(FLX_Node* node);

    /// Whether some point may belong to two particles (only an initial state can bring such points).
    bool pointsShared() const { return myPointsShared; }

    // ---- identity and randomness
    int nextID() { return takeID(idCounter()); }
    /// The next id, counted; -1 without a counter. A counter from a file may stand at the largest number and stays
    /// there.
    static int takeID(int* counter) {
        if (!counter) return -1;
        return *counter == std::numeric_limits<int>::max() ? *counter : (*counter)++;
    }
    /// Where the next id is counted; null when the detail's "nextid" is another attribute. Good until a detail
    /// attribute is appended.
    int* idCounter();
    float random() { return FLX_Random::unit(advanceSeed()); } ///< in [0, 1); lint-ok: the source of random numbers
    /// In [0, 1), from a scrambled copy of the state.
    float randomSample() { return FLX_Random::unit(FLX_Random::scramble(advanceSeed())); }

    // ---- events
    GB_Attribute* getEventAttr() const;
    /// Raises (withdraws) up to 64 blank-separated event names.
    void addEvent(UT_String& names, float atTime);
    void removeEvent(UT_String& names);
    void clearAllEvents();

    // ---- user variables (ids from 600)
    /// The attribute's offset, or -1: an unsupported type, or the variable exists with another attribute, size or type.
    int addUserVariable(const char* name, int size, GB_AttribType type, const void* def, const char* varname);
    CH_LocalVariable* getUserVariables() { return myUserVariables.table(); }
    const CH_LocalVariable* getUserVariables() const { return myUserVariables.table(); }
    const FLX_UserVariables& userVariables() const { return myUserVariables; }
    static int isUserVariable(int id) { return id >= FLX_UserVariables::FIRST_ID; }
    float getUserVariableValue(const GEO_Point* point, int id, int thread) const;

    void getInputGeo(UT_String& path, int i) const;
    void setInputGeo(const UT_String& path, int i);

    // ---- guides and blind data
    void appendGuide(FLX_Node* node, const GU_DetailHandle& handle);
    void setInstanceGuide(FLX_Node* node, const GU_DetailHandle& handle);
    FLX_BlindData* getBlindData(const FLX_Node* node) const;
    /// Takes ownership and returns 1; 0 (and no ownership) when the owner has data already.
    int addBlindData(FLX_BlindData* data);
    FLX_BlindData* stealBlindData(const FLX_Node* node);

private:
    class Queueing;

    void setupAttributes();
    void setupInitialState();
    bool findSharedPoints() const;
    GEO_PrimParticle* primPart(FLX_Node* node, bool create);
    GEO_PrimParticle* particlePrim(int number) const;
    void runStep(OP_Context& context);
    void clearCookState();
    void runPasses() const;
    friend class FLX_RandomAhead;
    unsigned advanceSeed() { return mySeed = FLX_Random::advance(mySeed); }

    UT_String myName;
    bool myGuideOnly = false;
    std::array<UT_String, 4> myInputGeo;
    GU_Detail myDisplayCopy;
    GU_Detail* myDisplayDetail = nullptr;
    unsigned mySeed = 0;
    std::unique_ptr<std::map<int, int>> myNodeToPrim;             // operator unique id -> primitive number
    std::unique_ptr<std::map<int, int>> myPrimToNode;             // primitive number -> operator unique id
    std::unique_ptr<std::map<std::string, int>> myGeneratorPaths; // operator path -> primitive number, read at reset
    GU_Detail* myDetail = nullptr;
    FLX_ParticleList myParticleList;
    FLX_ParticleList myCarriedList;
    float myPreviousTimeStep = 0;
    bool myResetPending = false;
    bool mySelectionChanged = false;
    int myNumParticles = 0;
    long long myNumBorn = 0;
    std::array<int, size_t(FLX_NUM_ATTRIBS)> myOffsets;
    mutable std::array<int, size_t(FLX_NUM_ATTRIBS)> myFound{};
    mutable const GU_Detail* myFoundIn = nullptr;
    mutable uint64_t myFoundSerial = 0;
    FLX_CoreOffsets myCore;
    int myNextIdOffset = -1; // of the detail attribute "nextid"; -1: not looked up yet
    bool myPointsShared = false;
    bool myDoPrep = true;
    bool myDoReap = true;
    bool myDoApplyRules = true;
    bool myDoCook = true;
    bool myDoCookFirst = false;
    int myRuleSuppression = 0;
    FLX_CookOrder myCookOrder = FLX_CookOrder::Chunk;
    bool myQueueing = false;
    mutable bool myPassesWait = false;
    std::unique_ptr<FLX_PassQueue> myPasses;
    FLX_UserVariables myUserVariables;
    std::map<int, std::unique_ptr<FLX_BlindData>> myBlindData;
    int myRefCount = 1;
    flx_ContextDataHandleRef* myHandleRef = nullptr;
    std::string myLoadError;
};
