#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

class OP_Node;

/// Finds operators of a particle network whose particles more than one input asks for. Particles flow down one branch
/// only: whoever asks second ends with an error.
class StreamCheck {
public:
    struct Finding {
        const OP_Node* node; ///< whose particles are asked for
        bool error = true;   ///< else it depends on a switch or a bypass
        std::string text;
    };
    /// Of everything that cooking `output` reaches.
    static std::vector<Finding> check(const OP_Node& output);

private:
    struct Claims {
        std::vector<const OP_Node*> takers;
        bool certain = true;
    };
    void visit(const OP_Node& node, bool certain);

    std::map<int, Claims> myClaims; // by the unique id of the operator
    std::set<int> myVisited;
};
