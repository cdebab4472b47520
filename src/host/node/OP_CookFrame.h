#pragma once

class OP_Node;

/// One running cook of this thread; frames form the thread's stack of cooks. A request is what one outermost cook of a
/// family of nodes (geometry, particles) and the cooks it causes within the family have in common.
struct OP_CookFrame {
    OP_CookFrame(OP_Node& cooking, unsigned cookRequest);
    ~OP_CookFrame();
    OP_CookFrame(const OP_CookFrame&) = delete;
    OP_CookFrame& operator=(const OP_CookFrame&) = delete;

    OP_Node& node;
    unsigned request;
    OP_CookFrame* outer;
    int depth; ///< 1 for the outermost

    static OP_CookFrame* top();
    /// The request that a cook of `node` would belong to; 0 when it would start a new one.
    static unsigned currentRequest(const OP_Node& node);
    static unsigned newRequest();
};
