#pragma once

#include "host/geo/GU_Float4.h"
#include "host/geo/GU_SweepTopology.h"
#include "host/ut/UT_BoundingBox.h"
#include "host/ut/UT_LargeAllocator.h"
#include "host/ut/UT_Vector3.h"

#include <array>
#include <cstdint>
#include <vector>

class GU_Detail;

/// The surfaces of two details of one topology, taken apart into triangles whose corners move: closed polygons and
/// meshes become fans about their vertex means, triangles stay as they are. Whatever has a position that is not finite,
/// a polygon or the cell of a mesh, is left out.
///
/// Which triangles there are is found out once. Following the details to where their points are now reads every point
/// once, into an array of places; triangles name their corners by places in it.
class GU_SweptSurface {
public:
    struct Shape {
        enum Kind { TRIANGLE, FAN, FOLDED, MESH };
        const GEO_Primitive* prim; ///< at the end
        uint32_t number;           ///< of the primitive
        Kind kind;
        uint32_t first;    ///< of the outline; polygons with more than three vertices
        uint32_t vertices; ///< of a polygon
    };
    struct Item {
        uint32_t shape;
        uint32_t part; ///< edge of a fan; four times the cell, plus the edge, of a mesh
    };
    struct Moving { ///< a point at the begin and at the end
        UT_Vector3 from, to;
    };
    struct alignas(16) Place {
        float at[2][4]; ///< begin and end; the fourth ones are 0
        Moving moving() const { return {{at[0][0], at[0][1], at[0][2]}, {at[1][0], at[1][1], at[1][2]}}; }
    };

    /// Both are of the topology.
    GU_SweptSurface(GU_SweepTopology topology, const GU_Detail& begin, const GU_Detail& end);
    /// False, and nothing changed, when they have another topology or other surfaces are left out.
    bool follow(const GU_Detail& begin, const GU_Detail& end);

    const std::vector<Shape>& shapes() const { return myShapes; }
    const std::vector<Item>& items() const { return myItems; }
    /// By item: indices of places.
    const std::vector<std::array<uint32_t, 3>>& corners() const { return myCorners; }
    const Place& place(uint32_t i) const { return myPlaces[i]; }
    /// Vertex i of a polygon with more than three, at a fraction of the step.
    UT_Vector3D outlineAt(const Shape& shape, int i, double fraction) const {
        const Moving p = myPlaces[myOutlines[shape.first + static_cast<uint32_t>(i)]].moving();
        return UT_Vector3D(p.from) * (1 - fraction) + UT_Vector3D(p.to) * fraction;
    }
    /// The mean way of the points.
    const UT_Vector3& drift() const { return myDrift; }
    /// Primitives that have a surface of another kind.
    size_t skipped() const { return mySkipped; }

private:
    using Places = std::vector<Place, UT_LargeAllocator<Place>>;
    static constexpr uint32_t NONE = 0xffffffffu;
    struct Fan {
        uint32_t first, count; ///< of the outline
        uint32_t shape;        ///< polygons; NONE in a mesh
    };
    struct Gathered {
        Places places;
        UT_Vector3 drift{0, 0, 0};
        bool isFinite = true;
    };
    using Face = GU_SweepTopology::Face;
    std::vector<uint32_t> findPoints();
    void takeApart(const std::vector<uint32_t>& placeOf);
    void addPolygon(const Face& face, const std::vector<uint32_t>& placeOf);
    void addMesh(const Face& face, const std::vector<uint32_t>& placeOf);
    bool addOutline(const uint32_t* points, uint32_t n, const std::vector<uint32_t>& placeOf);
    void addFan(uint32_t shape, uint32_t firstPart, uint32_t n);
    void addTriangle(uint32_t part, uint32_t a, uint32_t b, uint32_t c);
    void gather(const GU_Detail& begin, const GU_Detail& end, Gathered& to) const;
    bool leavesOutTheSame(const Places& places) const;
    void finishFans();

    GU_SweepTopology myTopology;
    std::vector<uint32_t> myPoints; ///< numbers of the points that surfaces use, by place; means of fans come behind
    std::vector<Shape> myShapes;
    std::vector<Item> myItems;
    std::vector<std::array<uint32_t, 3>> myCorners;
    std::vector<uint32_t> myOutlines; ///< places
    std::vector<Fan> myFans;
    std::vector<Fan> myLeftOut; ///< outlines with a position that is not finite
    Places myPlaces;
    UT_Vector3 myDrift{0, 0, 0};
    Gathered myNext; ///< memory of the next places
    size_t mySkipped = 0;
    std::vector<UT_Vector3> myRims[2]; ///< of the fan at hand
};
