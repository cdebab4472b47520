#include "scene/sops/SopBuild.h"
#include "scene/sops/SopNodes.h"
#include "scene/sops/SopVariables.h"

#include <algorithm>
#include <fmt/format.h>

namespace {

using namespace SopBuild;

constexpr PRM_Name classNames[] = {
    {"point", "Point"}, {"primitive", "Primitive"}, {"vertex", "Vertex"}, {"detail", "Detail"}, {nullptr, nullptr}};
constexpr PRM_ChoiceList classMenu(PRM_ChoiceListType::Replace, classNames);
constexpr PRM_Name attribTypeNames[] = {
    {"float", "Float"}, {"int", "Integer"}, {"vector", "Vector"}, {nullptr, nullptr}};
constexpr PRM_ChoiceList attribTypeMenu(PRM_ChoiceListType::Replace, attribTypeNames);
constexpr PRM_Name measureNames[] = {{"area", "Area"}, {"length", "Length"}, {nullptr, nullptr}};
constexpr PRM_ChoiceList measureMenu(PRM_ChoiceListType::Replace, measureNames);

/// An attribute whose values are expressions over the element. Components past the third are 0; a vector has three.
class SopAttribCreate final : public SopPerElement {
public:
    SopAttribCreate(OP_Network* parent, const char* name, OP_Operator* op)
        : SopPerElement(parent, name, op) {}

    Text NAME{this, {"name", "Name"}, "attrib1"};
    Menu CLASS{this, {"class", "Class"}, 0, &classMenu};
    Menu TYPE{this, {"type", "Type"}, 0, &attribTypeMenu};
    Int SIZE{this, {"size", "Size"}, 1, PRM_Range{PRM_RangeKind::Hard, PRM_RangeKind::Hard, 1, 16}, PRM_OncePerCook};
    Floats<3> VALUE{this, {"value", "Value"}, {0.0, 0.0, 0.0}};

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        const GU_Detail* input = inputDetail(0, context);
        if (!input) return error();
        gdp.duplicate(*input);
        myTime = context.getTime();
        const auto cls = static_cast<ClassIndex>(CLASS(myTime));
        if (append(gdp, cls)) fill(gdp, cls);
        return error();
    }

private:
    enum ClassIndex { POINT, PRIMITIVE, VERTEX, DETAIL };

    bool append(GU_Detail& gdp, ClassIndex cls) {
        static constexpr GB_AttribClass classes[] = {GB_AttribClass::POINT, GB_AttribClass::PRIMITIVE,
                                                     GB_AttribClass::VERTEX, GB_AttribClass::DETAIL};
        static constexpr GB_AttribType types[] = {GB_ATTRIB_FLOAT, GB_ATTRIB_INT, GB_ATTRIB_VECTOR};
        const std::string name = NAME(myTime).str();
        const GB_AttribType type = types[std::clamp(TYPE(myTime), 0, 2)];
        mySize = type == GB_ATTRIB_VECTOR ? 3 : SIZE(myTime);
        myInteger = type == GB_ATTRIB_INT;
        if (cls == POINT && name == "P") return fail(OP_ERR_BAD_PARM, "name: \"P\" is the position"), false;
        myOffset = gdp.attribs(classes[cls]).append(name, 4 * mySize, type);
        if (myOffset >= 0) return true;
        fail(OP_ERR_BAD_PARM, name.empty() ? "name: an attribute needs a name"
                                           : fmt::format("name: \"{}\" exists with another type or size", name));
        return false;
    }

    void write(char* data) {
        const int n = std::min(mySize, 3);
        for (int c = 0; c < n; ++c) {
            char* to = data + myOffset + 4 * c;
            if (myInteger)
                *reinterpret_cast<int*>(to) = evalInt(VALUE.index(), c, myTime);
            else
                *reinterpret_cast<float*>(to) = VALUE[c](myTime);
        }
    }

    void fill(GU_Detail& gdp, ClassIndex cls) {
        beginElements(gdp);
        if (cls == DETAIL) write(gdp.attribData());
        if (cls == POINT) fillPoints(gdp);
        if (cls == PRIMITIVE || cls == VERTEX)
            for (size_t i = 0; i < gdp.primitives().entries() && !failed(); ++i) {
                atPrimitive(gdp.primitives()[i]);
                if (cls == PRIMITIVE)
                    write(gdp.primitives()[i]->data());
                else
                    fillVertices(gdp, *gdp.primitives()[i]);
            }
    }
    void fillPoints(GU_Detail& gdp) {
        for (size_t i = 0; i < gdp.points().entries(); ++i) {
            atPoint(int(i), gdp.points()[i]);
            write(gdp.points()[i]->data());
            if (i == 0 && failed()) return;
        }
    }
    void fillVertices(GU_Detail& gdp, GEO_Primitive& prim) {
        for (int v = 0; v < prim.getVertexCount(); ++v) {
            GEO_Vertex* vertex = prim.getVertex(v);
            if (!vertex) return;
            const GEO_Point* point = prim.getVertexPoint(v);
            atPoint(int(gdp.points().number(point)), point);
            write(vertex->data());
        }
    }

