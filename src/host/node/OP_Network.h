#pragma once

#include <memory>
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
    OP_Node* findChild(const std::string& name) const;

    /// The child with the display (render) flag, or null.
    OP_Node* getDisplayNodePtr() const;
    OP_Node* getRenderNodePtr() const;

    virtual void childDeleted(OP_Node* child);
    virtual void childFlagChange(OP_Node* child);
    void propagateModification(OP_Node* by, OP_EventType event, int index, OP_PropagateData& data) override;

    OP_Network* castToNetwork() override { return this; }

protected:
    friend class OP_Node;
    std::vector<std::unique_ptr<OP_Node>> myChildren;
};
