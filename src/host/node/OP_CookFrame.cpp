#include "host/node/OP_CookFrame.h"

#include <atomic>

#include "host/node/OP_Node.h"

namespace {
thread_local OP_CookFrame* theTop = nullptr;
}

OP_CookFrame::OP_CookFrame(OP_Node& cooking, unsigned cookRequest)
    : node(cooking)
    , request(cookRequest)
    , outer(theTop)
    , depth(theTop ? theTop->depth + 1 : 1) {
    theTop = this;
}

OP_CookFrame::~OP_CookFrame() { theTop = outer; }

OP_CookFrame* OP_CookFrame::top() { return theTop; }

unsigned OP_CookFrame::currentRequest(const OP_Node& node) {
    return theTop && theTop->node.getOpTypeID() == node.getOpTypeID() ? theTop->request : 0;
}

unsigned OP_CookFrame::newRequest() {
    static std::atomic<unsigned> theLast{0};
    unsigned request = 0;
    while (request == 0) request = ++theLast;
    return request;
}
