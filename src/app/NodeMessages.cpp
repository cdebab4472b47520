#include "app/NodeMessages.h"

#include "host/node/OP_Director.h"
#include "host/ut/UT_ErrorTable.h"

#include <algorithm>
#include <fmt/format.h>

namespace {
/// A message that names another particle in every frame shall not fill the screen.
constexpr size_t MAX_PER_NODE = 20;
} // namespace

std::vector<std::string> NodeMessages::collect() {
    std::vector<std::string> out;
    collectFrom(*OPgetDirector(), out);
    return out;
}

void NodeMessages::collectFrom(const OP_Network& network, std::vector<std::string>& out) {
    for (int i = 0; i < network.getNchildren(); ++i) {
        OP_Node* child = network.getChild(i);
        collectFrom(*child, out);
        if (const OP_Network* inside = child->castToNetwork()) collectFrom(*inside, out);
    }
}

void NodeMessages::collectFrom(const OP_Node& node, std::vector<std::string>& out) {
    if (node.errors().empty() && node.setupErrors().empty()) return;
    const std::string path = node.getFullPath();
    for (const UT_Error& error : node.setupErrors()) add(path, error, out);
    for (const UT_Error& error : node.errors()) add(path, error, out);
}

void NodeMessages::add(const std::string& path, const UT_Error& error, std::vector<std::string>& out) {
    noteStatus(error);
    std::set<std::string>& told = myTold[path];
    std::string text = UTerrorText(error);
    if (told.size() > MAX_PER_NODE || !told.insert(text).second) return;
    if (told.size() > MAX_PER_NODE) text = "more messages, not shown; \"flx dump\" has those of a frame";
    out.push_back(fmt::format("{}: {}: {}", myScene, path, text));
}

void NodeMessages::noteStatus(const UT_Error& error) {
    if (error.severity < UT_ERROR_ABORT) return;
    const bool own = error.type == "OP";
    const ExitStatus status = own && error.code == OP_ERR_FILE    ? ExitStatus::FILE_PROBLEM
                              : own && error.code == OP_ERR_LIMIT ? ExitStatus::LIMIT
                                                                  : ExitStatus::NODE_ERROR;
    myStatus = std::max(myStatus, status);
}