    float myTime = 0;
    int mySize = 1;
    int myOffset = -1;
    bool myInteger = false;
};

/// Area or length of a primitive. Length is that of all edges of a polygon, of the rim of a circle, else 0; quadrics
/// are measured over a fixed fine grid, metaballs have no measure.
class PrimitiveMeasure {
public:
    explicit PrimitiveMeasure(bool area)
        : myArea(area) {}

    float operator()(const GEO_Primitive& prim) const {
        switch (prim.getPrimitiveId()) {
        case GEOPRIMPOLY: {
            const auto& poly = static_cast<const GEO_PrimPoly&>(prim);
            return myArea ? poly.calcArea() : poly.calcPerimeter();
        }
        case GEOPRIMMESH: return myArea ? static_cast<const GEO_PrimMesh&>(prim).calcArea() : 0;
        case GEOPRIMCIRCLE: return myArea ? surface(prim) : rim(prim);
        case GEOPRIMSPHERE:
        case GEOPRIMTUBE: return myArea ? surface(prim) : 0;
        default: return 0;
        }
    }

private:
    static constexpr int U = 256, V = 128;

    static UT_Vector3D at(const GEO_Primitive& prim, int u, int v) {
        UT_Vector4 p(0, 0, 0, 1);
        // Rows crowd toward both ends, where quadrics bend most: v is a sine over the row.
        const double s = UT_Math::sin(UT_Math::pi / 2 * (2.0 * v / V - 1));
        prim.evaluatePosition(float(u) / U, float(0.5 + 0.5 * s), p);
        return {p.x(), p.y(), p.z()};
    }
    static float surface(const GEO_Primitive& prim) {
        double sum = 0;
        for (int v = 0; v < V; ++v)
            for (int u = 0; u < U; ++u) {
                const UT_Vector3D a = at(prim, u, v), b = at(prim, u + 1, v), c = at(prim, u + 1, v + 1),
                                  d = at(prim, u, v + 1);
                sum += 0.5 * cross(c - a, d - b).length();
            }
        return float(sum);
    }
    static float rim(const GEO_Primitive& prim) {
        double sum = 0;
        for (int u = 0; u < U; ++u) sum += (at(prim, u + 1, 0) - at(prim, u, 0)).length();
        return float(sum);
    }

    bool myArea;
};

/// Writes each primitive's area or length into a float primitive attribute.
class SopMeasure final : public SOP_Node {
public:
    SopMeasure(OP_Network* parent, const char* name, OP_Operator* op)
        : SOP_Node(parent, name, op) {}

    Menu TYPE{this, {"type", "Measure"}, 0, &measureMenu};
    Text NAME{this, {"name", "Attribute (empty: named after the measure)"}, ""};

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        const GU_Detail* input = inputDetail(0, context);
        if (!input) return error();
        gdp.duplicate(*input);
        const bool area = TYPE(context.getTime()) == 0;
        const UT_String given = NAME(context.getTime());
        const std::string name = given.isstring() ? given.str() : area ? "area" : "length";
        const int offset = gdp.primitiveAttribs().append(name, 4, GB_ATTRIB_FLOAT);
        if (offset < 0)
            fail(OP_ERR_BAD_PARM, fmt::format("name: \"{}\" exists with another type or size", name));
        else
            measure(gdp, offset, PrimitiveMeasure(area));
        return error();
    }

private:
    static void measure(GU_Detail& gdp, int offset, const PrimitiveMeasure& measureOf) {
        for (size_t i = 0; i < gdp.primitives().entries(); ++i) {
            GEO_Primitive* prim = gdp.primitives()[i];
            *prim->castAttribData<float>(offset) = measureOf(*prim);
        }
    }
};

} // namespace

OP_Node* makeSopAttribCreate(OP_Network* parent, const char* name, OP_Operator* op) {
    return new SopAttribCreate(parent, name, op);
}
OP_Node* makeSopMeasure(OP_Network* parent, const char* name, OP_Operator* op) {
    return new SopMeasure(parent, name, op);
}
