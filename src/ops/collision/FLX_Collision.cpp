#include "ops/collision/FLX_Collision.h"

#include <algorithm>
#include <cmath>

#include "core/FLX_Rules.h"
#include "core/FLX_SurfaceCache.h"
#include "host/node/SOP_Node.h"
#include "host/ut/UT_ErrorTable.h"
#include "ops/collision/FLX_CollisionPass.h"

namespace {

// clang-format off
constexpr PRM_Name hintNames[] = {
    {"static", "Static Geometry"}, {"translating", "Translating Geometry"}, {"deforming", "Deforming Geometry (Only Triangles)"}, {nullptr, nullptr}};
constexpr PRM_Name behaviorNames[] = {
    {"die", "Die on Collision"}, {"bounce", "Bounce on Collision"}, {"stop", "Stop on Collision"}, {"stick", "Stick on Collision"},
    {"slide", "Slide on Collision"}, {"continue", "Continue on course"}, {nullptr, nullptr}};
constexpr PRM_Name hitUseNames[] = {{"index", "index"}, {"indexprim", "index + primitive number"}, {nullptr, nullptr}};
constexpr PRM_Name finalBehaviorNames[] = {
    {"bounce", "Bounce on Collision"}, {"die", "Die on Collision"}, {"stop", "Stop on Collision"}, {"stick", "Stick on Collision"},
    {"slide", "Slide on Collision"}, {nullptr, nullptr}};
// clang-format on

constexpr int DONE = FLX_DEAD | FLX_STOPPED | FLX_STUCK | FLX_SLIDING;

bool attaches(int behavior, int finalBehavior) {
    return behavior == FLX_HIT_STICK || behavior == FLX_HIT_SLIDE ||
           (behavior == FLX_HIT_BOUNCE && (finalBehavior == FLX_FINAL_STICK || finalBehavior == FLX_FINAL_SLIDE));
}

int limited(int value, int most, const char* token) {
    if (value <= most) return value;
    const std::string limit = std::to_string(most);
    UTaddWarning("OP", OP_ERR_BAD_PARM,
                 (std::string(token) + ": more than " + limit + "; " + limit + " is used instead").c_str());
    return most;
}

} // namespace

const PRM_ChoiceList FLX_Collision::hintMenu(PRM_ChoiceListType::Replace, hintNames);
const PRM_ChoiceList FLX_Collision::behaviorMenu(PRM_ChoiceListType::Replace, behaviorNames);
const PRM_ChoiceList FLX_Collision::hitUseMenu(PRM_ChoiceListType::Replace, hitUseNames);
const PRM_ChoiceList FLX_Collision::finalBehaviorMenu(PRM_ChoiceListType::Replace, finalBehaviorNames);

const PRM_EnableRule FLX_Collision::bounces = enable::is("behavior", {FLX_HIT_BOUNCE});
const PRM_EnableRule FLX_Collision::bouncesFinally = bounces && enable::isNot("finalbehavior", {FLX_FINAL_BOUNCE});
const PRM_EnableRule FLX_Collision::keepsSide = bounces && enable::is("geohint", {0}) && enable::on("enforceorient");
const PRM_EnableRule FLX_Collision::storesSide = keepsSide && enable::on("dohittest");
const PRM_EnableRule FLX_Collision::stepsAlongNormal = storesSide && enable::on("donormalstep");

FLX_Collision::FLX_Collision(OP_Network* parent, const char* name, OP_Operator* op)
    : FLX_IntersectBase(parent, name, op) {
    myGuide = new GOP_Guide;
    myGuideHandle.allocateAndSet(myGuide, 1);
}

FLX_Collision::~FLX_Collision() = default;

const PRM_TemplateTable& FLX_Collision::obsoleteTemplates() {
    static const PRM_TemplateTable table = [] {
        PRM_TemplateTable rows = PRMstringTable({{"obj", "Object"}, {"sop", "SOP"}});
        PRM_Template& moves = rows.rows.emplace_back();
        moves.type = PRM_Type::Toggle;
        moves.token = "geomoves";
        moves.label = "Geometry Moves With Time";
        moves.defaults.assign(1, PRM_Default(0.0));
        moves.animated = false;
        return rows;
    }();
    return table;
}

