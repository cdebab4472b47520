#include "host/node/OP_EvalState.h"

#include "host/expr/EV_Error.h"

OP_EvalState& OP_EvalState::current() {
    thread_local OP_EvalState theState;
    return theState;
}

OP_EvalAside::OP_EvalAside(int thread)
    : myThread(thread)
    , myErrorNumber(EV_errNo(thread))
    , myErrorText(myErrorNumber ? EV_errText(thread) : std::string())
    , myOuter(std::move(OP_EvalState::current())) {
    OP_EvalState& state = OP_EvalState::current();
    state = {};
    state.chain = state.chainBase = myOuter.chain;
}

OP_EvalAside::~OP_EvalAside() {
    // Outside any evaluation the cook's last error number is the caller's to read.
    if (myOuter.nesting > 0) {
        EV_clearError(myThread);
        if (myErrorNumber) EV_raise(myThread, myErrorNumber, std::move(myErrorText));
    }
    OP_EvalState::current() = std::move(myOuter);
}
