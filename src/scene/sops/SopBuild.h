#pragma once

#include "host/geo/GU_Detail.h"
#include "host/node/OP_Operator.h"
#include "host/node/PRM_SharedNames.h"
#include "host/node/SOP_Node.h"
#include "host/ut/UT_ErrorTable.h"

#include <cstdint>
#include <functional>
#include <vector>

/// What the geometry nodes share: reading vectors, refusing sizes no machine holds, and building grids of vertices.
namespace SopBuild {

/// Points (or vertices, or primitives) that one node may make.
constexpr double maxElements = 20e6;

inline UT_Vector3 vector(const PRM_Floats<3>& parm, float t) { return {parm.x(t), parm.y(t), parm.z(t)}; }

/// False with an error of the cooking node when that many elements are more than one node may make.
bool fits(double elements);

/// Posts "OP" error `code` with the text.
void fail(OP_ErrorCodes code, const std::string& text);

/// A new point; returns its slot.
uint32_t addPoint(GU_Detail& gdp, const UT_Vector3& p);

/// The i-th of n directions around the circle, counter-clockwise from (1, 0); exact at quarter turns.
struct Direction {
    double x, y;
};
Direction direction(int i, int n);

enum Kind { POLY = 0, MESH = 1, PRIM = 2 };

/// A grid of points by slot, row-major. Columns run along u, rows along v, and a face's normal is du x dv; a wrapped
/// direction closes. Neighbouring equal slots (the poles of a sphere) make triangles.
struct Lattice {
    int rows = 0;
    int cols = 0;
    bool wrapU = false;
    bool wrapV = false;
    std::vector<uint32_t> slots{};

    uint32_t at(int row, int col) const { return slots[size_t(row % rows) * size_t(cols) + size_t(col % cols)]; }
    /// One polygon per cell (POLY) or one mesh primitive (MESH).
    void build(GU_Detail& gdp, Kind kind) const;

private:
    void buildFace(GU_Detail& gdp, int row, int col) const;
};

/// One closed polygon over points in order.
void addPolygon(GU_Detail& gdp, const uint32_t* slots, size_t n, bool closed = true);

/// Menus of surface kinds.
extern const PRM_ChoiceList polyMeshPrimMenu;
extern const PRM_ChoiceList polyMeshMenu;

} // namespace SopBuild
