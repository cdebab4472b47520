#include "host/geo/GEO_PrimMesh.h"
#include "host/geo/GU_Detail.h"
#include "host/geo/GU_RayPolygon.h"
#include "host/geo/GU_RaySweep.h"

#include <algorithm>

// How two details of one topology come apart into moving triangles.

namespace {

bool isQuadric(const GEO_Primitive& prim) {
    return prim.getPrimitiveId() & (GEOPRIMSPHERE | GEOPRIMTUBE | GEOPRIMCIRCLE);
}

void readPointSlots(const GEO_Primitive& prim, std::vector<uint32_t>& slots) {
    if (prim.getPrimitiveId() == GEOPRIMPOLY || prim.getPrimitiveId() == GEOPRIMMESH)
        return static_cast<const GEO_VertexPrimitive&>(prim).getPointSlots(slots);
    slots.clear();
    for (int v = 0; v < prim.getVertexCount(); ++v) slots.push_back(prim.getVertexPointSlot(v));
}

} // namespace

bool GU_RaySweep::sameTopology(const GU_Detail& begin, const GU_Detail& end) {
    const GEO_PrimList &a = begin.primitives(), &b = end.primitives();
    if (begin.points().entries() != end.points().entries() || a.entries() != b.entries()) return false;
    std::vector<uint32_t> slots[2];
    for (size_t n = 0; n < a.entries(); ++n) {
        const GEO_Primitive &p = *a[n], &q = *b[n];
        if (p.getPrimitiveId() != q.getPrimitiveId() || p.isClosed() != q.isClosed()) return false;
        readPointSlots(p, slots[0]);
        readPointSlots(q, slots[1]);
        if (slots[0].size() != slots[1].size()) return false;
        for (size_t v = 0; v < slots[0].size(); ++v)
            if (begin.points().numberOfSlot(slots[0][v]) != end.points().numberOfSlot(slots[1][v])) return false;
        if (p.getPrimitiveId() != GEOPRIMMESH) continue;
        const auto &m = static_cast<const GEO_PrimMesh&>(p), &o = static_cast<const GEO_PrimMesh&>(q);
        if (m.getNumCols() != o.getNumCols() || m.isWrappedU() != o.isWrappedU() || m.isWrappedV() != o.isWrappedV())
            return false;
    }
    return true;
}

UT_Vector3 GU_RaySweep::Pieces::Side::at(size_t vertex) const {
    return UT_Vector3(detail->points().bySlot(slots[vertex])->getPos());
}

void GU_RaySweep::Pieces::collect(const GU_Detail& begin, const GU_Detail& end) {
    shapes.clear();
    items.clear();
    outlines.clear();
    triangles.clear();
    myDriftSum.assign(0, 0, 0);
    skipped = 0;
    mySides[0].detail = &begin;
    mySides[1].detail = &end;
    for (size_t n = 0; n < end.primitives().entries(); ++n) {
        const GEO_Primitive &from = *begin.primitives()[n], &to = *end.primitives()[n];
        const size_t before = items.size();
        if (to.getPrimitiveId() == GEOPRIMPOLY)
            addPolygon(static_cast<const GEO_PrimPoly&>(from), static_cast<const GEO_PrimPoly&>(to));
        else if (to.getPrimitiveId() == GEOPRIMMESH)
            addMesh(static_cast<const GEO_PrimMesh&>(from), static_cast<const GEO_PrimMesh&>(to));
        else if (isQuadric(to))
            ++skipped;
        if (items.size() == before && !shapes.empty() && shapes.back().prim == &to) shapes.pop_back();
    }
    drift = UT_Vector3(myDriftSum / std::max(1.0, 3 * static_cast<double>(triangles.size())));
}

std::vector<UT_BoundingBox> GU_RaySweep::Pieces::boxes() const {
    std::vector<UT_BoundingBox> all;
    all.reserve(triangles.size());
    for (const auto& triangle : triangles) {
        all.emplace_back();
        for (const Moving& p : triangle) {
            all.back().enlargeBounds(p.from);
            all.back().enlargeBounds(p.to - drift);
        }
    }
    return all;
}

// The vertices of the primitive at hand become `myOutline`; false when one is not finite.
bool GU_RaySweep::Pieces::setOutline(const size_t* vertices, size_t n) {
    myOutline.clear();
    for (size_t i = 0; i < n; ++i) {
        const size_t v = vertices ? vertices[i] : i;
        myOutline.push_back({mySides[0].at(v), mySides[1].at(v)});
        if (!GUisFinite(myOutline.back().from) || !GUisFinite(myOutline.back().to)) return false;
    }
    return true;
}

void GU_RaySweep::Pieces::addPolygon(const GEO_PrimPoly& from, const GEO_PrimPoly& to) {
    if (!to.isClosed() || to.getVertexCount() < 3) return;
    from.getPointSlots(mySides[0].slots);
    to.getPointSlots(mySides[1].slots);
    const size_t n = mySides[1].slots.size();
    if (!setOutline(nullptr, n)) return;
    const std::vector<Moving>& p = myOutline;
    shapes.push_back({&to, Shape::TRIANGLE, static_cast<uint32_t>(outlines.size()), static_cast<uint32_t>(n)});
    if (n == 3) return addTriangle(0, p[0], p[1], p[2]);
    outlines.insert(outlines.end(), p.begin(), p.end());
    const Moving mean = addFan(0);
    const bool star = GUisStar(mySides[0].outline, mean.from, from.computeNormal()) &&
                      GUisStar(mySides[1].outline, mean.to, to.computeNormal());
    shapes.back().kind = star ? Shape::FAN : Shape::FOLDED;
}

void GU_RaySweep::Pieces::addMesh(const GEO_PrimMesh& from, const GEO_PrimMesh& to) {
    const int rows = to.cellRows(), cols = to.cellCols();
    if (rows < 1 || cols < 1) return;
    shapes.push_back({&to, Shape::MESH, 0, 0});
    from.getPointSlots(mySides[0].slots);
    to.getPointSlots(mySides[1].slots);
    const auto vertex = [&](int row, int col) { return static_cast<size_t>(to.vertexIndex(row, col)); };
    for (int row = 0; row < rows; ++row)
        for (int col = 0; col < cols; ++col) {
            const size_t vertices[] = {vertex(row, col), vertex(row, col + 1), vertex(row + 1, col + 1),
                                       vertex(row + 1, col)};
            if (setOutline(vertices, 4)) addFan(static_cast<uint32_t>(row * cols + col) * 4);
        }
}

// Triangles about the mean of `myOutline`, which is returned.
GU_RaySweep::Moving GU_RaySweep::Pieces::addFan(uint32_t firstPart) {
    for (Side& side : mySides) side.outline.clear();
    for (const Moving& p : myOutline) {
        mySides[0].outline.push_back(p.from);
        mySides[1].outline.push_back(p.to);
    }
    const Moving mean{GUmeanOf(mySides[0].outline), GUmeanOf(mySides[1].outline)};
    for (size_t i = 0; i < myOutline.size(); ++i)
        addTriangle(firstPart + static_cast<uint32_t>(i), myOutline[i], myOutline[(i + 1) % myOutline.size()], mean);
    return mean;
}

void GU_RaySweep::Pieces::addTriangle(uint32_t part, const Moving& a, const Moving& b, const Moving& c) {
    triangles.push_back({a, b, c});
    for (const Moving& p : triangles.back()) myDriftSum += UT_Vector3D(p.to) - UT_Vector3D(p.from);
    items.push_back({static_cast<uint32_t>(shapes.size() - 1), part});
}
