#pragma once

#include "ops/motion/FLX_AxisOperator.h"

/// Sets the angular velocity: an axis, and a speed in degrees per second.
class FLX_AngVelocity final : public FLX_AxisOperator {
public:
    FLX_AngVelocity(OP_Network* parent, const char* name, OP_Operator* op)
        : FLX_AxisOperator(parent, name, op, "vector3($WX, $WY, $WZ)", {"$WX", "$WY", "$WZ"}) {}

    // clang-format off
    Float   ROTVEL {this, {"rotvel", "Velocity"}, "$WA"};
    Button  INIT   {this, INIT_NAME, &initAxes, &axesMenu};
    // clang-format on

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
    void addAttrib(void* context) override;
};
