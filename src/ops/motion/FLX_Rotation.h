#pragma once

#include "ops/motion/FLX_AxisOperator.h"

/// Sets the rotation: an axis and an angle in degrees.
class FLX_Rotation final : public FLX_AxisOperator {
public:
    FLX_Rotation(OP_Network* parent, const char* name, OP_Operator* op)
        : FLX_AxisOperator(parent, name, op, "vector3($ROTX, $ROTY, $ROTZ)", {"$ROTX", "$ROTY", "$ROTZ"}) {}

    // clang-format off
    Float   ROTANGLE {this, {"rotangle", "Angle"}, "$ROTA"};
    Button  INIT     {this, INIT_NAME, &initAxes, &axesMenu};
    // clang-format on

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
    void addAttrib(void* context) override { addRotAttrib(static_cast<FLX_ContextData*>(context)); }
};
