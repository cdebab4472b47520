#pragma once

#include "ops/collision/FLX_Sweep.h"
#include "vars/FLX_ParticleCook.h"

/// Base of the operators that stop, bounce, kill or attach particles where their last move crosses a surface. The time
/// step has moved the particles already; a sweep re-traces the move from "backtrack" and replaces its result. It asks
/// the derived operator, through the hooks, what its rays meet.
class FLX_IntersectBase : public FLX_ParticleOperator {
public:
    using FLX_ParticleOperator::FLX_ParticleOperator;

protected:
    // ---- one particle's sweep; 1 when it hit something, else 0
    /// Against geometry that stands still.
    virtual int intersectParticle(const FLX_SweepRules& rules, const FLX_HitValues& values, GEO_Point* point);
    /// Against geometry that moves without turning, in parts of the step.
    virtual int intersectParticleWithMovingGeometry(const FLX_SweepRules& rules, const FLX_HitValues& values,
                                                    GEO_Point* point);
    /// Against geometry whose points move during the step.
    virtual int intersectParticleWithDeformingGeometry(const FLX_SweepRules& rules, const FLX_HitValues& values,
                                                       GEO_Point* point);

    /// The first ray that intersectParticle sends, if any.
    static FLX_SurfaceRay firstRay(const FLX_SweepRules& rules, const GEO_Point* point);

    // ---- hooks: what a ray meets. Non-zero on a hit, which fills the output.
    virtual int intersectVertex(const FLX_SurfaceRay&, FLX_SurfaceHit&) { return 0; }
    virtual int intersectVertexWithMovingGeometry(const FLX_SurfaceRay&, FLX_SurfaceHit&) { return 0; }
    virtual int intersectVertexWithDeformingGeometry(const FLX_SurfaceRay&, FLX_SurfaceHit&) { return 0; }

    // ---- hooks: how the geometry moves
    /// The geometry at the start of part k of the step.
    virtual const GU_Detail* getOversampledDetail(int) { return nullptr; }
    /// The velocity of the geometry during part k; 0, the output untouched, when there is none.
    virtual int getOversampledGeoVelocity(int, UT_Vector3&) { return 0; }
    /// Motion of the place (u, v) of a primitive during part k, which lasts `span`: its velocity, its positions at the
    /// start and the end, its normal at the end. Leaves the outputs when there is no such place.
    virtual void getCollisionVelocity(int, int, float, float, float, UT_Vector3&, UT_Vector4&, UT_Vector4&,
                                      UT_Vector3&) {}

private:
    struct Side;
    bool correctStart(const FLX_Sweep& sweep, const Side& side, FLX_SurfaceRay& ray, FLX_SurfaceHit& hit);
    bool bounceOffStatic(FLX_Sweep& sweep, Side& side, const FLX_SurfaceHit& hit, bool corrected);
    UT_Vector3 velocityOfDeforming(const FLX_Sweep& sweep, const FLX_SurfaceHit& hit);
    bool bounceOffDeforming(FLX_Sweep& sweep, const FLX_SurfaceHit& hit, const UT_Vector3& surface);

    /// How a part of the step ends for a particle among moving surfaces.
    enum class Contact { None, Carried, Hit };
    struct Crossing;
    Contact findContact(const FLX_Sweep& sweep, const FLX_SurfaceRay& ray, float span, FLX_SurfaceHit& hit,
                        Crossing& crossing);
    bool evaluateCrossing(const FLX_Sweep& sweep, const FLX_SurfaceHit& hit, int part, float span, Crossing& crossing);
    bool sweepPart(FLX_Sweep& sweep, int part, float span);
    bool bounceOffMoving(FLX_Sweep& sweep, const FLX_SurfaceRay& ray, float speed, const FLX_SurfaceHit& hit,
                         const Crossing& crossing, float span);
};
