#pragma once

#include "core/FLX_Pass.h"

/// The loop of an operator that only puts constants into fields.
class FLX_WritePass final : public FLX_Pass {
public:
    explicit FLX_WritePass(FLX_Writing writing)
        : FLX_Pass(std::move(writing)) {}

    void run(const FLX_Chunk& chunk) override {
        withFollower(
            [&](const auto& follower) { chunk.forEach([follow = follower](size_t, GEO_Point* p) { follow(p); }); });
    }
    const FLX_Writing* writing() const override { return &following(); }
};
