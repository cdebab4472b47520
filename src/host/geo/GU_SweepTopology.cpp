#include "host/geo/GU_SweepTopology.h"

namespace {

std::vector<uint32_t> numbersBySlot(const GEO_PointList& points) {
    std::vector<uint32_t> numbers(points.slotEnd());
    uint32_t number = 0;
    points.order().forEachSpan([&](std::span<const uint32_t> slots) {
        for (const uint32_t slot : slots) numbers[slot] = number++;
    });
    return numbers;
}

} // namespace

/// Reads the primitives of a detail as words, which word(w) takes until it returns false.
struct GU_SweepTopology::Reader {
    explicit Reader(const GU_Detail& d)
        : prims(d.primitives())
        , numbers(numbersBySlot(d.points()))
        , vertices(d.vertexRecords().view()) {}

    /// False when word did.
    template <class Word> bool readAll(Word&& word) const {
        // Primitives lie all over the memory, but are known well ahead.
        constexpr size_t AHEAD = 12;
        for (size_t n = 0, end = prims.entries(); n < end; ++n) {
            if (n + AHEAD < end) __builtin_prefetch(prims[n + AHEAD]);
            if (!read(*prims[n], word)) return false;
        }
        return true;
    }

private:
    template <class Word> bool read(const GEO_Primitive& prim, Word& word) const {
        if (prim.getPrimitiveId() != GEOPRIMPOLY) return readOther(prim, word);
        const auto& poly = static_cast<const GEO_PrimPoly&>(prim);
        const bool closed = poly.GEO_PrimPoly::isClosed(); // not a virtual call
        return word(GEOPRIMPOLY | (closed ? CLOSED : 0)) && readVertices(poly.vertexSlots(), word);
    }
    template <class Word> bool readVertices(std::span<const uint32_t> slots, Word& word) const {
        if (!word(static_cast<uint32_t>(slots.size()))) return false;
        for (const uint32_t slot : slots)
            if (!word(numbers[reinterpret_cast<const GEO_Vertex*>(vertices(slot))->pointSlot()])) return false;
        return true;
    }
    template <class Word> bool readOther(const GEO_Primitive& prim, Word& word) const {
        const uint32_t bits = prim.getPrimitiveId() | (prim.isClosed() ? CLOSED : 0);
        if (prim.getPrimitiveId() == GEOPRIMMESH) {
            const auto& mesh = static_cast<const GEO_PrimMesh&>(prim);
            return word(bits | (mesh.isWrappedU() ? WRAP_U : 0) | (mesh.isWrappedV() ? WRAP_V : 0)) &&
                   word(static_cast<uint32_t>(mesh.getNumRows())) && word(static_cast<uint32_t>(mesh.getNumCols())) &&
                   readVertices(mesh.vertexSlots(), word);
        }
        const int n = prim.getVertexCount();
        if (!word(bits) || !word(static_cast<uint32_t>(n))) return false;
        for (int v = 0; v < n; ++v)
            if (!word(numbers[prim.getVertexPointSlot(v)])) return false;
        return true;
    }

    const GEO_PrimList& prims;
    std::vector<uint32_t> numbers;
    GB_RecordView vertices;
};

GU_SweepTopology::GU_SweepTopology(const GU_Detail& detail)
    : myPoints(detail.points().entries())
    , myPrims(detail.primitives().entries())
    , mySource(detail.topologySerial())
    , myLastMatch(mySource) {
    Reader(detail).readAll([this](uint32_t word) {
        myWords.push_back(word);
        return true;
    });
}

bool GU_SweepTopology::matches(const GU_Detail& detail) {
    const GU_Detail::TopologySerial serial = detail.topologySerial();
    if (serial == mySource || serial == myLastMatch) return true;
    if (detail.points().entries() != myPoints || detail.primitives().entries() != myPrims) return false;
    // What differs from what is here differs before it could be longer: kinds and counts come first.
    if (!Reader(detail).readAll([at = myWords.data()](uint32_t word) mutable { return word == *at++; })) return false;
    myLastMatch = serial;
    return true;
}
