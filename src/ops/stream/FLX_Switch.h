#pragma once

#include "core/FLX_Node.h"

/// Passes on the particles of one of its inputs.
class FLX_Switch final : public FLX_Node {
public:
    using FLX_Node::FLX_Node;
    FLX_PassUse passUse() const override { return FLX_PassUse::Queued; }

    Int INPUT{this,
              {"input", "Select Input"},
              0,
              PRM_Range{PRM_RangeKind::Slider, PRM_RangeKind::Slider, 0, 10},
              PRM_OncePerCook};

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
};
