#pragma once

#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "host/node/OP_ExprFunctions.h"

class EV_EXPRESSION;

/// Follows the reads of ch() and chs() with fixed paths, and tries the fixed paths of the functions that look at nodes
/// and geometry, without evaluating anything.
class ChannelCheck {
public:
    struct Finding {
        bool error = true; ///< else it only may go wrong: something on the way is read under a condition
        std::string text;
    };
    /// What is wrong with the reads of one parameter component: paths that lead nowhere, parameters that read each
    /// other in a circle (told once for all of them), more of them in a row than an evaluation follows.
    std::vector<Finding> check(const OP_ChannelRef& channel);

private:
    struct Read {
        OP_ChannelRef to;
        std::string error; ///< of a path that leads nowhere, with the expression and the column
        bool conditional = false;
    };
    using Key = std::tuple<const PRM_Parm*, int>;

    static std::vector<Read> readsOf(const OP_ChannelRef& channel);
    static void addReads(const OP_ChannelRef& channel, EV_EXPRESSION& expression, const std::string& whole,
                         std::vector<Read>& reads);
    bool findCircle(const OP_ChannelRef& from, const OP_ChannelRef& start, bool conditional);

    std::set<Key> myTold;
    std::set<Key> myVisited;
    std::vector<OP_ChannelRef> myWay;
    bool myWayIsConditional = false;
    bool myIsTooLong = false, myTooLongIsConditional = false;
};
