#pragma once

#include "core/FLX_Node.h"

/// A network in a node: hands on what its render child makes, or without one its first input.
class FLX_SubNet : public FLX_Node {
public:
    using FLX_Node::FLX_Node;

    // clang-format off
    Text LABEL1{this, PRMinputLabelNames[0], PRMinputLabelDefaults[0]};
    Text LABEL2{this, PRMinputLabelNames[1], PRMinputLabelDefaults[1]};
    Text LABEL3{this, PRMinputLabelNames[2], PRMinputLabelDefaults[2]};
    Text LABEL4{this, PRMinputLabelNames[3], PRMinputLabelDefaults[3]};
    // clang-format on

    bool isSubNetwork(bool) const override { return true; }
    FLX_PassUse passUse() const override { return FLX_PassUse::Queued; }
    UT_String inputLabel(int i) const override;
    void childDeleted(OP_Node* child) override;
    void childFlagChange(OP_Node* child) override;

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
    void getOperationInfo(UT_String& info, OP_Context& context) override;

private:
    FLX_Node* outputNode() const;
    void passOn(FLX_Node& output, OP_Context& context);
    void actAsNull(OP_Context& context);
};

/// A sub-network that a script definition describes.
class FLX_SubScript final : public FLX_SubNet {
public:
    using FLX_SubNet::FLX_SubNet;

    static class OP_ScriptOperator* createScriptOperator(const class OP_OTLDefinition& definition);
    /// As nodes are labelled by default: the labels of a script are its own business.
    UT_String inputLabel(int i) const override {
        return OP_Node::inputLabel(i); // NOLINT(bugprone-parent-virtual-call): past the sub-network on purpose
    }
};
