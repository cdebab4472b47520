#include "core/FLX_ContextData.h"

#include <cstdio>
#include <utility>

#include "core/FLX_Node.h"
#include "core/FLX_PassQueue.h"
#include "host/expr/EV_Error.h"
#include "host/ut/UT_BitSet.h"

FLX_ContextData::FLX_ContextData(const char* name)
    : myName(name)
    , myPasses(std::make_unique<FLX_PassQueue>(*this)) {
    myOffsets.fill(-1);
}

FLX_ContextData::~FLX_ContextData() {
    if (!myHandleRef) return;
    myHandleRef->data = nullptr;
    if (--myHandleRef->count == 0) delete myHandleRef;
}

void FLX_ContextData::decRef() {
    if (--myRefCount > 0) return;
    delete myDetail;
    delete this;
}

flx_ContextDataHandleRef* FLX_ContextData::getIndirectHandle() {
    if (!myHandleRef) myHandleRef = new flx_ContextDataHandleRef{this, 1};
    return myHandleRef;
}

void FLX_ContextData::reset(FLX_Node* node, GU_Detail* detail, const char* initialStateFile, bool keepGeometry,
                            unsigned seed, bool resetPending) {
    setRefDetail(detail);
    myLoadError.clear();
    if (detail && !keepGeometry) detail->stashAll();
    myNumParticles = 0;
    myNumBorn = 0;

    const bool fromFile = initialStateFile && *initialStateFile;
    if (detail && fromFile && !detail->load(initialStateFile, nullptr, &myLoadError)) detail->stashAll();
    if (detail && (fromFile || keepGeometry)) {
        const GEO_PrimList& prims = detail->primitives();
        for (GEO_Primitive* prim = prims.head(GEOPRIMPART); prim; prim = prims.next(prim, GEOPRIMPART))
            myNumParticles += prim->getVertexCount();
    }
    myPointsShared = detail && findSharedPoints();
    setupAttributes();
    setupInitialState();

    myDisplayDetail = nullptr;
    myParticleList.clear();
    myPreviousTimeStep = 0;
    myResetPending = resetPending;
    mySelectionChanged = false;
    myNodeToPrim = std::make_unique<std::map<int, int>>();
    myPrimToNode = std::make_unique<std::map<int, int>>();
    mySeed = seed;

    offsetReset();
    if (node) node->addAllAttribs(this);
    recacheOffset();
}

bool FLX_ContextData::findSharedPoints() const {
    UT_BitSet used;
    used.resize(myDetail->points().slotEnd());
    const GEO_PrimList& prims = myDetail->primitives();
    for (GEO_Primitive* prim = prims.head(GEOPRIMPART); prim; prim = prims.next(prim, GEOPRIMPART)) {
        for (int i = 0; i < prim->getVertexCount(); ++i) {
            const uint32_t slot = prim->getVertexPointSlot(i);
            if (used.test(slot)) return true;
            used.set(slot);
        }
    }
    return false;
}

void FLX_ContextData::setupAttributes() {
    if (!myDetail) return;
    const int noIndex = -1;
    const int firstId = 1;
    GB_AttributeDict& points = myDetail->pointAttribs();
    for (const FLX_CoreRow& row : FLX_CoreRows)
        myCore.*row.offset = points.append(row.name, row.size, row.type, row.def.data());
    GB_AttributeDict& prims = myDetail->primitiveAttribs();
    myCore.born = prims.append("born", 4, GB_ATTRIB_RAW, nullptr);
    myCore.source = prims.append("source", 4, GB_ATTRIB_RAW, nullptr);
    myCore.generator = prims.append("generator", 4, GB_ATTRIB_INDEX, &noIndex);
    myDetail->attribs().append("nextid", 4, GB_ATTRIB_INT, &firstId);
    myDetail->attribs().append("event", 4, GB_ATTRIB_INDEX, nullptr);
}

