#include "scene/NodeSnapshot.h"

#include "host/node/OP_Network.h"
#include "host/node/OP_Operator.h"

NodeSnapshot::Node::Node(const OP_Node& node)
    : type(node.getOperator()->getName())
    , name(node.getName())
    , comment(node.comment)
    , flags(node.flags()) {
    const PRM_ParmList& parms = node.parms();
    for (int i = 0; i < parms.entries(); ++i) {
        values.push_back(parms.parm(i).value());
        if (i >= parms.firstSpare()) spareRows.push_back(parms.parm(i).row());
    }
    for (int i = 0; i < node.wires(); ++i) {
        const OP_Node* source = node.wiredNode(i);
        wires.push_back({i, source ? source->getName() : "", node.wiredIndirectly(i)});
    }
    if (const OP_Network* network = const_cast<OP_Node&>(node).castToNetwork(); network && network->getNchildren())
        inside.emplace_back(*network);
}

NodeSnapshot::NodeSnapshot(const OP_Network& network) {
    for (int i = 0; i < network.getNchildren(); ++i) myNodes.emplace_back(*network.getChild(i));
}

void NodeSnapshot::Node::fill(OP_Node& node) const {
    node.comment = comment;
    for (const PRM_Template& row : spareRows) node.parms().addSpare(row);
    const int count = std::min(node.parms().entries(), int(values.size()));
    for (int i = 0; i < count; ++i) node.parms().parm(i).setValue(values[size_t(i)]);
    node.flags().display = flags.display;
    node.flags().render = flags.render;
    node.flags().bypass = flags.bypass;
    node.flags().templateFlag = flags.templateFlag;
}

bool NodeSnapshot::restore(OP_Network& network, std::string& error) const {
    while (network.getNchildren()) network.destroyNode(network.getChild(network.getNchildren() - 1));
    for (const Node& saved : myNodes) {
        OP_Node* node = network.createNode(saved.type.c_str(), saved.name.c_str(), error);
        if (!node) return false;
        saved.fill(*node);
    }
    for (const Node& saved : myNodes)
        for (const Wire& wire : saved.wires) {
            OP_Node* node = network.findChild(saved.name);
            if (!wire.source.empty())
                node->setInput(wire.input, network.findChild(wire.source));
            else if (wire.indirect >= 0)
                node->setIndirectInput(wire.input, wire.indirect);
        }
    // Networks inside come last: what their nodes are wired to exists now.
    for (const Node& saved : myNodes)
        for (const NodeSnapshot& inside : saved.inside)
            if (!inside.restore(*network.findChild(saved.name)->castToNetwork(), error)) return false;
    return true;
}
