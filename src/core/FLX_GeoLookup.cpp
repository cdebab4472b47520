// Finding the geometry that an operator's parameters name, in the space of the particle network's object.
#include "core/FLX_Node.h"
#include "host/node/OBJ_Node.h"
#include "host/node/OP_Director.h"
#include "host/node/SOP_Node.h"
#include "host/sim/DOP_FullPathData.h"
#include "host/sim/SIM_Geometry.h"
#include "host/sim/SIM_Object.h"
#include "host/sim/SIM_Position.h"
#include "host/ut/UT_NodePath.h"

namespace {

constexpr PRM_Name contextGeoNames[] = {
    {"none", "Use Parameter Values"},          {"first", "Use First Context Geometry"},
    {"second", "Use Second Context Geometry"}, {"third", "Use Third Context Geometry"},
    {"fourth", "Use Fourth Context Geometry"}, {nullptr, nullptr}};

// What either kind of source yields before object transforms are applied.
struct Found {
    GU_Detail* detail = nullptr;
    OP_Node* sop = nullptr;
    OBJ_Node* creator = nullptr;
};

Found cookSop(FLX_Node& node, SOP_Node& sop, OP_Context& context, FLX_GeoLookup& lookup) {
    node.stealGlobalErrors();
    if (sop.needToCook(context, false) || sop.flags().changed) {
        lookup.changed = 1;
        node.flushPasses(); // loops that wait may read the geometry that is made anew
    }
    Found found;
    found.sop = &sop;
    found.detail = sop.cookedDetail(context);
    if (sop.error() >= UT_ERROR_ABORT) UTaddError("FLX", FLX_ERR_GEOMETRY, sop.getFullPath().c_str());
    found.creator = sop.getCreator();
    if (lookup.lastSop != &sop) lookup.changed = 1;
    return found;
}

Found findSimulationData(const char* path, float t, FLX_Node& node, FLX_GeoLookup& lookup) {
    DOP_FullPathData data;
    Found found;
    if (!DOPfindDataFromPath(path, data, t, &node, 0)) return found;
    const SIM_Geometry* geometry = SIMcast<SIM_Geometry>(data.getData());
    if (!geometry)
        if (const SIM_Object* object = SIMcast<SIM_Object>(data.getData())) geometry = object->getGeometry();
    if (!geometry) return found;
    found.detail = geometry->getGeometry().peekDetail();
    if (OP_Node* object = data.getObjectNode()) found.creator = object->castToOBJNode();
    geometry->getTransform(lookup.transform);
    if (const SIM_Position* position = data.getBestPosition()) {
        UT_DMatrix4 placed;
        position->getTransform(placed);
        lookup.transform = lookup.transform * placed;
    }
    lookup.transformed = !lookup.transform.isIdentity();
    lookup.changed = 1;
    return found;
}

} // namespace

const PRM_ChoiceList FLXuseContextGeoMenu(PRM_ChoiceListType::Replace, contextGeoNames);

const char* FLX_Node::getGeoPathParmName() const { return FLXfullsopName.token; }

void FLX_Node::getGeoPath(UT_String& path, const FLX_ContextData* context, float t) {
    const int choice = hasParm(FLXuseContextGeoName.token) ? evalInt(FLXuseContextGeoName.token, 0, t) : 0;
    if (context && choice > 0)
        context->getInputGeo(path, choice - 1);
    else
        evalString(path, getGeoPathParmName(), 0, t);
    if (path == FLXnoObjToken || path == FLXnoSopToken) path = "";
}

GU_Detail* FLX_Node::getGeo(const char* givenPath, const FLX_ContextData* context, float t, int addExtra,
                            int ignoreTransform, GU_Detail* copy, FLX_GeoLookup& lookup) {
    UT_String path(givenPath);
    if (!givenPath) getGeoPath(path, context, t);
    if (path == FLXnoObjToken || path == FLXnoSopToken) path = "";
    // At another time geometry is made anew in place, that of expressions on the way, too; what waits may read it.
    if (context && t != context->time) flushPasses();

    OP_Context sopContext(t);
    sopContext.setThread(0);
    lookup.transform.identity();
    lookup.transformed = 0;
    Found found;
    if (path.isstring()) {
        if (SOP_Node* sop = getSOPNode(path.c_str(), addExtra))
            found = cookSop(*this, *sop, sopContext, lookup);
        else
            found = findSimulationData(path.c_str(), t, *this, lookup);
    }

    OBJ_Node* space = context ? context->objectNode : nullptr;
    if (space && found.creator && found.creator != space && !ignoreTransform) {
        lookup.transform = lookup.transform * found.creator->getWorldTransform(sopContext);
        lookup.transform = lookup.transform * space->getIWorldTransform(sopContext);
        if (addExtra) {
            addExtraInput(found.creator, OP_INTEREST_DATA);
            addExtraInput(space, OP_INTEREST_DATA);
        }
        lookup.transformed = lookup.changed = 1;
    }
    GU_Detail* result = found.detail;
    if (copy && result && lookup.changed && !lookup.transform.isIdentity()) {
        // The same geometry under the same transform gives the same copy: what was derived from it stays valid.
        const FLX_GeoLookup::CopyKey key{result->dataId(), result->getChangeCount(), result->layoutSerial(),
                                         lookup.transform};
        if (!(lookup.copied == key)) {
            copy->copy(*result);
            copy->transform(UT_Matrix4(lookup.transform));
            lookup.copied = key;
        }
        result = copy;
    }
    lookup.lastSop = found.sop;
    return result;
}

