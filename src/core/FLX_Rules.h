#pragma once

#include <cmath>

#include "core/FLX_ContextData.h"
#include "core/FLX_State.h"
#include "host/ut/UT_Matrix3.h"
#include "host/ut/UT_Quaternion.h"
#include "host/ut/UT_Vector3.h"
#include "host/ut/UT_Vector4.h"

class FLX_SurfaceCache;

/// The default rules: forward Euler, so the position moves with the velocity of the step before it takes the
/// acceleration. Offsets and the time step are captured once; a rule for an optional attribute is called only when
/// `has…` says so.
struct FLX_Rules {
    explicit FLX_Rules(const FLX_ContextData& context)
        : core(context.core())
        , dt(context.timeStep)
        , suppression(context.getRuleSuppression())
        , speedLimit(context.getSpeedLimitOffset())
        , up(context.getUpOffset())
        , pv(context.getPrevVelOffset())
        , rot(context.getRotOffset())
        , w(context.getAngVelOffset())
        , torque(context.getTorqueOffset())
        , mass(context.getMassOffset())
        , speed(context.getSpeedOffset()) {}

    /// Nothing but the core attributes exists: the rules and the preparation touch no others.
    bool plain() const { return speedLimit < 0 && plainButLimited(); }
    /// The same, but for a speed limit that may exist.
    bool plainButLimited() const { return up < 0 && pv < 0 && rot < 0 && w < 0 && torque < 0 && speed < 0; }

    static UT_Vector3& vec(GEO_Point* p, int offset) { return *p->castAttribData<UT_Vector3>(offset); }
    static float* floats(GEO_Point* p, int offset) { return p->castAttribData<float>(offset); }
    int& state(GEO_Point* p) const { return *p->castAttribData<int>(core.state); }

    /// A stuck particle's position comes from its geometry: the caller handles FLX_STUCK before.
    void applyDefaultPosRules(GEO_Point* p, int bits) const {
        if (bits & (FLX_DEAD | FLX_STOPPED)) return;
        const UT_Vector3 v = vec(p, core.velocity);
        if (!(bits & FLX_SLIDING)) {
            float* back = floats(p, core.backtrack);
            back[0] = v.x();
            back[1] = v.y();
            back[2] = v.z();
            back[3] = dt;
        }
        UT_Vector4& pos = p->getPos();
        pos.x() += v.x() * dt;
        pos.y() += v.y() * dt;
        pos.z() += v.z() * dt;
    }

    /// The minimum is tested first and, when it applies, the maximum is not; a negative bound is none.
    template <bool Plain> void applyDefaultVelRules(GEO_Point* p, int bits) const {
        if (bits & (FLX_DEAD | FLX_STOPPED)) return;
        UT_Vector3& v = vec(p, core.velocity);
        const UT_Vector3 a = vec(p, core.accel);
        v.x() += a.x() * dt;
        v.y() += a.y() * dt;
        v.z() += a.z() * dt;
        if (!Plain && speedLimit >= 0) limitSpeed(v, floats(p, speedLimit));
    }

    /// Brings the length of v into [limits[0], limits[1]].
    static void limitSpeed(UT_Vector3& v, const float* limits) {
        const float length = speedOf(v);
        if (limits[0] >= 0 && length < limits[0])
            setLength(v, limits[0]);
        else if (limits[1] >= 0 && length > limits[1])
            setLength(v, limits[1]);
    }

    /// Turns "up" by the rotation of the velocity since the step before.
    void applyDefaultUpRules(GEO_Point* p, int bits) const {
        if (bits & (FLX_DEAD | FLX_STOPPED)) return;
        UT_Matrix3 turn;
        if (turn.dihedral(vec(p, pv), vec(p, core.velocity), 1) == 0) vec(p, up) = vec(p, up) * turn;
    }

    /// dq/dt = w q / 2 for the orientation quaternion q and the angular velocity w (Witkin and Baraff, "Physically
    /// Based Modeling", 1997), normalised after the step.
    void applyDefaultRotRules(GEO_Point* p) const {
        const UT_Vector3 spin = vec(p, w);
        auto& orientation = *p->castAttribData<UT_Quaternion>(rot);
        UT_Quaternion change(spin.x(), spin.y(), spin.z(), 0);
        change *= 0.5f;
        change *= orientation;
        change *= dt;
        orientation += change;
        orientation.normalize();
    }

    /// A particle turns like a cube of its mass and side 1: moment of inertia mass / 6.
    void applyDefaultAngVelRules(GEO_Point* p) const {
        constexpr float SIXTH = 0.166666f;
        const float inertia = (mass >= 0 ? *floats(p, mass) : 1.0f) * SIXTH;
        const float inverse = -1e-5f <= inertia && inertia <= 1e-5f ? 0.0f : 1.0f / inertia;
        vec(p, w) += vec(p, torque) * (inverse * dt);
    }

    void applyDefaultSpeedRules(GEO_Point* p) const { *floats(p, speed) = speedOf(vec(p, core.velocity)); }

    /// Everything of one step that is not position or velocity.
    template <bool Plain> void applyOtherRules(GEO_Point* p, int flags, int bits) const {
        if constexpr (!Plain) {
            if (up >= 0 && pv >= 0 && !(flags & FLX_SUPPRESS_UP)) applyDefaultUpRules(p, bits);
            if (rot >= 0 && w >= 0 && !(flags & FLX_SUPPRESS_ROT)) applyDefaultRotRules(p);
            if (w >= 0 && torque >= 0 && !(flags & FLX_SUPPRESS_ANGVEL)) applyDefaultAngVelRules(p);
        }
        if (!(flags & FLX_SUPPRESS_AGE)) floats(p, core.life)[0] += dt;
        if constexpr (!Plain)
            if (speed >= 0) applyDefaultSpeedRules(p);
    }

    /// Marks the expired dead, clears what lasts one step, empties the accumulators.
    template <bool Plain> void prepare(GEO_Point* p) const {
        const float* life = floats(p, core.life);
        int bits = state(p);
        if (life[1] >= 0 && life[0] >= life[1]) bits |= FLX_DEAD;
        state(p) = bits & ~FLX_CLEARED_EACH_STEP;
        vec(p, core.accel).assign(0, 0, 0);
        if constexpr (!Plain) {
            if (pv >= 0) vec(p, pv) = vec(p, core.velocity);
            if (torque >= 0) vec(p, torque).assign(0, 0, 0);
        }
    }

    static float speedOf(const UT_Vector3& v) { return std::sqrt(v.x() * v.x() + v.y() * v.y() + v.z() * v.z()); }

    FLX_CoreOffsets core;
    float dt;
    int suppression;
    int speedLimit, up, pv, rot, w, torque, mass, speed;

private:
    static void setLength(UT_Vector3& v, float length) {
        v.normalize();
        v *= length;
    }
};
