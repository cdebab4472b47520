#include "RayModel.h"

#include "host/geo/GU_RayIntersect.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>

namespace {

void moveAll(GU_Detail& detail, const UT_Vector3& by) {
    for (size_t i = 0; i < detail.points().entries(); ++i) {
        GEO_Point* point = detail.points()[i];
        point->setPos(UT_Vector4(UT_Vector3(point->getPos()) + by));
    }
    detail.bumpChange();
}

} // namespace

TEST(GU_RaySweep, aMovingTriangleMeetsParticlesAtRestAndInMotion) {
    GU_Detail begin, end;
    addPolygon(begin, {{-1, -1, 0}, {1, -1, 0}, {0, 2, 0}});
    end.duplicate(begin);
    moveAll(end, {0, 0, 4});
    ASSERT_TRUE(GU_RayIntersect::validForDeformingGeometry(&begin, &end));
    const GU_RayIntersect rays(&begin, &end);
    GU_RayInfo info(2, 0, GU_FIND_ALL);
    struct Case {
        UT_Vector3 org, dir;
        float start, length, max, expected; // negative: none
    };
    const Case cases[] = {
        {{0, 0, 1}, {0, 0, 0}, 0, 2, 2, 0.5f},         // at rest
        {{0, 0, 0}, {0, 0, 0}, 0, 2, 2, 0},            // on it when it leaves
        {{0, 0, 4}, {0, 0, 0}, 0, 2, 2, 2},            // where it arrives
        {{0, 0, 5}, {0, 0, 0}, 0, 2, 2, -1},           // beyond
        {{0, 0, 5}, {0, 0, -1}, 0, 2, 2, 5.0f / 3},    // against each other
        {{0, 0, 3}, {0, 0, 0}, 0.5f, 2, 2, 1},         // the second half of the step
        {{0, 0, 1}, {0, 0, 0}, 0.5f, 2, 2, -1},        // which has passed by
        {{0, 0, -1}, {0, 0, 2.4f}, 0, 2, 2, -1},       // behind, nearly as fast
        {{0, 0, -1}, {0, 0, 2.4f}, 0, 2, 3, 5 / 2.4f}, // reached when it stands still
        {{0, 0, 5}, {0, 0, -1}, 1, 0, 2, 1},           // nothing left of the step
        {{0, 0, 1}, {1.5f, 0, 2}, 0, 2, 2, -1},        // never
        {{0.3f, 0.2f, 0}, {0, 0, 2}, 0, 2, 2, 0},      // stays on it
    };
    for (const Case& c : cases) {
        info.setMax(c.max);
        info.setSweep(c.start, c.length);
        EXPECT_EQ(rays.sendRay(c.org, c.dir, info), c.expected >= 0) << &c - cases;
        if (c.expected < 0) continue;
        ASSERT_EQ(info.getHitCount(), 1) << &c - cases;
        EXPECT_FLOAT_EQ(info.getDistance(), c.expected) << &c - cases;
        EXPECT_EQ(info.getNormal(), UT_Vector3(0, 0, 1));
        EXPECT_EQ(info.getPrim(), end.primitives()[0]);
    }
}