void FLX_Collision::resolveObsoleteParms(PRM_ParmList* obsolete) {
    applyBackwardsPathCompatibility(obsolete);
    PRM_Parm* moves = obsolete ? obsolete->find("geomoves") : nullptr;
    if (!moves || moves->component(0).constant == 0) return;
    setInt("geohint", 0, int(FLX_GeoHint::Translating));
    moves->setConstant(0, 0);
}

void FLX_Collision::addAttrib(void* data) {
    auto* context = static_cast<FLX_ContextData*>(data);
    if (DONUMHIT()) addNumHitAttrib(context);
    if (DOHITID()) addHitIDAttrib(context);
    if (DOHITTIME()) addHitTimeAttrib(context);
    if (DOHITPOS()) addHitPosAttrib(context);
    if (DOHITPOSUV()) addHitPosUVAttrib(context);
    if (DOHITNORMAL()) addHitNormalAttrib(context);
    if (DOHITDIFF()) addHitDiffuseAttrib(context);
    if (DOHITUV()) addHitUVAttrib(context);
    if (DODISTANCE()) addDistanceAttrib(context);
    if (attaches(BEHAVIOR(), FINALBEHAVIOR())) {
        addPosPathAttrib(context);
        addPosPrimAttrib(context);
        addPosUVAttrib(context);
    }
    const bool sides = BEHAVIOR() == FLX_HIT_BOUNCE && GEOHINT() == 0 && ENFORCEORIENT() && DOHITTEST();
    if (!sides) return;
    const auto add = [&](const UT_String& name, int size, GB_AttribType type) {
        if (!name.isstring()) return;
        if (FLXisStandardAttrib(name.str()))
            addWarning(FLX_ERR_ATTRIB_CREATE, (name + " is a standard attribute").c_str());
        else if (context->getDetail()->pointAttribs().append(name.str(), size, type) < 0)
            addWarning(FLX_ERR_ATTRIB_CREATE, name.c_str());
    };
    add(HITTESTATTRIB(), 4, GB_ATTRIB_INT);
    if (DONORMALSTEP()) add(PREVHITNMLATTRIB(), 12, GB_ATTRIB_VECTOR);
}

// ---- the cook

/// What the loop does with a particle; it keeps the operator's set-up until it has run.
class FLX_Collision::Turn {
public:
    Turn(FLX_Collision& collision, std::shared_ptr<void> waiting)
        : myCollision(&collision)
        , myWaiting(std::move(waiting)) {}

    const FLX_MoveSieve& sieve() const { return myCollision->mySieve; }
    template <class... Values> void operator()(GEO_Point* p, const auto& tolerance, const Values&... values) const {
        withValues([&](const FLX_HitValues& v) { myCollision->changePoint(p, tolerance, v); }, values...);
    }
    /// For what the sieve let through: some particles, and then, each at its turn, sweeps of these.
    void prepare(GEO_Point* const* points, size_t count, const auto& tolerance) const {
        myCollision->castAhead(points, count, tolerance());
    }
    template <class... Values>
    void sweep(size_t i, GEO_Point* p, const auto& tolerance, const Values&... values) const {
        myCollision->myTurn = i;
        withValues([&](const FLX_HitValues& v) { myCollision->sweepPoint(p, tolerance(), v); }, values...);
        myCollision->myTurn = NOT_CAST;
    }

private:
    void withValues(const auto& work, const auto& normal, const auto& tangent, const auto& impulse,
                    const auto& index) const {
        FLX_Collision& c = *myCollision;
        const auto soundTangent = [&] { return c.sound(tangent(), c.GAINTAN, c.myTold.tangent); };
        const auto soundNormal = [&] { return c.sound(normal(), c.GAINNML, c.myTold.normal); };
        const auto soundImpulse = [&] { return c.sound(impulse(), c.MINIMPULSE, c.myTold.impulse); };
        work(FLX_HitValues{soundTangent, soundNormal, soundImpulse, index});
    }

    FLX_Collision* myCollision;
    std::shared_ptr<void> myWaiting;
};

UT_ErrorSeverity FLX_Collision::cookFlx(OP_Context& opContext) {
    return cookParticles(opContext, [&](FLX_ParticleCook& cook) {
        setUpSweeps(cook.context(), cook.time());
        const auto tolerance = cook.choose(TOLERANCE);
        const auto gainNormal = cook.choose(GAINNML);
        const auto gainTangent = cook.choose(GAINTAN);
        const auto minImpulse = cook.choose(MINIMPULSE);
        const auto hitIndex = cook.choose(HITINDEX);
        if (!mayRun()) return;
        const auto waiting = std::make_shared<int>();
        myWaiting = waiting;
        cook.each(DONE, Turn(*this, waiting), FLX_CollisionTolerance(tolerance), late(gainNormal), late(gainTangent),
                  late(minImpulse), late(hitIndex));
        if (myEvent.isstring() && myHits > 0) cook.context().addEvent(myEvent, cook.time());
    });
}

