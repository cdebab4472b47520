#pragma once

#include "host/geo/GU_Bvh.h"
#include "host/geo/GU_RayCells.h"
#include "host/geo/GU_RayInfo.h"
#include "host/geo/GU_SweptSurface.h"
#include "host/ut/UT_BoundingBox.h"
#include "host/ut/UT_LargeAllocator.h"
#include "host/ut/UT_Vector3.h"

#include <cstdint>
#include <vector>

class GU_Detail;
struct GU_RaySearch;
struct GU_SweptTriangle;

/// Rays against surfaces whose points move linearly over a step; see GU_SweptSurface.
class GU_RaySweep {
public:
    /// Both are of the topology.
    GU_RaySweep(GU_SweepTopology topology, const GU_Detail& begin, const GU_Detail& end);

    /// False, and nothing changed, when they have another topology or do not come apart into the same pieces.
    bool refit(const GU_Detail& begin, const GU_Detail& end);
    int sendRay(const UT_Vector3& org, const UT_Vector3& dir, GU_RayInfo& info) const;
    const UT_BoundingBox& getBBox() const { return myBox; }
    size_t entries() const { return mySurface.shapes().size(); }
    size_t skipped() const { return mySurface.skipped(); }

private:
    using Shape = GU_SweptSurface::Shape;
    using Moving = GU_SweptSurface::Moving;
    /// corners[begin or end][vertex][axis][lane]
    struct alignas(64) Leaf {
        static constexpr uint32_t MAY_FOLD = 0x80000000u; ///< a shape that may be folded: look at it
        float corners[2][3][3][4];
        uint32_t item[4];
        uint32_t shape[4]; ///< of the items, with the bit MAY_FOLD
        Moving corner(uint32_t lane, size_t v) const {
            const auto& p = corners;
            return {{p[0][v][0][lane], p[0][v][1][lane], p[0][v][2][lane]},
                    {p[1][v][0][lane], p[1][v][1][lane], p[1][v][2][lane]}};
        }
    };
    struct LeafPlaces { ///< of the corners, at[vertex][lane]; lanes that are not used repeat the first one
        uint32_t at[3][4];
    };
    using Boxes = std::vector<UT_BoundingBox>;
    struct Query;
    struct Visitor;

    void build();
    void fillLeaves();
    void findPlaces();
    void fillLeaf(size_t number, GU_Float4 (&low)[2], GU_Float4 (&high)[2]);
    Boxes itemBoxes() const;
    bool staysOutside(const UT_Vector3& org, const UT_Vector3& dir, float low, float high) const;
    void walk(uint32_t section, Query& query) const;
    void visitLeaf(uint32_t leaf, Query& query) const;
    /// Bits of the lanes that cannot be met during the section.
    int missed(const Leaf& leaf, const Query& query) const;
    void testTriangle(uint32_t place, Query& query) const;
    bool outlineHolds(const Shape& shape, uint32_t place, const Query& query, double t) const;
    UT_Vector3D cornerAt(uint32_t place, int vertex, const Query& query, double fraction) const;
    static void keepDistinct(std::vector<GU_RayCandidate>& list);
    GU_RayHit finish(const GU_RayCandidate& candidate, const Query& query) const;
    void finishAll(GU_RayInfo& info, const Query& query) const;

    GU_SweptSurface mySurface;
    std::vector<Leaf, UT_LargeAllocator<Leaf>> myLeaves;
    std::vector<LeafPlaces> myLeafPlaces;
    /// In a frame that moves along with the surfaces, by their drift: however fast they go, its boxes only hold how
    /// they deform.
    GU_Bvh myBvh;
    GU_RayCells myCells; ///< in the frame of the tree, as is the next box
    UT_BoundingBox myTreeBox;
    UT_BoundingBox myBox; ///< of all corners at begin and end
    Boxes myLeafBoxes;    ///< in the frame of the tree
};
