#pragma once

#include "core/FLX_Node.h"

/// Joins the particles of all its inputs; the same particles twice are an error.
class FLX_Collect final : public FLX_Node {
public:
    using FLX_Node::FLX_Node;
    FLX_PassUse passUse() const override { return FLX_PassUse::Queued; }

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
};
