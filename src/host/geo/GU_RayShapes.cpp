#include "host/geo/GU_RayShapes.h"

#include "host/geo/GEO_PrimMesh.h"
#include "host/geo/GEO_PrimPoly.h"
#include "host/geo/GEO_PrimQuadric.h"
#include "host/geo/GU_Detail.h"
#include "host/geo/GU_RayPolygon.h"

#include <bit>
#include <cmath>
#include <limits>

namespace {

// Four points that two triangles cover to rounding, whichever diagonal splits them.
bool isFlatConvex(const std::vector<UT_Vector3>& p) {
    const UT_Vector3D a = UT_Vector3D(p[2]) - UT_Vector3D(p[0]), b = UT_Vector3D(p[3]) - UT_Vector3D(p[1]);
    const UT_Vector3D normal = cross(a, b);
    const double size = std::sqrt(std::fmax(a.length2(), b.length2()));
    const double height = dot(UT_Vector3D(p[1]) - UT_Vector3D(p[0]), normal);
    if (!(std::fabs(height) <= 1e-6 * size * normal.length())) return false;
    if (!(normal.length() > 1e-9 * size * size)) return false; // halves of a self-crossing one make up for each other
    for (size_t i = 0; i < 4; ++i)
        if (dot(GUcorner(p[i], p[(i + 1) % 4], p[(i + 2) % 4]), normal) < 0) return false;
    return true;
}

uint64_t mix(uint64_t x) { // finaliser of splitmix64 (Steele, Lea, Flood, 2014)
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9u;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebu;
    return x ^ (x >> 31);
}

uint64_t hashPoint(const UT_Vector3& p) {
    uint64_t h = 0x9e3779b97f4a7c15u;
    for (int k = 0; k < 3; ++k) h = mix(h + std::bit_cast<uint32_t>(p[k] + 0.0f)); // -0 is 0
    return h;
}

} // namespace

void GU_RayShapes::collect(const GU_Detail& detail, const GB_PrimitiveGroup* group) {
    detail.primitives().forEach(group, [&](GEO_Primitive* prim) {
        const size_t before = myItems.size();
        if (prim->getPrimitiveId() == GEOPRIMPOLY)
            addPolygon(static_cast<const GEO_PrimPoly&>(*prim));
        else if (prim->getPrimitiveId() == GEOPRIMMESH)
            addMesh(static_cast<const GEO_PrimMesh&>(*prim));
        else if (prim->getPrimitiveId() & (GEOPRIMSPHERE | GEOPRIMTUBE | GEOPRIMCIRCLE))
            addQuadric(*prim);
        else
            return;
        // A shape that turned out to have no pieces goes again.
        if (myItems.size() == before && !myShapes.empty() && myShapes.back().prim == prim) myShapes.pop_back();
    });
}

void GU_RayShapes::dropBuildData() {
    myTriangles = {};
    myBoxes = {};
    myScratch = {};
}

void GU_RayShapes::beginShape(const GEO_Primitive& prim, GU_RayShape::Kind kind, uint32_t first, int vertices) {
    constexpr uint32_t MOST = (1u << 29) - 1; // far more than fit into memory
    const auto number = static_cast<uint32_t>(prim.getNum()), corners = static_cast<uint32_t>(vertices);
    myShapes.push_back({&prim, number, first, corners & MOST, kind, UT_Vector3(0, 0, 0)});
}

void GU_RayShapes::addEdge(uint64_t from, uint64_t to) {
    // Odd in the direction, and no use of one edge can make up for another's.
    if (from < to)
        myEdgeSum += mix(from + 3 * to);
    else if (to < from)
        myEdgeSum -= mix(to + 3 * from);
}

void GU_RayShapes::addTriangle(uint32_t part, const UT_Vector3& a, const UT_Vector3& b, const UT_Vector3& c) {
    const uint64_t hashes[3] = {hashPoint(a), hashPoint(b), hashPoint(c)};
    for (int i = 0; i < 3; ++i) addEdge(hashes[i], hashes[(i + 1) % 3]);
    if (a == b || b == c || c == a) return; // without area for sure, and its edges cancel
    UT_BoundingBox box(a, a);
    box.enlargeBounds(b);
    box.enlargeBounds(c);
    myBoxes.push_back(box);
    myTriangles.push_back({a, b, c});
    myItems.push_back({static_cast<uint32_t>(myShapes.size() - 1), part});
}

