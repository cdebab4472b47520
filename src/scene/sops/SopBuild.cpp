#include "scene/sops/SopBuild.h"

#include <fmt/format.h>

namespace SopBuild {

namespace {
constexpr PRM_Name kindNames[] = {{"poly", "Polygons"}, {"mesh", "Mesh"}, {"prim", "Primitive"}, {nullptr, nullptr}};
constexpr PRM_Name polyMeshNames[] = {{"poly", "Polygons"}, {"mesh", "Mesh"}, {nullptr, nullptr}};
} // namespace

const PRM_ChoiceList polyMeshPrimMenu(PRM_ChoiceListType::Replace, kindNames);
const PRM_ChoiceList polyMeshMenu(PRM_ChoiceListType::Replace, polyMeshNames);

void fail(OP_ErrorCodes code, const std::string& text) { UTaddError("OP", code, text.c_str()); }

bool fits(double elements) {
    if (elements <= maxElements) return true;
    fail(OP_ERR_LIMIT, fmt::format("{:.0f} elements, a geometry node makes at most {:.0f}", elements, maxElements));
    return false;
}

uint32_t addPoint(GU_Detail& gdp, const UT_Vector3& p) {
    GEO_Point* point = gdp.appendPoint();
    point->setPos(UT_Vector4(p.x(), p.y(), p.z(), 1));
    return point->slot();
}

Direction direction(int i, int n) {
    const long long quarters = 4LL * i, quarter = quarters / n;
    const double angle = double(quarters - quarter * n) / n * (UT_Math::pi / 2);
    const double c = UT_Math::cos(angle), s = UT_Math::sin(angle);
    switch (quarter % 4) {
    case 0: return {c, s};
    case 1: return {-s, c};
    case 2: return {-c, -s};
    default: return {s, -c};
    }
}

void addPolygon(GU_Detail& gdp, const uint32_t* slots, size_t n, bool closed) {
    GEO_PrimPoly* poly =
        GU_PrimPoly::build(&gdp, 0, closed ? GU_PrimPoly::GU_POLY_CLOSED : GU_PrimPoly::GU_POLY_OPEN, 0);
    for (size_t i = 0; i < n; ++i) poly->appendVertex(gdp.points().bySlot(slots[i]));
}

void Lattice::buildFace(GU_Detail& gdp, int row, int col) const {
    const uint32_t corners[4] = {at(row, col), at(row, col + 1), at(row + 1, col + 1), at(row + 1, col)};
    uint32_t face[4];
    size_t n = 0;
    for (size_t i = 0; i < 4; ++i)
        if (corners[i] != corners[(i + 3) % 4]) face[n++] = corners[i];
    if (n >= 3) addPolygon(gdp, face, n);
}

void Lattice::build(GU_Detail& gdp, Kind kind) const {
    if (kind == MESH) {
        GEO_PrimMesh::build(&gdp, rows, cols, wrapU, wrapV, slots.data());
        return;
    }
    for (int row = 0; row < (wrapV ? rows : rows - 1); ++row)
        for (int col = 0; col < (wrapU ? cols : cols - 1); ++col) buildFace(gdp, row, col);
}

} // namespace SopBuild