void FLX_ContextData::setupInitialState() {
    myGeneratorPaths.reset();
    myCarriedList.clear();
    if (!myDetail || myCore.generator < 0) return;
    const GB_Attribute* generator = myDetail->primitiveAttribs().find("generator");
    if (!generator || generator->entries() == 0) return;

    myGeneratorPaths = std::make_unique<std::map<std::string, int>>();
    const GEO_PrimList& prims = myDetail->primitives();
    for (int i = 0; i < int(prims.entries()); ++i) {
        GEO_Primitive* prim = prims(size_t(i));
        const char* path = generator->getIndex(*prim->castAttribData<int>(myCore.generator));
        if (path) (*myGeneratorPaths)[path] = i;
        if (auto* particles = dynamic_cast<GEO_PrimParticle*>(prim)) myCarriedList.add(particles, nullptr);
    }
}

void FLX_ContextData::frameReset() {
    time = 0;
    timeStep = 1;
    deleteDead = 0;
    objectNode = nullptr;
    cookNode = displayNode = nullptr;
    infoEnabled = guidesWanted = 0;
    maxParticles = 0;
    recorder = nullptr;
}

void FLX_ContextData::offsetReset() {
    myOffsets.fill(-1);
    myUserVariables.clear();
    std::erase_if(myBlindData, [](const auto& entry) { return entry.second->resetSimulation() != 0; });
}

void FLX_ContextData::recacheOffset() {
    if (!myDetail) return;
    const GB_AttributeDict& points = myDetail->pointAttribs();
    for (int i = 0; i < FLX_NUM_ATTRIBS; ++i) {
        const auto attrib = FLX_Attrib(i);
        const FLX_AttribRow& row = FLXattribRow(attrib);
        if (!FLXkeepsOffset(attrib)) setOffset(attrib, points.getOffset(row.name, row.size, row.type));
    }
    for (const FLX_CoreRow& row : FLX_CoreRows) myCore.*row.offset = points.getOffset(row.name, row.size, row.type);
    const GB_AttributeDict& prims = myDetail->primitiveAttribs();
    myCore.born = prims.getOffset("born", 4, GB_ATTRIB_RAW);
    myCore.source = prims.getOffset("source", 4, GB_ATTRIB_RAW);
    myCore.generator = prims.getOffset("generator", 4, GB_ATTRIB_INDEX);
    myUserVariables.recache(points);
}

int FLX_ContextData::foundOffset(FLX_Attrib attrib) const {
    const GB_AttributeDict& points = myDetail->pointAttribs();
    if (myFoundIn != myDetail || myFoundSerial != points.layoutSerial()) {
        for (int i = 0; i < FLX_NUM_ATTRIBS; ++i) {
            const FLX_AttribRow& row = FLXattribRow(FLX_Attrib(i));
            myFound[size_t(i)] = points.getOffset(row.name, row.size, row.type);
        }
        myFoundIn = myDetail;
        myFoundSerial = points.layoutSerial();
    }
    return myFound[size_t(attrib)];
}

int FLX_ContextData::addAttrib(FLX_Attrib attrib) {
    if (offset(attrib) >= 0 || !myDetail) return offset(attrib);
    flushPasses();
    const FLX_AttribRow& row = FLXattribRow(attrib);
    setOffset(attrib, myDetail->pointAttribs().append(row.name, row.size, row.type, row.def.data()));
    return offset(attrib);
}

