#include "host/geo/GEO_PrimPoly.h"

#include "host/geo/GEO_Param.h"
#include "host/geo/GEO_PolygonNormal.h"
#include "host/geo/GU_Detail.h"

#include <cmath>
#include <limits>

namespace {

// Up to four vertices the pull to the centre is a square root, so that uniform samples stay uniform.
bool samplesByArea(int vertices) { return vertices < 5; }

} // namespace

void GEO_PrimPoly::setClosed(bool closed) {
    myClosed = closed;
    myDetail->bumpTopology();
}

bool GEO_PrimPoly::weights(float u, float v, GEO_Weights& out) const {
    const int n = getVertexCount();
    if (!myClosed) return GEOweightsAlong(u, n, out);
    if (n < 1) return false;
    float t;
    const int i = GEOsplit(u, n, t);
    const float toRim = samplesByArea(n) ? std::sqrt(1 - GEOclamp01(v)) : 1 - GEOclamp01(v);
    out = GEO_Weights();
    out.mean = 1 - toRim;
    out.add(i, toRim * (1 - t));
    out.add(i + 1 == n ? 0 : i + 1, toRim * t);
    return true;
}

UT_Vector3D GEO_PrimPoly::newell() const {
    return GEOnewell(getVertexCount(), [this](int i) { return pos3(i); });
}

UT_Vector3 GEO_PrimPoly::computeNormal() const {
    if (!myClosed) return {0, 0, 0};
    return GEOpolygonNormal(getVertexCount(), [this](int i) { return pos3(i); });
}

int GEO_PrimPoly::evaluateNormal(float, float, UT_Vector3& out) const {
    out = computeNormal();
    return getVertexCount() > 0;
}

float GEO_PrimPoly::calcArea() const { return myClosed ? static_cast<float>(newell().length() / 2) : 0; }

float GEO_PrimPoly::calcPerimeter() const {
    double sum = 0;
    const int n = getVertexCount();
    for (int i = myClosed ? 0 : 1; i < n; ++i) sum += UT_Vector3D(pos3(i) - pos3(i ? i - 1 : n - 1)).length();
    return static_cast<float>(sum);
}

bool GEO_PrimPoly::parametric(const UT_Vector3& p, float& u, float& v) const {
    v = 0;
    if (!myClosed) return GEOparametricAlong(*this, p, u);
    const int n = getVertexCount();
    if (n < 1) return false;
    // The surface is a fan of triangles around the mean; in each one u and v are barycentric.
    UT_Vector3D centre(0, 0, 0);
    for (int i = 0; i < n; ++i) centre += UT_Vector3D(pos3(i)) / n;
    double best = std::numeric_limits<double>::infinity();
    u = 0;
    for (int i = 0; i < n; ++i) {
        const UT_Vector3D a(pos3(i)), b(pos3(i + 1 == n ? 0 : i + 1));
        const GEO_TriangleHit hit = GEOnearestOnTriangle(UT_Vector3D(p), a, b, centre);
        if (!(hit.distance2 < best)) continue;
        best = hit.distance2;
        const double toRim = hit.a + hit.b;
        u = static_cast<float>((i + (toRim > 0 ? hit.b / toRim : 0)) / n);
        v = static_cast<float>(samplesByArea(n) ? 1 - toRim * toRim : 1 - toRim);
    }
    return true;
}

GEO_PrimPoly* GU_PrimPoly::build(GU_Detail* detail, int n, int open, int appendPoints) {
    auto* poly = static_cast<GEO_PrimPoly*>(detail->insertPrimitive(GEOPRIMPOLY));
    if (open == GU_POLY_OPEN) poly->open();
    for (int i = 0; appendPoints && i < n; ++i) poly->appendVertex(detail->appendPoint());
    return poly;
}

GEO_PrimPoly* GU_PrimPoly::build(GU_Detail* detail, std::span<GEO_Point* const> points, int open) {
    GEO_PrimPoly* poly = build(detail, 0, open, 0);
    for (GEO_Point* point : points) poly->appendVertex(point);
    return poly;
}
