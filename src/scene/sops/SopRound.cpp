#include "scene/sops/SopBuild.h"
#include "scene/sops/SopNodes.h"

namespace {

using namespace SopBuild;

constexpr PRM_Name circleNames[] = {{"poly", "Polygon"}, {"prim", "Primitive"}, {nullptr, nullptr}};
constexpr PRM_ChoiceList circleMenu(PRM_ChoiceListType::Replace, circleNames);
constexpr PRM_Name rowsName{"rows", "Rows"};
constexpr PRM_Name colsName{"cols", "Columns"};
constexpr PRM_Name radName{"rad", "Radius"};
constexpr PRM_Name typeName{"type", "Type"};

/// Half-way around the vertical axis: u runs counter-clockwise seen from +y, starting at +x.
UT_Vector3 around(const Direction& d, double radius, double y) {
    return {float(radius * d.x), float(y), float(-radius * d.y)};
}

/// Appends a ring of `cols` points to the lattice; `place` maps a point of the unit shape to its position.
template <class Place> void addRing(GU_Detail& gdp, Lattice& lattice, double radius, double y, Place place) {
    for (int c = 0; c < lattice.cols; ++c)
        lattice.slots.push_back(addPoint(gdp, place(around(direction(c, lattice.cols), radius, y))));
}

UT_Matrix4 placement(const UT_Vector3& scale, const UT_Vector3& center) {
    UT_Matrix3 m(1.0f);
    for (int i = 0; i < 3; ++i) m(i, i) = scale[i];
    return UT_Matrix4(m, center);
}

/// An ellipsoid with its poles on the y axis. Rows count the two poles.
class SopSphere final : public SOP_Node {
public:
    SopSphere(OP_Network* parent, const char* name, OP_Operator* op)
        : SOP_Node(parent, name, op) {}

    Menu TYPE{this, typeName, POLY, &polyMeshPrimMenu};
    Floats<3> RAD{this, radName, {1, 1, 1}};
    Floats<3> T{this, PRMtranslateName, {0.0, 0.0, 0.0}};
    Int ROWS{this, rowsName, 13, PRMhardMin(3, 50)};
    Int COLS{this, colsName, 24, PRMhardMin(3, 50)};

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        const float t = context.getTime();
        const UT_Vector3 rad = vector(RAD, t), center = vector(T, t);
        const int kind = TYPE(t), rows = ROWS(t), cols = COLS(t);
        if (kind == PRIM)
            GU_PrimSphere::build(&gdp, placement(rad, center));
        else if (fits(double(rows) * cols))
            build(gdp, Kind(kind), rows, cols, [=](const UT_Vector3& p) { return center + rad * p; });
        return error();
    }

private:
    template <class Place> static void build(GU_Detail& gdp, Kind kind, int rows, int cols, Place place) {
        Lattice lattice{.rows = rows, .cols = cols, .wrapU = true};
        const auto addPole = [&](float y) {
            lattice.slots.insert(lattice.slots.end(), size_t(cols), addPoint(gdp, place(UT_Vector3(0, y, 0))));
        };
        addPole(-1);
        for (int r = 1; r < rows - 1; ++r) {
            const Direction d = direction(r, 2 * (rows - 1)); // half a turn from pole to pole
            addRing(gdp, lattice, d.y, -d.x, place);
        }
        addPole(1);
        lattice.build(gdp, kind);
    }
};

/// A tube around the y axis through its centre, with caps unless they are turned off. The two radii are those of the
/// lower and the upper end.
class SopTube final : public SOP_Node {
public:
    SopTube(OP_Network* parent, const char* name, OP_Operator* op)
        : SOP_Node(parent, name, op) {}

    Menu TYPE{this, typeName, POLY, &polyMeshPrimMenu};
    Floats<2> RAD{this, radName, {1, 1}};
    Float HEIGHT{this, {"height", "Height"}, 2};
    Floats<3> T{this, PRMtranslateName, {0.0, 0.0, 0.0}};
    Int ROWS{this, rowsName, 2, PRMhardMin(2, 50)};
    Int COLS{this, colsName, 24, PRMhardMin(3, 50)};
    Toggle CAPS{this, {"caps", "End Caps"}, true};

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        const float t = context.getTime();
        const Shape shape{RAD.x(t), RAD.y(t), HEIGHT(t), vector(T, t)};
        const int kind = TYPE(t), rows = ROWS(t), cols = COLS(t);
        if (kind == PRIM)
            shape.buildPrimitive(gdp);
        else if (fits(double(rows) * cols))
            build(gdp, Kind(kind), shape, rows, cols, CAPS(t));
        return error();
    }

