#pragma once

#include <memory>
#include <string>

class GU_Detail;
class OP_Node;
class ParticleNetwork;
class PRM_Parm;

/// Finds operators of a particle network that take their particles from point groups which nobody makes. A group is
/// there when the network starts with it, or when one of its operators that do their work makes it.
class GroupCheck {
public:
    GroupCheck();
    ~GroupCheck();

    /// Notes the groups of a network that has been reset; names are expanded as at `time`.
    void enter(const ParticleNetwork& network, double time);
    void leave() { myGroups.reset(); }

    enum class Missing { No, Maybe, Yes };
    /// Whether something that an operator's group pattern names is missing. Never outside a network, or to operators
    /// that do no work; maybe where operators make groups under names that change, or where an expression decides
    /// whether this one works.
    Missing missing(OP_Node& op, const std::string& pattern) const;

private:
    void add(OP_Node& op, PRM_Parm& parm, double time);

    std::unique_ptr<GU_Detail> myGroups; ///< null outside a network
    bool myNamesChange = false;
};
