#pragma once

#include "ops/motion/FLX_DirectSet.h"

/// Sets the up vector.
class FLX_UpVector final : public FLX_DirectSet {
public:
    using FLX_DirectSet::FLX_DirectSet;

    // clang-format off
    FLX_ApplyMotion APPLYMOTION {this};
    FLX_VectorParms VALUE       {this, {"uptype", "Up Vector Type"}, {"upv", "vector3($UPX, $UPY, $UPZ)"},
                                 {"up", "Up Vector"}, {"$UPX", "$UPY", "$UPZ"}};
    // clang-format on

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
    void addAttrib(void* context) override { addUpAttrib(static_cast<FLX_ContextData*>(context)); }
};
