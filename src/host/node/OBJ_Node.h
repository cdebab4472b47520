#pragma once

#include "host/node/OP_Network.h"
#include "host/node/PRM_Handle.h"
#include "host/ut/UT_Matrix4.h"

/// An object: a transform in the scene, possibly following a parent object, and a network of its own.
/// The transform scales, rotates (x, y, z; degrees, right-handed), translates, about the pivot; row vectors.
class OBJ_Node : public OP_Network {
public:
    OBJ_Node(OP_Network* parent, const char* name, OP_Operator* op);

    Floats<3> T;
    Floats<3> R;
    Floats<3> S;
    Floats<3> P;
    Float SCALE;
    Text PARENT;

    /// Local transform times the parents' world transforms. A cycle of parents posts an error and stops there.
    UT_DMatrix4 getWorldTransform(OP_Context& context);
    /// Its inverse; identity with an error on this object when the transform is singular.
    UT_DMatrix4 getIWorldTransform(OP_Context& context);

    const char* getOpType() const override { return "OBJ"; }
    OP_OpTypeId getOpTypeID() const override { return OBJ_OPTYPE_ID; }
    OBJ_Node* castToOBJNode() override { return this; }

private:
    void noteParentReads(const OBJ_Node& parent);

protected:
    UT_ErrorSeverity cookMe(OP_Context&) override;
    UT_ErrorSeverity bypassMe(OP_Context&, int&) override;
};
