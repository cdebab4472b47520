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

} // namespace

bool GU_RaySweep::sameTopology(const GU_Detail& begin, const GU_Detail& end) {
    const GEO_PrimList &a = begin.primitives(), &b = end.primitives();
    if (begin.points().entries() != end.points().entries() || a.entries() != b.entries()) return false;
    for (size_t n = 0; n < a.entries(); ++n) {
        const GEO_Primitive &p = *a[n], &q = *b[n];
        if (p.getPrimitiveId() != q.getPrimitiveId() || p.getVertexCount() != q.getVertexCount() ||
            p.isClosed() != q.isClosed())
            return false;
        for (int v = 0; v < p.getVertexCount(); ++v)
            if (begin.points().numberOfSlot(p.getVertexPointSlot(v)) !=
                end.points().numberOfSlot(q.getVertexPointSlot(v)))
                return false;
        if (p.getPrimitiveId() != GEOPRIMMESH) continue;
        const auto &m = static_cast<const GEO_PrimMesh&>(p), &o = static_cast<const GEO_PrimMesh&>(q);
        if (m.getNumCols() != o.getNumCols() || m.isWrappedU() != o.isWrappedU() || m.isWrappedV() != o.isWrappedV())
            return false;
    }
    return true;
}

GU_RaySweep::Pieces::Pieces(const GU_Detail& begin, const GU_Detail& end) {
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
    enclose();
}

void GU_RaySweep::Pieces::enclose() {
    for (const auto& triangle : triangles)
        for (const Moving& p : triangle) drift += UT_Vector3D(p.to) - UT_Vector3D(p.from);
    drift /= std::max(1.0, 3 * static_cast<double>(triangles.size()));
    boxes.reserve(triangles.size());
    for (const auto& triangle : triangles) {
        boxes.emplace_back();
        for (const Moving& p : triangle) {
            boxes.back().enlargeBounds(p.from);
            boxes.back().enlargeBounds(UT_Vector3(UT_Vector3D(p.to) - drift));
            box.enlargeBounds(p.from);
            box.enlargeBounds(p.to);
        }
    }
}

void GU_RaySweep::Pieces::addPolygon(const GEO_PrimPoly& from, const GEO_PrimPoly& to) {
    const int n = to.getVertexCount();
    if (!to.isClosed() || n < 3) return;
    std::vector<Moving>& p = outline;
    p.clear();
    for (int i = 0; i < n; ++i) {
        p.push_back({GUpointOf(from, i), GUpointOf(to, i)});
        if (!GUisFinite(p.back().from) || !GUisFinite(p.back().to)) return;
    }
    shapes.push_back({&to, Shape::TRIANGLE, static_cast<uint32_t>(outlines.size()), static_cast<uint32_t>(n)});
    if (n == 3) return addTriangle(0, p[0], p[1], p[2]);
    outlines.insert(outlines.end(), p.begin(), p.end());
    const Moving mean = addFan(0);
    const bool star =
        GUisStar(sides[0], mean.from, from.computeNormal()) && GUisStar(sides[1], mean.to, to.computeNormal());
    shapes.back().kind = star ? Shape::FAN : Shape::FOLDED;
}

void GU_RaySweep::Pieces::addMesh(const GEO_PrimMesh& from, const GEO_PrimMesh& to) {
    const int rows = to.cellRows(), cols = to.cellCols();
    if (rows < 1 || cols < 1) return;
    shapes.push_back({&to, Shape::MESH, 0, 0});
    for (int row = 0; row < rows; ++row)
        for (int col = 0; col < cols; ++col) {
            outline.clear();
            bool finite = true;
            for (int vertex : {to.vertexIndex(row, col), to.vertexIndex(row, col + 1), to.vertexIndex(row + 1, col + 1),
                               to.vertexIndex(row + 1, col)}) {
                outline.push_back({GUpointOf(from, vertex), GUpointOf(to, vertex)});
                finite &= GUisFinite(outline.back().from) && GUisFinite(outline.back().to);
            }
            if (finite) addFan(static_cast<uint32_t>(row * cols + col) * 4);
        }
}

// Triangles about the mean of `outline`, which is returned.
GU_RaySweep::Moving GU_RaySweep::Pieces::addFan(uint32_t firstPart) {
    for (std::vector<UT_Vector3>& side : sides) side.clear();
    for (const Moving& p : outline) {
        sides[0].push_back(p.from);
        sides[1].push_back(p.to);
    }
    const Moving mean{GUmeanOf(sides[0]), GUmeanOf(sides[1])};
    for (size_t i = 0; i < outline.size(); ++i)
        addTriangle(firstPart + static_cast<uint32_t>(i), outline[i], outline[(i + 1) % outline.size()], mean);
    return mean;
}

void GU_RaySweep::Pieces::addTriangle(uint32_t part, const Moving& a, const Moving& b, const Moving& c) {
    triangles.push_back({a, b, c});
    items.push_back({static_cast<uint32_t>(shapes.size() - 1), part});
}
