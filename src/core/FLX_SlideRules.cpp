#include "core/FLX_SlideRules.h"

#include "core/FLX_SurfaceCache.h"
#include "host/ut/UT_Math.h"

namespace {

UT_Vector3 xyz(const UT_Vector4& p) { return {p.x(), p.y(), p.z()}; }
UT_Vector3 projection(const UT_Vector3& a, const UT_Vector3& n) { return n * (dot(a, n) / n.length2()); }

struct SurfaceFrame {
    UT_Vector3 position;
    UT_Vector3 normal;
};

bool surfaceFrame(GEO_Point* point, FLX_SurfaceCache& surfaces, SurfaceFrame& frame) {
    FLX_SurfaceCache::Surface* surface = nullptr;
    const GEO_Primitive* prim = surfaces.primitiveOf(point, surface);
    if (!prim) return false;
    const float* uv = point->castAttribData<float>(surfaces.uvOffset());
    UT_Vector4 position;
    if (!prim->evaluatePosition(uv[0], uv[1], position) || !prim->evaluateNormal(uv[0], uv[1], frame.normal))
        return false;
    frame.position = surface->toWorld(xyz(position));
    frame.normal = surface->normalToWorld(frame.normal);
    return true;
}

// Fits velocity and acceleration to the surface and returns what the velocity was given to follow a moving surface.
void preProcessSlidingParticle(GEO_Point* p, const FLX_Rules& rules, const FLX_ContextData& context,
                               FLX_SurfaceCache& surfaces, UT_Vector3& normal, UT_Vector3& delta) {
    normal.assign(0, 0, 0);
    delta.assign(0, 0, 0);
    SurfaceFrame frame;
    if (!surfaceFrame(p, surfaces, frame) || UT_Math::isZero(frame.normal)) {
        rules.state(p) &= ~FLX_SLIDING;
        return;
    }
    const UT_Vector3 n = normal = frame.normal;
    UT_Vector3& v = FLX_Rules::vec(p, rules.core.velocity);
    UT_Vector3& accel = FLX_Rules::vec(p, rules.core.accel);
    const auto optional = [p](int offset) { return *p->castAttribData<float>(offset); };
    if (dot(n, v) < -1e-5f) v = v - projection(v, n);

    // The surface pushes back; a clinging particle is pulled to it by at most its cling.
    const UT_Vector3 against = projection(accel, n) * -1.0f;
    if (dot(n, accel) < -1e-5f) {
        accel = accel - projection(accel, n);
    } else if (const int cling = context.getClingOffset(); cling >= 0) {
        const float c = optional(cling);
        accel = c * c < against.length2() ? accel - n * (c / n.length()) : accel + against;
    }

    const UT_Vector3 rel = frame.position - xyz(p->getPos());
    const bool moved = !UT_Math::isZero(rel);
    const UT_Vector3 vRel = moved ? v - (rel - projection(rel, n)) * (1.0f / rules.dt) : v;
    const int fdynamic = context.getFDynamicOffset(), fstatic = context.getFStaticOffset();
    if (!UT_Math::isZero(vRel) && fdynamic >= 0) {
        accel = accel - vRel * (against.length() * optional(fdynamic) / vRel.length());
    } else if (UT_Math::isZero(vRel) && fstatic >= 0) {
        const float s = against.length() * optional(fstatic);
        accel = s * s < accel.length2() ? accel - accel * (s / accel.length()) : UT_Vector3(0, 0, 0);
    }

    if (moved) delta = projection(rel, n) * (1.0f / rules.dt);
    if (UT_Math::isZero(delta)) return;
    if (dot(n, rel) > 1e-5f) {
        const UT_Vector3 vN = UT_Math::isZero(v) ? v : projection(v, n);
        if (vN.length2() < delta.length2()) v = v + (delta - vN);
    }
}

bool pointsAway(const UT_Vector3& a, const UT_Vector3& n) {
    const float along = dot(a, n);
    return along >= 0 && along / a.length() >= 0.01f;
}

/// Puts the moved particle back on the surface; false when it left.
bool postProcessSlidingParticle(GEO_Point* p, const FLX_Rules& rules, FLX_SurfaceCache& surfaces,
                                const UT_Vector3& normal, const UT_Vector4& oldPos, const UT_Vector3& delta) {
    constexpr float REACH = 0.01f;
    constexpr float ON_SURFACE = 1e-5f;
    UT_Vector3& v = FLX_Rules::vec(p, rules.core.velocity);
    const UT_Vector3 n = normal.normalized();
    const UT_Vector3 d = v - delta;
    if (UT_Math::isZero(d)) return true;
    if (pointsAway(d, n)) {
        const UT_Vector3& accel = FLX_Rules::vec(p, rules.core.accel);
        if (UT_Math::isZero(accel) || pointsAway(accel, n)) return false;
    }

    FLX_SurfaceCache::Surface* surface = nullptr;
    if (!surfaces.primitiveOf(p, surface)) return false;
    const GU_RayIntersect* rays = surfaces.intersector(*p->castAttribData<int>(surfaces.pathOffset()));
    if (!rays) return false;

    const float reach = d.length() * rules.dt + REACH;
    const UT_Vector3 origin = surface->toLocal(xyz(p->getPos()));
    UT_Vector3 down = surface->directionToLocal(n * -1.0f);
    down.normalize();
    GU_RayInfo info(1e18f, 0, GU_FIND_CLOSEST, 0.1f);
    info.setRange(-reach, reach);
    info.setTolerance(REACH, REACH);
    info.setFindType(GU_FIND_CLOSEST);
    info.reset();
    float* uv = p->castAttribData<float>(surfaces.uvOffset());
    int& primNumber = *p->castAttribData<int>(surfaces.primOffset());
    if (!rays->sendRay(origin, down, info) || !info.getPrim()) {
        primNumber = -1;
        uv[0] = uv[1] = 0;
        return false;
    }
    if (std::abs(info.getDistance()) > ON_SURFACE) {
        UT_Vector4 hit;
        info.getPrim()->evaluatePosition(info.getU(), info.getV(), hit);
        const UT_Vector3 placed = surface->toWorld(xyz(hit));
        p->getPos().assign(placed.x(), placed.y(), placed.z(), p->getPos().w());
        v = (placed - xyz(oldPos)) * (1.0f / rules.dt);
    }
    primNumber = info.getPrim()->getNum();
    uv[0] = info.getU();
    uv[1] = info.getV();
    return true;
}

} // namespace

