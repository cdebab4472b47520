#pragma once

#include "host/geo/GU_Detail.h"
#include "host/geo/GU_DetailHandle.h"
#include "host/node/OP_Network.h"
#include "host/node/PRM_Handle.h"

/// A geometry node: cooks a detail from its inputs and parameters and keeps it until something it read changes. A node
/// whose cook read the time is cooked again at another time; one whose expressions call impure functions is cooked at
/// every request. The detail keeps its data id; its change count rises with every cook and with nothing else.
class SOP_Node : public OP_Network {
public:
    SOP_Node(OP_Network* parent, const char* name, OP_Operator* op);
    ~SOP_Node() override;

    /// The cooked geometry when it is valid for the context; null when the node has to cook first.
    GU_DetailHandle getCookedData(OP_Context& context);
    /// Cooks when needed; null when nothing could be cooked.
    GU_Detail* cookedDetail(OP_Context& context);

    const char* getOpType() const override { return "SOP"; }
    OP_OpTypeId getOpTypeID() const override { return SOP_OPTYPE_ID; }
    const char* getChildType() const override { return "SOP"; }
    OP_OpTypeId getChildTypeID() const override { return SOP_OPTYPE_ID; }
    SOP_Node* castToSOPNode() override { return this; }

protected:
    /// Fills `gdp` (empty on entry) at the context's time. When it fails, the detail is emptied.
    virtual UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) = 0;
    /// The cooked detail of an input, or null. Its errors have been posted.
    const GU_Detail* inputDetail(int i, OP_Context& context);

    UT_ErrorSeverity cookMe(OP_Context& context) override;
    UT_ErrorSeverity bypassMe(OP_Context& context, int& copiedInput) override;

private:
    void markFresh(const OP_Context& context);

    GU_DetailHandle myOwn;    // what this node fills, one detail for its life
    GU_DetailHandle myHandle; // the result: its own, or with bypass its input's
    // Cooked and not asked for since: served once even when the node has to cook at every request.
    bool myFresh = false;
    float myFreshTime = 0;
};
