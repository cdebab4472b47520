#pragma once

#include "host/ut/UT_Vector3.h"

// Normals of polygons, whoever holds the vertices: at(i) is vertex i of n.

/// The Newell vector, twice the area of the polygon along its normal, counter-clockwise seen from its tip (Sutherland,
/// Sproull, Schumacker, "A Characterization of Ten Hidden-Surface Algorithms", 1974). `pieces` receives twice the area
/// of the triangles that add up to it: where they do not cancel each other, its length.
template <class At> UT_Vector3D GEOnewell(int n, At&& at, double* pieces = nullptr) {
    UT_Vector3D sum(0, 0, 0);
    if (n < 3) return sum;
    const UT_Vector3D origin(at(0)); // relative to a vertex, so that distant polygons keep their digits
    UT_Vector3D previous = UT_Vector3D(at(1)) - origin;
    for (int i = 2; i < n; ++i) {
        const UT_Vector3D next = UT_Vector3D(at(i)) - origin;
        const UT_Vector3D piece = cross(previous, next);
        sum += piece;
        if (pieces) *pieces += piece.length();
        previous = next;
    }
    return sum;
}

/// The unit vector along a cross product or a sum of some, zero when it is only rounding next to `size`, the sum of the
/// squared edges.
inline UT_Vector3 GEOunitNormal(UT_Vector3D normal, double size) {
    if (!(normal.length() > 1e-9 * size)) return {0, 0, 0};
    normal.normalize();
    return UT_Vector3(normal);
}

/// The unit vector along the Newell vector, zero for a polygon whose area is only rounding, and for one that crosses
/// itself so that its parts cancel each other but for the rounding of its points.
template <class At> UT_Vector3 GEOpolygonNormal(int n, At&& at) {
    double size = 0, pieces = 0;
    for (int i = 0; i < n; ++i) size += UT_Vector3D(at(i) - at(i ? i - 1 : n - 1)).length2();
    const UT_Vector3D normal = GEOnewell(n, at, n > 3 ? &pieces : nullptr);
    return normal.length() < 1e-5 * pieces ? UT_Vector3(0, 0, 0) : GEOunitNormal(normal, size);
}
