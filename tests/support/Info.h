#pragma once

#include "support/Network.h"

/// What interfaces show for the node after the network's last step.
inline std::string info(Network& net, FLX_Node& node) {
    OP_Context context(net.time());
    context.setData(&net.context());
    std::string text;
    node.getNodeSpecificInfoText(context, 0, text);
    return text;
}