bool FLX_Collision::select(OP_Context& opContext, FLX_ContextData& context, const GB_PointGroup*& group) {
    if (!myWaiting.expired()) context.flushPasses(); // it is cooked again
    const float t = opContext.getTime();
    const bool active = checkActivation(&context, ACTIVATE), shown = doUpdateViewport(&context) != 0;
    readMode(t);
    if (active || shown) fetchGeometry(context, t);
    if (shown && myCollider.current()) myGuide->merge(*myCollider.current());
    if (context.isGuideOnly() || !active) return false;
    myHitGroup = GROUP.make(context);
    myEvent = EVENT();
    context.removeEvent(myEvent);
    if (t == 0 || !parseSource(context, group)) return false;
    if (!myCollider.prepare()) addError(FLX_ERR_DEFORMING);
    if (myCollider.changesTopology())
        UTaddWarning("OP", OP_ERR_BAD_PARM,
                     "geohint: translating geometry changes its topology, surfaces may be taken for others");
    if (myHint == FLX_GeoHint::Deforming && myCollider.rays() && myCollider.rays()->skipped() > 0)
        UTaddWarning("OP", OP_ERR_BAD_PARM,
                     "geohint: spheres, tubes and circles are not hit while geometry deforms; make them polygons");
    setupVars(&context, group);
    return true;
}

void FLX_Collision::readMode(float t) {
    myBehavior = std::clamp(BEHAVIOR(t), int(FLX_HIT_DIE), int(FLX_HIT_CONTINUE));
    const int hint = GEOHINT();
    myHint = hint == 1 ? FLX_GeoHint::Translating : hint == 2 ? FLX_GeoHint::Deforming : FLX_GeoHint::Static;
    constexpr int MOST_PARTS = 1000; // each keeps a copy of the geometry
    myParts = myHint == FLX_GeoHint::Translating ? limited(SAMPLE(t), MOST_PARTS, SAMPLE.token()) : 1;
}

void FLX_Collision::fetchGeometry(FLX_ContextData& context, float t) {
    const FLX_Collider::Request request{&context, t, context.timeStep, myHint, myParts, IGNOREXFORM()};
    myCollider.fetch(*this, request);
    if (myCollider.current()) return;
    UT_String path;
    getGeoPath(path, &context, t);
    if (path.isstring()) addWarning(FLX_ERR_BAD_PATH, path.c_str());
}

void FLX_Collision::setUpSweeps(FLX_ContextData& context, float t) {
    myHits = 0;
    myTold = {};
    mySpeedOffset = context.getSpeedOffset();
    myRules = FLX_SweepRules();
    myRules.at = FLX_SweepOffsets(context);
    myRules.paths = context.peekDetail()->pointAttribs().find("pospath", 4, GB_ATTRIB_INDEX);
    myRules.time = t;
    myRules.timeStep = context.timeStep;
    myRules.behavior = myBehavior;
    if (myBehavior == FLX_HIT_BOUNCE) myRules.finalBehavior = std::clamp(FINALBEHAVIOR(), 0, int(FLX_FINAL_SLIDE));
    constexpr int MOST_BOUNCES = 10000; // of one particle in one step; what does not bounce sends one ray at most
    myRules.iterations = myHint == FLX_GeoHint::Translating ? 1 : BOUNCE(t);
    if (myBehavior == FLX_HIT_BOUNCE) myRules.iterations = limited(myRules.iterations, MOST_BOUNCES, BOUNCE.token());
    myRules.oversampling = myParts;
    myRules.addPrimToHitId = HITUSE() == 1;
    if (myBehavior == FLX_HIT_BOUNCE && myHint == FLX_GeoHint::Static && ENFORCEORIENT())
        setUpSides(*context.peekDetail(), t);
    mySurfaces.reset();
    if (attaches(myBehavior, myRules.finalBehavior)) {
        mySurfaces = std::make_unique<FLX_SurfaceCache>(context);
        myPath = pathFor(context, t);
    }
    myRules.surfaces = mySurfaces.get();
    const bool still = myHint == FLX_GeoHint::Static;
    mySieve = FLX_MoveSieve(myRules, myCollider.reach(), still ? myCollider.rays() : nullptr);
    myWantsTexture = myRules.at.hitUV >= 0;
    myWantsDiffuse = myRules.at.hitDiffuse >= 0;
    myPassUse = whatIsWritten();
}

