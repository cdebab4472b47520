#pragma once

#include <vector>

#include "core/FLX_Attributes.h"
#include "core/FLX_Birth.h"
#include "core/FLX_ContextData.h"
#include "core/FLX_ContextDataHandle.h"
#include "core/FLX_ErrorCodes.h"
#include "core/FLX_ParmRef.h"
#include "core/FLX_ParticleList.h"
#include "core/FLX_PassUse.h"
#include "core/FLX_State.h"
#include "host/expr/EV_Expression.h"
#include "host/geo/GOP_Manager.h"
#include "host/geo/GU_DetailHandle.h"
#include "host/node/OP_Network.h"
#include "host/node/PRM_Handle.h"
#include "host/node/PRM_SharedNames.h"
#include "host/ut/UT_Matrix4.h"

class FLX_LateCounts;
class OP_OperatorTable;
class SOP_Node;

/// What a geometry look-up hands back beside the detail, and what a caller keeps between look-ups.
struct FLX_GeoLookup {
    OP_Node* lastSop = nullptr; ///< kept by the caller: another SOP than last time counts as a change
    int transformed = 0;
    UT_DMatrix4 transform{}; ///< from the geometry's space into the network's
    int changed = 0;         ///< in: a change the caller knows of; out: whether derived data must be rebuilt

    /// What the caller's transformed copy was made from.
    struct CopyKey {
        uint64_t dataId = 0;
        uint64_t changes = 0;
        uint64_t layout = 0;
        UT_DMatrix4 transform{};

        friend bool operator==(const CopyKey&, const CopyKey&) = default;
    };
    CopyKey copied;
};

/// Base of every particle operator: the cook entries that the host calls, the network traversal, and what operators
/// share.
class FLX_Node : public OP_Network {
public:
    FLX_Node(OP_Network* parent, const char* name, OP_Operator* op);
    ~FLX_Node() override;

    // ---- what the host calls
    const char* getOpType() const override { return "FLX"; }
    const char* getChildType() const override { return "FLX"; }
    OP_OpTypeId getOpTypeID() const override { return FLX_OPTYPE_ID; }
    OP_OpTypeId getChildTypeID() const override { return FLX_OPTYPE_ID; }
    OP_OperatorTable* childTable() const override;
    FLX_Node* castToFLXNode() override { return this; }
    void getNodeSpecificInfoText(OP_Context& context, int verbose, std::string& text) override;
    /// "cookguide" for a guide-only cook, else "cook".
    virtual const char* getCookTimerLabel(const OP_Context& context) const;
    virtual const char* getFileExtension(int binary) const { return binary ? "bflx" : "flx"; }
    /// Cooked data is never saved with a node: these write nothing and succeed.
    virtual int saveCookedData(const char*, OP_Context&) { return 1; }
    virtual int saveCookedData(std::ostream&, OP_Context&, int) { return 1; }
    virtual int getCookedDataType() const { return 0; }
    virtual void deleteCookedData() {}
    /// Whether deleting the node wires its input to its outputs: not for generators.
    virtual int doDeleteRewire() const;
    double getW() const override { return getNodeButtonWidth() + 4 * getFlagWidth(); }
    double getH() const override { return getNodeHeight() + 2 * getConnectorHeight(); }

    /// Registers every operator type and expression function, once per process.
    static void buildOperatorTable(OP_OperatorTable& table);

    // ---- the step. `timestep` is the virtual door to timestepStatic.
    virtual void timestep(OP_Context& context) { timestepStatic(context); }
    static void timestepStatic(OP_Context& context);
    static void prepParticles(OP_Context& context);
    static void reapParticles(OP_Context& context);
    static void applyRulesToList(FLX_ParticleList* list, FLX_ContextData* context);

    // ---- network traversal
    using NodeFunction = void (FLX_Node::*)(void*);
    /// Calls fn on every particle operator of this node's network, connected or not, sub-networks included.
    void traverse(NodeFunction fn, void* data);
    /// Calls fn on every operator this node depends on, inputs first, each once. Call `flagAll` before.
    void pseudocook(NodeFunction fn, void* data);
    void preCook(OP_Context& context);
    void postCook(OP_Context&) {}
    unsigned computeNetChecksum();
    /// Lets every operator this node depends on add its attributes, inputs first.
    void addAllAttribs(FLX_ContextData* context);

    // ---- shared with operators and interfaces
    /// What a cook of this operator does to the passes that wait.
    virtual FLX_PassUse passUse() const { return FLX_PassUse::Barrier; }
    // ---- inputs, cooked. A barrier's inputs have done all they do to the particles when these return.
    UT_ErrorSeverity lockInputs(OP_Context& context);
    UT_ErrorSeverity lockInput(int i, OP_Context& context);
    /// Runs the passes that wait in the cook that is going on, if any.
    void flushPasses() const;
    FLX_ParticleList* getParticleList();
    FLX_ParticleList* peekParticleList() { return &myParticleList; }
    /// Puts the counts into the info text that it lacks yet.
    void completeInfo(const FLX_LateCounts& counts);
    GU_DetailHandle& guideHandle() { return myGuideHandle; }
    /// The context that cooked this node last, or the one that cooked its first input; null when neither is left.
    const FLX_ContextData* getPrevContextData() const;
    void warnDisplayFlag();
    void unwarnDisplayFlag();
    bool isTestingVariables() const override { return false; }

