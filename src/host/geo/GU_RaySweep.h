#pragma once

#include "host/geo/GU_Bvh.h"
#include "host/geo/GU_RayInfo.h"
#include "host/ut/UT_BoundingBox.h"
#include "host/ut/UT_Vector3.h"

#include <array>
#include <cstdint>
#include <vector>

class GEO_PrimMesh;
class GEO_PrimPoly;
class GEO_Primitive;
class GU_Detail;
struct GU_RaySearch;
struct GU_SweptTriangle;

/// The surfaces of a detail whose points move linearly over a step: closed polygons and meshes as fans about their
/// vertex means, triangles as they are.
class GU_RaySweep {
public:
    /// Both have the same topology.
    GU_RaySweep(const GU_Detail& begin, const GU_Detail& end);

    int sendRay(const UT_Vector3& org, const UT_Vector3& dir, GU_RayInfo& info) const;
    const UT_BoundingBox& getBBox() const { return myBox; }
    size_t entries() const { return myShapes.size(); }
    size_t skipped() const { return mySkipped; }

    static bool sameTopology(const GU_Detail& begin, const GU_Detail& end);

private:
    struct Shape {
        enum Kind { TRIANGLE, FAN, FOLDED, MESH };
        const GEO_Primitive* prim; ///< at the end
        Kind kind;
        uint32_t first;    ///< of the outline, in myOutlines; polygons with more than three vertices
        uint32_t vertices; ///< of a polygon
    };
    struct Item {
        uint32_t shape;
        uint32_t part; ///< edge of a fan; four times the cell, plus the edge, of a mesh
    };
    struct Moving { ///< a point at the begin and at the end
        UT_Vector3 from, to;
    };
    struct Leaf { ///< corners[item][corner]
        Moving corners[4][3];
        uint32_t item[4];
    };
    struct Query;

    void collect(const GU_Detail& begin, const GU_Detail& end);
    void addPolygon(const GEO_PrimPoly& from, const GEO_PrimPoly& to);
    void addMesh(const GEO_PrimMesh& from, const GEO_PrimMesh& to);
    void addFan(const std::vector<Moving>& outline, uint32_t firstPart);
    void addTriangle(uint32_t part, const Moving& a, const Moving& b, const Moving& c);
    void build();

    void visitLeaf(uint32_t leaf, Query& query) const;
    void testTriangle(uint32_t place, Query& query) const;
    void testSection(uint32_t place, uint32_t section, Query& query) const;
    bool outlineHolds(const Shape& shape, const Query& query, double t) const;
    UT_Vector3D outlineNormal(const Shape& shape, double fraction) const;
    static void keepDistinct(std::vector<GU_RayCandidate>& list);
    GU_RayHit finish(const GU_RayCandidate& candidate, const Query& query) const;
    void finishAll(GU_RayInfo& info, const Query& query) const;

    std::vector<Shape> myShapes;
    std::vector<Item> myItems;
    std::vector<Moving> myOutlines;
    std::vector<std::array<Moving, 3>> myTriangles; ///< by item, until the structure stands
    std::vector<UT_BoundingBox> myBoxes;            ///< likewise
    std::vector<Leaf> myLeaves;
    GU_Bvh myBvh;
    UT_BoundingBox myBox;
    size_t mySkipped = 0;
};
