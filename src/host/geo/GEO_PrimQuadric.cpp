#include "host/geo/GEO_PrimQuadric.h"

#include "host/geo/GEO_Param.h"
#include "host/geo/GU_Detail.h"
#include "host/ut/UT_Math.h"

#include <algorithm>
#include <cmath>

void GEO_PrimQuadric::setXform(const UT_Matrix3& xform) {
    myXform = xform;
    myInverse = xform;
    myInvertible = myInverse.invert();
}

bool GEO_PrimQuadric::weights(float, float, GEO_Weights& out) const {
    if (!getVertexCount()) return false;
    out = GEO_Weights();
    out.add(0, 1);
    return true;
}

int GEO_PrimQuadric::evaluatePosition(float u, float v, UT_Vector4& out) const {
    if (!getVertexCount()) return 0;
    const UT_Vector4& centre = getVertexPoint(0)->getPos();
    out = UT_Vector4(UT_Vector3(centre) + localPosition(GEOclamp01(u), GEOclamp01(v)) * myXform, centre.w());
    return 1;
}

int GEO_PrimQuadric::evaluateNormal(float u, float v, UT_Vector3& out) const {
    out.assign(0, 0, 0);
    if (!getVertexCount()) return 0;
    if (!myInvertible) return 1;
    out = localNormal(GEOclamp01(u), GEOclamp01(v)) * myInverse.transposed();
    out.normalize();
    return 1;
}

bool GEO_PrimQuadric::parametric(const UT_Vector3& p, float& u, float& v) const {
    u = v = 0;
    if (!getVertexCount() || !myInvertible) return false;
    localParametric((p - center()) * myInverse, u, v);
    return true;
}

bool GEO_PrimQuadric::enlargeBBox(UT_BoundingBox& box) const {
    if (!getVertexCount()) return false;
    const UT_Vector3 c = center();
    UT_Vector3 low, high;
    for (int i = 0; i < 3; ++i) {
        // World coordinate i is linear in the local point: its dot product with column i.
        float l, h;
        localExtent({myXform(0, i), myXform(1, i), myXform(2, i)}, l, h);
        low[i] = c[i] + l;
        high[i] = c[i] + h;
    }
    box.enlargeBounds(low);
    box.enlargeBounds(high);
    return true;
}

void GEO_PrimQuadric::transformShape(const UT_Matrix4& m) { setXform(myXform * m.upper3()); }

std::string GEO_PrimQuadric::validate() const {
    if (getVertexCount() > 1) return "a quadric has " + std::to_string(getVertexCount()) + " vertices";
    return GEO_VertexPrimitive::validate();
}

namespace {

UT_Vector3 onCircle(float u, double radius) {
    const double angle = 2 * UT_Math::pi * static_cast<double>(u);
    return {static_cast<float>(radius * UT_Math::cos(angle)), 0, static_cast<float>(-radius * UT_Math::sin(angle))};
}

// Turns around the circle of an angle, in [0, 1).
float turns(float y, float x) {
    const double t = UT_Math::atan2(static_cast<double>(y), static_cast<double>(x)) / (2 * UT_Math::pi);
    const float f = static_cast<float>(t < 0 ? t + 1 : t);
    return f < 1 ? f : 0;
}

float length2d(float a, float b) {
    return static_cast<float>(std::sqrt(static_cast<double>(a) * a + static_cast<double>(b) * b));
}

} // namespace

UT_Vector3 GEO_PrimCircle::localPosition(float u, float v) const {
    const UT_Vector3 p = onCircle(u, std::sqrt(1.0 - static_cast<double>(v)));
    return {p.x(), -p.z(), 0};
}
UT_Vector3 GEO_PrimCircle::localNormal(float, float) const { return {0, 0, 1}; }
void GEO_PrimCircle::localParametric(const UT_Vector3& p, float& u, float& v) const {
    u = turns(p.y(), p.x());
    v = GEOclamp01(1 - p.x() * p.x() - p.y() * p.y());
}
void GEO_PrimCircle::localExtent(const UT_Vector3& d, float& low, float& high) const {
    high = length2d(d.x(), d.y());
    low = -high;
}