    static const PRM_ChoiceList pointGroupMenu;
    static const PRM_ChoiceList generatorMenu;
    static void buildPointGroupMenu(void* node, PRM_Name* names, int size, const PRM_SpareData*, PRM_Parm*);
    static void buildPrimitiveGroupMenu(void* node, PRM_Name* names, int size, const PRM_SpareData*, PRM_Parm*);
    static void buildGeneratorMenu(void* node, PRM_Name* names, int size, const PRM_SpareData*, PRM_Parm*);
    static void buildObjMenu(void* node, PRM_Name* names, int size, const PRM_SpareData*, PRM_Parm*);
    static void buildForceObjMenu(void* node, PRM_Name* names, int size, const PRM_SpareData*, PRM_Parm*);
    static void buildSopMenu(void* node, PRM_Name* names, int size, const PRM_SpareData*, PRM_Parm*);
    static bool filterForceObjs(OP_Node* object);

    // ---- geometry look-up
    /// The path of the operator's geometry: a context geometry or its own parameter; empty for none.
    void getGeoPath(UT_String& path, const FLX_ContextData* context, float t);
    /// The geometry of a path (null: getGeoPath) at time t, in the space of the network's object. `copy`, when given,
    /// receives a transformed copy, which is then the result. Null when nothing is found.
    GU_Detail* getGeo(const char* path, const FLX_ContextData* context, float t, int addExtraInput, int ignoreTransform,
                      GU_Detail* copy, FLX_GeoLookup& lookup);
    virtual const char* getGeoPathParmName() const;

    /// The three elements of an expression at the thread's evaluate time; all 0, with the error reported (as one of
    /// the parameter `token`, when given), when it fails.
    void evalVector(EV_EXPRESSION* expression, float& x, float& y, float& z, int thread, const char* token = "");

    // ---- dependency on per-particle variables. Never, for operators without such variables.
    virtual int isVarDependent(GU_Detail*, EV_EXPRESSION*, int thread);
    virtual int isVarDependent(GU_Detail*, const FLX_ParmRef& parm, float t, int thread);

protected:
    friend class FLX_ContextData;

    // ---- what operators override
    /// The operator's work for one cook; returns error().
    virtual UT_ErrorSeverity cookFlx(OP_Context& context) = 0;
    /// Adds the point attributes the operator needs; data is the FLX_ContextData.
    virtual void addAttrib(void*) {}
    /// Before every cook, connected or not; data is the OP_Context.
    virtual void doPreCook(void* opContext);
    virtual void getOperationInfo(UT_String& info, OP_Context& context);

    UT_ErrorSeverity cookMe(OP_Context& context) override;
    UT_ErrorSeverity bypassMe(OP_Context& context, int& copiedInput) override;

    static FLX_ContextData* contextOf(const OP_Context& context) {
        return static_cast<FLX_ContextData*>(context.getData());
    }

    // ---- messages of type "FLX"; the text may be null
    void addError(FLX_ErrorCodes code, const char* text = nullptr) { UTaddError("FLX", code, text); }
    void addWarning(FLX_ErrorCodes code, const char* text = nullptr) { UTaddWarning("FLX", code, text); }
    void addMessage(FLX_ErrorCodes code, const char* text = nullptr) { UTaddMessage("FLX", code, text); }
    void addFatal(FLX_ErrorCodes code, const char* text = nullptr) { UTaddFatal("FLX", code, text); }

    // ---- particle lists. A list is cleared, with an error, when a primitive may not be taken.
    FLX_ParticleList* getInputParticleList(int input, OP_Context& context);
    UT_ErrorSeverity buildParticleList(OP_Context& context, int checkDuplicates);
    UT_ErrorSeverity buildParticleList(FLX_ParticleList& list, OP_Context& context, int checkDuplicates);
    UT_ErrorSeverity buildInputParticleList(int input, OP_Context& context);
    UT_ErrorSeverity buildInputParticleList(FLX_ParticleList& list, int input, OP_Context& context);
    UT_ErrorSeverity addListToParticleList(FLX_ParticleList& dest, FLX_ParticleList& src, const FLX_Node* srcNode,
                                           int input, OP_Context& context, int checkDuplicates);
    UT_ErrorSeverity buildParticleListArray(std::vector<FLX_ParticleList*>& lists, int& count, OP_Context& context,
                                            int checkDuplicates);
    void initParticleList(OP_Context& context, GEO_PrimParticle* prim);
    int addToParticleList(OP_Context& context, GEO_PrimParticle* prim, int input);

