#include "host/geo/GU_RayCells.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace {

class Random {
public:
    float between(float low, float high) {
        myState = myState * 6364136223846793005u + 1442695040888963407u;
        return low + (high - low) * float(myState >> 40) * 0x1p-24f;
    }
    UT_BoundingBox box(const UT_Vector3& size, float most) {
        UT_Vector3 low, high;
        for (int k = 0; k < 3; ++k) {
            low[k] = size[k] * between(-1, 1);
            high[k] = low[k] + size[k] * between(0, most);
        }
        return UT_BoundingBox(low, high);
    }

private:
    uint64_t myState = 7;
};

bool meet(const UT_BoundingBox& a, const UT_BoundingBox& b) {
    for (int k = 0; k < 3; ++k)
        if (a.vmin()[k] > b.vmax()[k] || a.vmax()[k] < b.vmin()[k]) return false;
    return true;
}

struct Case {
    const char* name;
    UT_Vector3 size;
    int least; ///< how many of 2000 questions are found to be clear
};

} // namespace

// Whoever asks about a place next to a box, or inside one, is never told that it is clear.
TEST(GU_RayCells, ClearIsClear) {
    const Case cases[] = {{"cube", {1, 1, 1}, 1000},
                          {"flat in x", {0, 3, 2}, 500},
                          {"flat in y", {2, 0, 3}, 500},
                          {"flat in z", {2, 3, 0}, 500},
                          {"long", {1, 1e6f, 1e-3f}, 1000},
                          {"huge", {1e38f, 1e37f, 1e38f}, 0},
                          {"tiny", {1e-30f, 1e-30f, 1e-30f}, 1000},
                          {"point", {0, 0, 0}, 0}};
    for (const Case& c : cases) {
        Random random;
        std::vector<UT_BoundingBox> boxes;
        UT_BoundingBox all;
        all.initBounds();
        for (int i = 0; i < 40; ++i) {
            boxes.push_back(random.box(c.size, 0.1f));
            all.enlargeBounds(boxes.back());
        }
        GU_RayCells cells;
        cells.build(boxes, all);
        int clear = 0;
        for (int i = 0; i < 2000; ++i) {
            UT_BoundingBox asked = random.box(c.size, 0.05f);
            if (i % 4 == 0) { // just touches one of them
                const UT_BoundingBox& at = boxes[size_t(i / 4) % boxes.size()];
                asked = UT_BoundingBox(at.vmax(), at.vmax() + c.size * 0.01f);
            }
            if (!cells.isClear(asked.vmin(), asked.vmax())) continue;
            ++clear;
            for (const UT_BoundingBox& box : boxes) ASSERT_FALSE(meet(asked, box)) << c.name;
        }
        EXPECT_GE(clear, c.least) << c.name;
    }
}

// Nothing known is never clear: no boxes, and so many large ones that marking them would take long.
TEST(GU_RayCells, GivesUpAtGreatCost) {
    GU_RayCells cells;
    EXPECT_FALSE(cells.isClear({0, 0, 0}, {1, 1, 1}));
    const UT_BoundingBox all({0, 0, 0}, {1, 1, 1}), corner({0, 0, 0}, {0.1f, 0.1f, 0.1f});
    cells.build({all, corner}, all);
    EXPECT_FALSE(cells.isClear({0.5f, 0.5f, 0.5f}, {0.5f, 0.5f, 0.5f}));
    cells.build({corner}, all);
    EXPECT_TRUE(cells.isClear({0.5f, 0.5f, 0.5f}, {0.5f, 0.5f, 0.5f}));
    cells.build(std::vector<UT_BoundingBox>(1000, UT_BoundingBox({0, 0, 0}, {0.9f, 0.9f, 0.9f})), all);
    EXPECT_FALSE(cells.isClear({0.95f, 0.95f, 0.95f}, {0.95f, 0.95f, 0.95f}));
}
