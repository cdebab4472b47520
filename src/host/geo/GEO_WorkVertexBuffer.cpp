#include "host/geo/GEO_WorkVertexBuffer.h"

#include "host/geo/GEO_Detail.h"

#include <cstring>

GEO_WorkVertexBuffer::GEO_WorkVertexBuffer(const GEO_Detail* detail, int, int count)
    : myDetail(detail) {
    const size_t stride = detail->pointRecords().stride(), n = count > 0 ? static_cast<size_t>(count) : 0;
    const auto attribBytes = static_cast<size_t>(detail->pointAttribs().recordSize());
    myBytes = std::make_unique<char[]>(stride * n);
    for (size_t i = 0; i < n; ++i) {
        auto* point = reinterpret_cast<GEO_Point*>(myBytes.get() + i * stride);
        point->myPos = UT_Vector4(0, 0, 0, 1);
        point->mySlot = GB_RecordPool::NO_SLOT;
        if (attribBytes) std::memcpy(point->data(), detail->pointAttribs().defaults(), attribBytes);
        myVertices.emplace_back(point);
    }
}
