#include "scene/SceneWiring.h"

#include "host/node/OP_Network.h"
#include "host/node/OP_Operator.h"
#include "scene/SceneError.h"

#include <fmt/format.h>

namespace {

template <class... Args>
[[noreturn]] void refuse(const OP_Node& node, fmt::format_string<Args...> format, Args&&... args) {
    throw SceneError{node.getFullPath(), 0, fmt::format(format, std::forward<Args>(args)...)};
}

std::vector<std::string> childNames(const OP_Network& network) {
    std::vector<std::string> out;
    for (int i = 0; i < network.getNchildren(); ++i) out.push_back(network.getChild(i)->getName());
    return out;
}

void checkCount(const OP_Node& node, size_t count) {
    const OP_Operator& type = *node.getOperator();
    const size_t low = size_t(type.minInputs()), high = size_t(type.maxInputs());
    if (count > high)
        refuse(node, "too many inputs: type \"{}\" takes {}, found {}", type.getName(),
               high ? fmt::to_string(high) : "none", count);
    if (count < low)
        refuse(node, "missing inputs: type \"{}\" needs {}, found {}", type.getName(), low,
               count ? fmt::to_string(count) : "none");
}

} // namespace

SceneWiring::SceneWiring(OP_Network& network)
    : myNetwork(network)
    , myInSubNetwork(network.getOperator() && !network.castToOBJNode()) {}

void SceneWiring::add(OP_Node* node, const SceneJson* inputs) { myGiven.emplace_back(node, inputs); }

SceneWiring::Wire SceneWiring::readWire(const OP_Node& node, const SceneJson& json) const {
    if (json.isNull()) return {};
    if (json.isText()) {
        OP_Node* source = myNetwork.findChild(json.text());
        if (!source)
            refuse(node, "unknown input \"{}\"{}", json.text(), didYouMean(json.text(), childNames(myNetwork)));
        return {source, -1};
    }
    if (!json.isInteger()) refuse(node, "\"inputs\" expects names, null or input numbers, found {}", json.toText());
    const int limit = myInSubNetwork ? myNetwork.getOperator()->maxInputs() : 0;
    if (!myInSubNetwork)
        refuse(node, "input {}: numbers stand for the inputs of a sub-network, this is none", json.integer());
    if (json.integer() < 0 || json.integer() >= limit)
        refuse(node, "input {}: the sub-network has inputs 0 to {}", json.integer(), limit - 1);
    return {nullptr, json.integer()};
}

std::unordered_map<const OP_Node*, size_t> SceneWiring::indexByNode() const {
    std::unordered_map<const OP_Node*, size_t> out;
    for (size_t i = 0; i < myEntries.size(); ++i) out.emplace(myEntries[i].node, i);
    return out;
}

void SceneWiring::refuseCycle(const std::vector<int>& waiting) const {
    const auto index = indexByNode();
    std::vector<size_t> seenAt(myEntries.size(), SIZE_MAX), walk;
    size_t at = 0;
    while (waiting[at] == 0) ++at;
    while (seenAt[at] == SIZE_MAX) {
        seenAt[at] = walk.size();
        walk.push_back(at);
        for (const Wire& wire : myEntries[at].wires)
            if (wire.source && waiting[index.at(wire.source)] > 0) {
                at = index.at(wire.source);
                break;
            }
    }
    std::string chain;
    size_t shown = 0;
    for (size_t i = walk.size(); i-- > seenAt[at] && shown < 8; ++shown)
        chain += myEntries[walk[i]].node->getName() + " -> ";
    if (walk.size() - seenAt[at] > shown) chain += "... -> ";
    refuse(*myEntries[walk.back()].node, "the inputs form a cycle: {}{}", chain,
           myEntries[walk.back()].node->getName());
}

// Kahn, "Topological sorting of large networks", 1962; iterative, because a chain may be as long as the scene allows.
std::vector<size_t> SceneWiring::inputsFirst() const {
    const auto index = indexByNode();
    std::vector<int> waiting(myEntries.size(), 0);
    std::vector<std::vector<size_t>> readers(myEntries.size());
    for (size_t i = 0; i < myEntries.size(); ++i)
        for (const Wire& wire : myEntries[i].wires)
            if (wire.source) {
                ++waiting[i];
                readers[index.at(wire.source)].push_back(i);
            }
    std::vector<size_t> order;
    for (size_t i = 0; i < myEntries.size(); ++i)
        if (waiting[i] == 0) order.push_back(i);
    for (size_t next = 0; next < order.size(); ++next)
        for (const size_t reader : readers[order[next]])
            if (--waiting[reader] == 0) order.push_back(reader);
    if (order.size() < myEntries.size()) refuseCycle(waiting);
    return order;
}

void SceneWiring::connect() {
    static const SceneJson none = SceneJson::makeArray();
    for (const auto& [node, given] : myGiven) {
        const SceneJson& inputs = given ? *given : none;
        if (!inputs.isArray()) refuse(*node, "\"inputs\" expects an array, found {}", inputs.kindName());
        checkCount(*node, inputs.items().size());
        Entry entry{node, {}};
        for (const SceneJson& json : inputs.items()) entry.wires.push_back(readWire(*node, json));
        myEntries.push_back(std::move(entry));
    }
    for (const size_t i : inputsFirst()) {
        const Entry& entry = myEntries[i];
        for (size_t k = 0; k < entry.wires.size(); ++k) {
            const Wire& wire = entry.wires[k];
            if (wire.source) entry.node->setInput(int(k), wire.source);
            if (wire.indirect >= 0) entry.node->setIndirectInput(int(k), wire.indirect);
        }
    }
}
