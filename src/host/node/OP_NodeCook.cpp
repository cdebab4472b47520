// The cook protocol of OP_Node.
#include <algorithm>

#include "host/node/OP_CookFrame.h"
#include "host/node/OP_CookMonitor.h"
#include "host/node/OP_EvalState.h"
#include "host/node/OP_Node.h"
#include "host/ut/UT_ErrorTable.h"

namespace {

/// Sets the thread's global messages aside for a scope, so that those of a cook do not mix with its caller's.
class ErrorsAside {
public:
    ErrorsAside() { myOuter.steal(UTglobalErrors()); }
    ~ErrorsAside() { std::swap(UTglobalErrors(), myOuter); }
    ErrorsAside(const ErrorsAside&) = delete;
    ErrorsAside& operator=(const ErrorsAside&) = delete;

private:
    UT_ErrorList myOuter;
};

class Raised {
public:
    explicit Raised(bool& flag)
        : myFlag(flag) {
        flag = true;
    }
    ~Raised() { myFlag = false; }
    Raised(const Raised&) = delete;
    Raised& operator=(const Raised&) = delete;

private:
    bool& myFlag;
};

} // namespace

bool OP_Node::ownsGlobalErrors() const {
    const OP_CookFrame* top = OP_CookFrame::top();
    return !top || &top->node == this;
}

UT_ErrorSeverity OP_Node::cookSeverity() const { return std::max(errors().severity(), myCookResult); }

bool OP_Node::needToCook(OP_Context& context, bool) {
    if (myFlags.changed || myCookCount == 0) return true;
    if (myFlags.impure) {
        const unsigned request = OP_CookFrame::currentRequest(*this);
        if (request == 0 || request != myRequest) return true;
    }
    return (myFlags.timeDependent || myFlags.recook) && myCookTime != context.getTime();
}

bool OP_Node::cook(OP_Context& context) {
    const OP_CookFrame* top = OP_CookFrame::top();
    if (myCooking) {
        errors().add({"OP", OP_ERR_RECURSION, UT_ERROR_ABORT, getFullPath()});
        return false;
    }
    const bool inPass = context.pass() != 0;
    const bool cooked = inPass ? myPass == context.pass() && myPassData == context.getData() : !needToCook(context);
    if (cooked) return cookSeverity() < UT_ERROR_ABORT;
    if (top && top->depth >= maxCookDepth) {
        const std::string text = getFullPath() + ": more than " + std::to_string(maxCookDepth) + " nodes in a row";
        errors().add({"OP", OP_ERR_LIMIT, UT_ERROR_ABORT, text});
        return false;
    }
    const unsigned request = OP_CookFrame::currentRequest(*this);
    runCook(context, request ? request : OP_CookFrame::newRequest());
    return cookSeverity() < UT_ERROR_ABORT;
}

void OP_Node::runCook(OP_Context& context, unsigned request) {
    const OP_MonitoredCook monitored(*this);
    const ErrorsAside errorsAside;
    const OP_EvalAside evaluationsAside(context.getThread());
    const OP_CookFrame frame(*this, request);
    const Raised cooking(myCooking);
    beginCook();
    int copiedInput = -1;
    const UT_ErrorSeverity result = myFlags.bypass ? bypassMe(context, copiedInput) : cookMe(context);
    endCook(context, request, result);
}

void OP_Node::beginCook() {
    clearErrors();
    myFlags.timeDependent = false;
    myFlags.impure = false;
    ++myCookCount;
    for (Interest& interest : myInterests) interest.renewed = false;
}

void OP_Node::endCook(OP_Context& context, unsigned request, UT_ErrorSeverity result) {
    stealGlobalErrors();
    myCookResult = result;
    for (size_t i = myExtraInputs.size(); i-- > 0;) {
        const bool stale = !myInterests[i].renewed && cookSeverity() < UT_ERROR_ABORT;
        if (stale)
            eraseExtraInput(i);
        else if (myInterests[i].type & OP_INTEREST_DATA)
            inheritReads(*myExtraInputs[i]);
    }
    myFlags.changed = false;
    myCookTime = context.getTime();
    myPass = context.pass();
    myPassData = context.getData();
    myRequest = request;
}

void OP_Node::inheritReads(const OP_Node& from) {
    if (from.myFlags.timeDependent || from.myFlags.recook) noteTimeRead();
    if (from.myFlags.impure) noteImpureRead();
}

UT_ErrorSeverity OP_Node::lockInputs(OP_Context& context) {
    UT_ErrorSeverity worst = UT_ERROR_NONE;
    for (int i = 0; i < nInputs(); ++i) worst = std::max(worst, lockInput(i, context));
    return worst;
}

UT_ErrorSeverity OP_Node::lockInput(int i, OP_Context& context) {
    OP_Node* input = getInput(i);
    if (!input) return UT_ERROR_NONE;
    const bool good = input->cook(context);
    inheritReads(*input);
    const UT_ErrorSeverity severity = good ? input->cookSeverity() : std::max(input->cookSeverity(), UT_ERROR_ABORT);
    if (severity >= UT_ERROR_ABORT) errors().add({"OP", OP_ERR_INPUT, UT_ERROR_ABORT, input->getFullPath()});
    return severity;
}
