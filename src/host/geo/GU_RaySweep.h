#pragma once

#include "host/geo/GU_Bvh.h"
#include "host/geo/GU_RayCells.h"
#include "host/geo/GU_RayInfo.h"
#include "host/ut/UT_BoundingBox.h"
#include "host/ut/UT_LargeAllocator.h"
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

    /// False, and nothing changed, when the surfaces do not come apart into the same pieces.
    bool refit(const GU_Detail& begin, const GU_Detail& end);
    int sendRay(const UT_Vector3& org, const UT_Vector3& dir, GU_RayInfo& info) const;
    const UT_BoundingBox& getBBox() const { return myBox; }
    size_t entries() const { return myPieces.shapes.size(); }
    size_t skipped() const { return myPieces.skipped; }

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
        bool operator==(const Item&) const = default;
    };
    struct Moving { ///< a point at the begin and at the end
        UT_Vector3 from, to;
    };
    /// corners[begin or end][vertex][axis][lane]
    struct alignas(16) Leaf {
        float corners[2][3][3][4];
        uint32_t item[4];
        Moving corner(uint32_t lane, size_t v) const {
            const auto& p = corners;
            return {{p[0][v][0][lane], p[0][v][1][lane], p[0][v][2][lane]},
                    {p[1][v][0][lane], p[1][v][1][lane], p[1][v][2][lane]}};
        }
    };
    /// The surfaces taken apart.
    struct Pieces {
        std::vector<Shape> shapes;
        std::vector<Item> items;
        std::vector<Moving> outlines;
        std::vector<std::array<Moving, 3>> triangles; ///< by item, until the leaves hold them
        /// The tree is in a frame that moves along with the surfaces, by the mean of what their corners do: however
        /// fast they go, its boxes only hold how they deform.
        UT_Vector3 drift{0, 0, 0};
        size_t skipped = 0;

        /// Replaces what is there, in the same memory.
        void collect(const GU_Detail& begin, const GU_Detail& end);
        /// Of the triangles, in the frame of the tree.
        std::vector<UT_BoundingBox> boxes() const;

    private:
        struct Side { ///< one of the details, and the primitive at hand
            const GU_Detail* detail;
            std::vector<uint32_t> slots;
            std::vector<UT_Vector3> outline;
            UT_Vector3 at(size_t vertex) const;
        };
        void addPolygon(const GEO_PrimPoly& from, const GEO_PrimPoly& to);
        void addMesh(const GEO_PrimMesh& from, const GEO_PrimMesh& to);
        bool setOutline(const size_t* vertices, size_t n);
        Moving addFan(uint32_t firstPart);
        void addTriangle(uint32_t part, const Moving& a, const Moving& b, const Moving& c);

        Side mySides[2];
        std::vector<Moving> myOutline;
        UT_Vector3D myDriftSum{0, 0, 0};
    };
    struct Query;
    struct Visitor;

    void build();
    void fillLeaves();
    void fillLeaf(size_t number);
    void walk(uint32_t section, Query& query) const;
    void visitLeaf(uint32_t leaf, Query& query) const;
    /// Bits of the lanes that cannot be met during the section.
    int missed(const Leaf& leaf, const Query& query) const;
    void testTriangle(uint32_t place, Query& query) const;
    bool outlineHolds(const Shape& shape, const Query& query, double t) const;
    UT_Vector3D outlineNormal(const Shape& shape, double fraction) const;
    static void keepDistinct(std::vector<GU_RayCandidate>& list);
    GU_RayHit finish(const GU_RayCandidate& candidate, const Query& query) const;
    void finishAll(GU_RayInfo& info, const Query& query) const;

    Pieces myPieces;
    Pieces mySpare; ///< memory for the next refit
    std::vector<Leaf, UT_LargeAllocator<Leaf>> myLeaves;
    GU_Bvh myBvh;
    GU_RayCells myCells; ///< in the frame of the tree, as is the next box
    UT_BoundingBox myTreeBox;
    UT_BoundingBox myBox;                    ///< of all corners at begin and end
    std::vector<UT_BoundingBox> myLeafBoxes; ///< in the frame of the tree
};
