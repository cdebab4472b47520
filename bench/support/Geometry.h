#pragma once

#include <cmath>
#include <functional>
#include <stdexcept>

#include "host/geo/GU_Detail.h"
#include "host/node/OBJ_Node.h"
#include "host/node/OP_Director.h"
#include "host/node/OP_Operator.h"
#include "host/node/OP_OperatorTable.h"
#include "host/node/SOP_Node.h"

namespace bench {

/// Serves what a benchmark wrote.
class FilledSop final : public SOP_Node {
public:
    using SOP_Node::SOP_Node;
    std::function<void(GU_Detail&, float time)> fill;
    bool moves = false;

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        if (fill) fill(gdp, context.getTime());
        if (moves) flags().timeDependent = true;
        return error();
    }
};

class GeometryObject final : public OBJ_Node {
public:
    using OBJ_Node::OBJ_Node;
    const char* getChildType() const override { return "SOP"; }
    OP_OpTypeId getChildTypeID() const override { return SOP_OPTYPE_ID; }
    OP_OperatorTable* childTable() const override { return &OP_Director::operatorTable("SOP"); }
};

/// Geometry as /obj/NAME/out, whose path is returned. A Simulation has to exist: it sets up the host.
inline std::string addGeometry(const char* name, std::function<void(GU_Detail&, float)> fill, bool moves = false) {
    const auto add = [](const char* family, const char* type, OP_Constructor make) {
        OP_OperatorTable& table = OP_Director::operatorTable(family);
        if (!table.getOperator(type))
            table.addOperator(std::make_unique<OP_Operator>(type, type, make, 0, 9999, nullptr, 0u));
    };
    add("OBJ", "geometry",
        [](OP_Network* p, const char* n, OP_Operator* op) -> OP_Node* { return new GeometryObject(p, n, op); });
    add("SOP", "filled",
        [](OP_Network* p, const char* n, OP_Operator* op) -> OP_Node* { return new FilledSop(p, n, op); });
    std::string problem;
    OP_Node* object = OPgetDirector()->objManager()->createNode("geometry", name, problem);
    auto* sop =
        dynamic_cast<FilledSop*>(object ? object->castToNetwork()->createNode("filled", "out", problem) : nullptr);
    if (!sop) throw std::runtime_error(problem);
    sop->fill = std::move(fill);
    sop->moves = moves;
    return sop->getFullPath();
}

/// Hills over [-5, 5] x [-5, 5] at heights around 0 as 2 * cells * cells triangles.
inline void fillHills(GU_Detail& detail, int cells, float phase = 0) {
    const int n = cells + 1;
    std::vector<GEO_Point*> points;
    for (int i = 0; i < n * n; ++i) detail.appendPoint();
    for (int i = 0; i < n * n; ++i) {
        const float x = 10 * float(i % n) / float(cells) - 5, z = 10 * float(i / n) / float(cells) - 5;
        points.push_back(detail.points()(size_t(i)));
        points.back()->setPos({x, 0.4f * std::sin(1.3f * x + phase) * std::cos(1.7f * z), z, 1});
    }
    for (int row = 0; row < cells; ++row)
        for (int col = 0; col < cells; ++col) {
            GEO_Point** at = &points[size_t(row * n + col)];
            GEO_Point* const first[] = {at[0], at[n], at[n + 1]};
            GEO_Point* const second[] = {at[0], at[n + 1], at[1]};
            GU_PrimPoly::build(&detail, first);
            GU_PrimPoly::build(&detail, second);
        }
}

/// A closed ball of 2 * cols * (rows - 1) triangles with shared points, normals outward.
inline void fillBall(GU_Detail& detail, int rows, int cols, UT_Vector3 centre, float radius) {
    constexpr float PI = 3.14159265f;
    std::vector<GEO_Point*> points;
    const int count = (rows - 1) * cols + 2;
    for (int i = 0; i < count; ++i) detail.appendPoint();
    for (int i = 0; i < count; ++i) points.push_back(detail.points()(size_t(i)));
    const auto put = [&](int i, float x, float y, float z) {
        points[size_t(i)]->setPos(UT_Vector4(centre + UT_Vector3(x, y, z) * radius, 1));
    };
    const auto at = [&](int row, int col) {
        return row == 0      ? points[size_t(count) - 2]
               : row == rows ? points[size_t(count) - 1]
                             : points[size_t((row - 1) * cols + col % cols)];
    };
    for (int row = 1; row < rows; ++row)
        for (int col = 0; col < cols; ++col) {
            const float a = PI * float(row) / float(rows), b = 2 * PI * float(col) / float(cols);
            put((row - 1) * cols + col, std::sin(a) * std::cos(b), std::cos(a), std::sin(a) * std::sin(b));
        }
    put(count - 2, 0, 1, 0);
    put(count - 1, 0, -1, 0);
    for (int row = 0; row < rows; ++row)
        for (int col = 0; col < cols; ++col) {
            GEO_Point* const first[] = {at(row, col), at(row, col + 1), at(row + 1, col + 1)};
            GEO_Point* const second[] = {at(row, col), at(row + 1, col + 1), at(row + 1, col)};
            if (row > 0) GU_PrimPoly::build(&detail, first);
            if (row + 1 < rows) GU_PrimPoly::build(&detail, second);
        }
}

} // namespace bench
