#pragma once

#include <array>

#include "core/FLX_Pass.h"
#include "host/geo/GU_RayIntersect.h"
#include "ops/collision/FLX_Sweep.h"

/// Sorts out the particles whose last move was nowhere near a surface, which are most: by the box around everything,
/// and by the coarse cells that hold something.
class FLX_MoveSieve {
public:
    /// Lets everything through.
    FLX_MoveSieve() = default;
    /// `still` is what the geometry is tested against when it stands still, else null.
    FLX_MoveSieve(const FLX_SweepRules& rules, const UT_BoundingBox& reach, const GU_RayIntersect* still);

    /// What it lets through comes near something, not only into the box around everything.
    bool knowsCells() const { return mySorts && myStill; }
    /// True when the move met nothing for sure, not even within the tolerance.
    bool passesBy(const GEO_Point* point, float tolerance) const;
    /// Writes the numbers, in order, of those particles of the chunk that may have met something; returns how many.
    /// Left out are those whose state has one of the bits of `skip`, those without a life, and those that pass by.
    size_t pick(const FLX_Chunk& chunk, int skip, float tolerance, uint8_t (&picked)[FLX_Chunk::SIZE]) const;

private:
    struct Stretch { ///< around a move
        GU_Float4 low, high;
    };
    using Stretches = std::array<Stretch, FLX_Chunk::SIZE>;
    size_t pickInside(const FLX_Chunk& chunk, int skip, float tolerance, uint8_t (&picked)[FLX_Chunk::SIZE],
                      Stretches& stretches) const;
    Stretch stretchOf(const GEO_Point* point, float tolerance) const;
    float marginOf(const GEO_Point* point, float tolerance) const;
    bool isOutside(const Stretch& stretch) const;
    bool isClear(const Stretch& stretch) const;

    bool mySorts = false;
    bool myNormalSteps = false;
    FLX_CoreOffsets myAt;
    int myPreviousNormal = -1;
    float myBackStep = 0, myNormalStep = 0;
    alignas(16) float myLow[4] = {0, 0, 0, 0};
    alignas(16) float myHigh[4] = {0, 0, 0, 0};
    const GU_RayIntersect* myStill = nullptr;
};
