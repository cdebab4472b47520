#pragma once

#include "host/geo/GB_AttributeDict.h"
#include "host/geo/GB_GroupList.h"
#include "host/geo/GB_RecordPool.h"
#include "host/geo/GEO_PointList.h"
#include "host/geo/GEO_PrimList.h"
#include "host/ut/UT_BitSet.h"
#include "host/ut/UT_BoundingBox.h"

#include <cstdint>
#include <string>

/// What a piece of geometry holds: points and primitives in order, the attributes of four classes, groups, and the
/// counters by which derived structures notice change.
class GB_Detail {
public:
    GB_Detail();
    virtual ~GB_Detail();
    GB_Detail(const GB_Detail&) = delete;
    GB_Detail& operator=(const GB_Detail&) = delete;

    GEO_PointList& points() { return myPoints; }
    const GEO_PointList& points() const { return myPoints; }
    GEO_PrimList& primitives() { return myPrims; }
    const GEO_PrimList& primitives() const { return myPrims; }

    GEO_PointAttribDict& pointAttribs() { return myPointAttribs; }
    const GEO_PointAttribDict& pointAttribs() const { return myPointAttribs; }
    GEO_VertexAttribDict& vertexAttribs() { return myVertexAttribs; }
    const GEO_VertexAttribDict& vertexAttribs() const { return myVertexAttribs; }
    GEO_PrimAttribDict& primitiveAttribs() { return myPrimAttribs; }
    const GEO_PrimAttribDict& primitiveAttribs() const { return myPrimAttribs; }
    /// Attributes of the detail itself; the values are in the table's one record.
    GB_AttributeTable& attribs() { return myAttribs; }
    const GB_AttributeTable& attribs() const { return myAttribs; }
    GB_AttributeDict& attribs(GB_AttribClass cls);
    const GB_AttributeDict& attribs(GB_AttribClass cls) const { return const_cast<GB_Detail*>(this)->attribs(cls); }
    char* attribData() { return myAttribs.attribData(); }
    const char* attribData() const { return myAttribs.attribData(); }

    GB_PointGroupList& pointGroups() { return myPointGroups; }
    const GB_PointGroupList& pointGroups() const { return myPointGroups; }
    GB_PrimitiveGroupList& primitiveGroups() { return myPrimGroups; }
    const GB_PrimitiveGroupList& primitiveGroups() const { return myPrimGroups; }

    /// A new last point at (0, 0, 0, 1), attributes at their defaults. Never moves other points.
    GEO_Point* appendPoint();
    /// Removes every point that no primitive references, and returns how many went. When all that happened since the
    /// last call was births and deaths of particles this costs one pass over the point order (nothing when nobody
    /// died), else a pass over all primitives.
    size_t removeUnusedPoints();
    /// Removes exactly these points (slots). No primitive may reference them any more.
    size_t removePoints(const UT_BitSet& slots);

    /// Box of the points of the group, or without one of all points and of primitives that reach beyond theirs.
    /// Replaces the box; 0 when there is nothing to enclose.
    int getBBox(UT_BoundingBox& box, const GB_PointGroup* group = nullptr) const;
    /// Box of the primitives of the group.
    int getBBox(UT_BoundingBox& box, const GB_PrimitiveGroup* group) const;

    /// Identity of this detail in the process, never given twice.
    uint64_t dataId() const { return myDataId; }
    /// Raised by everything that adds, removes or moves elements in bulk and by notifications. Whoever writes
    /// positions or attributes of single elements in place calls bumpChange when done.
    uint64_t getChangeCount() const { return myChangeCount; }
    void bumpChange() { myLastEdit = ++myChangeCount; }
    /// For whoever draws the detail: what has changed has been told, or is no business of this counter.
    void bumpDisplay() { ++myChangeCount; }
    /// The change count at the last change that was more than a birth, a new primitive, or a word to those who draw.
    /// While it stays, all points and particles stay where they are in their lists and others only join behind them.
    uint64_t lastEdit() const { return myLastEdit; }
    /// Names what the detail is made of: points in order, primitives in order, their kinds, layouts and vertices. Equal
    /// serials mean equal topologies: a copy keeps that of its source until elements are made, removed or reordered.
    /// Details that came about apart have serials of their own, however alike they are.
    struct TopologySerial {
        friend bool operator==(const TopologySerial&, const TopologySerial&) = default;
        uint64_t detail = 0; ///< where it came about
        uint64_t change = 0; ///< and at which change
    };
    TopologySerial topologySerial() const { return myTopology; }
    /// A change after which the topology is another one.
    void bumpTopology() {
        bumpChange();
        myTopology = {myDataId, myChangeCount};
    }
    /// Raised whenever an attribute of any class is appended or attributes are dropped.
    uint64_t layoutSerial() const;

