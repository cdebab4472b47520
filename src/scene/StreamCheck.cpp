#include "scene/StreamCheck.h"

#include "host/node/OP_Node.h"
#include "host/node/OP_Operator.h"

#include <fmt/format.h>

namespace {

// Cooks only some of its inputs, or hands them on without taking them.
bool isSelective(const OP_Node& node) { return node.getOperator()->getName() == "switch" || node.getBypass(); }

} // namespace

void StreamCheck::visit(const OP_Node& node, bool certain) {
    if (!myVisited.insert(node.getUniqueId()).second) return;
    const bool below = certain && !isSelective(node);
    for (int i = 0; i < node.nInputs(); ++i) {
        OP_Node* input = node.getInput(i);
        if (!input || !input->castToFLXNode()) continue;
        if (!node.isRefInput(unsigned(i))) {
            Claims& claims = myClaims[input->getUniqueId()];
            claims.takers.push_back(&node);
            claims.certain = claims.certain && below;
        }
        visit(*input, below);
    }
}

std::vector<StreamCheck::Finding> StreamCheck::check(const OP_Node& output) {
    StreamCheck all;
    all.visit(output, true);
    std::vector<Finding> out;
    for (const auto& [id, claims] : all.myClaims) {
        if (claims.takers.size() < 2) continue;
        std::string names;
        for (const OP_Node* taker : claims.takers) names += (names.empty() ? "" : ", ") + taker->getName();
        const OP_Node* node = OP_Node::lookupNode(id);
        out.push_back({node, claims.certain,
                       fmt::format("its particles are taken {} times, by {}; they can flow down one branch only",
                                   claims.takers.size(), names)});
    }
    return out;
}
