#include "host/geo/GEO_PrimMesh.h"

#include "host/geo/GEO_Detail.h"
#include "host/geo/GEO_Param.h"

#include <algorithm>
#include <limits>

bool GEO_PrimMesh::locate(float u, float v, Cell& cell) const {
    if (cellCols() < 1 || cellRows() < 1) return false;
    cell.col = GEOsplit(u, cellCols(), cell.s);
    cell.row = GEOsplit(v, cellRows(), cell.t);
    return true;
}

bool GEO_PrimMesh::weights(float u, float v, GEO_Weights& out) const {
    Cell c;
    if (!locate(u, v, c)) return false;
    out = GEO_Weights();
    out.add(vertexIndex(c.row, c.col), (1 - c.s) * (1 - c.t));
    out.add(vertexIndex(c.row, c.col + 1), c.s * (1 - c.t));
    out.add(vertexIndex(c.row + 1, c.col), (1 - c.s) * c.t);
    out.add(vertexIndex(c.row + 1, c.col + 1), c.s * c.t);
    return true;
}

void GEO_PrimMesh::corners(int row, int col, UT_Vector3D (&p)[4]) const {
    for (int k = 0; k < 4; ++k) p[k] = UT_Vector3D(pos3(vertexIndex(row + k / 2, col + k % 2)));
}

namespace {

// Bilinear patch over corners p[row * 2 + col].
UT_Vector3D patch(const UT_Vector3D (&p)[4], double s, double t) {
    return (p[0] * (1 - s) + p[1] * s) * (1 - t) + (p[2] * (1 - s) + p[3] * s) * t;
}
UT_Vector3D alongS(const UT_Vector3D (&p)[4], double t) { return (p[1] - p[0]) * (1 - t) + (p[3] - p[2]) * t; }
UT_Vector3D alongT(const UT_Vector3D (&p)[4], double s) { return (p[2] - p[0]) * (1 - s) + (p[3] - p[1]) * s; }

double clamp01(double x) { return x > 0 ? std::min(x, 1.0) : 0; }

// One Gauss-Newton step towards the patch location nearest to q, clamped to the patch.
void refine(const UT_Vector3D (&p)[4], const UT_Vector3D& q, double& s, double& t) {
    const UT_Vector3D ds = alongS(p, t), dt = alongT(p, s), gap = q - patch(p, s, t);
    const double a = dot(ds, ds), b = dot(ds, dt), c = dot(dt, dt), d = dot(ds, gap), e = dot(dt, gap);
    const double det = a * c - b * b;
    if (!(det > 1e-14 * a * c)) return;
    s = clamp01(s + (d * c - e * b) / det);
    t = clamp01(t + (e * a - d * b) / det);
}

} // namespace

int GEO_PrimMesh::evaluateNormal(float u, float v, UT_Vector3& out) const {
    out.assign(0, 0, 0);
    Cell cell;
    if (!locate(u, v, cell)) return 0;
    UT_Vector3D p[4];
    corners(cell.row, cell.col, p);
    UT_Vector3D normal = cross(alongS(p, cell.t), alongT(p, cell.s));
    if (normal.normalize() > 0) out = UT_Vector3(normal);
    return 1;
}

double GEO_PrimMesh::nearestInCell(const UT_Vector3& p, int row, int col, double& s, double& t) const {
    UT_Vector3D c[4];
    corners(row, col, c);
    const UT_Vector3D q(p);
    // Start from the nearer of the cell's two triangles.
    const GEO_TriangleHit low = GEOnearestOnTriangle(q, c[0], c[1], c[3]),
                          high = GEOnearestOnTriangle(q, c[0], c[3], c[2]);
    const bool useLow = low.distance2 <= high.distance2;
    s = useLow ? low.b + low.c : high.b;
    t = useLow ? low.c : high.b + high.c;
    double bestS = s, bestT = t, best = (patch(c, s, t) - q).length2();
    for (int k = 0; k < 8 && best > 0; ++k) {
        refine(c, q, s, t);
        const double distance2 = (patch(c, s, t) - q).length2();
        if (!(distance2 < best)) break;
        best = distance2;
        bestS = s;
        bestT = t;
    }
    s = bestS;
    t = bestT;
    return best;
}

bool GEO_PrimMesh::parametricInCell(int row, int col, const UT_Vector3& p, float& u, float& v) const {
    if (row < 0 || col < 0 || row >= cellRows() || col >= cellCols()) return false;
    double s, t;
    nearestInCell(p, row, col, s, t);
    u = static_cast<float>((col + s) / cellCols());
    v = static_cast<float>((row + t) / cellRows());
    return true;
}

bool GEO_PrimMesh::parametric(const UT_Vector3& p, float& u, float& v) const {
    double best = std::numeric_limits<double>::infinity();
    u = v = 0;
    for (int row = 0; row < cellRows(); ++row)
        for (int col = 0; col < cellCols(); ++col) {
            double s, t;
            const double distance2 = nearestInCell(p, row, col, s, t);
            if (!(distance2 < best)) continue;
            best = distance2;
            u = static_cast<float>((col + s) / cellCols());
            v = static_cast<float>((row + t) / cellRows());
        }
    return cellRows() > 0 && cellCols() > 0;
}

UT_Vector3 GEO_PrimMesh::computeNormal() const {
    UT_Vector3D sum(0, 0, 0), p[4];
    for (int row = 0; row < cellRows(); ++row)
        for (int col = 0; col < cellCols(); ++col) {
            corners(row, col, p);
            sum += cross(p[3] - p[0], p[2] - p[1]); // twice the cell's area vector
        }
    return sum.normalize() > 0 ? UT_Vector3(sum) : UT_Vector3(0, 0, 0);
}

float GEO_PrimMesh::calcArea() const {
    double sum = 0;
    UT_Vector3D p[4];
    for (int row = 0; row < cellRows(); ++row)
        for (int col = 0; col < cellCols(); ++col) {
            corners(row, col, p);
            sum += cross(p[1] - p[0], p[3] - p[0]).length() + cross(p[3] - p[0], p[2] - p[0]).length();
        }
    return static_cast<float>(sum / 2);
}

void GEO_PrimMesh::reverse() {
    for (int row = 0; row < myRows; ++row)
        std::reverse(myVertices.begin() + row * myCols, myVertices.begin() + (row + 1) * myCols);
    myDetail->bumpTopology();
}

std::string GEO_PrimMesh::validate() const {
    if (myRows * myCols != getVertexCount())
        return "mesh of " + std::to_string(myRows) + " x " + std::to_string(myCols) + " has " +
               std::to_string(getVertexCount()) + " vertices";
    return GEO_VertexPrimitive::validate();
}

GEO_PrimMesh* GEO_PrimMesh::build(GEO_Detail* detail, int rows, int cols, bool wrapU, bool wrapV,
                                  const uint32_t* pointSlots) {
    if (rows < 1 || cols < 1) return nullptr;
    auto* mesh = static_cast<GEO_PrimMesh*>(detail->insertPrimitive(GEOPRIMMESH));
    mesh->myRows = rows;
    mesh->myCols = cols;
    mesh->myWrapU = wrapU;
    mesh->myWrapV = wrapV;
    for (int i = 0; i < rows * cols; ++i)
        mesh->appendVertex(pointSlots ? detail->points().bySlot(pointSlots[i]) : detail->appendPoint());
    return mesh;
}
