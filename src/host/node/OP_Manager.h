#pragma once

#include "host/node/OP_Network.h"

/// One of the director's fixed networks: all objects, all shaders.
class OP_Manager final : public OP_Network {
public:
    OP_Manager(OP_Network* parent, const char* name, const char* childFamily, OP_OpTypeId childId)
        : OP_Network(parent, name, nullptr)
        , myChildFamily(childFamily)
        , myChildId(childId) {}

    const char* getOpType() const override { return "MANAGER"; }
    OP_OpTypeId getOpTypeID() const override { return OP_ROOT_TYPE; }
    const char* getChildType() const override { return myChildFamily; }
    OP_OpTypeId getChildTypeID() const override { return myChildId; }
    OP_OperatorTable* childTable() const override;

protected:
    UT_ErrorSeverity cookMe(OP_Context&) override { return UT_ERROR_NONE; }
    UT_ErrorSeverity bypassMe(OP_Context&, int&) override { return UT_ERROR_NONE; }

private:
    const char* myChildFamily;
    OP_OpTypeId myChildId;
};
