#pragma once

#include <algorithm>

#include "host/geo/GU_RayBatch.h"
#include "ops/collision/FLX_MoveSieve.h"
#include "vars/FLX_ParticlePass.h"

/// The loop of a collision where nothing varies: finds out first which particles of the chunk may have met something,
/// then lets the formula prepare and sweep these. What a sweep changes of another particle (one that stands in a list
/// twice) is only that this one, too, may have moved; whoever passes by has not.
template <class Formula, class Tolerance, class... Values> class FLX_CollisionPass final : public FLX_Pass {
public:
    FLX_CollisionPass(FLX_Skip skip, const Formula& formula, const Tolerance& tolerance, const Values&... values)
        : mySkip(skip)
        , myFormula(formula)
        , myTolerance(tolerance)
        , myValues(values...) {
        setMayBeFollowed(true);
    }

    void run(const FLX_Chunk& chunk) override {
        uint8_t picked[FLX_Chunk::SIZE];
        const size_t count = myFormula.sieve().pick(chunk, mySkip.bits, myTolerance(), picked);
        for (size_t i = 0; i < count; i += GU_RayBatch::MOST)
            sweep(chunk, picked + i, std::min(count - i, GU_RayBatch::MOST));
        this->runFollowing(chunk);
    }

private:
    void sweep(const FLX_Chunk& chunk, const uint8_t* picked, size_t count) {
        GEO_Point* points[GU_RayBatch::MOST];
        for (size_t i = 0; i < count; ++i) points[i] = chunk.point(picked[i]);
        myFormula.prepare(points, count, myTolerance);
        for (size_t i = 0; i < count; ++i) {
            if (mySkip(points[i])) continue; // its other turn was before
            std::apply([&](const auto&... value) { myFormula.sweep(i, points[i], myTolerance, value...); }, myValues);
        }
    }

    FLX_Skip mySkip;
    Formula myFormula;
    Tolerance myTolerance;
    std::tuple<Values...> myValues;
};

/// The tolerance as such a formula takes it: handed on unevaluated; where it is constant, it brings the loop above.
class FLX_CollisionTolerance {
public:
    class Constant {
    public:
        template <class Formula, class... Values> using Pass = FLX_CollisionPass<Formula, Constant, Values...>;
        explicit Constant(float value)
            : myValue(value) {}
        float operator()() const { return myValue; }

    private:
        float myValue;
    };

    explicit FLX_CollisionTolerance(const FLX_Chosen<PRM_Float>& chosen)
        : myChosen(chosen) {}
    bool varies() const { return myChosen.varies(); }
    Constant constant() const { return Constant(myChosen.constant()); }
    /// What evaluates at its particle's turn.
    auto operator()() const {
        return [chosen = &myChosen] { return (*chosen)(); };
    }

private:
    FLX_Chosen<PRM_Float> myChosen;
};
