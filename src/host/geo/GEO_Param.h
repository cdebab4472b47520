#pragma once

#include "host/geo/GEO_Primitive.h"

#include <cmath>

/// Parametric arithmetic that several kinds of primitives share.

/// Clamps to [0, 1]; NaN gives 0.
inline float GEOclamp01(float x) { return x > 0 ? (x < 1 ? x : 1.0f) : 0.0f; }

/// Splits u in [0, 1] over n equal parts (n > 0): part number, and t in [0, 1] inside it.
inline int GEOsplit(float u, int n, float& t) {
    const float x = GEOclamp01(u) * static_cast<float>(n);
    int part = static_cast<int>(x);
    if (part >= n) part = n - 1;
    t = x - static_cast<float>(part);
    return part;
}

/// Weights at u along a polyline of n vertices by index; false when there are none.
bool GEOweightsAlong(float u, int n, GEO_Weights& out);
/// u of the location nearest to p along a primitive's vertices taken as an open polyline; false when there are none.
bool GEOparametricAlong(const GEO_Primitive& prim, const UT_Vector3& p, float& u);

/// Barycentric weights of the point nearest to p on the triangle (a, b, c), and its squared distance (Ericson,
/// "Real-Time Collision Detection", 2005, section 5.1.5). Degenerate triangles are fine.
struct GEO_TriangleHit {
    double a, b, c;
    double distance2;
};
GEO_TriangleHit GEOnearestOnTriangle(const UT_Vector3D& p, const UT_Vector3D& a, const UT_Vector3D& b,
                                     const UT_Vector3D& c);
