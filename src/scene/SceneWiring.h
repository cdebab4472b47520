#pragma once

#include "scene/SceneJson.h"

#include <string>
#include <unordered_map>
#include <vector>

class OP_Network;
class OP_Node;

/// Connects the nodes of one network as a scene says. Throws SceneError for inputs that cannot be.
class SceneWiring {
public:
    explicit SceneWiring(OP_Network& network);
    /// Notes the "inputs" of a child (null: it names none).
    void add(OP_Node* node, const SceneJson* inputs);
    /// Wires everything that was noted, inputs before what reads them.
    void connect();

private:
    struct Wire {
        OP_Node* source = nullptr;
        int indirect = -1;
    };
    struct Entry {
        OP_Node* node;
        std::vector<Wire> wires;
    };
    Wire readWire(const OP_Node& node, const SceneJson& json) const;
    std::vector<size_t> inputsFirst() const;
    [[noreturn]] void refuseCycle(const std::vector<int>& waiting) const;
    std::unordered_map<const OP_Node*, size_t> indexByNode() const;

    OP_Network& myNetwork;
    bool myInSubNetwork;
    std::vector<Entry> myEntries;
    std::vector<std::pair<OP_Node*, const SceneJson*>> myGiven;
};
