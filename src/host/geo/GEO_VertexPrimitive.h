#pragma once

#include "host/geo/GEO_Primitive.h"

#include <span>
#include <vector>

class UT_BitSet;

/// Base of the primitives whose vertices have records of their own.
class GEO_VertexPrimitive : public GEO_Primitive {
public:
    int getVertexCount() const override { return static_cast<int>(myVertices.size()); }
    uint32_t getVertexPointSlot(int i) const override { return getVertex(i)->pointSlot(); }
    GEO_Vertex* getVertex(int i) const override;
    /// Slots of the vertex records, in order.
    std::span<const uint32_t> vertexSlots() const { return myVertices; }
    /// Adds a vertex at the end that uses the point.
    GEO_Vertex* appendVertex(GEO_Point* point);
    /// Makes vertex i use another point.
    void setVertexPoint(int i, GEO_Point* point);
    void reverse() override;

protected:
    using GEO_Primitive::GEO_Primitive;
    void adoptVertices(const GEO_Primitive& src, const uint32_t* pointMap) override;
    void releaseRecords() override;
    std::string validate() const override;
    friend class GEO_Detail;
    /// Drops the vertices whose points are in the set.
    void dropVertices(const UT_BitSet& pointSlots);

    std::vector<uint32_t> myVertices; ///< vertex slots
};
