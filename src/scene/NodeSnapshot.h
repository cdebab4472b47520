#pragma once

#include "host/node/OP_Node.h"
#include "host/node/PRM_Parm.h"

#include <string>
#include <vector>

class OP_Network;

/// Everything a scene says about the nodes inside a network, so that they can be made anew: types, names, values, spare
/// parameters, flags, wiring, comments, and the same of networks inside.
class NodeSnapshot {
public:
    explicit NodeSnapshot(const OP_Network& network);
    /// Destroys the network's nodes and makes them again. False with a message when a type is gone.
    bool restore(OP_Network& network, std::string& error) const;

private:
    struct Wire {
        int input;
        std::string source; ///< name of a sibling; empty: the network's own input
        int indirect;
    };
    struct Node {
        explicit Node(const OP_Node& node);
        void fill(OP_Node& node) const;

        std::string type;
        std::string name;
        std::string comment;
        OP_NodeFlags flags;
        std::vector<PRM_Template> spareRows;
        std::vector<PRM_ParmValue> values;
        std::vector<Wire> wires;
        std::vector<NodeSnapshot> inside; ///< none or one
    };
    std::vector<Node> myNodes;
};
