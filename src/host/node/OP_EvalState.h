#pragma once

#include <map>
#include <string>
#include <tuple>

#include "host/expr/EV_Value.h"

class PRM_Parm;

/// What the parameter evaluations of a thread know of each other.
struct OP_EvalState {
    /// Evaluations inside evaluations: only the outermost starts with a clean error number, so that one inside does not
    /// hide what the outer met before.
    int nesting = 0;

    /// Parameters that are being read by ch() and chs() inside each other, in all and when the running cook began.
    int chain = 0;
    int chainBase = 0;
    std::string chainError; ///< why one of the running chain failed: nothing in it is worth computing any more
    /// Values read inside a chain: without them a chain that forks at every step would take forever.
    std::map<std::tuple<const PRM_Parm*, int, bool>, EV_Value> chainValues{};

    static OP_EvalState& current();
};

/// A fresh state for a cook that may have been caused by an evaluation, whose error number and state come back after.
/// The length of the chain goes on.
class OP_EvalAside {
public:
    explicit OP_EvalAside(int thread);
    ~OP_EvalAside();
    OP_EvalAside(const OP_EvalAside&) = delete;
    OP_EvalAside& operator=(const OP_EvalAside&) = delete;

private:
    int myThread;
    int myErrorNumber;
    std::string myErrorText;
    OP_EvalState myOuter;
};
