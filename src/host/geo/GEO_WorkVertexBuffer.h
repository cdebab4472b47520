#pragma once

#include "host/geo/GEO_Point.h"

#include <memory>
#include <vector>

class GEO_Detail;

/// A scratch vertex: a point outside every detail.
class GEO_WorkVertex {
public:
    explicit GEO_WorkVertex(GEO_Point* point)
        : myPoint(point) {}
    GEO_Point* getPt() const { return myPoint; }
    UT_Vector4& getPos() { return myPoint->getPos(); }

private:
    GEO_Point* myPoint;
};

/// Scratch points with the point layout of a detail at the time of construction, position (0, 0, 0, 1), attributes at
/// their defaults. Appending a point attribute to the detail makes the buffer outdated, not invalid.
class GEO_WorkVertexBuffer {
public:
    /// `vertexAttribs` is accepted and means nothing here: scratch vertices carry point attributes only.
    explicit GEO_WorkVertexBuffer(const GEO_Detail* detail, int vertexAttribs = 0, int count = 1);
    GEO_WorkVertexBuffer(const GEO_WorkVertexBuffer&) = delete;
    GEO_WorkVertexBuffer& operator=(const GEO_WorkVertexBuffer&) = delete;

    int entries() const { return static_cast<int>(myVertices.size()); }
    GEO_WorkVertex* getVertex(int i) { return &myVertices[static_cast<size_t>(i)]; }
    const GEO_Detail* getDetail() const { return myDetail; }

private:
    const GEO_Detail* myDetail;
    std::unique_ptr<char[]> myBytes;
    std::vector<GEO_WorkVertex> myVertices;
};
