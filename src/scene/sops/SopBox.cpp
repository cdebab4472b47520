#include "scene/sops/SopBuild.h"
#include "scene/sops/SopNodes.h"

namespace {

using namespace SopBuild;

/// The points on the surface of a block of cells, made once and found again by their place (i, j, k).
class BlockShell {
public:
    BlockShell(GU_Detail& gdp, const int (&cells)[3], const UT_Vector3& size, const UT_Vector3& center)
        : myNx(cells[0])
        , myNy(cells[1])
        , myNz(cells[2]) {
        for (int j = 0; j <= myNy; ++j)
            for (int k = 0; k <= myNz; ++k)
                for (int i = 0; i <= myNx; i += step(i, j, k))
                    mySlots.push_back(addPoint(gdp, center + size * UT_Vector3(at(i, myNx), at(j, myNy), at(k, myNz))));
    }
    uint32_t operator()(int i, int j, int k) const {
        const int layer = (myNx + 1) * (myNz + 1), ring = 2 * (myNx + myNz);
        if (j == 0) return slot(k * (myNx + 1) + i);
        const int base = layer + (j - 1) * ring;
        if (j == myNy) return slot(base + k * (myNx + 1) + i);
        if (k == 0) return slot(base + i);
        if (k == myNz) return slot(base + (myNx + 1) + 2 * (myNz - 1) + i);
        return slot(base + (myNx + 1) + 2 * (k - 1) + (i ? 1 : 0));
    }

private:
    static float at(int i, int n) { return float(double(i) / n - 0.5); }
    // Inside a middle layer only the two ends of a row are on the surface.
    int step(int i, int j, int k) const { return j > 0 && j < myNy && k > 0 && k < myNz && i == 0 ? myNx : 1; }
    uint32_t slot(int n) const { return mySlots[size_t(n)]; }

    int myNx, myNy, myNz;
    std::vector<uint32_t> mySlots;
};

template <class At> void addSide(GU_Detail& gdp, int rows, int cols, At at) {
    Lattice side{.rows = rows + 1, .cols = cols + 1};
    for (int r = 0; r <= rows; ++r)
        for (int c = 0; c <= cols; ++c) side.slots.push_back(at(r, c));
    side.build(gdp, POLY);
}

/// An axis-aligned box of quads; with size 1 it spans -0.5 to 0.5.
class SopBox final : public SOP_Node {
public:
    SopBox(OP_Network* parent, const char* name, OP_Operator* op)
        : SOP_Node(parent, name, op) {}

    Floats<3> SIZE{this, {"size", "Size"}, {1, 1, 1}};
    Floats<3> T{this, PRMtranslateName, {0.0, 0.0, 0.0}};
    Floats<3> DIVS{this, {"divs", "Divisions"}, {1, 1, 1}, PRMhardMin(1, 20)};

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        const float t = context.getTime();
        const UT_Vector3 size = vector(SIZE, t), center = vector(T, t), divs = vector(DIVS, t);
        const double x = divs.x(), y = divs.y(), z = divs.z();
        if (!fits(2 * ((x + 1) * (y + 1) + (y + 1) * (z + 1) + (z + 1) * (x + 1)))) return error();
        build(gdp, {int(x), int(y), int(z)}, size, center);
        return error();
    }

private:
    static void build(GU_Detail& gdp, const int (&n)[3], const UT_Vector3& size, const UT_Vector3& center) {
        const BlockShell at(gdp, n, size, center);
        const int nx = n[0], ny = n[1], nz = n[2];
        addSide(gdp, ny, nx, [&](int r, int c) { return at(nx - c, r, 0); });  // -z
        addSide(gdp, ny, nx, [&](int r, int c) { return at(c, r, nz); });      // +z
        addSide(gdp, ny, nz, [&](int r, int c) { return at(0, r, c); });       // -x
        addSide(gdp, ny, nz, [&](int r, int c) { return at(nx, r, nz - c); }); // +x
        addSide(gdp, nz, nx, [&](int r, int c) { return at(c, 0, r); });       // -y
        addSide(gdp, nz, nx, [&](int r, int c) { return at(c, ny, nz - r); }); // +y
    }
};

} // namespace

OP_Node* makeSopBox(OP_Network* parent, const char* name, OP_Operator* op) { return new SopBox(parent, name, op); }
