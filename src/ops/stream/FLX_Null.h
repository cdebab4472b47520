#pragma once

#include "core/FLX_Node.h"

/// Passes its input on; without one it owns a particle primitive of its own.
class FLX_Null final : public FLX_Node {
public:
    using FLX_Node::FLX_Node;
    FLX_PassUse passUse() const override { return FLX_PassUse::Queued; }

    /// The particle variables: a null's expressions accept the same names.
    static const OP_VariablePair myVariablePair;

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
};
