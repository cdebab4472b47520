#include "host/node/OBJ_Node.h"

#include <set>

#include "host/node/PRM_SharedNames.h"
#include "host/ut/UT_ErrorTable.h"

namespace {

constexpr PRM_Name theParentName{"parent", "Parent"};

template <class Vector> UT_DMatrix4::Vec at(const Vector& parm, float t) { return {parm.x(t), parm.y(t), parm.z(t)}; }

UT_DMatrix4 localTransform(OBJ_Node& object, float t) {
    const double scale = double(object.SCALE(t));
    const UT_DMatrix4::Vec s = at(object.S, t), r = at(object.R, t), move = at(object.T, t), pivot = at(object.P, t);
    return UT_DMatrix4::fromXform(s * scale, r, move, pivot);
}

// Null without a parent; one that does not exist is the object's error.
OBJ_Node* parentOf(OBJ_Node& object, float t) {
    const UT_String path = object.PARENT(t);
    if (!path.isstring()) return nullptr;
    OBJ_Node* parent = object.findOBJNode(path.c_str());
    if (!parent)
        object.errors().add({"OP", OP_ERR_BAD_PARM, UT_ERROR_ABORT, "parent: there is no object " + path.str()});
    object.addExtraInput(parent, OP_INTEREST_DATA);
    return parent;
}

} // namespace

OBJ_Node::OBJ_Node(OP_Network* parent, const char* name, OP_Operator* op)
    : OP_Network(parent, name, op)
    , T(this, PRMtranslateName, {0, 0, 0})
    , R(this, PRMrotateName, {0, 0, 0})
    , S(this, PRMscaleName, {1, 1, 1})
    , P(this, PRMpivotName, {0, 0, 0})
    , SCALE(this, PRMuniformScaleName, 1)
    , PARENT(this, theParentName, "", PRM_StringKind::ObjectPath) {}

UT_DMatrix4 OBJ_Node::getWorldTransform(OP_Context& context) {
    const float t = context.getTime();
    UT_DMatrix4 world(1.0);
    std::set<OBJ_Node*> seen;
    for (OBJ_Node* object = this; object; object = parentOf(*object, t)) {
        if (!seen.insert(object).second) {
            errors().add({"OP", OP_ERR_BAD_PARM, UT_ERROR_ABORT, "parent: the object follows itself"});
            break;
        }
        world *= localTransform(*object, t);
        if (object != this) noteParentReads(*object);
    }
    return world;
}

void OBJ_Node::noteParentReads(const OBJ_Node& parent) {
    if (parent.flags().timeDependent) noteTimeRead();
    if (parent.flags().impure) noteImpureRead();
}

UT_DMatrix4 OBJ_Node::getIWorldTransform(OP_Context& context) {
    UT_DMatrix4 inverse = getWorldTransform(context);
    if (inverse.invert()) return inverse;
    errors().add({"OP", OP_ERR_BAD_PARM, UT_ERROR_ABORT, "the object's transform cannot be inverted (a scale of 0?)"});
    return UT_DMatrix4(1.0);
}

UT_ErrorSeverity OBJ_Node::cookMe(OP_Context&) { return error(); }
UT_ErrorSeverity OBJ_Node::bypassMe(OP_Context&, int&) { return error(); }
