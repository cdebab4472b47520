#include "scene/objects/ObjectTypes.h"

#include "host/node/OBJ_Node.h"
#include "host/node/OP_Director.h"
#include "scene/ParticleNetwork.h"

namespace {

/// Holds geometry nodes.
class GeometryObject : public OBJ_Node {
public:
    using OBJ_Node::OBJ_Node;
    const char* getChildType() const override { return "SOP"; }
    OP_OpTypeId getChildTypeID() const override { return SOP_OPTYPE_ID; }
    OP_OperatorTable* childTable() const override { return &OP_Director::operatorTable("SOP"); }
};

/// An object whose orientation aims a force. Menus that offer force objects look for `forcetype`.
class ForceObject final : public GeometryObject {
public:
    ForceObject(OP_Network* parent, const char* name, OP_Operator* op)
        : GeometryObject(parent, name, op) {}

    Int FORCETYPE{this, {"forcetype", "Force Type"}, 0.0};
};

template <class Node> OP_Node* make(OP_Network* parent, const char* name, OP_Operator* op) {
    return new Node(parent, name, op);
}

} // namespace

void registerObjectTypes(OP_OperatorTable& table) {
    table.addOperator(std::make_unique<OP_Operator>("geo", "Geometry", make<GeometryObject>, 0, 0, nullptr));
    table.addOperator(std::make_unique<OP_Operator>("forceobj", "Force", make<ForceObject>, 0, 0, nullptr));
    table.addOperator(
        std::make_unique<OP_Operator>("flxnet", "Particle Network", make<ParticleNetwork>, 0, 0, nullptr));
}
