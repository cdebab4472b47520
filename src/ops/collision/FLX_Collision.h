#pragma once

#include <cmath>

#include "host/geo/GU_RayBatch.h"
#include "host/geo/GU_RayInfo.h"
#include "ops/collision/FLX_Collider.h"
#include "ops/collision/FLX_IntersectBase.h"
#include "ops/collision/FLX_MoveSieve.h"
#include "vars/FLX_GroupParms.h"

/// Finds the particles whose last move crossed the surface of some geometry, and lets them die, bounce, stop, stick,
/// slide, or go on; tells where and how they hit.
class FLX_Collision : public FLX_IntersectBase {
public:
    FLX_Collision(OP_Network* parent, const char* name, OP_Operator* op);
    ~FLX_Collision() override;

    static const PRM_ChoiceList hintMenu, behaviorMenu, hitUseMenu, finalBehaviorMenu;
    static const PRM_EnableRule bounces, bouncesFinally, keepsSide, storesSide, stepsAlongNormal;
    static constexpr PRM_Range gainRange{PRM_RangeKind::Slider, PRM_RangeKind::Slider, 0, 5};

    // clang-format off
    Folders        FOLDERS         {this, {{"Collision", 5}, {"Behavior", 12}, {"Constraints", 7}, {"Attributes", 9}}};
    Menu           USECONTEXTGEO   {this, FLXuseContextGeoName, 0, &FLXuseContextGeoMenu};
    Text           SOPPATH         {this, FLXfullsopName, "", PRM_StringKind::SopPath, enable::is("usecontextgeo", {0}),
                                    PRM_Needed{enable::is("usecontextgeo", {0})}};
    Toggle         IGNOREXFORM     {this, {"ignorexform", "Ignore Transform Object"}, false};
    Menu           GEOHINT         {this, {"geohint", "Hint"}, 0, &hintMenu, PRM_NoVariables};
    Float          TOLERANCE       {this, {"tolerance", "Collision Tolerance"}, 0, PRMhardMin(0, 10)};
    Menu           BEHAVIOR        {this, {"behavior", "Behavior"}, FLX_HIT_DIE, &behaviorMenu};
    Text           EVENT           {this, {"event", "Collision Event"}, ""};
    FLX_GroupParms GROUP           {this, "Collision Group"};
    Menu           HITUSE          {this, {"hituse", "Use as Hit ID"}, 0, &hitUseMenu};
    Int            HITINDEX        {this, {"hitindex", "Hit Index"}, 0};
    Int            SAMPLE          {this, {"sample", "Oversampling"}, 1, PRMhardMin(1, 5), PRM_NoVariables, enable::is("geohint", {1})};
    Int            BOUNCE          {this, {"bounce", "Bounce Accuracy"}, 10, PRMhardMin(0, 10), PRM_OncePerCook, bounces && enable::isNot("geohint", {1})};
    Float          GAINTAN         {this, {"gaintan", "Gain Tangent"}, 1, gainRange, bounces};
    Float          GAINNML         {this, {"gainnml", "Gain Normal"}, 1, gainRange, bounces};
    Menu           FINALBEHAVIOR   {this, {"finalbehavior", "Final Behavior"}, FLX_FINAL_BOUNCE, &finalBehaviorMenu, bounces};
    Float          MINIMPULSE      {this, {"minimpulse", "Minimum Impulse"}, 1, gainRange, bouncesFinally};
    Toggle         ENFORCEORIENT   {this, {"enforceorient", "Enforce Orientation"}, true, bounces && enable::is("geohint", {0})};
    Toggle         DOHITTEST       {this, {"dohittest", "Add Hit Test Attribute"}, false, keepsSide};
    Text           HITTESTATTRIB   {this, {"hittestattrib", "Hit Test Attribute"}, "hittest`opdigits(\".\")`", storesSide};
    Toggle         DONORMALSTEP    {this, {"donormalstep", "Do Normal Step Correction"}, false, storesSide};
    Text           PREVHITNMLATTRIB{this, {"prevhitnmlattrib", "Prev Normal Attribute"}, "prevhitN`opdigits(\".\")`", stepsAlongNormal};
    Float          NORMALSTEP      {this, {"normalstep", "Normal Step Distance"}, 0.005, PRMhardMin(0, 10), PRM_OncePerCook, stepsAlongNormal};
    Float          BACKSTEP        {this, {"backstep", "Back Step Distance"}, 0.005, PRMhardMin(0, 10), PRM_OncePerCook, storesSide};
    Toggle         DONUMHIT        {this, {"donumhit", "Add Num Hit Attribute"}, false};
    Toggle         DOHITID         {this, {"dohitid", "Add Hit ID Attribute"}, false};
    Toggle         DOHITTIME       {this, {"dohittime", "Add Hit Time Attribute"}, false};
    Toggle         DOHITPOS        {this, {"dohitpos", "Add Hit Position Attribute"}, false};
    Toggle         DOHITPOSUV      {this, {"dohitposuv", "Add Hit Position UV Attribute"}, false};
    Toggle         DOHITNORMAL     {this, {"dohitnormal", "Add Hit Normal Attribute"}, false};
    Toggle         DOHITDIFF       {this, {"dohitdiff", "Add Hit Diffuse Color Attribute"}, false};
    Toggle         DOHITUV         {this, {"dohituv", "Add Hit Texture UV Attribute"}, false};
    Toggle         DODISTANCE      {this, {"dodistance", "Add Distance Attribute"}, false};
    // clang-format on

