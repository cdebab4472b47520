#include "host/geo/GEO_VertexPrimitive.h"

#include "host/geo/GEO_Detail.h"

#include <algorithm>

GEO_Vertex* GEO_VertexPrimitive::getVertex(int i) const {
    return myDetail->vertexBySlot(myVertices[static_cast<size_t>(i)]);
}

GEO_Vertex* GEO_VertexPrimitive::appendVertex(GEO_Point* point) {
    myVertices.push_back(myDetail->newVertex(point->slot()));
    myDetail->noteUnknownUse();
    myDetail->bumpTopology();
    return getVertex(getVertexCount() - 1);
}

void GEO_VertexPrimitive::setVertexPoint(int i, GEO_Point* point) {
    getVertex(i)->myPoint = point->slot();
    myDetail->noteUnknownUse();
    myDetail->bumpTopology();
}

void GEO_VertexPrimitive::reverse() {
    std::reverse(myVertices.begin(), myVertices.end());
    myDetail->bumpTopology();
}

void GEO_VertexPrimitive::adoptVertices(const GEO_Primitive& src, const uint32_t* pointMap) {
    myVertices.clear();
    for (int i = 0, n = src.getVertexCount(); i < n; ++i)
        myVertices.push_back(myDetail->newVertex(pointMap[src.getVertexPointSlot(i)]));
    myDetail->noteUnknownUse();
    myDetail->bumpTopology();
}

void GEO_VertexPrimitive::releaseRecords() {
    for (const uint32_t slot : myVertices) myDetail->freeVertex(slot);
    if (!myVertices.empty()) myDetail->noteUnknownUse();
    myVertices.clear();
}

void GEO_VertexPrimitive::dropVertices(const UT_BitSet& pointSlots) {
    std::erase_if(myVertices, [&](uint32_t slot) {
        const uint32_t point = myDetail->vertexBySlot(slot)->pointSlot();
        const bool drop = point < pointSlots.size() && pointSlots.test(point);
        if (drop) myDetail->freeVertex(slot);
        return drop;
    });
    myDetail->noteUnknownUse();
    myDetail->bumpTopology();
}

std::string GEO_VertexPrimitive::validate() const {
    const GB_RecordPool& pool = myDetail->vertexRecords();
    for (size_t i = 0; i < myVertices.size(); ++i) {
        const uint32_t slot = myVertices[i];
        if (!pool.isLive(slot)) return "vertex " + std::to_string(i) + " has free vertex slot " + std::to_string(slot);
        if (myDetail->vertexBySlot(slot)->slot() != slot) return "vertex " + std::to_string(i) + " has a wrong slot";
    }
    return GEO_Primitive::validate();
}