    // ---- birth
    /// Null when nothing was born: no life span, or no room in the context.
    GEO_Point* birthParticle(FLX_ContextData* context, const FLX_Birth& birth);
    void initParticleAttrib(FLX_ContextData* context, GEO_Point* point, const FLX_Birth& birth, float age,
                            float lifeSpan);

    // ---- attribute adders (addMassAttrib, …): the offset, or -1 when the name is taken by another attribute
#define FLX_ATTRIBUTE_ADDER(stem, ...)                                                                                 \
    int add##stem##Attrib(FLX_ContextData* context) { return addCatalogueAttrib(context, FLX_Attrib::stem); }
    FLX_ATTRIBUTES(FLX_ATTRIBUTE_ADDER)
#undef FLX_ATTRIBUTE_ADDER
    int addUserVariable(FLX_ContextData* context, const char* name, int size, GB_AttribType type, const void* def,
                        const char* varname) {
        return context->addUserVariable(name, size, type, def, varname);
    }

    // ---- conventions
    /// Active when the value is above 0 at the context's time; per-particle variables are not allowed in it.
    int checkActivation(FLX_ContextData* context, const PRM_Float& activate);
    /// The node's template flag is on and guides are wanted.
    int doUpdateViewport(const FLX_ContextData* context) const { return getTemplate() && context->guidesWanted; }
    const GB_PointGroup* parsePointGroups(const char* text, GU_Detail* detail, int strict) {
        return myGroupManager.parsePointGroups(text, detail, strict, 1, 0, 0);
    }
    const GB_PrimitiveGroup* parsePrimitiveGroups(const char* text, GU_Detail* detail, int strict) {
        return myGroupManager.parsePrimitiveGroups(text, detail, strict, 1, 0, 0);
    }
    GB_PointGroup* parsePointGroupsCopy(const char* text, GU_Detail* detail, int strict) {
        return myGroupManager.parsePointGroupsCopy(text, detail, strict, 1, 0);
    }
    GB_PrimitiveGroup* parsePrimitiveGroupsCopy(const char* text, GU_Detail* detail, int strict) {
        return myGroupManager.parsePrimitiveGroupsCopy(text, detail, strict, 1, 0);
    }
    void destroyAdhocGroups() { myGroupManager.destroyAdhocGroups(); }
    void cacheForDisplay(OP_Context& context);
    /// Appends a line from the particle along the vector (times the scale, or normalised) to the guide.
    void addAccelGuide(GEO_Point* particle, float x, float y, float z, float scale, int normalise);
    /// Moves the values of old object and SOP parameters into the path parameter; see the defaults.
    void applyBackwardsPathCompatibility(PRM_ParmList* obsolete, const char* objParm = nullptr,
                                         const char* sopParm = nullptr, const char* newParm = nullptr,
                                         int makeRelative = 1);
    /// A menu of the detail's visible point or primitive groups; empty without a detail.
    static void buildGroupMenuOf(const GU_Detail* detail, bool primitives, PRM_Name* names, int size);
    static void buildGenericGroupMenu(const std::vector<std::string>& groupNames, PRM_Name* names, int size,
                                      int& count);

    FLX_ParticleList myParticleList;
    GU_DetailHandle myGuideHandle;
    GU_Detail* myGuide = nullptr;  ///< what the handle holds
    GU_Detail* myDetail = nullptr; ///< the context's, set at pre-cook

private:
    int addCatalogueAttrib(FLX_ContextData* context, FLX_Attrib attrib);
    void settleInputs(OP_Context& context);
    void cookInput(FLX_Node& input, OP_Context& context);
    void buildInfo(OP_Context& context);
    bool ownsPrimitive(FLX_ContextData* context, GEO_PrimParticle* prim, const FLX_Node* owner, FLX_ParticleList& dest);
    void traverseNode(NodeFunction fn, void* data);
    void flagTraverse(void*) { myTraversePending = true, myTraverseVisited = false; }
    void flagAll() { traverse(&FLX_Node::flagTraverse, nullptr); }
    void updateChecksum(void* crc);
    void addAttribAtSetup(void* context);
    static void initializeExpressions();

    GOP_Manager myGroupManager;
    FLX_ContextDataHandle myContext;
    UT_String myInfoText;
    bool myDisplayWarned = false;
    bool myTraversePending = false;
    bool myTraverseVisited = false;
};

/// Tokens that mean "no object" and "no geometry" in path parameters and menus.
inline constexpr const char* FLXnoObjToken = "__no_obj__";
inline constexpr const char* FLXnoSopToken = "__no_sop__";
/// The geometry path parameter that operators share.
inline constexpr PRM_Name FLXfullsopName{"soppath", "SOP"};
/// "usecontextgeo": own parameter, or one of the network's context geometries.
inline constexpr PRM_Name FLXuseContextGeoName{"usecontextgeo", "Geometry Source"};
extern const PRM_ChoiceList FLXuseContextGeoMenu;
