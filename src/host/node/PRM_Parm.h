#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/expr/EV_Expression.h"
#include "host/expr/EV_StringExpand.h"
#include "host/node/CH_Channel.h"
#include "host/node/PRM_Template.h"

/// What a parameter holds, detached from its node: for undo.
struct PRM_ParmValue {
    struct Component {
        int kind = 0;
        double constant = 0;
        std::string text;
        std::vector<std::pair<double, double>> keys;
    };
    std::vector<Component> components;
    std::string text;
    bool literal = false;
    std::vector<std::vector<PRM_ParmValue>> instances;
};

/// The value of one parameter of one node: per component a constant, an expression or key frames; for strings the text
/// as typed.
class PRM_Parm {
public:
    struct Component {
        enum Kind : unsigned char { Constant, Expression, Keys };

        double constant = 0;
        Kind kind = Constant;
        std::string text; ///< of the expression, as it was set
        std::unique_ptr<CH_Channel> keys;

        /// The expression, compiled at the first demand; null when the value is no expression.
        EV_EXPRESSION* expression();

    private:
        friend class PRM_Parm;
        std::unique_ptr<EV_EXPRESSION> compiled;
    };
    /// Instances that a Multi parameter may have; a larger count is cut to it.
    static constexpr int maxInstances = 10000;

    explicit PRM_Parm(const PRM_Template& row);

    const PRM_Template& row() const { return *myRow; }
    int size() const { return int(myComponents.size()); }
    Component& component(int i) { return myComponents[size_t(i)]; }
    const Component& component(int i) const { return myComponents[size_t(i)]; }

    /// For messages, as assignments on the command line name it: "scale", "force.y".
    std::string componentName(int i) const;

    void setConstant(int component, double value);
    void setExpression(int component, std::string text);
    void setKeys(int component, CH_Channel channel);

    const std::string& text() const { return myText; }
    /// A literal text is not expanded when it is read.
    void setText(std::string text, bool literal = false);
    bool literal() const { return myLiteral; }
    /// What expands the text; null when it stands for itself.
    EV_StringExpand* expansion();

    bool enabled() const { return myEnabled; }
    /// Returns whether the state changed.
    bool setEnabled(bool on);

    /// Instances of a Multi parameter: `instances()[k]` holds the rows of instance k + 1.
    std::vector<std::vector<PRM_Parm>>& instances() { return myInstances; }
    const std::vector<std::vector<PRM_Parm>>& instances() const { return myInstances; }
    void setInstanceCount(int count);

    /// The whole value, to be given back by setValue on the same row.
    PRM_ParmValue value() const;
    void setValue(const PRM_ParmValue& value);

private:
    Component& reset(int component);
    void appendInstance();

    const PRM_Template* myRow;
    std::vector<Component> myComponents;
    std::vector<std::vector<PRM_Parm>> myInstances;
    std::vector<std::unique_ptr<PRM_Template>> myInstanceRows; // rows with '#' replaced, per instance
    std::string myText;
    std::unique_ptr<EV_StringExpand> myExpansion;
    bool myLiteral = false;
    bool myEnabled = true;
};
