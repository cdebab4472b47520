// Constants that operators in a row put into fields: one loop must leave what one operator after the other leaves.
#include <memory>

#include "core/FLX_WritePass.h"
#include "host/geo/GU_Detail.h"
#include "support/RandomNetwork.h"

namespace {

/// A few points with fields next to each other, between them one that is no float.
struct Records {
    GU_Detail detail;
    int offsets[5] = {}; // of 3, 2, 1, 4 floats and an int
    static constexpr int FLOATS[] = {3, 2, 1, 4};
    int state;

    Records() {
        const char* names[] = {"three", "two", "one", "four"};
        offsets[4] = detail.pointAttribs().append("number", 4, GB_ATTRIB_INT, nullptr);
        for (int i = 0; i < 4; ++i)
            offsets[i] = detail.pointAttribs().append(names[i], 4 * FLOATS[i], GB_ATTRIB_FLOAT, nullptr);
        state = detail.pointAttribs().append("state", 4, GB_ATTRIB_INT, nullptr);
        for (int k = 0; k < 8; ++k) {
            GEO_Point* p = detail.appendPoint();
            for (int i = 0; i < detail.pointAttribs().recordSize(); ++i) p->data()[i] = char(17 * k + 31 * i + 1);
            for (int i = 0; i < 4; ++i)
                for (int c = 0; c < FLOATS[i]; ++c)
                    p->castAttribData<float>(offsets[i])[c] = k == 3 ? -0.0f : 0.37f * float(k - 4) + float(c);
            *p->castAttribData<int>(offsets[4]) = 3; // as a float a denormal
            *p->castAttribData<int>(state) = k % 4;
        }
    }
    std::string bytes() const {
        std::string all;
        detail.points().forEach(
            nullptr, [&](const GEO_Point* p) { all.append(p->data(), size_t(detail.pointAttribs().recordSize())); });
        return all;
    }
    void run(FLX_Pass& pass) {
        std::vector<uint32_t> slots;
        detail.points().forEach(nullptr, [&](const GEO_Point* p) { slots.push_back(p->slot()); });
        pass.runAll(detail.points().access(), slots.data(), slots.size(), 0);
    }
};

FLX_Write randomWrite(const Records& records, Dice& dice) {
    const int field = dice.below(4);
    FLX_Write write{dice.below(4), records.offsets[field], Records::FLOATS[field], dice.chance(35), {}};
    for (int c = 0; c < write.floats; ++c) write.values[c] = dice.chance(20) ? -0.0f : float(dice.between(-3, 3));
    return write;
}

void writeAlone(Records& records, const FLX_Write& write) {
    records.detail.points().forEach(nullptr, [&](GEO_Point* p) {
        if (*p->castAttribData<int>(records.state) & write.skippedBits) return;
        float* to = p->castAttribData<float>(write.offset);
        for (int c = 0; c < write.floats; ++c) to[c] = (write.isSet ? 0 : to[c]) + write.values[c];
        for (int c = 0; c < write.floats; ++c)
            if (write.isSet) to[c] = write.values[c]; // -0, too
    });
}

} // namespace

TEST(Writing, OneLoopLeavesTheBitsOfOneAfterTheOther) {
    for (unsigned seed = 1; seed <= 300; ++seed) {
        Dice dice(seed);
        Records joined, apart;
        std::unique_ptr<FLX_WritePass> pass;
        for (int i = 1 + dice.below(7); i > 0; --i) {
            const FLX_Write write = randomWrite(joined, dice);
            writeAlone(apart, write);
            auto next = std::make_unique<FLX_WritePass>(FLX_Writing(joined.state, {write}));
            if (pass)
                ASSERT_TRUE(pass->takeOver(*next));
            else
                pass = std::move(next);
        }
        joined.run(*pass);
        ASSERT_EQ(joined.bytes(), apart.bytes()) << "seed " << seed;
    }
}

TEST(Writing, WhatTheStateTestReadsAndHalfFieldsStayApart) {
    Records records;
    const auto pass = [&](int offset, int floats) {
        return FLX_WritePass(FLX_Writing(records.state, {{1, offset, floats, true, {1, 2, 3, 4}}}));
    };
    const int three = records.offsets[0];
    EXPECT_TRUE(pass(three, 3).takeOver(pass(three, 3)));
    EXPECT_TRUE(pass(three, 3).takeOver(pass(records.offsets[1], 2)));
    EXPECT_FALSE(pass(three, 3).takeOver(pass(three, 1)));
    EXPECT_FALSE(pass(three, 3).takeOver(pass(three + 8, 1)));
    EXPECT_FALSE(pass(three, 3).takeOver(pass(records.state, 1)));
    EXPECT_FALSE(pass(records.state, 1).takeOver(pass(three, 3)));
}
