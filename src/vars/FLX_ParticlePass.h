#pragma once

#include <tuple>

#include "core/FLX_Pass.h"
#include "vars/FLX_Chosen.h"
#include "vars/FLX_LocalVar.h"

/// Which particles a pass leaves out: those whose state has one of the bits.
struct FLX_Skip {
    int stateOffset;
    int bits;

    bool operator()(const GEO_Point* p) const { return (*p->castAttribData<int>(stateOffset) & bits) != 0; }
};

/// The loop in which nothing varies: compiled for plain values.
template <class Formula, class... Values> class FLX_ConstantPass final : public FLX_Pass {
public:
    FLX_ConstantPass(FLX_Skip skip, const Formula& formula, const Values&... values)
        : mySkip(skip)
        , myFormula(formula)
        , myValues(values...) {}

    void run(const FLX_Chunk& chunk) override {
        chunk.forEach([skip = mySkip, formula = myFormula, values = myValues](size_t, GEO_Point* p) {
            if (!skip(p)) std::apply([&](const auto&... value) { formula(p, value...); }, values);
        });
    }

private:
    FLX_Skip mySkip;
    Formula myFormula;
    std::tuple<Values...> myValues;
};

/// The general loop: what varies is evaluated for each particle, from left to right, before the formula is called.
template <class Formula, class... Sources> class FLX_VaryingPass final : public FLX_Pass {
public:
    FLX_VaryingPass(FLX_LocalVar& op, FLX_Skip skip, const Formula& formula, const Sources&... sources)
        : myOperator(op)
        , mySkip(skip)
        , myFormula(formula)
        , mySources(sources...) {
        setSelfContained(false);
    }

    void run(const FLX_Chunk& chunk) override {
        chunk.forEach([this, first = chunk.iteration](size_t k, GEO_Point* p) { visit(p, first + int(k)); });
    }

private:
    void visit(GEO_Point* p, int iteration) {
        myOperator.setCurPoint(p);
        myOperator.setIteration(iteration);
        if (mySkip(p)) return;
        std::apply(
            [&](const Sources&... sources) {
                // Braces fix the order of the evaluations.
                const std::tuple values{flx_detail::varyingArgument(sources)...};
                std::apply([&](const auto&... value) { myFormula(p, value...); }, values);
            },
            mySources);
    }

    FLX_LocalVar& myOperator;
    FLX_Skip mySkip;
    Formula myFormula;
    std::tuple<Sources...> mySources;
};
