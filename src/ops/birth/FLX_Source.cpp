#include "ops/birth/FLX_Source.h"

#include <algorithm>
#include <utility>

#include "host/node/CH_Manager.h"
#include "host/ut/UT_Interrupt.h"

namespace {

// clang-format off
constexpr PRM_Name emissionNames[] = {
    {"point", "Points (ordered)"},         {"pointrandom", "Points (random)"},
    {"center", "Prim center (ordered)"},   {"centerrandom", "Prim center (random)"},   {"centerattrib", "Prim center (attribute)"},
    {"edge", "Edges (ordered)"},           {"edgerandom", "Edges (random)"},           {"edgeattrib", "Edges (attribute)"},
    {"surface", "Surfaces (ordered)"},     {"surfacerandom", "Surfaces (random)"},     {"surfaceattrib", "Surfaces (attribute)"},
    {"volume", "Volume"},                  {"metaball", "Metaballs"},                  {nullptr, nullptr}};
constexpr PRM_Name inheritNames[] = {
    {"accel", "Acceleration"}, {"Alpha", "Alpha"}, {"charge", "Charge"}, {"Cd", "Diffuse Color"}, {"drag", "Drag"},
    {"mass", "Mass"}, {"N", "Normal"}, {"rest", "Rest Position"}, {"pscale", "Scale"}, {"uv", "Texture uv"},
    {"up", "Up Vector"}, {"v", "Velocity"}, {nullptr, nullptr}};
constexpr PRM_Name velocityNames[] = {
    {"use", "Use inherited velocity"}, {"add", "Add to inherited velocity"}, {"set", "Set initial velocity"}, {nullptr, nullptr}};
constexpr PRM_Name originNames[] = {{"index", "index"}, {"indexgeo", "index + geo num"}, {nullptr, nullptr}};

// How an emission type samples.
struct EmissionRow {
    FLX_PrimSampling sampling;
    bool random;
    bool byAttrib;
};
constexpr EmissionRow emissionRows[] = {
    {FLX_PrimSampling::Center, false, false},    // points
    {FLX_PrimSampling::Center, true, false},
    {FLX_PrimSampling::Center, false, false},
    {FLX_PrimSampling::Center, true, false},
    {FLX_PrimSampling::Center, true, true},
    {FLX_PrimSampling::Edges, false, false},
    {FLX_PrimSampling::Edges, true, false},
    {FLX_PrimSampling::Edges, true, true},
    {FLX_PrimSampling::Surface, false, false},
    {FLX_PrimSampling::Surface, true, false},
    {FLX_PrimSampling::Surface, true, true},
};
// clang-format on

// Bits of a guide's display flags: what kind of source geometry it shows.
constexpr int SHOW_GEOMETRY = 0x1;
constexpr int SHOW_METABALLS = 0x4;

} // namespace

const PRM_ChoiceList FLX_Source::emissionMenu(PRM_ChoiceListType::Replace, emissionNames);
const PRM_ChoiceList FLX_Source::groupMenu(PRM_ChoiceListType::Toggle, &FLX_Source::buildGroupMenu);
const PRM_ChoiceList FLX_Source::inheritMenu(PRM_ChoiceListType::Toggle, inheritNames);
const PRM_ChoiceList FLX_Source::velocityMenu(PRM_ChoiceListType::Replace, velocityNames);
const PRM_ChoiceList FLX_Source::originMenu(PRM_ChoiceListType::Replace, originNames);

/// One cook: what was fetched, and what the births need.
struct FLX_Source::Cook {
    FLX_ContextData* context;
    GEO_PrimParticle* prim;
    float time;
    int thread;
    GU_Detail* source = nullptr;
    const GB_Group* group = nullptr;
    std::shared_ptr<const GU_RayIntersect> rays = nullptr;
    GB_PointGroup* birthGroup = nullptr;
    std::unique_ptr<FLX_AttribMap> map = nullptr; // none for volume emission
    std::unique_ptr<flx_SrcAttribDict> sourceAttribs =
        nullptr; // with accurate births, when anything is read from the source
};

FLX_Source::FLX_Source(OP_Network* parent, const char* name, OP_Operator* op)
    : FLX_BirthOperator(parent, name, op) {
    myGuide = new GOP_Guide;
    myGuideHandle.allocateAndSet(myGuide, 1);
}

const PRM_TemplateTable& FLX_Source::obsoleteTemplates() {
    static const PRM_TemplateTable table = PRMstringTable({{"obj", "Object"}, {"sop", "SOP"}});
    return table;
}

void FLX_Source::resolveObsoleteParms(PRM_ParmList* obsolete) { applyBackwardsPathCompatibility(obsolete); }

void FLX_Source::addAttrib(void* data) {
    addIdentityAttribs(static_cast<FLX_ContextData*>(data), DOID(), DOORIGIN(), DOGEN(), DOSPEED());
}

