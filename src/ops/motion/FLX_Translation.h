#pragma once

#include "ops/motion/FLX_DirectSet.h"

/// Sets the translation by which instances are moved off the particle.
class FLX_Translation final : public FLX_DirectSet {
public:
    using FLX_DirectSet::FLX_DirectSet;

    // clang-format off
    FLX_ApplyMotion APPLYMOTION {this};
    FLX_VectorParms VALUE       {this, {"transtype", "Translation Type"}, {"transv", "vector3($TRANSX, $TRANSY, $TRANSZ)"},
                                 {"trans", "Translation"}, {"$TRANSX", "$TRANSY", "$TRANSZ"}};
    // clang-format on

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
    void addAttrib(void* context) override { addTransAttrib(static_cast<FLX_ContextData*>(context)); }
};
