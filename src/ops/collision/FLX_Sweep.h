#pragma once

#include <cmath>

#include "core/FLX_ContextData.h"
#include "core/FLX_FunctionRef.h"

class FLX_SurfaceCache;

/// What becomes of a particle that hits a surface: the order of the "behavior" menus.
enum FLX_HitBehavior : int {
    FLX_HIT_DIE,
    FLX_HIT_BOUNCE,
    FLX_HIT_STOP,
    FLX_HIT_STICK,
    FLX_HIT_SLIDE,
    FLX_HIT_CONTINUE,
};

/// What becomes of one that bounces too weakly: the order of the "finalbehavior" menu.
enum FLX_FinalBehavior : int { FLX_FINAL_BOUNCE, FLX_FINAL_DIE, FLX_FINAL_STOP, FLX_FINAL_STICK, FLX_FINAL_SLIDE };

/// Where a ray met a surface.
struct FLX_SurfaceHit {
    int prim = -1; ///< number of the primitive
    float u = 0, v = 0;
    float t = 0; ///< in lengths of the ray's direction
    UT_Vector3 normal{0, 0, 0};
    UT_Vector3 texture{0, 0, 0}, diffuse{0, 0, 0}; ///< when the particles have "hituv" and "hitCd"
    const UT_String* path = nullptr;               ///< of the geometry; lives as long as the cook
};

/// A ray that a sweep sends against the geometry, over [0, length].
struct FLX_SurfaceRay {
    UT_Vector3 origin, direction; ///< of unit length, but for deforming geometry the velocity
    float length;                 ///< in lengths of the direction; for deforming geometry a time
    float* distance = nullptr;    ///< receives the distance to the next surface ahead, -1 when there is none
    const FLX_SurfaceHit* previous = nullptr; ///< where the ray starts, which it is to skip; null: nowhere known
    bool extended = true;                     ///< reaches further by the collision tolerance
    bool sided = false;                       ///< the particle knows its side of the surface: a hit at the start counts
    int subStep = 0;                          ///< moving geometry: which part of the step
    float startFraction = 0; ///< deforming geometry: the part of the step that is over when the ray starts

    UT_Vector3 at(float t) const { return origin + direction * t; }
};

/// A bounce off what moves so fast could leave the range of floats: such a surface passes by.
inline bool FLXisTooFast(const UT_Vector3& velocity, const UT_Vector3& surface) {
    return !std::isfinite(2 * (velocity - surface).length() + surface.length());
}

/// Byte offsets of the attributes that sweeps read and write; -1: absent.
struct FLX_SweepOffsets {
    FLX_SweepOffsets() = default;
    explicit FLX_SweepOffsets(const FLX_ContextData& context);

    FLX_CoreOffsets core;
    int speedLimit = -1, posPath = -1, posPrim = -1, posUV = -1;
    int hitPos = -1, hitNormal = -1, hitPosUV = -1, hitUV = -1, hitDiffuse = -1;
    int numHit = -1, hitId = -1, hitTime = -1, distance = -1;
};

/// How particles are kept on their side of a static surface. The offsets are those of an int attribute that holds the
/// side (-1 or 1, 0: not known yet) and of a vector attribute that holds the last normal.
struct FLX_SideRules {
    bool enforced = false;
    int side = -1, previousNormal = -1;
    float backStep = 0, normalStep = 0;

    bool hasNormalStep() const { return previousNormal >= 0 && normalStep != 0; }
};

/// What the sweeps of one cook have in common.
struct FLX_SweepRules {
    FLX_SweepOffsets at;
    FLX_SideRules sides;
    GB_Attribute* paths = nullptr;        ///< "pospath"
    FLX_SurfaceCache* surfaces = nullptr; ///< where particles are placed that stick or slide
    float time = 0, timeStep = 0;
    int behavior = FLX_HIT_DIE, finalBehavior = FLX_FINAL_BOUNCE;
    int iterations = 0;   ///< most rays per particle and step
    int oversampling = 1; ///< parts of a step for moving geometry
    bool addPrimToHitId = false;
};

/// Values that a sweep evaluates for its particle at the moment it needs them, after what it wrote before.
struct FLX_HitValues {
    FLX_FunctionRef<float()> gainTangent, gainNormal, minImpulse;
    FLX_FunctionRef<int()> hitIndex;
};

/// One particle's last move on its way: what is left of it, and the response to hits that all sweeps share. Works on
/// copies; the particle changes by what a hit records and, at the end, by `finish`.
class FLX_Sweep {
public:
    FLX_Sweep(const FLX_SweepRules& rules, const FLX_HitValues& values, GEO_Point* point);

    /// Where the last move of a particle began, with what velocity, and how long ago.
    struct Move {
        Move(const FLX_SweepOffsets& at, const GEO_Point* point);
        UT_Vector3 from, velocity;
        float time;
    };
    /// Takes the move from "backtrack". False when the particle is not to be swept at all.
    bool begin();
    /// Writes what the particle hit: `place` is where, `fraction` how much of the time left had passed.
    void record(const FLX_SurfaceHit& hit, const UT_Vector3& place, float fraction);
    /// The same at an absolute time.
    void recordAt(const FLX_SurfaceHit& hit, const UT_Vector3& place, float time);
    /// Every behaviour but bounce: the particle ends at `place`, or on the surface.
    void settle(int behavior, const FLX_SurfaceHit& hit, const UT_Vector3& place);
    /// Goes on with the velocity after a bounce, within the speed limits; false when the bounce was so weak that the
    /// final behaviour took its place, which keeps the velocity.
    bool bounce(const UT_Vector3& after, const FLX_SurfaceHit& hit);
    /// Writes position, velocity and backtrack of a particle that hit something, and returns 1; else 0. With `moveOn`
    /// it first uses up the time left.
    int finish(bool moveOn);

    /// Where the distance to the surface ahead goes; null when nobody asks. After a hit it stays 0.
    float* distance() const { return touched ? nullptr : value<float>(rules.at.distance); }
    const FLX_SurfaceHit* previous() const { return last.prim >= 0 ? &last : nullptr; }
    int& state() const { return *point->castAttribData<int>(rules.at.core.state); }
    template <class T> T* value(int offset) const { return offset < 0 ? nullptr : point->castAttribData<T>(offset); }

    const FLX_SweepRules& rules;
    const FLX_HitValues& values;
    GEO_Point* const point;
    UT_Vector3 at, velocity;
    float left = 0; ///< time
    int behavior;
    bool touched = false; ///< something was hit
    FLX_SurfaceHit last;

private:
    void attach(int bit, const FLX_SurfaceHit& hit);
    template <class T> void put(int offset, const T& x) const {
        if (T* to = value<T>(offset)) *to = x;
    }
};

/// Brings the length of v into the bounds that the particle's "speedlimit" sets.
void FLXapplySpeedLimit(const FLX_SweepOffsets& at, GEO_Point* point, UT_Vector3& v);
