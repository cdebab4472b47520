#include "host/node/OP_OperatorTable.h"
#include "host/node/SHOP_Node.h"
#include "scene/objects/ObjectTypes.h"

namespace {

/// A shader: its type (14: what sprites use) and its shader string.
class Shader final : public SHOP_Node {
public:
    Shader(OP_Network* parent, const char* name, OP_Operator* op)
        : SHOP_Node(parent, name, op) {}

    Int SHADERTYPE{this, {"shadertype", "Shader Type"}, 14};
    Text SHADER{this, {"shader", "Shader"}, ""};
};

/// Stands for one of its inputs.
class ShaderSwitch final : public SHOP_Node {
public:
    ShaderSwitch(OP_Network* parent, const char* name, OP_Operator* op)
        : SHOP_Node(parent, name, op) {}

    Int INPUT{this, {"input", "Select Input"}, 0.0};
};

template <class Node> OP_Node* make(OP_Network* parent, const char* name, OP_Operator* op) {
    return new Node(parent, name, op);
}

} // namespace

void registerShaderTypes(OP_OperatorTable& table) {
    table.addOperator(std::make_unique<OP_Operator>("shader", "Shader", make<Shader>, 0, 0, nullptr));
    table.addOperator(std::make_unique<OP_Operator>("switch", "Switch", make<ShaderSwitch>, 0, 9999, nullptr));
}
