#pragma once

#include "host/geo/GU_Bvh.h"
#include "host/geo/GU_RayCells.h"
#include "host/geo/GU_RayFrame.h"
#include "host/geo/GU_RayInfo.h"
#include "host/geo/GU_RayShapes.h"
#include "host/ut/UT_BoundingBox.h"
#include "host/ut/UT_LargeAllocator.h"
#include "host/ut/UT_Vector3.h"

#include <cstdint>
#include <memory>
#include <vector>

class GB_PrimitiveGroup;
class GU_Detail;
class GU_RaySweep;

/// Rays against, and nearest points on, the surfaces of a detail: closed polygons of any vertex count, meshes, spheres,
/// tubes and circles. Curves, particles and metaballs have no surface and are never hit; neither is anything with a
/// position that is not finite.
///
/// The structure is a picture of the detail at construction. Ask validForDetail before use once the detail may have
/// changed; the primitives in results are those of the detail, which has to live on. Queries are const and may run on
/// several threads, each with its own GU_RayInfo.
///
/// Results are the same bits everywhere and never depend on the order in which the structure is walked. A surface is
/// what evaluatePosition covers: polygons are split into a fan about their vertex mean (a concave one is hit only
/// inside its outline), bent mesh cells into four triangles about their centre. A primitive counts once per crossing
/// however many pieces meet there; an edge shared by two primitives counts for each. Rays through shared edges and
/// vertices never slip between the pieces.
///
/// Over two details it is a structure for deforming geometry: sendRay then follows a point that moves from org by dir
/// per unit of time, while every vertex moves linearly from its place in `begin` to its place in `end`. Distances are
/// times; GU_RayInfo::setSweep says how they run through the step. dir may be zero: surfaces run into points at rest.
/// Hits name the primitive of `end`, with its normal at that instant, and (u, v) mean the same place in both details.
/// Polygons are fans about their vertex mean, triangles as they are; mesh cells are four triangles about their centre.
/// Every crossing counts, also a mere touch; a contact that lasts (a point that rests on the surface) counts once,
/// where it begins. An edge shared by two primitives counts for each. Spheres, tubes and circles are not hit (see
/// `skipped`).
class GU_RayIntersect {
public:
    /// Over all primitives, or over the members of the group. A null detail gives an empty structure.
    explicit GU_RayIntersect(const GU_Detail* detail, const GB_PrimitiveGroup* group = nullptr);
    /// For deforming geometry. Empty when either detail is null or validForDeformingGeometry says no.
    GU_RayIntersect(const GU_Detail* begin, const GU_Detail* end);
    ~GU_RayIntersect();
    GU_RayIntersect(const GU_RayIntersect&) = delete;
    GU_RayIntersect& operator=(const GU_RayIntersect&) = delete;

    /// Follows the detail to where its points are now, which costs much less than building: queries then answer as from
    /// a new structure. 0, and nothing changed, when its primitives do not come apart into the same pieces as before
    /// (another topology, faces that lost or gained an edge or a bend): build a new one then.
    int refit(const GU_Detail* detail, const GB_PrimitiveGroup* group = nullptr);
    /// The same for deforming geometry; also 0 when validForDeformingGeometry says no.
    int refit(const GU_Detail* begin, const GU_Detail* end);

    /// Non-zero when both details are there and have the same topology: as many points, as many primitives, and the
    /// primitives of one number of the same kind, with as many vertices, equally closed (meshes: with as many columns,
    /// equally wrapped), and each vertex on the point of the same number. Slots and attributes do not matter.
    static int validForDeformingGeometry(const GU_Detail* begin, const GU_Detail* end);

    /// A structure for the detail as it is now, from a small process-wide cache when the detail and the members of the
    /// group are unchanged since it was built.
    static std::shared_ptr<const GU_RayIntersect> shared(const GU_Detail* detail,
                                                         const GB_PrimitiveGroup* group = nullptr);

    /// Finds what `info` asks for on org + distance * dir; dir need not have length 1. Non-zero on a hit, which is in
    /// `info`. A zero (but for deforming geometry) or non-finite direction, or a non-finite origin, hits nothing.
    int sendRay(const UT_Vector3& org, const UT_Vector3& dir, GU_RayInfo& info) const;
    /// The same, faster for rays that come near something and slower for others: it does not ask first whether the ray
    /// stays clear of everything.
    int sendNearRay(const UT_Vector3& org, const UT_Vector3& dir, GU_RayInfo& info) const;

