#pragma once

#include "ops/motion/FLX_DirectSet.h"

/// Sets the limits between which the step keeps the speed of every particle, whatever its state; -1 is no limit.
class FLX_SpeedLimit final : public FLX_DirectSet {
public:
    using FLX_DirectSet::FLX_DirectSet;

    Floats<2> SPEEDLIMIT{this, {"speedlimit", "Speed Limit"}, {"$SPEEDMIN", "$SPEEDMAX"}};

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
    void addAttrib(void* context) override { addSpeedLimitAttrib(static_cast<FLX_ContextData*>(context)); }
};
