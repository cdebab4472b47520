#pragma once

#include <functional>
#include <string>

#include "host/node/PRM_Template.h"

class OP_Network;

/// A script-defined operator type: its name, inputs and parameters, and either a sub-network or a program text.
class OP_OTLDefinition {
public:
    std::string name;
    std::string label;
    int minInputs = 0;
    int maxInputs = 4;
    bool isSubNetwork = true; ///< else a program
    PRM_TemplateTable parms;
    std::string script; ///< the program's text
    /// Fills a new instance with the definition's nodes; false with a message when it cannot.
    std::function<bool(OP_Network& instance, std::string& error)> build;
};