    /// Known once the cook has been set up; until then that of the cook before, which is right but may wait less.
    FLX_PassUse passUse() const override { return myPassUse; }
    void resolveObsoleteParms(PRM_ParmList* obsolete) override;
    static const PRM_TemplateTable& obsoleteTemplates();

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
    void addAttrib(void* context) override;
    bool select(OP_Context& opContext, FLX_ContextData& context, const GB_PointGroup*& group) override;

    int intersectVertex(const FLX_SurfaceRay& ray, FLX_SurfaceHit& hit) override;
    int intersectVertexWithMovingGeometry(const FLX_SurfaceRay& ray, FLX_SurfaceHit& hit) override;
    int intersectVertexWithDeformingGeometry(const FLX_SurfaceRay& ray, FLX_SurfaceHit& hit) override;
    const GU_Detail* getOversampledDetail(int k) override { return myCollider.detail(k); }
    int getOversampledGeoVelocity(int k, UT_Vector3& velocity) override;
    void getCollisionVelocity(int k, int prim, float u, float v, float span, UT_Vector3& velocity, UT_Vector4& start,
                              UT_Vector4& end, UT_Vector3& normal) override;

private:
    void readMode(float t);
    void fetchGeometry(FLX_ContextData& context, float t);
    void setUpSweeps(FLX_ContextData& context, float t);
    void setUpSides(const GU_Detail& particles, float t);
    FLX_PassUse whatIsWritten() const;
    UT_String pathFor(const FLX_ContextData& context, float t);

    class Turn;
    void changePoint(GEO_Point* point, FLX_FunctionRef<float()> tolerance, const FLX_HitValues& values);
    void sweepPoint(GEO_Point* point, float tolerance, const FLX_HitValues& values);
    int sweep(GEO_Point* point, const FLX_HitValues& values);
    /// A value that is no number, or without end, is 0, and the node warns of the parameter.
    float sound(float value, const PRM_Float& parm, bool& told) {
        if (std::isfinite(value)) [[likely]]
            return value;
        if (!told) warnNotANumber(parmTemplate(parm.index()));
        told = true;
        return 0;
    }
    void castAhead(GEO_Point* const* points, size_t count, float tolerance);

    // ---- casting (FLX_CollisionCast.cpp)
    const GU_RayHit* cast(const GU_RayIntersect& rays, const FLX_SurfaceRay& ray, float reach, bool startCounts);
    const GU_RayHit* probeAround(const GU_RayIntersect& rays, const FLX_SurfaceRay& ray);
    int report(const GU_RayHit* found, const GU_RayIntersect& rays, const FLX_SurfaceRay& ray, FLX_SurfaceHit& hit);
    const GU_RayHit* closest(const GU_RayIntersect& rays, const UT_Vector3& origin, const UT_Vector3& direction,
                             float low, float high, int find = GU_FIND_CLOSEST);

    FLX_Collider myCollider;

    // ---- of one cook, and of its pass as long as that waits
    std::weak_ptr<void> myWaiting; ///< there while a pass uses what follows
    FLX_PassUse myPassUse = FLX_PassUse::Barrier;
    FLX_GeoHint myHint = FLX_GeoHint::Static;
    int myBehavior = FLX_HIT_DIE, myParts = 1;
    FLX_SweepRules myRules;
    FLX_MoveSieve mySieve;
    std::unique_ptr<FLX_SurfaceCache> mySurfaces;
    UT_String myPath, myEvent;
    GB_PointGroup* myHitGroup = nullptr;
    int mySpeedOffset = -1;
    int myHits = 0;
    bool myWantsTexture = false, myWantsDiffuse = false;
    struct {
        bool normal = false, tangent = false, impulse = false;
    } myTold; ///< of values that were no number, in this cook

    // ---- of one particle
    float myTolerance = 0;
    GU_RayInfo myInfo;
    GU_RayBatch myAhead;      ///< the first rays of some particles
    size_t myTurn = NOT_CAST; ///< which of them is the particle's
    static constexpr size_t NOT_CAST = ~size_t(0);
};