UT_ErrorSeverity FLX_Source::cookFlx(OP_Context& opContext) {
    FLX_ContextData* context = contextOf(opContext);
    const bool viewport = doUpdateViewport(context) != 0;
    if (viewport) context->appendGuide(this, guideHandle());
    if (lockInputs(opContext) >= UT_ERROR_ABORT) return error();
    Cook cook{context, context->getPrimPart(this), opContext.getTime(), opContext.getThread()};
    initParticleList(opContext, cook.prim);
    if (cook.prim && (viewport || !context->isGuideOnly())) {
        myType = EmissionType(std::clamp(EMITTYPE(), int(Point), int(Metaball)));
        updateGeometry(cook, 0);
        const bool found = error() < UT_ERROR_ABORT && cook.source;
        if (found && viewport) showSource(cook);
        if (found && !context->isGuideOnly()) emitParticles(cook);
    }
    unlockInputs();
    clearSample();
    destroyAdhocGroups();
    return error();
}

void FLX_Source::showSource(const Cook& cook) {
    auto* guide = static_cast<GOP_Guide*>(myGuide);
    guide->merge(*cook.source);
    guide->setDisplayFlag(SHOW_METABALLS, myType == Metaball);
    guide->setDisplayFlag(SHOW_GEOMETRY, myType != Metaball);
}

// ---- the source

void FLX_Source::updateGeometry(Cook& cook, float fraction) {
    destroyAdhocGroups();
    const float t = cook.time + fraction * cook.context->timeStep;
    cook.group = nullptr;
    cook.source = getGeo(nullptr, cook.context, t, 1, IGNOREXFORM(), &myTransformedCopy, myLookup);
    if (!cook.source) {
        UT_String path;
        getGeoPath(path, cook.context, t);
        addError(FLX_ERR_BAD_PATH, path.c_str());
        return;
    }
    if (myType == Volume)
        cook.rays = GU_RayIntersect::shared(cook.source); // kept while the geometry is the same
    else
        cook.group = parseSourceGroup(*cook.source);

    if (cook.sourceAttribs && !cook.sourceAttribs->matches(*cook.source)) {
        if (cook.map) buildMap(cook);
        refreshSourceAttributeVars(cook.source);
        cook.sourceAttribs->update(*cook.source);
    }
}

const GB_Group* FLX_Source::parseSourceGroup(GU_Detail& detail) {
    const UT_String text = SOURCE();
    if (!text.isstring()) return nullptr;
    const GB_Group* group = nullptr;
    if (emitsFromPoints())
        group = parsePointGroupsCopy(text.c_str(), &detail, 1);
    else
        group = parsePrimitiveGroupsCopy(text.c_str(), &detail, 1);
    if (!group) addError(FLX_ERR_BADGROUP, text.c_str());
    return group;
}

void FLX_Source::setInputGroup(const GU_Detail* detail, const GB_Group* group, int& element) {
    if (!detail || !group) {
        myGroupInUse = false;
        return;
    }
    const bool wasInUse = std::exchange(myGroupInUse, true);
    if (group->isEmpty()) {
        element = 0;
        return;
    }
    const auto keepOrRestart = [&](const auto& elements, auto slotOf, auto numberOf) {
        if (wasInUse) {
            if (size_t(element) >= elements.entries()) element = 0;
            if (group->containsSlot(slotOf(element))) return;
        }
        element = int(numberOf(elements.rawHead(group)));
    };
    if (emitsFromPoints()) {
        const GEO_PointList& points = detail->points();
        keepOrRestart(
            points, [&](int i) { return points.slotAt(size_t(i)); },
            [&](const GEO_Point* p) { return points.number(p); });
    } else {
        const GEO_PrimList& prims = detail->primitives();
        keepOrRestart(
            prims, [&](int i) { return prims(size_t(i))->slot(); }, [](const GEO_Primitive* p) { return p->getNum(); });
    }
}

void FLX_Source::buildGroupMenu(void* node, PRM_Name* names, int size, const PRM_SpareData*, PRM_Parm*) {
    auto* source = dynamic_cast<FLX_Source*>(static_cast<OP_Node*>(node));
    if (!source) return buildGroupMenuOf(nullptr, false, names, size);
    FLX_GeoLookup lookup;
    const GU_Detail* detail =
        source->getGeo(nullptr, source->getPrevContextData(), CH_Manager::getEvaluateTime(0), 0, 1, nullptr, lookup);
    buildGroupMenuOf(detail, source->EMITTYPE() > PointRandom, names, size);
}

// ---- births

void FLX_Source::buildMap(Cook& cook) {
    const UT_String pattern = ATTRIB();
    const bool variables = CREATELOCALVAR();
    cook.map->build(cook.context, cook.source, cook.context->peekDetail(), pattern, variables);
}

