#pragma once

#include "host/node/OP_Network.h"
#include "host/node/PRM_Handle.h"

/// A shader node: what sprites name by path.
class SHOP_Node : public OP_Network {
public:
    SHOP_Node(OP_Network* parent, const char* name, OP_Operator* op);

    const char* getOpType() const override { return "SHOP"; }
    OP_OpTypeId getOpTypeID() const override { return SHOP_OPTYPE_ID; }
    const char* getChildType() const override { return "SHOP"; }
    OP_OpTypeId getChildTypeID() const override { return SHOP_OPTYPE_ID; }
    SHOP_Node* castToSHOPNode() override { return this; }

protected:
    UT_ErrorSeverity cookMe(OP_Context&) override;
    UT_ErrorSeverity bypassMe(OP_Context&, int&) override;
};
