#pragma once

#include "ops/motion/FLX_DirectSet.h"

/// Turns the velocity of moving particles about an axis, by degrees per second.
class FLX_Turn final : public FLX_DirectSet {
public:
    using FLX_DirectSet::FLX_DirectSet;

    // clang-format off
    FLX_VectorParms AXIS      {this, {"turntype", "Axis Type"}, {"turnv", "vector3(0, 0, 1)"}, {"turn", "Axis"}, {0, 0, 1}};
    Float           TURNSPEED {this, {"turnspeed", "Turn Speed"}, 45};
    // clang-format on

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
};
