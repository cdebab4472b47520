#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/expr/EV_Expression.h"
#include "host/node/CH_Channel.h"
#include "host/node/PRM_Template.h"

/// The value of one parameter of one node: per component a constant, an expression or key frames; for strings the text
/// as typed.
class PRM_Parm {
public:
    struct Component {
        double constant = 0;
        std::unique_ptr<EV_EXPRESSION> expression;
        std::unique_ptr<CH_Channel> keys;
    };

    explicit PRM_Parm(const PRM_Template& row);

    const PRM_Template& row() const { return *myRow; }
    int size() const { return int(myComponents.size()); }
    Component& component(int i) { return myComponents[size_t(i)]; }
    const Component& component(int i) const { return myComponents[size_t(i)]; }

    void setConstant(int component, double value);
    void setExpression(int component, std::string text);
    void setKeys(int component, CH_Channel channel);

    const std::string& text() const { return myText; }
    /// A literal text is not expanded when it is read.
    void setText(std::string text, bool literal = false);
    bool literal() const { return myLiteral; }

    bool enabled() const { return myEnabled; }
    /// Returns whether the state changed.
    bool setEnabled(bool on);

    /// Instances of a Multi parameter: `instances()[k]` holds the rows of instance k + 1.
    std::vector<std::vector<PRM_Parm>>& instances() { return myInstances; }
    const std::vector<std::vector<PRM_Parm>>& instances() const { return myInstances; }
    void setInstanceCount(int count);

private:
    const PRM_Template* myRow;
    std::vector<Component> myComponents;
    std::vector<std::vector<PRM_Parm>> myInstances;
    std::vector<std::unique_ptr<PRM_Template>> myInstanceRows; // rows with '#' replaced, per instance
    std::string myText;
    bool myLiteral = false;
    bool myEnabled = true;
};
