#pragma once

#include "host/geo/GEO_VertexPrimitive.h"

#include <span>

/// A polygon: a closed face or an open polyline.
///
/// Closed with n vertices: u runs once around the perimeter, edge i covering [i/n, (i+1)/n]; v runs from the perimeter
/// (0) to the vertex mean c (1). With n < 5 the position is c + sqrt(1 - v) (perimeter(u) - c), so that uniform (u, v)
/// fall uniformly on triangles and parallelograms; with n >= 5 it is c + (1 - v) (perimeter(u) - c).
/// Open: u runs linearly along the vertices by index, v is ignored.
class GEO_PrimPoly : public GEO_VertexPrimitive {
public:
    explicit GEO_PrimPoly(GEO_Detail* detail)
        : GEO_VertexPrimitive(detail, GEOPRIMPOLY) {}

    bool isClosed() const override { return myClosed; }
    void close() { setClosed(true); }
    void open() { setClosed(false); }

    bool weights(float u, float v, GEO_Weights& out) const override;
    int evaluateNormal(float u, float v, UT_Vector3& out) const override;
    bool parametric(const UT_Vector3& p, float& u, float& v) const override;
    /// Unit Newell normal of a closed polygon, counter-clockwise seen from its tip (Sutherland, Sproull, Schumacker,
    /// "A Characterization of Ten Hidden-Surface Algorithms", 1974); zero when open or degenerate.
    UT_Vector3 computeNormal() const override;
    /// Area of a closed polygon (half the length of the Newell vector), 0 when open.
    float calcArea() const;
    /// Length of all edges.
    float calcPerimeter() const;

private:
    std::unique_ptr<GEO_Primitive> clone() const override {
        return std::unique_ptr<GEO_Primitive>(new GEO_PrimPoly(*this));
    }
    UT_Vector3D newell() const;
    void setClosed(bool closed);

    bool myClosed = true;
};

class GU_Detail;

/// Makes polygons for operators.
struct GU_PrimPoly {
    enum { GU_POLY_CLOSED = 0, GU_POLY_OPEN = 1 };
    /// A polygon of n vertices. With appendPoints, n new points at the origin are made for them; without, it starts
    /// with no vertices (use appendVertex).
    static GEO_PrimPoly* build(GU_Detail* detail, int n, int open = GU_POLY_CLOSED, int appendPoints = 1);
    /// A polygon over points that exist.
    static GEO_PrimPoly* build(GU_Detail* detail, std::span<GEO_Point* const> points, int open = GU_POLY_CLOSED);
};
