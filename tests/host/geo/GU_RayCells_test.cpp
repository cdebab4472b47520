#include "RayModel.h"

#include "host/geo/GU_RayCells.h"

#include <gtest/gtest.h>

namespace {

UT_BoundingBox randomBox(RayRandom& random, const UT_Vector3& size, double most) {
    const UT_Vector3 low = size * random.vector(-1, 1);
    return UT_BoundingBox(low, low + size * random.vector(0, most));
}

bool meet(const UT_BoundingBox& a, const UT_BoundingBox& b) {
    for (int k = 0; k < 3; ++k)
        if (a.vmin()[k] > b.vmax()[k] || a.vmax()[k] < b.vmin()[k]) return false;
    return true;
}

} // namespace

// Whoever asks about a place next to a box, or inside one, is never told that it is clear.
TEST(GU_RayCells, ClearIsClear) {
    const struct {
        const char* name;
        UT_Vector3 size;
        int least; ///< how many of 2000 questions are found to be clear
    } cases[] = {{"cube", {1, 1, 1}, 1000},
                 {"flat in x", {0, 3, 2}, 500},
                 {"flat in y", {2, 0, 3}, 500},
                 {"flat in z", {2, 3, 0}, 500},
                 {"long", {1, 1e6f, 1e-3f}, 1000},
                 {"huge", {1e38f, 1e37f, 1e38f}, 0},
                 {"tiny", {1e-30f, 1e-30f, 1e-30f}, 1000},
                 {"point", {0, 0, 0}, 0}};
    for (const auto& c : cases) {
        RayRandom random(7);
        std::vector<UT_BoundingBox> boxes;
        UT_BoundingBox all;
        all.initBounds();
        for (int i = 0; i < 40; ++i) {
            boxes.push_back(randomBox(random, c.size, 0.1));
            all.enlargeBounds(boxes.back());
        }
        GU_RayCells cells;
        EXPECT_FALSE(cells.isClear({0, 0, 0}, {1, 1, 1})) << "nothing is known yet";
        cells.build(boxes, all);
        int clear = 0;
        for (int i = 0; i < 2000; ++i) {
            UT_BoundingBox asked = randomBox(random, c.size, 0.05);
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
