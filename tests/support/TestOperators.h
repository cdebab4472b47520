#pragma once

#include "vars/FLX_ParticleCook.h"

/// An operator whose loop waits, in as many ways as there are; `deed` chooses.
class TestMover final : public FLX_ParticleOperator {
public:
    enum Deed { Move, Kill, Suppress, Swirl, JoinGroup, Note, Count };

    TestMover(OP_Network* parent, const char* name, OP_Operator* op)
        : FLX_ParticleOperator(parent, name, op) {}

    Int DEED{this, {"deed", "Deed"}, 0.0};
    Float AMOUNT{this, {"amount", "Amount"}, 1};
    Toggle REFERS{this, {"refers", "Takes nothing over"}, false};

    FLX_PassUse passUse() const override {
        const int deed = DEED(0);
        return deed == JoinGroup || deed == Note ? FLX_PassUse::Closing : FLX_PassUse::Queued;
    }
    bool isRefInput(unsigned) const override { return REFERS(); }

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
    void addAttrib(void* context) override;
};

/// One that asks the context for what only the particles can tell, and lets its own loop wait.
class TestAsker final : public FLX_ParticleOperator {
public:
    enum Question { HowMany, Box, First, Count };

    TestAsker(OP_Network* parent, const char* name, OP_Operator* op)
        : FLX_ParticleOperator(parent, name, op) {}

    Int QUESTION{this, {"question", "Question"}, 0.0};

    FLX_PassUse passUse() const override { return FLX_PassUse::Queued; }

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;

private:
    float answer(FLX_ContextData& context);
};

/// One that knows nothing of loops that wait.
class TestHandler final : public FLX_Node {
public:
    enum Deed { Gather, AddAttribute, AddVariable, Fail, Raise, Stick, Bear, Count };

    TestHandler(OP_Network* parent, const char* name, OP_Operator* op)
        : FLX_Node(parent, name, op) {}

    Int DEED{this, {"deed", "Deed"}, 0.0};
    Float FROM{this, {"from", "First moment"}, 0};
    Float UNTIL{this, {"until", "Last moment"}, 100};
    Text PATH{this, {"path", "Geometry"}, ""};

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
    void addAttrib(void* context) override;

private:
    template <class Work> void forEachParticle(const Work& work);
    void act(FLX_ContextData& context, float t);
    void gather(FLX_ContextData& context);
    void stick(FLX_ContextData& context);
    void bear(FLX_ContextData& context);
};
