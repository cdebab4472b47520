#pragma once

#include "host/geo/GU_RayQuadric.h"
#include "host/ut/UT_BoundingBox.h"
#include "host/ut/UT_LargeAllocator.h"
#include "host/ut/UT_Vector3.h"

#include <array>
#include <cstdint>
#include <vector>

class GB_PrimitiveGroup;
class GEO_PrimMesh;
class GEO_PrimPoly;
class GEO_Primitive;
class GU_Detail;

/// A primitive that can be hit, and how it was taken apart.
struct GU_RayShape {
    enum Kind : uint8_t {
        TRIANGLE, ///< one item
        QUAD,     ///< flat and convex: two items
        FAN,      ///< item i: vertices i and i + 1 and the vertex mean
        FOLDED,   ///< a fan that covers more than the polygon: only hits inside the outline count
        MESH,     ///< part = cell, row-major
        QUADRIC,
    };
    const GEO_Primitive* prim;
    uint32_t number;        ///< of the primitive, which a hit tells without looking at it
    uint32_t first;         ///< index of the quadric, or of the outline's first vertex
    uint32_t vertices : 29; ///< vertex count of a polygon
    Kind kind : 3;
    UT_Vector3 normal; ///< of a polygon
};
static_assert(sizeof(GU_RayShape) <= 32, "two to a cache line");

/// One piece of a shape.
struct GU_RayItem {
    uint32_t shape;
    uint32_t part;
    bool operator==(const GU_RayItem&) const = default;
};

/// The surfaces of a detail as triangles and quadrics, in primitive order.
class GU_RayShapes {
public:
    using Triangle = std::array<UT_Vector3, 3>;

    void collect(const GU_Detail& detail, const GB_PrimitiveGroup* group);
    /// Corners and boxes are only needed until the search structure stands.
    void dropBuildData();

    using Shapes = std::vector<GU_RayShape, UT_LargeAllocator<GU_RayShape>>;
    const Shapes& shapes() const { return myShapes; }
    const std::vector<GU_RayItem>& items() const { return myItems; }
    const std::vector<UT_BoundingBox>& boxes() const { return myBoxes; }
    const std::vector<Triangle>& triangles() const { return myTriangles; } ///< by item; NaN for quadrics
    const GU_RayQuadric& quadric(const GU_RayShape& shape) const { return myQuadrics[shape.first]; }
    const UT_Vector3* outline(const GU_RayShape& shape) const { return &myOutlines[shape.first]; }
    bool isQuadric(uint32_t item) const { return myShapes[myItems[item].shape].kind == GU_RayShape::QUADRIC; }
    /// True when every edge is used equally often in both directions.
    bool isOriented() const { return myEdgeSum == 0 && !myOpen; }

private:
    void addPolygon(const GEO_PrimPoly& poly);
    void addMesh(const GEO_PrimMesh& mesh);
    void addQuadric(const GEO_Primitive& prim);
    void addCell(uint32_t part);
    void addTriangle(uint32_t part, const UT_Vector3& a, const UT_Vector3& b, const UT_Vector3& c);
    /// An edge by the hashes of its ends.
    void addEdge(uint64_t from, uint64_t to);
    void beginShape(const GEO_Primitive& prim, GU_RayShape::Kind kind, uint32_t first, int vertices);

    Shapes myShapes;
    std::vector<GU_RayItem> myItems;
    std::vector<Triangle> myTriangles;
    std::vector<UT_BoundingBox> myBoxes;
    std::vector<GU_RayQuadric> myQuadrics;
    std::vector<UT_Vector3> myOutlines;
    std::vector<UT_Vector3> myScratch;
    uint64_t myEdgeSum = 0; ///< hashes of edges, added one way round and subtracted the other
    bool myOpen = false;    ///< holds a tube or a circle
};