void FLX_ContextData::copyFrom(const FLX_ContextData& src, GU_Detail* detail) {
    src.flushPasses();
    time = src.time;
    timeStep = src.timeStep;
    myPreviousTimeStep = src.myPreviousTimeStep;
    myResetPending = src.myResetPending;
    mySelectionChanged = src.mySelectionChanged;
    deleteDead = src.deleteDead;
    objectNode = src.objectNode;
    cookNode = src.cookNode;
    displayNode = src.displayNode;
    infoEnabled = src.infoEnabled;
    guidesWanted = src.guidesWanted;
    maxParticles = src.maxParticles;
    myGuideOnly = src.myGuideOnly;
    mySeed = src.mySeed;
    myName = src.myName;
    myInputGeo = src.myInputGeo;
    myCookOrder = src.myCookOrder;

    const auto copyMap = [](const auto& map) {
        using Map = typename std::decay_t<decltype(map)>::element_type;
        return map ? std::make_unique<Map>(*map) : nullptr;
    };
    myNodeToPrim = copyMap(src.myNodeToPrim);
    myPrimToNode = copyMap(src.myPrimToNode);
    myGeneratorPaths = copyMap(src.myGeneratorPaths);

    if (detail) {
        setRefDetail(detail);
        if (src.myDetail) myDetail->duplicate(*src.myDetail, 1);
    }
    myDisplayDetail = nullptr;
    myNumParticles = src.myNumParticles;
    myNumBorn = src.myNumBorn;
    myPointsShared = src.myPointsShared;
    myParticleList.clear();
    myCarriedList.clear();
    if (myDetail) {
        myParticleList.copyNewGdp(src.myParticleList, myDetail);
        myCarriedList.copyNewGdp(src.myCarriedList, myDetail);
    }
    for (int i = 0; i < FLX_NUM_ATTRIBS; ++i)
        if (!FLXlostInCopy(FLX_Attrib(i))) myOffsets[size_t(i)] = src.myOffsets[size_t(i)];
    myCore = src.myCore;
    myDoPrep = src.myDoPrep;
    myDoReap = src.myDoReap;
    myDoApplyRules = src.myDoApplyRules;
    myDoCook = src.myDoCook;
    myDoCookFirst = src.myDoCookFirst;
    myRuleSuppression = src.myRuleSuppression;
    myUserVariables = src.myUserVariables;

    myBlindData.clear();
    for (const auto& [id, data] : src.myBlindData) {
        if (FLX_BlindData* copy = data->duplicate(src)) {
            if (!addBlindData(copy)) delete copy;
            continue;
        }
        const FLX_Node* owner = data->getOwner();
        std::fprintf(stderr, "Programming Error: %s BlindData duplicate failed\n",
                     owner ? owner->getName().c_str() : "");
    }
}

int* FLX_ContextData::idCounter() {
    GB_AttributeTable& attribs = myDetail->attribs();
    if (myNextIdOffset < 0) {
        const int firstId = 1;
        myNextIdOffset = attribs.append("nextid", 4, GB_ATTRIB_INT, &firstId);
        if (myNextIdOffset < 0) return nullptr;
    }
    return attribs.castAttribData<int>(myNextIdOffset);
}

int FLX_ContextData::addUserVariable(const char* name, int size, GB_AttribType type, const void* def,
                                     const char* varname) {
    if (!myDetail) return -1;
    if (!myDetail->pointAttribs().find(name)) flushPasses();
    return myUserVariables.add(myDetail->pointAttribs(), name, size, type, def, varname);
}

float FLX_ContextData::getUserVariableValue(const GEO_Point* point, int id, int thread) const {
    flushPasses();
    float value = 0;
    if (!myUserVariables.value(point, id, value)) EV_errNo(thread) = EV_ERR_VARIABLE;
    return value;
}

void FLX_ContextData::getInputGeo(UT_String& path, int i) const {
    path = i >= 0 && i < 4 ? myInputGeo[size_t(i)] : UT_String();
}

void FLX_ContextData::setInputGeo(const UT_String& path, int i) {
    if (i >= 0 && i < 4) myInputGeo[size_t(i)] = path;
}

void FLX_ContextData::appendGuide(FLX_Node* node, const GU_DetailHandle& handle) {
    guideHandles.push_back(handle);
    guideOwners.push_back(node ? node->getUniqueId() : -1);
    guideChanged = 1;
}

void FLX_ContextData::setInstanceGuide(FLX_Node* node, const GU_DetailHandle& handle) {
    instanceGuide = handle;
    instanceGuideOwner = node ? node->getUniqueId() : -1;
}

FLX_BlindData* FLX_ContextData::getBlindData(const FLX_Node* node) const {
    const auto found = myBlindData.find(node->getUniqueId());
    return found == myBlindData.end() ? nullptr : found->second.get();
}

int FLX_ContextData::addBlindData(FLX_BlindData* data) {
    auto& slot = myBlindData[data->ownerId()];
    if (slot) return 0;
    slot.reset(data);
    return 1;
}

FLX_BlindData* FLX_ContextData::stealBlindData(const FLX_Node* node) {
    const auto found = myBlindData.find(node->getUniqueId());
    if (found == myBlindData.end()) return nullptr;
    FLX_BlindData* data = found->second.release();
    myBlindData.erase(found);
    return data;
}
