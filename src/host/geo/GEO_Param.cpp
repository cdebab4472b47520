#include "host/geo/GEO_Param.h"

#include <limits>

bool GEOweightsAlong(float u, int n, GEO_Weights& out) {
    if (n < 1) return false;
    out = GEO_Weights();
    if (n == 1) {
        out.add(0, 1);
        return true;
    }
    float t;
    const int i = GEOsplit(u, n - 1, t);
    out.add(i, 1 - t);
    out.add(i + 1, t);
    return true;
}

bool GEOparametricAlong(const GEO_Primitive& prim, const UT_Vector3& p, float& u) {
    const int n = prim.getVertexCount();
    if (n < 1) return false;
    const UT_Vector3D q(p);
    double best = std::numeric_limits<double>::infinity();
    u = 0;
    for (int i = 0; i + 1 < n; ++i) {
        const UT_Vector3D a(UT_Vector3(prim.getVertexPoint(i)->getPos()));
        const UT_Vector3D d = UT_Vector3D(UT_Vector3(prim.getVertexPoint(i + 1)->getPos())) - a;
        const double along = dot(q - a, d), length2 = d.length2();
        const double t = along > 0 ? (along < length2 ? along / length2 : 1) : 0;
        const double distance2 = (a + d * t - q).length2();
        if (distance2 < best) {
            best = distance2;
            u = static_cast<float>((i + t) / (n - 1));
        }
    }
    return true;
}

namespace {

using V = UT_Vector3D;

GEO_TriangleHit hit(double wa, double wb, double wc, const V& p, const V& a, const V& b, const V& c) {
    return {wa, wb, wc, (a * wa + b * wb + c * wc - p).length2()};
}

} // namespace

GEO_TriangleHit GEOnearestOnTriangle(const V& p, const V& a, const V& b, const V& c) {
    const V ab = b - a, ac = c - a, ap = p - a, bp = p - b, cp = p - c;
    const double d1 = dot(ab, ap), d2 = dot(ac, ap);
    if (d1 <= 0 && d2 <= 0) return hit(1, 0, 0, p, a, b, c);
    const double d3 = dot(ab, bp), d4 = dot(ac, bp);
    if (d3 >= 0 && d4 <= d3) return hit(0, 1, 0, p, a, b, c);
    const double vc = d1 * d4 - d3 * d2;
    if (vc <= 0 && d1 >= 0 && d3 <= 0 && d1 > d3) {
        const double t = d1 / (d1 - d3);
        return hit(1 - t, t, 0, p, a, b, c);
    }
    const double d5 = dot(ab, cp), d6 = dot(ac, cp);
    if (d6 >= 0 && d5 <= d6) return hit(0, 0, 1, p, a, b, c);
    const double vb = d5 * d2 - d1 * d6;
    if (vb <= 0 && d2 >= 0 && d6 <= 0 && d2 > d6) {
        const double t = d2 / (d2 - d6);
        return hit(1 - t, 0, t, p, a, b, c);
    }
    const double va = d3 * d6 - d5 * d4, e = d4 - d3, f = d5 - d6;
    if (va <= 0 && e >= 0 && f >= 0 && e + f > 0) {
        const double t = e / (e + f);
        return hit(0, 1 - t, t, p, a, b, c);
    }
    const double sum = va + vb + vc;
    if (!(sum > 0)) return hit(1, 0, 0, p, a, b, c);
    return hit(va / sum, vb / sum, vc / sum, p, a, b, c);
}
