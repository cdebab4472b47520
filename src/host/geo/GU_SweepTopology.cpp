#include "host/geo/GU_SweepTopology.h"

#include "host/geo/GEO_PrimMesh.h"
#include "host/geo/GU_Detail.h"

namespace {

void readPointSlots(const GEO_Primitive& prim, std::vector<uint32_t>& slots) {
    if (prim.getPrimitiveId() == GEOPRIMPOLY || prim.getPrimitiveId() == GEOPRIMMESH)
        return static_cast<const GEO_VertexPrimitive&>(prim).getPointSlots(slots);
    slots.clear();
    for (int v = 0; v < prim.getVertexCount(); ++v) slots.push_back(prim.getVertexPointSlot(v));
}

std::vector<uint32_t> numbersBySlot(const GEO_PointList& points) {
    std::vector<uint32_t> numbers(points.slotEnd());
    for (size_t i = 0; i < points.entries(); ++i) numbers[points.slotAt(i)] = static_cast<uint32_t>(i);
    return numbers;
}

// Primitives lie all over the memory, but are known well ahead.
void fetchAhead(const GEO_PrimList& prims, size_t n) {
    constexpr size_t AHEAD = 12;
    if (n + AHEAD < prims.entries()) __builtin_prefetch(prims[n + AHEAD]);
}

} // namespace

inline GU_SweepTopology::Head GU_SweepTopology::headOf(const GEO_Primitive& prim, size_t vertices) {
    const unsigned type = prim.getPrimitiveId();
    Head head{{type, static_cast<uint32_t>(vertices), 0, 0}, 2};
    if (type == GEOPRIMPOLY) {
        if (static_cast<const GEO_PrimPoly&>(prim).GEO_PrimPoly::isClosed()) head.words[0] |= CLOSED;
        return head;
    }
    if (prim.isClosed()) head.words[0] |= CLOSED;
    if (type != GEOPRIMMESH) return head;
    const auto& mesh = static_cast<const GEO_PrimMesh&>(prim);
    head.words[0] |= (mesh.isWrappedU() ? WRAP_U : 0) | (mesh.isWrappedV() ? WRAP_V : 0);
    head.words[2] = static_cast<uint32_t>(mesh.getNumRows());
    head.words[3] = static_cast<uint32_t>(mesh.getNumCols());
    head.size = 4;
    return head;
}

GU_SweepTopology::GU_SweepTopology(const GU_Detail& detail)
    : myPoints(detail.points().entries())
    , myPrims(detail.primitives().entries()) {
    const std::vector<uint32_t> numbers = numbersBySlot(detail.points());
    std::vector<uint32_t> slots;
    for (size_t n = 0; n < myPrims; ++n) {
        fetchAhead(detail.primitives(), n);
        readPointSlots(*detail.primitives()[n], slots);
        const Head head = headOf(*detail.primitives()[n], slots.size());
        myWords.insert(myWords.end(), head.words, head.words + head.size);
        for (const uint32_t slot : slots) myWords.push_back(numbers[slot]);
    }
}

bool GU_SweepTopology::matches(const GU_Detail& detail) const {
    const GEO_PrimList& prims = detail.primitives();
    if (detail.points().entries() != myPoints || prims.entries() != myPrims) return false;
    const std::vector<uint32_t> numbers = numbersBySlot(detail.points());
    std::vector<uint32_t> slots;
    const uint32_t* at = myWords.data();
    for (size_t n = 0; n < myPrims; ++n) {
        fetchAhead(prims, n);
        readPointSlots(*prims[n], slots);
        const Head head = headOf(*prims[n], slots.size());
        for (size_t i = 0; i < head.size; ++i, ++at) // the kind first: heads of one kind are as long
            if (head.words[i] != *at) return false;
        for (size_t v = 0; v < slots.size(); ++v)
            if (numbers[slots[v]] != at[v]) return false;
        at += slots.size();
    }
    return true;
}
