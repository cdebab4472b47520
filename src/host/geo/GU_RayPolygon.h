#pragma once

#include "host/geo/GEO_Primitive.h"
#include "host/geo/GU_RayInfo.h"

#include <cmath>
#include <cstdint>
#include <span>

// Polygons as a fan of triangles about the vertex mean, which is what evaluatePosition covers.

inline bool GUisFinite(const UT_Vector3& p) {
    return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
}

inline UT_Vector3 GUpointOf(const GEO_Primitive& prim, int vertex) {
    return UT_Vector3(prim.getVertexPoint(vertex)->getPos());
}

inline UT_Vector3D GUcorner(const UT_Vector3& a, const UT_Vector3& b, const UT_Vector3& c) {
    return cross(UT_Vector3D(b) - UT_Vector3D(a), UT_Vector3D(c) - UT_Vector3D(b));
}

UT_Vector3 GUmeanOf(std::span<const UT_Vector3> p);
/// True when no triangle about the mean turns against the polygon, which has a normal.
bool GUisStar(std::span<const UT_Vector3> p, const UT_Vector3& mean, const UT_Vector3& normal);

/// (u, v) of the hit in a polygon of n vertices, from the barycentric weights of edge i's ends.
void GUfanParameters(uint32_t i, uint32_t n, double a, double b, GU_RayHit& hit);
/// The same from the weights of a triangle's corners.
void GUtriangleParameters(const float (&b)[3], GU_RayHit& hit);
