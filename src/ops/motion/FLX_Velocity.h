#pragma once

#include "ops/motion/FLX_DirectSet.h"

/// Sets the velocity, and the attribute "speed" with it where the particles have one.
class FLX_Velocity final : public FLX_DirectSet {
public:
    using FLX_DirectSet::FLX_DirectSet;

    // clang-format off
    FLX_ApplyMotion APPLYMOTION {this};
    FLX_VectorParms VELOCITY    {this, {"veltype", "Velocity Type"}, {"velv", "vector3($VX, $VY, $VZ)"},
                                 {"v", "Velocity"}, {"$VX", "$VY", "$VZ"}};
    // clang-format on

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
};
