#include "ops/collision/FLX_MoveSieve.h"

#include <algorithm>

static_assert(FLX_Chunk::SIZE <= 256, "numbers of picked particles are bytes");

// With "dist" nothing passes by: somebody wants to know how far away the surface is.
FLX_MoveSieve::FLX_MoveSieve(const FLX_SweepRules& rules, const UT_BoundingBox& reach, const GU_RayIntersect* still)
    : mySorts(rules.at.distance < 0)
    , myNormalSteps(rules.sides.hasNormalStep())
    , myAt(rules.at.core)
    , myPreviousNormal(rules.sides.previousNormal)
    , myBackStep(rules.sides.backStep)
    , myNormalStep(rules.sides.normalStep)
    , myStill(still) {
    for (int k = 0; k < 3; ++k) {
        myLow[k] = reach.vmin()[k];
        myHigh[k] = reach.vmax()[k];
    }
}

float FLX_MoveSieve::marginOf(const GEO_Point* point, float tolerance) const {
    const float margin = std::max(tolerance, myBackStep);
    if (!myNormalSteps) return margin;
    return std::max(margin, myNormalStep * point->castAttribData<UT_Vector3>(myPreviousNormal)->length());
}

inline FLX_MoveSieve::Stretch FLX_MoveSieve::stretchOf(const GEO_Point* point, float tolerance) const {
    const float* move = point->castAttribData<float>(myAt.backtrack);
    const GU_Float4 to = GU_Float4::loadAny(point->getPos().data());
    const GU_Float4 from = to - GU_Float4::loadAny(move) * GU_Float4::splat(move[3]);
    const GU_Float4 slack =
        GU_Float4::splat(marginOf(point, tolerance)) + GU_Float4::splat(1e-5f) * max(abs(from), abs(to));
    return {min(from, to) - slack, max(from, to) + slack};
}

inline bool FLX_MoveSieve::isOutside(const Stretch& s) const {
    return ((less(s.high, GU_Float4::load(myLow)) | less(GU_Float4::load(myHigh), s.low)) & 7) != 0;
}

inline bool FLX_MoveSieve::isClear(const Stretch& s) const { return myStill && myStill->isClear(s.low, s.high); }

bool FLX_MoveSieve::passesBy(const GEO_Point* point, float tolerance) const {
    if (!mySorts) return false;
    const Stretch stretch = stretchOf(point, tolerance);
    return isOutside(stretch) || isClear(stretch);
}

// Without branches on what the particles do, which a processor could not foresee.
size_t FLX_MoveSieve::pick(const FLX_Chunk& chunk, int skip, float tolerance,
                           uint8_t (&picked)[FLX_Chunk::SIZE]) const {
    Stretches stretches;
    const size_t inside = pickInside(chunk, skip, tolerance, picked, stretches);
    if (!knowsCells()) return inside;
    size_t count = 0;
    for (size_t i = 0; i < inside; ++i) {
        const uint8_t k = picked[i];
        picked[count] = k;
        count += !isClear(stretches[k]);
    }
    return count;
}

size_t FLX_MoveSieve::pickInside(const FLX_Chunk& chunk, int skip, float tolerance, uint8_t (&picked)[FLX_Chunk::SIZE],
                                 Stretches& stretches) const {
    bool isInside[FLX_Chunk::SIZE];
    chunk.forEach(
        [sieve = *this, skip, tolerance, flags = &isInside[0], to = &stretches[0]](size_t k, const GEO_Point* p) {
            const Stretch stretch = sieve.stretchOf(p, tolerance);
            const bool isOut = sieve.mySorts & sieve.isOutside(stretch);
            const bool isOff = (*p->castAttribData<int>(sieve.myAt.state) & skip) != 0;
            to[k] = stretch;
            flags[k] = !isOut & !isOff & (*p->castAttribData<float>(sieve.myAt.life) > 0);
        });
    size_t inside = 0;
    for (size_t k = 0; k < chunk.count; ++k) {
        picked[inside] = uint8_t(k);
        inside += isInside[k];
    }
    return inside;
}