// What sticks or slides adds a string to a table and asks for geometry, which may ask the particles.
FLX_PassUse FLX_Collision::whatIsWritten() const {
    if (mySurfaces) return FLX_PassUse::Barrier;
    return myHitGroup || myEvent.isstring() ? FLX_PassUse::Closing : FLX_PassUse::Queued;
}

void FLX_Collision::setUpSides(const GU_Detail& particles, float t) {
    FLX_SideRules& sides = myRules.sides;
    sides.enforced = true;
    const bool stored = DOHITTEST();
    const auto own = [&](const UT_String& name, int size, GB_AttribType type) {
        if (!name.isstring() || FLXisStandardAttrib(name.str())) return -1;
        const int offset = particles.pointAttribs().getOffset(name.str(), size, type);
        if (offset < 0 && stored) addWarning(FLX_ERR_ATTRIB_CREATE, name.c_str()); // perhaps the name has changed
        return offset;
    };
    if (stored) sides.side = own(HITTESTATTRIB(), 4, GB_ATTRIB_INT);
    if (sides.side >= 0) sides.backStep = BACKSTEP(t);
    if (!DONORMALSTEP()) return;
    sides.previousNormal = own(PREVHITNMLATTRIB(), 12, GB_ATTRIB_VECTOR);
    if (sides.previousNormal >= 0) sides.normalStep = NORMALSTEP(t);
}

// Stuck particles are placed by the operator that the network cooks: a path that means something else there is spelled
// out.
UT_String FLX_Collision::pathFor(const FLX_ContextData& context, float t) {
    UT_String path;
    getGeoPath(path, &context, t);
    const OP_Node* sop = myCollider.sop();
    if (!sop || !context.cookNode || context.cookNode->getSOPNode(path.c_str(), 0) == sop) return path;
    return sop->getFullPath();
}

// ---- one particle

void FLX_Collision::changePoint(GEO_Point* point, FLX_FunctionRef<float()> tolerance, const FLX_HitValues& values) {
    if (!(point->castAttribData<float>(myRules.at.core.life)[0] > 0)) return;
    const float reach = tolerance();
    if (!mySieve.passesBy(point, reach)) sweepPoint(point, reach, values);
}

void FLX_Collision::sweepPoint(GEO_Point* point, float tolerance, const FLX_HitValues& values) {
    myTolerance = tolerance;
    if (!sweep(point, values)) return;
    ++myHits;
    if (mySpeedOffset >= 0)
        *point->castAttribData<float>(mySpeedOffset) =
            FLX_Rules::speedOf(*point->castAttribData<UT_Vector3>(myRules.at.core.velocity));
    if (myHitGroup) myHitGroup->add(point);
}

int FLX_Collision::sweep(GEO_Point* point, const FLX_HitValues& values) {
    switch (myHint) {
    case FLX_GeoHint::Deforming: return intersectParticleWithDeformingGeometry(myRules, values, point);
    case FLX_GeoHint::Translating: return intersectParticleWithMovingGeometry(myRules, values, point);
    case FLX_GeoHint::Static: break;
    }
    return intersectParticle(myRules, values, point);
}

int FLX_Collision::getOversampledGeoVelocity(int k, UT_Vector3& velocity) {
    velocity = myCollider.velocity(k);
    return 1;
}

void FLX_Collision::getCollisionVelocity(int k, int number, float u, float v, float span, UT_Vector3& velocity,
                                         UT_Vector4& start, UT_Vector4& end, UT_Vector3& normal) {
    const GU_Detail *before = myCollider.detail(k), *after = myCollider.detail(k + 1);
    if (!before || !after || number < 0 || size_t(number) >= before->primitives().entries() ||
        size_t(number) >= after->primitives().entries())
        return;
    const GEO_Primitive *from = before->primitives()(size_t(number)), *to = after->primitives()(size_t(number));
    if (!from->evaluatePosition(u, v, start) || !to->evaluatePosition(u, v, end)) return;
    to->evaluateNormal(u, v, normal);
    velocity = UT_Vector3(end - start) * (1 / span);
}
