#pragma once

#include <memory>

#include "host/node/CH_Manager.h"
#include "host/ut/UT_Interrupt.h"
#include "vars/FLX_ParticlePass.h"

/// One cook of an operator that works on particles: what `cookParticles` found, handed to the operator's own steps.
class FLX_ParticleCook {
public:
    FLX_ParticleCook(FLX_LocalVar& op, FLX_ContextData& context, const GB_PointGroup* group, float t, int thread,
                     bool showGuide)
        : myOperator(op)
        , myContext(context)
        , myGroup(group)
        , myTime(t)
        , myThread(thread)
        , myShowGuide(showGuide) {}

    FLX_ContextData& context() const { return myContext; }
    GU_Detail& detail() const { return *myContext.getDetail(); }
    /// The source group; null for all particles of the operator's list.
    const GB_PointGroup* group() const { return myGroup; }
    float time() const { return myTime; }
    int thread() const { return myThread; }
    bool showGuide() const { return myShowGuide; }
    bool guideOnly() const { return myContext.isGuideOnly(); }

    /// Tests once whether a parameter depends on particle variables; a constant one is evaluated now.
    FLX_Chosen<PRM_Float> choose(const PRM_Float& p) const { return {p, myTime, depends(p)}; }
    FLX_Chosen<PRM_Int> choose(const PRM_Int& p) const { return {p, myTime, depends(p)}; }
    /// One component, which must outlive what is returned.
    FLX_Chosen<PRM_FloatComponent> choose(const PRM_FloatComponent& p) const { return {p, myTime, depends(p)}; }
    FLX_Chosen<PRM_FloatComponent> choose(PRM_FloatComponent&&) const = delete;
    FLX_ChosenVector choose(const PRM_Floats<3>& p) const {
        FLX_ChosenVector chosen(p, myTime);
        for (int i = 0; i < 3; ++i) chosen.decide(i, depends(p[i]));
        return chosen;
    }

    /// Calls formula(point, values...) for every particle whose state has none of the bits in `skip`, in order. The
    /// values come from `sources` (what `choose` returned, or `late` of it), evaluated from left to right before the
    /// call; for a skipped particle nothing is evaluated. When nothing varies the loop is compiled for plain values in
    /// registers. The formula and the sources are copied: capture by value.
    template <class Formula, class... Sources> void each(int skip, Formula&& formula, const Sources&... sources) const {
        loop(skip, true, formula, sources...);
    }
    /// The same for a formula that writes what another particle's expressions read: each value is evaluated at its
    /// particle's turn, when the formula has been through with the particles before.
    template <class Formula, class... Sources>
    void eachInTurn(int skip, Formula&& formula, const Sources&... sources) const {
        loop(skip, false, formula, sources...);
    }

private:
    bool depends(const FLX_ParmRef& parm) const {
        return myOperator.isVarDependent(myContext.peekDetail(), parm, myTime, myThread) != 0;
    }
    template <class Formula, class... Sources>
    void loop(int skip, bool mayUseColumns, const Formula& formula, const Sources&... sources) const;
    // A first value may bring a loop of its own, which works something out for many particles at once.
    template <class Formula, class First, class... Values>
    requires requires { typename First::template Pass<Formula, Values...>; }
    static auto constantPass(FLX_Skip skip, const Formula& formula, const First& first, const Values&... values) {
        return std::make_unique<typename First::template Pass<Formula, Values...>>(skip, formula, first, values...);
    }
    template <class Formula, class... Values>
    static auto constantPass(FLX_Skip skip, const Formula& formula, const Values&... values) {
        if constexpr (requires { formula.write(skip, values...); })
            return std::make_unique<FLX_WritePass>(formula.write(skip, values...));
        else
            return std::make_unique<FLX_ConstantPass<Formula, Values...>>(skip, formula, values...);
    }
    /// Null when running this pass between the chunks of other operators' passes gives the same, and the cook goes that
    /// way: the operator says so, the pass is self-contained, there is no source group, no primitive stands in the list
    /// twice, and no guide is drawn. Else the reason in a word or two.
    const char* whyNotQueued(const FLX_Pass& pass) const;
    void run(std::unique_ptr<FLX_Pass> pass) const;
    void enqueue(std::unique_ptr<FLX_Pass> pass) const;
    void runOnGroup(FLX_Pass& pass) const;
    void runOnList(FLX_Pass& pass) const;

    FLX_LocalVar& myOperator;
    FLX_ContextData& myContext;
    const GB_PointGroup* myGroup;
    float myTime;
    int myThread;
    bool myShowGuide;
};

template <class Formula, class... Sources>
void FLX_ParticleCook::loop(int skip, bool mayUseColumns, const Formula& formula, const Sources&... sources) const {
    const FLX_Skip skipped{myContext.getStateOffset(), skip};
    if ((sources.varies() || ...))
        run(std::make_unique<FLX_VaryingPass<Formula, Sources...>>(myOperator, skipped, mayUseColumns, formula,
                                                                   sources...));
    else
        run(constantPass(skipped, formula, flx_detail::constantArgument(sources)...));
}

/// The cook that every operator on particles shares: guide, inputs, particle list, activation, source group, variables;
/// then the operator's `steps(FLX_ParticleCook&)`; then clean-up, on every path. Declares the two parameters it reads.
class FLX_ParticleOperator : public FLX_LocalVar {
public:
    FLX_ParticleOperator(OP_Network* parent, const char* name, OP_Operator* op);

    Float ACTIVATE{this, PRMactivateName, 1, PRMunitRange, PRM_NoVariables};
    Text SOURCE{this, PRMsourceName, "", &FLX_Node::pointGroupMenu, PRM_StringKind::PointGroup};

protected:
    template <class Steps> UT_ErrorSeverity cookParticles(OP_Context& opContext, Steps&& steps) {
        return cookParticles(
            opContext, [] { return true; }, steps);
    }
    /// `begin()` is called once the particle list is built, before activation and source group; false ends the cook.
    template <class Begin, class Steps>
    UT_ErrorSeverity cookParticles(OP_Context& opContext, Begin&& begin, Steps&& steps) {
        FLX_ContextData* context = contextOf(opContext);
        const bool showGuide = doUpdateViewport(context) != 0;
        if (showGuide) context->appendGuide(this, guideHandle());
        if (lockInputs(opContext) >= UT_ERROR_ABORT) return error();
        setupDynamicVars(context);
        const GB_PointGroup* group = nullptr;
        if (buildParticleList(opContext, 0) < UT_ERROR_ABORT && begin() && select(opContext, *context, group)) {
            const CH_EvaluateScope scope(opContext.getThread(), opContext.getTime(), getCollection());
            FLX_ParticleCook cook(*this, *context, group, opContext.getTime(), opContext.getThread(), showGuide);
            steps(cook);
        }
        cleanupDynamicVars();
        unlockInputs();
        setCurPoint(nullptr);
        return error();
    }
    /// To be asked by the steps once everything is chosen, before the loop: false stops the cook.
    bool mayRun() { return !UTgetInterrupt()->opInterrupt(-1) && error() < UT_ERROR_ABORT; }

    /// Activation, source group and variables, once the particle list stands; false when there is nothing to do.
    virtual bool select(OP_Context& opContext, FLX_ContextData& context, const GB_PointGroup*& group);
    /// The source group, null when none is named; false when there is nothing to do: it does not parse (an error) or is
    /// empty.
    bool parseSource(FLX_ContextData& context, const GB_PointGroup*& group);
};