private:
    struct Shape {
        float bottom, top, height;
        UT_Vector3 center;

        // The primitive's lower radius is that of its frame; one that ends in a point below is built upside down.
        void buildPrimitive(GU_Detail& gdp) const {
            const bool flip = bottom == 0 && top != 0;
            const float base = flip ? top : bottom, other = flip ? bottom : top;
            UT_Matrix4 m = placement({base, flip ? -height : height, flip ? -base : base}, center);
            GU_PrimTube::build(&gdp, m, base != 0 ? other / base : 1);
        }
    };

    static void build(GU_Detail& gdp, Kind kind, const Shape& shape, int rows, int cols, bool caps) {
        Lattice lattice{.rows = rows, .cols = cols, .wrapU = true};
        for (int r = 0; r < rows; ++r) {
            const double v = double(r) / (rows - 1);
            const double radius = shape.bottom + v * (double(shape.top) - shape.bottom);
            addRing(gdp, lattice, radius, (v - 0.5) * shape.height,
                    [&](const UT_Vector3& p) { return shape.center + p; });
        }
        lattice.build(gdp, kind);
        if (!caps) return;
        const uint32_t* top = &lattice.slots[size_t(rows - 1) * size_t(cols)];
        const std::vector<uint32_t> bottom(lattice.slots.rend() - cols, lattice.slots.rend());
        addPolygon(gdp, bottom.data(), bottom.size());
        addPolygon(gdp, top, size_t(cols));
    }
};

/// A torus around the y axis: the first radius is that of the ring, the second that of the tube.
class SopTorus final : public SOP_Node {
public:
    SopTorus(OP_Network* parent, const char* name, OP_Operator* op)
        : SOP_Node(parent, name, op) {}

    Menu TYPE{this, typeName, POLY, &polyMeshMenu};
    Floats<2> RAD{this, radName, {1, 0.25}};
    Floats<3> T{this, PRMtranslateName, {0.0, 0.0, 0.0}};
    Int ROWS{this, rowsName, 12, PRMhardMin(3, 50)};
    Int COLS{this, colsName, 24, PRMhardMin(3, 50)};

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        const float t = context.getTime();
        const double ring = RAD.x(t), tube = RAD.y(t);
        const UT_Vector3 center = vector(T, t);
        const int kind = TYPE(t), rows = ROWS(t), cols = COLS(t);
        if (!fits(double(rows) * cols)) return error();
        Lattice lattice{.rows = rows, .cols = cols, .wrapU = true, .wrapV = true};
        for (int r = 0; r < rows; ++r) {
            const Direction d = direction(r, rows);
            addRing(gdp, lattice, ring + tube * d.x, tube * d.y, [&](const UT_Vector3& p) { return center + p; });
        }
        lattice.build(gdp, Kind(kind));
        return error();
    }
};

/// A circle in the xy plane that faces +z.
class SopCircle final : public SOP_Node {
public:
    SopCircle(OP_Network* parent, const char* name, OP_Operator* op)
        : SOP_Node(parent, name, op) {}

    Menu TYPE{this, typeName, 0, &circleMenu};
    Floats<2> RAD{this, radName, {1, 1}};
    Floats<3> T{this, PRMtranslateName, {0.0, 0.0, 0.0}};
    Int DIVS{this, {"divs", "Divisions"}, 24, PRMhardMin(3, 100)};

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        const float t = context.getTime();
        const UT_Vector3 rad(RAD.x(t), RAD.y(t), 1), center = vector(T, t);
        const int divs = DIVS(t);
        if (TYPE(t) == 1)
            GU_PrimCircle::build(&gdp, placement(rad, center));
        else if (fits(divs))
            buildPolygon(gdp, rad, center, divs);
        return error();
    }

private:
    static void buildPolygon(GU_Detail& gdp, const UT_Vector3& rad, const UT_Vector3& center, int divs) {
        std::vector<uint32_t> slots;
        for (int i = 0; i < divs; ++i) {
            const Direction d = direction(i, divs);
            slots.push_back(addPoint(gdp, center + rad * UT_Vector3(float(d.x), float(d.y), 0)));
        }
        addPolygon(gdp, slots.data(), slots.size());
    }
};

} // namespace

OP_Node* makeSopSphere(OP_Network* parent, const char* name, OP_Operator* op) {
    return new SopSphere(parent, name, op);
}
OP_Node* makeSopTube(OP_Network* parent, const char* name, OP_Operator* op) { return new SopTube(parent, name, op); }
OP_Node* makeSopTorus(OP_Network* parent, const char* name, OP_Operator* op) { return new SopTorus(parent, name, op); }
OP_Node* makeSopCircle(OP_Network* parent, const char* name, OP_Operator* op) {
    return new SopCircle(parent, name, op);
}
