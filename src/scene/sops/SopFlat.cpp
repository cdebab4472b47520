#include "host/geo/TS_KernelList.h"
#include "scene/sops/SopBuild.h"
#include "scene/sops/SopNodes.h"

namespace {

using namespace SopBuild;

/// A rectangle in the xz plane with normal +y. Rows run along z, columns along x; both count points.
class SopGrid final : public SOP_Node {
public:
    SopGrid(OP_Network* parent, const char* name, OP_Operator* op)
        : SOP_Node(parent, name, op) {}

    Menu TYPE{this, {"type", "Type"}, POLY, &polyMeshMenu};
    Floats<2> SIZE{this, {"size", "Size"}, {10, 10}};
    Floats<3> T{this, PRMtranslateName, {0.0, 0.0, 0.0}};
    Int ROWS{this, {"rows", "Rows"}, 10, PRMhardMin(2, 50)};
    Int COLS{this, {"cols", "Columns"}, 10, PRMhardMin(2, 50)};

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        const float t = context.getTime();
        const UT_Vector3 size(SIZE.x(t), 0, SIZE.y(t)), center = vector(T, t);
        const int kind = TYPE(t), rows = ROWS(t), cols = COLS(t);
        if (!fits(double(rows) * cols)) return error();
        Lattice lattice{.rows = rows, .cols = cols};
        for (int r = 0; r < rows; ++r)
            for (int c = 0; c < cols; ++c) {
                const UT_Vector3 unit(float(double(c) / (cols - 1) - 0.5), 0, float(0.5 - double(r) / (rows - 1)));
                lattice.slots.push_back(addPoint(gdp, center + size * unit));
            }
        lattice.build(gdp, Kind(kind));
        return error();
    }
};

/// An open polygon of evenly spaced points.
class SopLine final : public SOP_Node {
public:
    SopLine(OP_Network* parent, const char* name, OP_Operator* op)
        : SOP_Node(parent, name, op) {}

    Floats<3> ORIGIN{this, {"origin", "Origin"}, {0.0, 0.0, 0.0}};
    Floats<3> DIR{this, {"dir", "Direction"}, {0.0, 1, 0.0}};
    Float DIST{this, {"dist", "Length"}, 1};
    Int POINTS{this, {"points", "Points"}, 2, PRMhardMin(2, 50)};

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        const float t = context.getTime();
        const UT_Vector3 origin = vector(ORIGIN, t), dir = vector(DIR, t).normalized();
        const double dist = DIST(t);
        const int n = POINTS(t);
        if (!fits(n)) return error();
        std::vector<uint32_t> slots;
        for (int i = 0; i < n; ++i) slots.push_back(addPoint(gdp, origin + dir * float(dist * i / (n - 1))));
        addPolygon(gdp, slots.data(), slots.size(), false);
        return error();
    }
};

/// The falloffs as a menu.
const PRM_ChoiceList* kernelMenu() {
    static const std::vector<PRM_Name> names = [] {
        std::vector<PRM_Name> list;
        for (int i = 0; i < TS_KernelList::entries(); ++i)
            list.push_back({TS_KernelList::kernel(i).token, TS_KernelList::kernel(i).label});
        list.push_back({nullptr, nullptr});
        return list;
    }();
    static const PRM_ChoiceList menu(PRM_ChoiceListType::Replace, names.data());
    return &menu;
}

/// One metaball: an ellipsoid of influence with a weight and a falloff.
class SopMetaball final : public SOP_Node {
public:
    SopMetaball(OP_Network* parent, const char* name, OP_Operator* op)
        : SOP_Node(parent, name, op) {}

    Floats<3> T{this, PRMtranslateName, {0.0, 0.0, 0.0}};
    Floats<3> RAD{this, {"rad", "Radius"}, {1, 1, 1}};
    Float WEIGHT{this, {"weight", "Weight"}, 1};
    Menu KERNEL{this, {"kernel", "Kernel"}, TS_KernelList::DEFAULT, kernelMenu()};

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        const float t = context.getTime();
        const UT_Vector3 center = vector(T, t), rad = vector(RAD, t);
        const uint32_t slot = addPoint(gdp, center);
        auto* ball = static_cast<GEO_PrimMetaball*>(gdp.insertPrimitive(GEOPRIMMETABALL));
        ball->appendVertex(gdp.points().bySlot(slot));
        UT_Matrix3 frame(1.0f);
        for (int i = 0; i < 3; ++i) frame(i, i) = rad[i];
        ball->setXform(frame);
        ball->setWeight(WEIGHT(t));
        ball->setKernel(KERNEL(t));
        return error();
    }
};

} // namespace

OP_Node* makeSopGrid(OP_Network* parent, const char* name, OP_Operator* op) { return new SopGrid(parent, name, op); }
OP_Node* makeSopLine(OP_Network* parent, const char* name, OP_Operator* op) { return new SopLine(parent, name, op); }
OP_Node* makeSopMetaball(OP_Network* parent, const char* name, OP_Operator* op) {
    return new SopMetaball(parent, name, op);
}