// ---- menus of objects and surface operators

bool FLX_Node::filterForceObjs(OP_Node* object) { return object->hasParm("forcetype"); }

namespace {

// "none" and a separator, then what `fill` adds, then the terminator.
template <class Fill> void buildPathMenu(const char* noneToken, PRM_Name* names, int size, Fill fill) {
    if (size < 3) {
        if (size > 0) names[0] = {nullptr, nullptr};
        return;
    }
    names[0] = {noneToken, "none"};
    names[1] = PRMseparatorName;
    const int written = fill(names + 2, size - 3);
    names[2 + written] = {nullptr, nullptr};
}

} // namespace

void FLX_Node::buildObjMenu(void*, PRM_Name* names, int size, const PRM_SpareData*, PRM_Parm*) {
    buildPathMenu(FLXnoObjToken, names, size,
                  [](PRM_Name* at, int room) { return buildOpMenu(OPgetDirector()->objManager(), at, room, nullptr); });
}

void FLX_Node::buildForceObjMenu(void*, PRM_Name* names, int size, const PRM_SpareData*, PRM_Parm*) {
    buildPathMenu(FLXnoObjToken, names, size, [](PRM_Name* at, int room) {
        return buildOpMenu(OPgetDirector()->objManager(), at, room, &FLX_Node::filterForceObjs);
    });
}

void FLX_Node::buildSopMenu(void* data, PRM_Name* names, int size, const PRM_SpareData*, PRM_Parm*) {
    FLX_Node* node = data ? static_cast<OP_Node*>(data)->castToFLXNode() : nullptr;
    buildPathMenu(FLXnoSopToken, names, size, [node](PRM_Name* at, int room) {
        OP_Network* parent = OPgetDirector()->objManager();
        if (node) {
            UT_String object;
            node->evalString(object, "obj", 0, 0);
            OP_Node* found = object.isstring() ? parent->findChild(object.str()) : nullptr;
            parent = found ? found->castToNetwork() : nullptr;
        }
        return parent ? buildOpMenu(parent, at, room, nullptr) : 0;
    });
}

// ---- old scenes

namespace {

std::string firstComponent(const std::string& path) { return path.substr(0, path.find('/', 1)); }

} // namespace

void FLX_Node::applyBackwardsPathCompatibility(PRM_ParmList* obsolete, const char* objParm, const char* sopParm,
                                               const char* newParm, int makeRelative) {
    const std::string objToken = objParm ? objParm : "obj";
    const std::string sopToken = sopParm ? sopParm : "sop";
    PRM_Parm* objValue = obsolete ? obsolete->find(objToken) : nullptr;
    if (!objValue) return;
    PRM_Parm* sopValue = sopToken.empty() ? nullptr : obsolete->find(sopToken);
    const std::string object = objValue->text();
    const std::string sop = sopValue ? sopValue->text() : "";
    if (object.empty() && sop.empty()) return;

    std::string path;
    if (object != FLXnoObjToken && sop != FLXnoObjToken) {
        path = "/obj/" + object;
        if (!sop.empty()) path += "/" + sop;
        const std::string own = getFullPath();
        if (makeRelative && firstComponent(own) == firstComponent(path)) path = UT_NodePath::getRelativePath(own, path);
    }
    objValue->setText("");
    if (sopValue) sopValue->setText("");
    setString(newParm ? newParm : getGeoPathParmName(), path, Literal);
}

// ---- guides

void FLX_Node::addAccelGuide(GEO_Point* particle, float x, float y, float z, float scale, int normalise) {
    if (!myGuide) return;
    UT_Vector3 d(x, y, z);
    if (normalise)
        d.normalize();
    else
        d = d * scale;
    const UT_Vector4& p = particle->getPos();
    GEO_PrimPoly* line = GU_PrimPoly::build(myGuide, 2, 1, 1);
    line->getVertexPoint(0)->setPos(UT_Vector4(p.x(), p.y(), p.z(), 1));
    line->getVertexPoint(1)->setPos(UT_Vector4(p.x() + d.x(), p.y() + d.y(), p.z() + d.z(), 1));
}
