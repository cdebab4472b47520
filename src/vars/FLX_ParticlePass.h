#pragma once

#include <tuple>

#include "core/FLX_Pass.h"
#include "vars/FLX_Feed.h"
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

/// The general loop. What may be evaluated in columns is, before the formula runs on any particle of the block; the
/// rest is evaluated for each particle, from left to right, before the formula is called.
template <class Formula, class... Sources> class FLX_VaryingPass final : public FLX_Pass {
public:
    FLX_VaryingPass(FLX_LocalVar& op, FLX_Skip skip, bool mayUseColumns, const Formula& formula,
                    const Sources&... sources)
        : myOperator(op)
        , mySkip(skip)
        , myFormula(formula)
        , myColumns(op, mayUseColumns)
        , myFeeds{FLX_Feed<Sources>(sources, myColumns)...} {
        myColumns.finish();
        const bool evaluates = std::apply([](const auto&... feed) { return (feed.isEvaluated() || ...); }, myFeeds);
        setSelfContained(!evaluates);
        setCountsParticles(myColumns.countsParticles());
    }

    void run(const FLX_Chunk& chunk) override {
        if (myColumns.empty()) return runInTurn(chunk, nullptr);
        for (FLX_Chunk rest = chunk; rest.count > 0;) {
            const FLX_ColumnBlock block(myColumns, rest);
            const FLX_Chunk part = rest.first(block.count());
            block.warnOfNaN([&](size_t k) { return mySkip(part.point(k)); });
            if (isSelfContained())
                runOnColumns(part, block);
            else
                runInTurn(part, &block);
            rest = rest.from(block.count());
        }
    }

private:
    void runOnColumns(const FLX_Chunk& chunk, const FLX_ColumnBlock& block) {
        const auto values = std::apply([&](const auto&... feed) { return std::tuple{feed.values(block)...}; }, myFeeds);
        chunk.forEach([skip = mySkip, formula = myFormula, values](size_t k, GEO_Point* p) {
            if (!skip(p)) std::apply([&](const auto&... value) { formula(p, value(k)...); }, values);
        });
    }

    void runInTurn(const FLX_Chunk& chunk, const FLX_ColumnBlock* block) {
        chunk.forEach([this, block, first = chunk.iteration](size_t k, GEO_Point* p) {
            myOperator.setCurPoint(p);
            myOperator.setIteration(first + int(k));
            if (!mySkip(p)) visit(p, k, block);
        });
    }

    void visit(GEO_Point* p, size_t k, const FLX_ColumnBlock* block) {
        std::apply(
            [&](const auto&... feed) {
                // Braces fix the order of the evaluations.
                const std::tuple values{feed.value(block, k)...};
                std::apply([&](const auto&... value) { myFormula(p, value...); }, values);
            },
            myFeeds);
    }

    FLX_LocalVar& myOperator;
    FLX_Skip mySkip;
    Formula myFormula;
    FLX_ParticleColumns myColumns;
    std::tuple<FLX_Feed<Sources>...> myFeeds;
};
