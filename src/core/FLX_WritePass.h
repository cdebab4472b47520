#pragma once

#include <optional>

#include "core/FLX_Pass.h"
#include "core/FLX_Writing.h"

/// The loop of an operator that puts constants into fields, and of those behind it that do the same: a particle is
/// fetched once for all of them, and its state asked once.
class FLX_WritePass final : public FLX_Pass {
public:
    explicit FLX_WritePass(FLX_Writing writing)
        : myWriting(std::move(writing)) {}

    void run(const FLX_Chunk& chunk) override {
        if (!myProgram) myProgram.emplace(myWriting);
        chunk.forEach([writing = &myWriting, bits = myWriting.skippedBits(), state = myWriting.stateOffset(),
                       write = myProgram->runner()](size_t, GEO_Point* p) {
            if (*p->castAttribData<int>(state) & bits)
                writing->apply(p);
            else
                write(p);
        });
    }
    const FLX_Writing* writing() const override { return &myWriting; }
    bool takeOver(const FLX_Pass& next) override {
        myProgram.reset();
        return next.writing() && myWriting.append(*next.writing());
    }

private:
    FLX_Writing myWriting;
    std::optional<FLX_WriteProgram> myProgram; ///< from the first run on
};