    /// Non-zero when p lies inside the closed surfaces. When every edge of the geometry is used equally often in both
    /// directions (closed and consistently wound), inside is where the winding number is not 0, so overlapping solids
    /// act as their union. Anything else is judged by the parity of crossings, by the majority of three directions when
    /// `thorough` is non-zero, by one direction when it is 0. Points on the surface may fall either way. 0 for
    /// deforming geometry.
    int isInside(const UT_Vector3& p, int thorough = 1) const;

    /// The place on the surface nearest to p, no further than maxDistance; equal distances go to the lower primitive
    /// number. Non-zero when there is one. On quadrics the location that `parametric` gives is taken: exact for
    /// uniform frames, an upper bound for others. 0 for
    /// deforming geometry.
    int minimumPoint(const UT_Vector3& p, GU_RayHit& hit, float maxDistance = 1e18f) const;

    /// Non-zero when the structure was built from this detail and it has not changed since.
    int validForDetail(const GU_Detail* detail) const;

    /// Box of everything that can be hit; empty (not valid) when there is nothing.
    const UT_BoundingBox& getBBox() const { return myBox; }
    /// True when nothing that can be hit is between `low` and `high`, for sure; found out at little cost. False when
    /// it takes a ray to know. The fourth lanes do not matter.
    bool isClear(GU_Float4 low, GU_Float4 high) const { return myCells.isClear(low, high); }
    /// Number of primitives that can be hit.
    size_t entries() const;
    /// Number of primitives that have a surface but cannot be hit: quadrics in deforming geometry.
    size_t skipped() const;

private:
    friend class GU_RayBatch;
    /// Four items as the search visits them: corners[vertex][axis][lane]. Lanes of items that are no triangles hold
    /// NaN.
    struct alignas(64) Leaf {
        static constexpr uint32_t SPECIAL = 0x80000000u; ///< no triangle that always counts: look at its shape
        float corners[3][3][4];
        uint32_t lane[4];  ///< item with the bit SPECIAL, or NO_ITEM
        uint32_t shape[4]; ///< of the items

        bool isUsed(uint32_t i) const { return lane[i] != GU_Bvh::NO_ITEM; }
        bool isSpecial(uint32_t i) const { return lane[i] & SPECIAL; }
        uint32_t item(uint32_t i) const { return lane[i] & ~SPECIAL; }
    };
    struct Query;
    static bool isRay(const UT_Vector3& org, const UT_Vector3& dir, float low, float high);
    using Corners = GU_RayShapes::Triangle;
    void build();
    void fillLeaves();
    uint32_t laneOf(uint32_t item) const;
    Corners corners(uint32_t place) const;
    void visitLeaf(uint32_t leaf, Query& query) const;
    void testTriangle(uint32_t place, Query& query) const;
    void testSpecial(uint32_t place, Query& query) const;
    void testQuadric(uint32_t place, Query& query) const;
    void keepDistinct(std::vector<GU_RayCandidate>& candidates) const;
    /// The hit of a candidate; `position` is only looked at for quadrics.
    GU_RayHit finish(const GU_RayCandidate& candidate, const UT_Vector3& position) const;
    void finishAll(GU_RayInfo& info, const Query& query) const;
    /// Crossings of the half line from p: how many, and leaving minus entering ones.
    void countCrossings(const UT_Vector3& p, const UT_Vector3& dir, int& crossings, int& winding) const;
    /// Whether a ray passes inside the outline of the shape asked about last: all pieces of a shape get the same
    /// answer.
    struct OutlineAnswer {
        uint32_t shape = GU_Bvh::NO_ITEM;
        bool holds = false;
    };
    struct Visitor;
    bool outlineHolds(uint32_t shape, const GU_RayFrame& frame, OutlineAnswer& answer) const;
    bool outlineHolds(const GU_RayShape& shape, const GU_RayFrame& frame) const;
    bool nearestOnItem(uint32_t place, const UT_Vector3& p, GU_RayCandidate& candidate, UT_Vector3& position,
                       OutlineAnswer& answer) const;

    uint64_t myDataId = 0;
    uint64_t myChangeCount = 0;
    uint64_t myLayoutSerial = 0;
    GU_RayShapes myShapes;
    GU_Bvh myBvh;
    std::vector<Leaf, UT_LargeAllocator<Leaf>> myLeaves;
    GU_RayCells myCells;
    UT_BoundingBox myBox;
    std::unique_ptr<GU_RaySweep> mySweep; ///< for deforming geometry; the static structure is empty then
};
