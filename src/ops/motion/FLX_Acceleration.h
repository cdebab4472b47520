#pragma once

#include "ops/motion/FLX_DirectSet.h"

/// Sets the acceleration. Its guides show it, also in a cook for guides, which writes nothing.
class FLX_Acceleration final : public FLX_DirectSet {
public:
    FLX_Acceleration(OP_Network* parent, const char* name, OP_Operator* op);

    // clang-format off
    FLX_ApplyMotion APPLYMOTION {this};
    FLX_VectorParms ACCEL       {this, {"acceltype", "Acceleration Type"}, {"accelv", "vector3($AX, $AY, $AZ)"},
                                 {"a", "Acceleration"}, {"$AX", "$AY", "$AZ"}};
    // clang-format on

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
};
