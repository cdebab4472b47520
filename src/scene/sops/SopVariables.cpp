#include "scene/sops/SopVariables.h"

namespace {
enum { VAR_PT = 1, VAR_PR, VAR_TX, VAR_TY, VAR_TZ, VAR_NPT };

constexpr CH_LocalVariable elementVariables[] = {{"PT", VAR_PT, 0}, {"PR", VAR_PR, 0}, {"TX", VAR_TX, 0},
                                                 {"TY", VAR_TY, 0}, {"TZ", VAR_TZ, 0}, {"NPT", VAR_NPT, 0},
                                                 {nullptr, 0, 0}};
} // namespace

const OP_VariablePair SopVariables::pair{elementVariables, nullptr};

float SopVariables::value(int id) const {
    switch (id) {
    case VAR_PT: return float(point);
    case VAR_PR: return float(primitive);
    case VAR_TX: return position.x();
    case VAR_TY: return position.y();
    case VAR_TZ: return position.z();
    case VAR_NPT: return float(pointCount);
    default: return 0;
    }
}

float SopPerElement::getVariableValue(int index, int) { return myElement.value(index); }

UT_ErrorSeverity SopPerElement::cookMe(OP_Context& context) {
    myElement = {};
    return SOP_Node::cookMe(context);
}

void SopPerElement::atPoint(int number, const GEO_Point* point) {
    const UT_Vector4& p = point->getPos();
    myElement.point = number;
    myElement.position = UT_Vector3(p.x(), p.y(), p.z());
}

void SopPerElement::atPrimitive(const GEO_Primitive* prim) {
    myElement.primitive = prim->getNum();
    myElement.position = prim->baryCenter();
}
