#pragma once

#include <tuple>

#include "core/FLX_Pass.h"
#include "core/FLX_WritePass.h"
#include "vars/FLX_Feed.h"
#include "vars/FLX_LocalVar.h"

/// Which particles a pass leaves out: those whose state has one of the bits.
struct FLX_Skip {
    int stateOffset;
    int bits;

    FLX_Bytes state() const { return {stateOffset, int(sizeof(int))}; }
    bool operator()(const GEO_Point* p) const { return (*p->castAttribData<int>(stateOffset) & bits) != 0; }
};

/// A formula that adds its argument to a vector of the particle. Formulas that have a `write` only put constants into
/// fields where nothing varies; their loops become one with their neighbours' (see FLX_WritePass). Those that have a
/// `target` read and write nothing else of the particle, so that such constants may go before them.
struct FLX_AddVector {
    int offset;

    FLX_Bytes target() const { return {offset, int(sizeof(UT_Vector3))}; }

    void operator()(GEO_Point* p, const UT_Vector3& v) const { *p->castAttribData<UT_Vector3>(offset) += v; }
    FLX_Writing write(const FLX_Skip& skip, const UT_Vector3& v) const {
        return {skip.stateOffset, {{skip.bits, offset, 3, false, {v.x(), v.y(), v.z(), 0}}}};
    }
};

/// One that sets floats which lie side by side: those of a number, a vector or a quaternion, or so many numbers.
struct FLX_SetFloats {
    int offset;

    /// At most.
    FLX_Bytes target() const { return {offset, int(sizeof FLX_Write::values)}; }

    template <class... Values> void operator()(GEO_Point* p, const Values&... values) const {
        char* to = p->castAttribData<char>(offset);
        (..., (__builtin_memcpy(to, &values, sizeof values), to += sizeof values));
    }
    template <class... Values> FLX_Writing write(const FLX_Skip& skip, const Values&... values) const {
        return {skip.stateOffset, {one(skip, values...)}};
    }
    template <class... Values> FLX_Write one(const FLX_Skip& skip, const Values&... values) const {
        constexpr size_t BYTES = (sizeof values + ...);
        static_assert(BYTES <= sizeof FLX_Write::values && BYTES % sizeof(float) == 0);
        FLX_Write one{skip.bits, offset, int(BYTES / sizeof(float)), true, {}};
        char* to = reinterpret_cast<char*>(one.values);
        (..., (__builtin_memcpy(to, &values, sizeof values), to += sizeof values));
        return one;
    }
};

/// The loop in which nothing varies: compiled for plain values.
template <class Formula, class... Values> class FLX_ConstantPass final : public FLX_Pass {
public:
    FLX_ConstantPass(FLX_Skip skip, const Formula& formula, const Values&... values)
        : mySkip(skip)
        , myFormula(formula)
        , myValues(values...) {
        setMayBeFollowed(true);
    }

    void run(const FLX_Chunk& chunk) override {
        chunk.forEach(
            [skip = mySkip, formula = myFormula, values = myValues, follow = follower()](size_t, GEO_Point* p) {
                if (!skip(p)) std::apply([&](const auto&... value) { formula(p, value...); }, values);
                follow(p);
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
        setMayBeFollowed(!evaluates && myColumns.evaluates());
    }

    void run(const FLX_Chunk& chunk) override {
        if (!myColumns.evaluates()) return runInTurn(chunk);
        FLX_Chunk rest = chunk;
        rest.lookForRow();
        while (rest.count > 0) {
            const FLX_Chunk part = myColumns.evaluate(rest);
            myColumns.warnOfNaN(part.count, [&](size_t k) { return mySkip(part.point(k)); });
            if (isSelfContained())
                runOnColumns(part);
            else
                runInTurn(part);
            rest = rest.from(part.count);
        }
    }

    bool isApartFrom(const FLX_Writing& writing) const override {
        if constexpr (requires { myFormula.target(); }) {
            const FLX_Bytes target = myFormula.target();
            return isSelfContained() && myColumns.evaluates() && !writing.touches(target) &&
                   !writing.touches(mySkip.state()) && !target.overlaps(writing.state()) && !myColumns.reads(writing) &&
                   !writing.meddlesWith(following()) && !following().meddlesWith(writing);
        }
        return false;
    }

private:
    void runOnColumns(const FLX_Chunk& chunk) {
        const auto values =
            std::apply([&](const auto&... feed) { return std::tuple{feed.values(myColumns)...}; }, myFeeds);
        const auto loop = [&](const auto& follower) {
            chunk.forEach([skip = mySkip, formula = myFormula, values, follow = follower](size_t k, GEO_Point* p) {
                if (!skip(p)) [[likely]]
                    std::apply([&](const auto&... value) { formula(p, value(k)...); }, values);
                follow(p);
            });
        };
        if (following().empty())
            loop([](GEO_Point*) {});
        else
            loop(follower());
    }

    void runInTurn(const FLX_Chunk& chunk) {
        chunk.forEach([this, first = chunk.iteration](size_t k, GEO_Point* p) {
            myOperator.setCurPoint(p);
            myOperator.setIteration(first + int(k));
            if (!mySkip(p)) visit(p, k);
        });
    }

    void visit(GEO_Point* p, size_t k) {
        std::apply(
            [&](const auto&... feed) {
                // Braces fix the order of the evaluations.
                const std::tuple values{feed.value(myColumns, k)...};
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