void FLXsetPosFromSop(UT_Vector4& pos, GEO_Point* point, FLX_SurfaceCache& surfaces) {
    FLX_SurfaceCache::Surface* surface = nullptr;
    const GEO_Primitive* prim = surfaces.primitiveOf(point, surface);
    if (!prim) return;
    const float* uv = point->castAttribData<float>(surfaces.uvOffset());
    UT_Vector4 found;
    if (!prim->evaluatePosition(uv[0], uv[1], found)) return;
    const UT_Vector3 placed = surface->toWorld(xyz(found));
    pos.assign(placed.x(), placed.y(), placed.z(), found.w());
}

void FLXapplyDefaultSlideRules(GEO_Point* p, const FLX_Rules& rules, FLX_SurfaceCache& surfaces,
                               FLX_ContextData& context) {
    const int own = rules.state(p);
    const UT_Vector4 oldPos = p->getPos();
    UT_Vector3 normal, delta;
    preProcessSlidingParticle(p, rules, context, surfaces, normal, delta);
    const bool sliding = rules.state(p) & FLX_SLIDING;
    if (!(own & FLX_SUPPRESS_POS)) {
        if (rules.state(p) & FLX_STUCK)
            FLXsetPosFromSop(p->getPos(), p, surfaces);
        else
            rules.applyDefaultPosRules(p, rules.state(p));
    }
    if (sliding && !postProcessSlidingParticle(p, rules, surfaces, normal, oldPos, delta))
        rules.state(p) &= ~FLX_SLIDING;
    if (!(own & FLX_SUPPRESS_VEL)) rules.applyDefaultVelRules<false>(p, rules.state(p));
}
