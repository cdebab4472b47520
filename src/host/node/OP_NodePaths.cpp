// How OP_Node finds other nodes.
#include "host/node/OBJ_Node.h"
#include "host/node/OP_Network.h"
#include "host/node/SHOP_Node.h"
#include "host/node/SOP_Node.h"

namespace {

// What an object shows: its display node, or the last that has geometry.
SOP_Node* displaySop(OBJ_Node& object) {
    if (OP_Node* shown = object.getDisplayNodePtr())
        if (SOP_Node* sop = shown->castToSOPNode()) return sop;
    for (int i = object.getNchildren(); i-- > 0;)
        if (SOP_Node* sop = object.getChild(i)->castToSOPNode()) return sop;
    return nullptr;
}

OP_Node* step(OP_Node* node, std::string_view name) {
    if (name == ".") return node;
    if (name == "..") return node->getParent();
    OP_Network* network = node->castToNetwork();
    return network ? network->findChild(name) : nullptr;
}

} // namespace

OP_Node* OP_Node::findNode(const char* path) {
    if (!path || !*path) return nullptr;
    OP_Node* node = this;
    while (*path == '/' && node->myParent) node = node->myParent;
    for (std::string_view name : UTsplit(path, "/")) {
        node = step(node, name);
        if (!node) break;
    }
    return node;
}

OBJ_Node* OP_Node::findOBJNode(const char* path) {
    OP_Node* node = findNode(path);
    return node ? node->castToOBJNode() : nullptr;
}

SOP_Node* OP_Node::getSOPNode(const char* path, int addExtra) {
    OP_Node* node = findNode(path);
    if (!node) return nullptr;
    OBJ_Node* object = node->castToOBJNode();
    SOP_Node* sop = object ? displaySop(*object) : node->castToSOPNode();
    if (addExtra && sop) addExtraInput(sop, OP_INTEREST_DATA);
    // Another display node may take over.
    if (addExtra && object && object != getCreator()) addExtraInput(object, OP_INTEREST_DATA);
    return sop;
}

SHOP_Node* OP_Node::findSHOPNode(const char* path) {
    OP_Node* node = findNode(path);
    return node ? node->castToSHOPNode() : nullptr;
}
