#pragma once

#include "host/geo/GU_Detail.h"
#include "host/geo/GU_RayIntersect.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

/// Random numbers of the tests, the same everywhere.
struct RayRandom {
    uint64_t state;
    explicit RayRandom(uint64_t seed)
        : state(seed) {}
    double operator()(double low, double high) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        return low + (high - low) * static_cast<double>(state >> 11) * 0x1p-53;
    }
    UT_Vector3 vector(double low, double high) {
        const double x = (*this)(low, high), y = (*this)(low, high), z = (*this)(low, high);
        return UT_Vector3(UT_Vector3D(x, y, z));
    }
    UT_Vector3 direction() {
        for (;;) {
            const UT_Vector3 d = vector(-1, 1);
            if (d.length2() > 0.01f && d.length2() < 1) return d.normalized();
        }
    }
};

inline GEO_Point* addPoint(GU_Detail& detail, const UT_Vector3& p) {
    GEO_Point* point = detail.appendPoint();
    point->setPos(UT_Vector4(p));
    return point;
}

inline GEO_PrimPoly* addPolygon(GU_Detail& detail, const std::vector<UT_Vector3>& positions) {
    GEO_PrimPoly* poly = GU_PrimPoly::build(&detail, 0, GU_PrimPoly::GU_POLY_CLOSED, 0);
    for (const UT_Vector3& p : positions) poly->appendVertex(addPoint(detail, p));
    return poly;
}

/// A mesh with its points at f(row, column), wrapped both ways or neither.
template <class Place> GEO_PrimMesh* addMesh(GU_Detail& detail, int rows, int cols, bool wrapped, const Place& f) {
    GEO_PrimMesh* mesh = GEO_PrimMesh::build(&detail, rows, cols, wrapped, wrapped);
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < cols; ++c) mesh->getVertexPoint(mesh->vertexIndex(r, c))->setPos(UT_Vector4(f(r, c)));
    return mesh;
}

/// Closed, consistently wound surface over a wrapped grid of points: f(u, v) with u and v in [0, 1). Quads, or the
/// triangles of both halves.
inline void addTorusLike(GU_Detail& detail, int rows, int cols, bool triangles,
                         const std::function<UT_Vector3(double, double)>& f) {
    std::vector<GEO_Point*> points;
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < cols; ++c) points.push_back(addPoint(detail, f(double(c) / cols, double(r) / rows)));
    const auto at = [&](int r, int c) { return points[static_cast<size_t>(r % rows * cols + c % cols)]; };
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < cols; ++c) {
            GEO_Point* q[4] = {at(r, c), at(r, c + 1), at(r + 1, c + 1), at(r + 1, c)};
            if (!triangles) {
                GU_PrimPoly::build(&detail, q);
                continue;
            }
            GEO_Point* low[3] = {q[0], q[1], q[2]};
            GEO_Point* high[3] = {q[0], q[2], q[3]};
            GU_PrimPoly::build(&detail, low);
            GU_PrimPoly::build(&detail, high);
        }
}

inline UT_Vector3 onTorus(double u, double v, double R, double r) {
    const double a = 2 * M_PI * u, b = 2 * M_PI * v;
    return UT_Vector3(
        UT_Vector3D((R + r * std::cos(b)) * std::cos(a), (R + r * std::cos(b)) * std::sin(a), r * std::sin(b)));
}

/// Triangles about both poles and quads between: a closed, consistently wound sphere about the origin.
inline void addSphere(GU_Detail& detail, int rows, int cols, double radius) {
    std::vector<GEO_Point*> points;
    for (int r = 0; r <= rows; ++r)
        for (int c = 0; c < (r % rows ? cols : 1); ++c) {
            const double a = 2 * M_PI * c / cols, b = M_PI * r / rows, out = radius * std::sin(b);
            const UT_Vector3D p(out * std::cos(a), out * std::sin(a), radius * std::cos(b));
            points.push_back(addPoint(detail, UT_Vector3(p)));
        }
    const auto at = [&](int r, int c) {
        return r == 0 ? points.front() : r == rows ? points.back() : points[size_t((r - 1) * cols + c % cols + 1)];
    };
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < cols; ++c) {
            std::vector<GEO_Point*> face{at(r, c), at(r + 1, c), at(r + 1, c + 1)};
            if (r > 0 && r + 1 < rows) face.push_back(at(r, c + 1));
            if (r + 1 == rows) face[2] = at(r, c + 1);
            GU_PrimPoly::build(&detail, face);
        }
}

/// Puts every point where f says.
template <class Place> void movePoints(GU_Detail& detail, const Place& f) {
    for (size_t i = 0; i < detail.points().entries(); ++i) {
        GEO_Point* point = detail.points()[i];
        point->setPos(UT_Vector4(f(UT_Vector3(point->getPos()))));
    }
    detail.bumpChange();
}

inline void moveAll(GU_Detail& detail, const UT_Vector3& by) {
    movePoints(detail, [&](const UT_Vector3& p) { return p + by; });
}

inline void shake(GU_Detail& detail, RayRandom& random, double by) {
    movePoints(detail, [&](const UT_Vector3& p) { return p + random.vector(-by, by); });
}

inline UT_Vector3D hitPosition(const UT_Vector3& org, const UT_Vector3& dir, double t) {
    return UT_Vector3D(org) + UT_Vector3D(dir) * t;
}

/// Where the primitive itself says the hit's (u, v) lies.
inline UT_Vector3D surfacePosition(const GU_RayHit& hit) {
    UT_Vector4 p(0, 0, 0, 0);
    if (!hit.prim->evaluatePosition(hit.u, hit.v, p)) return {1e30, 1e30, 1e30};
    return UT_Vector3D(UT_Vector3(p));
}
