#pragma once

#include "core/FLX_Node.h"
#include "host/expr/EV_Error.h"

/// The state of a dependency test: a parameter is evaluated once with every variable 1, and what it read is noted.
class FLX_VariableTest {
public:
    bool running() const { return myRunning; }
    bool dependent() const { return myDependent; }
    void setDependent(int on = 1) { myDependent = on != 0; }
    /// 1 when reading is allowed; a read while it is not allows it again and fails.
    int allowed() const { return myAllow; }
    void allow(int on) { myAllow = on != 0; }

    /// Denies a read that is not allowed: true, with the thread's error number set.
    bool deny(int thread) {
        if (myAllow) return false;
        myAllow = true;
        EV_errNo(thread) = EV_ERR_VARIABLE;
        return true;
    }

    /// Evaluates once and decides: an error of the node or of the evaluation counts as dependent.
    template <class Evaluate> int decide(FLX_Node& node, int thread, Evaluate&& evaluate) {
        EV_clearError(thread);
        myDependent = false;
        myRunning = true;
        evaluate();
        const int result = node.error() > UT_ERROR_NONE || EV_errNo(thread) != 0 ? 1 : int(myDependent);
        myRunning = false;
        return result;
    }

    /// One evaluation of a parameter, its value discarded.
    static void evaluate(FLX_Node& node, const FLX_ParmRef& parm, float t, int thread) {
        switch (parm.kind) {
        case FLX_ParmRef::Float: node.evalFloat(parm.parm, parm.component, t, thread); break;
        case FLX_ParmRef::Int: node.evalInt(parm.parm, parm.component, t, thread); break;
        case FLX_ParmRef::String: node.evalString(parm.parm, t, thread); break;
        }
    }

private:
    bool myRunning = false;
    bool myDependent = false;
    bool myAllow = true;
};