void FLX_Source::emitParticles(Cook& cook) {
    FLX_ContextData* context = cook.context;
    GU_Detail* particles = context->peekDetail();
    cook.birthGroup = GROUP.make(*context);
    if (myType != Volume) {
        cook.map = std::make_unique<FLX_AttribMap>();
        buildMap(cook);
    }
    const bool accurate = ACCURATEBIRTHS();
    if (myType != Volume) setInputGroup(cook.source, cook.group, context->source(cook.prim));
    setupVars(context, cook.source, cook.group);
    if (accurate && ((cook.map && !cook.map->isEmpty()) || hasSourceAttributeVars())) {
        cook.sourceAttribs = std::make_unique<flx_SrcAttribDict>();
        cook.sourceAttribs->update(*cook.source);
    }
    if (!addBirths(context, cook.prim, RATES, cook.time) || !(context->born(cook.prim) > 0)) return;

    const float t = cook.time;
    const int thread = cook.thread;
    const FLX_LifeParms::Sources life{choose(LIFE.LIFE, t, thread), choose(LIFE.LIFEVAR, t, thread)};
    const auto chooseComponent = [&](const PRM_FloatComponent& p) {
        return FLX_Chosen<PRM_FloatComponent>(p, t, isVarDependent(particles, FLX_ParmRef(p), t, thread) != 0);
    };
    const PRM_FloatComponent probMinParm = PROB[0], probMaxParm = PROB[1];
    const auto probMin = chooseComponent(probMinParm);
    const auto probMax = chooseComponent(probMaxParm);
    const auto originIndex = choose(ORIGININDEX, t, thread);
    const FLX_SpreadParms::Sources spread{chooseVector(SPREAD.VEL, t, thread), chooseVector(SPREAD.VAR, t, thread),
                                          &SPREAD.DOELLIPSE};
    const auto inherit = choose(INHERITVEL, t, thread);

    const auto originOf = [&] { return originIndex(); };
    const auto lifeOf = [&] { return life.draw(*context); };
    const auto probabilityOf = [&] {
        const float low = probMin();
        const float high = probMax();
        return low + (high - low) * context->random();
    };
    const int initial = INITVEL();
    const auto velocityOf = [&](GEO_Point* point, UT_Vector3& v) {
        if (initial == UseInherited) {
            v = v * inherit();
        } else {
            const UT_Vector3 drawn = spread.draw(*context);
            v = initial == SetVelocity ? drawn : v * inherit() + drawn;
        }
        FLXstoreSpeed(*context, point, v);
    };

    FLX_Emission emission;
    emission.generator = this;
    emission.context = context;
    emission.birth.prim = cook.prim;
    emission.birth.origin = originOf;
    emission.birth.originMode = ORIGINUSE() == 0 ? FLX_ORIGIN_INDEX : FLX_ORIGIN_INDEX | FLX_ORIGIN_OFFSET;
    emission.birth.life = lifeOf;
    emission.birth.velocity = velocityOf;
    emission.born = &context->born(cook.prim);
    emission.element = &context->source(cook.prim);
    emission.birthGroup = cook.birthGroup;
    emission.probability = probabilityOf;
    emission.sampleThreshold = SAMPLETHRESHOLD(t);
    emission.densityThreshold = THRESHOLD(t);
    emission.densityMin = DENSITYMIN(t);
    emission.useDensity = USEDENSITY();
    const auto take = [&] {
        emission.source = cook.source;
        emission.group = cook.group;
        emission.rays = cook.rays;
        emission.map = cook.map.get();
    };
    take();
    const auto refetch = [&](float fraction) {
        updateGeometry(cook, fraction);
        take();
    };
    if (accurate) emission.refetch = refetch;
    if (UTgetInterrupt()->opInterrupt(-1) || error() >= UT_ERROR_ABORT) return;
    runEmission(emission, myType);
}

void FLX_Source::runEmission(FLX_Emission& emission, EmissionType type) {
    if (type == Volume) return FLXbirthFromDetail(emission);
    if (type == Metaball) return FLXbirthFromMetaPrim(emission);
    const EmissionRow& row = emissionRows[type];
    emission.random = row.random;
    if (type <= PointRandom) return FLXbirthFromPoints(emission);
    if (!row.byAttrib) return FLXbirthFromPrimitives(emission, row.sampling);

    const UT_String weight = DISTRIBUTIONATTRIB();
    if (weight.isstring() && emission.source->primitiveAttribs().getOffset(weight.str(), 4, GB_ATTRIB_FLOAT) < 0)
        addWarning(FLX_ERR_DISTRIBUTION_ATTRIB, weight.c_str());
    FLXbirthNonUniformlyFromRandomPrimitives(emission, row.sampling, weight.c_str());
}
