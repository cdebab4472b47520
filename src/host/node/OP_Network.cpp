#include "host/node/OP_Network.h"

#include <algorithm>

#include "host/node/OP_OperatorTable.h"
#include "host/ut/UT_NearestName.h"
#include "host/ut/UT_NodePath.h"

namespace {

int nestingOf(const OP_Network* network) {
    int depth = 0;
    for (; network; network = network->getParent()) ++depth;
    return depth;
}

OP_Node* firstWith(const OP_Network& network, bool OP_NodeFlags::*flag) {
    for (int i = 0; i < network.getNchildren(); ++i)
        if (network.getChild(i)->flags().*flag) return network.getChild(i);
    return nullptr;
}

} // namespace

OP_Network::~OP_Network() {
    // Nobody may ask a network half gone.
    if (getUniqueId() != 0) disconnect();
    myByName.clear();
    while (!myChildren.empty()) myChildren.pop_back();
}

std::string OP_Network::checkNewChild(const char* type, const char* name, OP_Operator*& op) const {
    const std::string wanted = type ? type : "", called = name ? name : "", here = getFullPath();
    const OP_OperatorTable* table = childTable();
    if (!table) return here + " cannot hold nodes";
    op = table->getOperator(wanted);
    if (!op) {
        const std::string near = nearestName(wanted, table->names());
        return "unknown node type \"" + wanted + "\" in " + here +
               (near.empty() ? std::string() : "; did you mean \"" + near + "\"?");
    }
    if (!UT_NodePath::isValidName(called))
        return "\"" + called + "\" in " + here + " is no node name: letters, digits and _ only, no digit first";
    if (findChild(called)) return here + " already has a node named \"" + called + "\"";
    if (nestingOf(this) >= maxNesting)
        return here + ": networks nest deeper than " + std::to_string(maxNesting) + " levels";
    return {};
}

OP_Node* OP_Network::createNode(const char* type, const char* name, std::string& error) {
    OP_Operator* op = nullptr;
    error = checkNewChild(type, name, op);
    if (!error.empty()) return nullptr;
    OP_Node* child = op->createNode(this, name);
    addChild(std::unique_ptr<OP_Node>(child));
    if (!op->buildNode(*child, error)) {
        error = child->getFullPath() + ": " + error;
        destroyNode(child);
        return nullptr;
    }
    return child;
}

void OP_Network::addChild(std::unique_ptr<OP_Node> child) {
    myByName.emplace(child->getName(), child.get());
    myChildren.push_back(std::move(child));
    modified(OP_CHILD_CHANGED);
}

std::unique_ptr<OP_Node> OP_Network::takeChild(OP_Node* child) {
    const auto found =
        std::find_if(myChildren.begin(), myChildren.end(), [=](const auto& c) { return c.get() == child; });
    if (found == myChildren.end()) return nullptr;
    std::unique_ptr<OP_Node> out = std::move(*found);
    myChildren.erase(found);
    myByName.erase(child->getName());
    return out;
}

void OP_Network::destroyNode(OP_Node* child) {
    const std::unique_ptr<OP_Node> gone = takeChild(child);
    if (!gone) return;
    gone->disconnect();
    childDeleted(gone.get());
}

OP_Node* OP_Network::findChild(std::string_view name) const {
    const auto found = myByName.find(name);
    return found == myByName.end() ? nullptr : found->second;
}

OP_Node* OP_Network::getDisplayNodePtr() const { return firstWith(*this, &OP_NodeFlags::display); }
OP_Node* OP_Network::getRenderNodePtr() const { return firstWith(*this, &OP_NodeFlags::render); }

void OP_Network::setOnlyFlag(OP_Node* child, bool OP_NodeFlags::*flag) {
    for (const auto& other : myChildren)
        if (other.get() != child) other->flags().*flag = false;
}

void OP_Network::childDeleted(OP_Node*) { modified(OP_CHILD_CHANGED); }
void OP_Network::childFlagChange(OP_Node*) { modified(OP_CHILD_CHANGED); }

void OP_Network::propagateModification(OP_Node* by, OP_PropagateData& data) {
    // Whatever this network's inputs stand for may have changed: by itself (rewired here), by another wire further up
    // (its parent comes, and the input's number means nothing here), or because the node at an input changed.
    const bool here = by == this && data.event == OP_INPUT_CHANGED, above = by == getParent();
    const auto concerned = [&](const Input& input) {
        if (input.indirect < 0) return false;
        if (here) return data.index < 0 || input.indirect == data.index;
        return above || getInput(input.indirect) == by;
    };
    if (here || (by != this && !myInputs.empty()))
        for (const auto& child : myChildren)
            if (std::any_of(child->myInputs.begin(), child->myInputs.end(), concerned))
                data.pending.push_back({child.get(), above ? this : by});
    OP_Node::propagateModification(by, data);
}
