#pragma once

#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "host/node/OP_Node.h"

class OP_OperatorTable;

/// A node that holds nodes. Children are owned, in creation order.
class OP_Network : public OP_Node {
public:
    using OP_Node::OP_Node;
    ~OP_Network() override;

    virtual const char* getChildType() const = 0;
    virtual OP_OpTypeId getChildTypeID() const = 0;
    /// The operator types a child may have; null for networks without children.
    virtual OP_OperatorTable* childTable() const { return nullptr; }

    /// Null with a message in `error` when the type is unknown or the name is taken or malformed.
    OP_Node* createNode(const char* type, const char* name, std::string& error);
    void destroyNode(OP_Node* child);

    int getNchildren() const { return int(myChildren.size()); }
    OP_Node* getChild(int i) const { return myChildren[size_t(i)].get(); }
    OP_Node* findChild(std::string_view name) const;
    /// Networks inside networks, the root included.
    static constexpr int maxNesting = 128;

    /// The child with the display (render) flag, or null.
    OP_Node* getDisplayNodePtr() const;
    OP_Node* getRenderNodePtr() const;

    /// A child was cut off and is about to be destroyed; one of its flags changed. Both change this network.
    virtual void childDeleted(OP_Node* child);
    virtual void childFlagChange(OP_Node* child);
    /// Reaches the children whose indirect inputs stand for the input that changed, too.
    void propagateModification(OP_Node* by, OP_PropagateData& data) override;

    OP_Network* castToNetwork() override { return this; }

protected:
    friend class OP_Node;
    void addChild(std::unique_ptr<OP_Node> child);

    std::vector<std::unique_ptr<OP_Node>> myChildren;

private:
    std::string checkNewChild(const char* type, const char* name, OP_Operator*& op) const;
    std::unique_ptr<OP_Node> takeChild(OP_Node* child);
    void setOnlyFlag(OP_Node* child, bool OP_NodeFlags::*flag);

    std::map<std::string, OP_Node*, std::less<>> myByName;
};