    /// First broken invariant as text, empty when the detail is sound. Costs a pass over everything; for tests and
    /// loaders.
    std::string validate() const;

    GB_RecordPool& pointRecords() { return myPointPool; }
    const GB_RecordPool& pointRecords() const { return myPointPool; }
    GB_RecordPool& vertexRecords() { return myVertexPool; }
    const GB_RecordPool& vertexRecords() const { return myVertexPool; }
    GB_RecordPool& primitiveRecords() { return myPrimPool; }
    const GB_RecordPool& primitiveRecords() const { return myPrimPool; }
    GEO_Vertex* vertexBySlot(uint32_t slot) const { return reinterpret_cast<GEO_Vertex*>(myVertexPool.record(slot)); }

protected:
    friend class GEO_Primitive;
    friend class GEO_VertexPrimitive;
    friend class GEO_PrimParticle;

    /// A new point that one particle is about to reference.
    uint32_t birthPointSlot();
    /// Up to n of them, copies of the model, into `slots`; how many they are, at least one.
    size_t birthPointSlots(const GEO_PointModel& model, uint32_t* slots, size_t n);
    uint32_t newVertex(uint32_t pointSlot);
    void freeVertex(uint32_t slot) { myVertexPool.release(slot); }
    /// The one particle that used this point is gone.
    void noteOrphan(uint32_t slot) {
        if (slot >= myOrphans.size()) myOrphans.resize(myPointPool.slotEnd());
        myOrphans.set(slot);
    }
    /// Something happened after which only a look at all primitives tells which points are unused.
    void noteUnknownUse() { myUseUnknown = true; }
    /// Points or a primitive joined behind the others.
    void noteGrowth() { myTopology = {myDataId, ++myChangeCount}; }
    /// Slots of the points that some primitive references. `shared`, when given, tells whether a particle's point is
    /// referenced from anywhere else too.
    UT_BitSet usedPoints(bool* shared = nullptr) const;
    void clearElements();
    void clearAttributes();
    /// Everything but the primitives, which the caller clones.
    void copyElements(const GB_Detail& src, bool groups);

    GB_RecordPool myPointPool{sizeof(GEO_Point)};
    GB_RecordPool myVertexPool{sizeof(GEO_Vertex)};
    GB_RecordPool myPrimPool{0};
    GEO_PointList myPoints{myPointPool};
    GEO_PrimList myPrims;
    GEO_PointAttribDict myPointAttribs{myPointPool};
    GEO_VertexAttribDict myVertexAttribs{myVertexPool};
    GEO_PrimAttribDict myPrimAttribs{myPrimPool};
    GB_AttributeTable myAttribs;
    GB_PointGroupList myPointGroups;
    GB_PrimitiveGroupList myPrimGroups;

private:
    size_t sweepUnusedPoints();
    std::string validateAttributes() const;
    std::string validatePoints() const;
    std::string validatePrimitives() const;
    std::string validateGroups() const;

    /// Points whose last reference went with their particle. Complete while myUseUnknown is false: then every point is
    /// used by one particle alone, or by other primitives alone, or listed here.
    UT_BitSet myOrphans;
    bool myUseUnknown = false;
    uint64_t myDataId;
    uint64_t myChangeCount = 0, myLastEdit = 0;
    TopologySerial myTopology;
};
