#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "host/node/OP_VariablePair.h"
#include "host/node/PRM_Template.h"

class OP_Network;
class OP_Node;
class OP_Operator;

using OP_Constructor = OP_Node* (*)(OP_Network* parent, const char* name, OP_Operator* op);

/// An operator type: what a table lists and a network creates nodes from.
class OP_Operator {
public:
    /// The parameter rows are recorded from a prototype made by `constructor` (no parent, no name, no id), at the first
    /// demand.
    OP_Operator(const char* name, const char* label, OP_Constructor constructor, int minInputs, int maxInputs,
                const OP_VariablePair* variables, unsigned flags = 0);
    virtual ~OP_Operator();

    const std::string& getName() const { return myName; }
    const std::string& getLabel() const { return myLabel; }
    int minInputs() const { return myMinInputs; }
    int maxInputs() const { return myMaxInputs; } ///< 9999: any number
    unsigned flags() const { return myFlags; }
    const OP_VariablePair* variablePair() const { return myVariables; }
    const PRM_TemplateTable& templates() const;
    /// The class name users of the library know ("FLX_Force").
    const std::string& className() const { return myClassName; }
    void setClassName(const char* name) { myClassName = name; }

    void setObsoleteTemplates(const PRM_TemplateTable* table) { myObsolete = table; }
    const PRM_TemplateTable* getObsoleteTemplates() const { return myObsolete; }
    void setIconName(const char* icon) { myIcon = icon; }
    const std::string& iconName() const { return myIcon; }

    /// Constructs a node; it is no child of `parent` yet.
    virtual OP_Node* createNode(OP_Network* parent, const char* name);
    /// Gives a new child of a network what its type holds from the start; false with a message when it cannot.
    virtual bool buildNode(OP_Node& node, std::string& error);

protected:
    /// Adds rows that are not the class's own.
    virtual void appendTemplates(PRM_TemplateTable& table) const;

private:
    mutable PRM_TemplateTable myTemplates;
    mutable std::once_flag myRecorded;
    std::string myName;
    std::string myLabel;
    std::string myClassName;
    std::string myIcon;
    OP_Constructor myConstructor;
    int myMinInputs;
    int myMaxInputs;
    const OP_VariablePair* myVariables;
    unsigned myFlags;
    const PRM_TemplateTable* myObsolete = nullptr;
};