void GU_RayShapes::addPolygon(const GEO_PrimPoly& poly) {
    const int n = poly.getVertexCount();
    if (!poly.isClosed() || n < 3) return;
    std::vector<UT_Vector3>& p = myScratch;
    p.clear();
    for (int i = 0; i < n; ++i) {
        p.push_back(GUpointOf(poly, i));
        if (!GUisFinite(p.back())) return;
    }
    beginShape(poly, n == 3 ? GU_RayShape::TRIANGLE : GU_RayShape::FAN, 0, n);
    GU_RayShape& shape = myShapes.back();
    shape.normal = poly.computeNormal();
    if (n == 3) return addTriangle(0, p[0], p[1], p[2]);
    if (n == 4 && isFlatConvex(p)) {
        shape.kind = GU_RayShape::QUAD;
        addTriangle(0, p[0], p[1], p[2]);
        return addTriangle(1, p[0], p[2], p[3]);
    }
    const UT_Vector3 mean = GUmeanOf(p);
    if (!GUisStar(p, mean, shape.normal)) {
        shape.kind = GU_RayShape::FOLDED;
        shape.first = static_cast<uint32_t>(myOutlines.size());
        myOutlines.insert(myOutlines.end(), p.begin(), p.end());
    }
    for (size_t i = 0; i < p.size(); ++i) addTriangle(static_cast<uint32_t>(i), p[i], p[(i + 1) % p.size()], mean);
}

void GU_RayShapes::addCell(uint32_t part) {
    const std::vector<UT_Vector3>& p = myScratch;
    for (const UT_Vector3& q : p)
        if (!GUisFinite(q)) return;
    if (isFlatConvex(p)) {
        addTriangle(part, p[0], p[1], p[2]);
        addTriangle(part, p[0], p[2], p[3]);
        return;
    }
    const UT_Vector3 middle = GUmeanOf(p);
    for (size_t i = 0; i < 4; ++i) addTriangle(part, p[i], p[(i + 1) % 4], middle);
}

void GU_RayShapes::addMesh(const GEO_PrimMesh& mesh) {
    const int rows = mesh.cellRows(), cols = mesh.cellCols();
    if (rows < 1 || cols < 1) return;
    beginShape(mesh, GU_RayShape::MESH, 0, 0);
    for (int row = 0; row < rows; ++row)
        for (int col = 0; col < cols; ++col) {
            myScratch = {GUpointOf(mesh, mesh.vertexIndex(row, col)), GUpointOf(mesh, mesh.vertexIndex(row, col + 1)),
                         GUpointOf(mesh, mesh.vertexIndex(row + 1, col + 1)),
                         GUpointOf(mesh, mesh.vertexIndex(row + 1, col))};
            addCell(static_cast<uint32_t>(row * cols + col));
        }
}

void GU_RayShapes::addQuadric(const GEO_Primitive& prim) {
    GU_RayQuadric quadric;
    UT_BoundingBox box;
    if (!quadric.set(static_cast<const GEO_PrimQuadric&>(prim)) || !prim.getBBox(box)) return;
    if (!GUisFinite(box.vmin()) || !GUisFinite(box.vmax())) return;
    box.expandBounds(box.radius() * 1e-5f); // what rounding may have taken from the box
    if (!quadric.isClosedSurface()) myOpen = true;
    beginShape(prim, GU_RayShape::QUADRIC, static_cast<uint32_t>(myQuadrics.size()), 0);
    myQuadrics.push_back(quadric);
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const UT_Vector3 none(nan, nan, nan);
    myTriangles.push_back({none, none, none});
    myBoxes.push_back(box);
    myItems.push_back({static_cast<uint32_t>(myShapes.size() - 1), 0});
}
