#pragma once

#include "vars/FLX_ParticlePass.h"

/// The loop of a formula that takes a field of noise (see FLX_NoiseParms::field) where nothing varies: the noise of all
/// the particles of a chunk is found at once, then the formula is called for one after the other.
template <class Formula, class Field, class... Values> class FLX_NoisePass final : public FLX_Pass {
public:
    FLX_NoisePass(FLX_Skip skip, const Formula& formula, const Field& field, const Values&... values)
        : mySkip(skip)
        , myFormula(formula)
        , myField(field)
        , myValues(values...) {
        setMayBeFollowed(true);
    }

    void run(const FLX_Chunk& chunk) override {
        Block block;
        chunk.forEach([skip = mySkip, field = myField, &block](size_t, GEO_Point* p) {
            const UT_Vector3 place = field.place(p);
            block.points[block.count] = p;
            for (int i = 0; i < 3; ++i) block.noise[i][block.count] = place[i];
            block.count += !skip(p);
        });
        if (block.count) apply(block);
        this->runFollowing(chunk);
    }

private:
    /// The particles that are not left out; places at first, then the noise there.
    struct Block {
        size_t count = 0;
        GEO_Point* points[FLX_Chunk::SIZE];
        float noise[3][FLX_Chunk::SIZE];
    };

    void apply(Block& block) {
        const auto& [x, y, z] = block.noise;
        myField.replacePlaces(block.noise[0], block.noise[1], block.noise[2], int(block.count));
        for (size_t k = 0; k < block.count; ++k) {
            const auto found = [at = UT_Vector3(x[k], y[k], z[k])](const GEO_Point*) { return at; };
            std::apply([&](const auto&... value) { myFormula(block.points[k], found, value...); }, myValues);
        }
    }

    FLX_Skip mySkip;
    Formula myFormula;
    Field myField;
    std::tuple<Values...> myValues;
};