UT_Vector3 GEO_PrimSphere::localPosition(float u, float v) const {
    const double y = 2 * static_cast<double>(v) - 1;
    UT_Vector3 p = onCircle(u, std::sqrt(std::max(0.0, 1 - y * y)));
    p.y() = static_cast<float>(y);
    return p;
}
UT_Vector3 GEO_PrimSphere::localNormal(float u, float v) const { return localPosition(u, v); }
void GEO_PrimSphere::localParametric(const UT_Vector3& p, float& u, float& v) const {
    const UT_Vector3 n = p.normalized();
    u = turns(-n.z(), n.x());
    v = GEOclamp01(n.y() * 0.5f + 0.5f);
}
void GEO_PrimSphere::localExtent(const UT_Vector3& d, float& low, float& high) const {
    high = d.length();
    low = -high;
}

UT_Vector3 GEO_PrimTube::localPosition(float u, float v) const {
    UT_Vector3 p = onCircle(u, 1 + (static_cast<double>(myTaper) - 1) * static_cast<double>(v));
    p.y() = v - 0.5f;
    return p;
}
UT_Vector3 GEO_PrimTube::localNormal(float u, float) const {
    UT_Vector3 n = onCircle(u, 1);
    n.y() = 1 - myTaper;
    return n.normalized();
}
void GEO_PrimTube::localParametric(const UT_Vector3& p, float& u, float& v) const {
    u = turns(-p.z(), p.x());
    v = GEOclamp01(p.y() + 0.5f);
}
void GEO_PrimTube::localExtent(const UT_Vector3& d, float& low, float& high) const {
    const float around = length2d(d.x(), d.z()), top = around * std::fabs(myTaper), half = d.y() / 2;
    high = std::max(around - half, top + half);
    low = std::min(-around - half, -top + half);
}

namespace {

template <class Quadric> Quadric* buildQuadric(GU_Detail* detail, unsigned typeId, const UT_Matrix4& xform) {
    auto* quadric = static_cast<Quadric*>(detail->insertPrimitive(typeId));
    GEO_Point* centre = detail->appendPoint();
    centre->setPos(UT_Vector4(xform.translation()));
    quadric->appendVertex(centre);
    quadric->setXform(xform.upper3());
    return quadric;
}

} // namespace

GEO_PrimCircle* GU_PrimCircle::build(GU_Detail* detail, const UT_Matrix4& xform) {
    return buildQuadric<GEO_PrimCircle>(detail, GEOPRIMCIRCLE, xform);
}

GEO_PrimSphere* GU_PrimSphere::build(GU_Detail* detail, const UT_Matrix4& xform) {
    return buildQuadric<GEO_PrimSphere>(detail, GEOPRIMSPHERE, xform);
}

GEO_PrimTube* GU_PrimTube::build(GU_Detail* detail, const UT_Matrix4& xform, float taper) {
    auto* tube = buildQuadric<GEO_PrimTube>(detail, GEOPRIMTUBE, xform);
    tube->setTaper(taper);
    return tube;
}

GEO_PrimMetaball* GU_PrimMetaball::build(GU_Detail* detail, const UT_Matrix4& xform, float weight, int kernel) {
    auto* ball = buildQuadric<GEO_PrimMetaball>(detail, GEOPRIMMETABALL, xform);
    ball->setWeight(weight);
    ball->setKernel(kernel);
    return ball;
}

float GEO_PrimMetaball::density(const UT_Vector3& p) const {
    const UT_Matrix3* inverse = getInverse();
    if (!inverse || !getVertexCount()) return 0;
    const UT_Vector3 local = (p - center()) * *inverse;
    return myWeight * TS_KernelList::kernel(myKernel)(local.length2());
}
