#include "host/sim/SIM_Object.h"

#include "host/node/OBJ_Node.h"
#include "host/sim/SIM_Geometry.h"
#include "host/sim/SIM_Position.h"

void SIM_Object::setData(const std::string& name, std::shared_ptr<SIM_Data> data) {
    if (data)
        myData[name] = std::move(data);
    else
        myData.erase(name);
}

SIM_Data* SIM_Object::getData(std::string_view name) const {
    const auto found = myData.find(name);
    return found == myData.end() ? nullptr : found->second.get();
}

const SIM_Geometry* SIM_Object::getGeometry() const { return SIMcast<SIM_Geometry>(getData("Geometry")); }
const SIM_Position* SIM_Object::getPosition() const { return SIMcast<SIM_Position>(getData("Position")); }

void SIM_Object::setObjectNode(const OBJ_Node* node) { myNode = node ? node->getUniqueId() : 0; }

OBJ_Node* SIM_Object::getObjectNode() const {
    OP_Node* node = OP_Node::lookupNode(myNode);
    return node ? node->castToOBJNode() : nullptr;
}
