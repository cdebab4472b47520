#include "RayModel.h"

#include "host/geo/GU_RayBatch.h"

#include <cstring>
#include <gtest/gtest.h>
#include <limits>

namespace {

struct Ray {
    UT_Vector3 org, dir;
    float reach, low = 0;
};

bool same(const GU_RayHit& a, const GU_RayHit& b) {
    return a.prim == b.prim && a.number == b.number && a.distance == b.distance && a.u == b.u && a.v == b.v &&
           a.normal == b.normal;
}

/// Casts the rays in batches and one by one; returns how many hit something.
int compare(const GU_Detail& detail, const std::vector<Ray>& rays, const char* what) {
    const GU_RayIntersect structure(&detail), other(&detail);
    GU_RayBatch batch;
    GU_RayInfo ahead, plain;
    int hits = 0;
    for (size_t first = 0; first < rays.size(); first += GU_RayBatch::MOST) {
        const size_t count = std::min(rays.size() - first, GU_RayBatch::MOST);
        batch.begin(structure);
        for (size_t i = 0; i < count; ++i) {
            const auto& [org, dir, reach, low] = rays[first + i];
            batch.add(org, dir, low, reach);
        }
        batch.cast();
        for (size_t i = 0; i < count; ++i) {
            const auto& [org, dir, reach, low] = rays[first + i];
            const bool isNumber = org == org && dir == dir && reach == reach;
            plain.init(reach, low);
            const int found = structure.sendRay(org, dir, plain);
            EXPECT_EQ(batch.answers(i, structure, org, dir, low, reach, ahead), isNumber)
                << what << ", ray " << first + i;
            EXPECT_TRUE(!isNumber || same(ahead.getHit(), plain.getHit())) << what << ", ray " << first + i;
            EXPECT_TRUE(!found || plain.getHit().number == plain.getPrim()->getNum()) << what;
            hits += found;
            // Whoever asks for anything else has to cast it.
            EXPECT_FALSE(batch.answers(i, other, org, dir, low, reach, ahead));
            EXPECT_FALSE(batch.answers(i, structure, org + UT_Vector3(1, 0, 0), dir, low, reach, ahead));
            EXPECT_FALSE(batch.answers(i, structure, org, dir + UT_Vector3(0, 1, 0), low, reach, ahead));
            EXPECT_FALSE(batch.answers(i, structure, org, dir, low, -3 - reach, ahead));
            EXPECT_FALSE(batch.answers(i, structure, org, dir, low - 1, reach, ahead));
        }
        EXPECT_FALSE(batch.answers(count, structure, rays[first].org, rays[first].dir, 0, rays[first].reach, ahead));
    }
    return hits;
}

std::vector<Ray> raysAbout(RayRandom& random, int count, double size, double shortest, double longest) {
    std::vector<Ray> rays;
    for (int i = 0; i < count; ++i)
        rays.push_back({random.vector(-size, size), random.direction(), float(random(shortest, longest)),
                        i % 4 ? 0 : float(random(-1, 1))});
    return rays;
}

} // namespace

TEST(GU_RayBatch, AnswersLikeRaysOneByOne) {
    RayRandom random(3);
    GU_Detail mixed;
    for (int i = 0; i < 400; ++i) {
        const UT_Vector3 at = random.vector(-4, 4), x = random.direction(), y = random.direction();
        if (i % 3 == 0) addPolygon(mixed, {at, at + x, at + y});
        if (i % 3 == 1) addPolygon(mixed, {at, at + x, at + x + y, at + y});
        if (i % 3 == 2) addPolygon(mixed, {at, at + x * 2.0f, at + x * 0.5f + y * 0.5f, at + y * 2.0f}); // concave
    }
    for (int i = 0; i < 20; ++i) {
        GEO_PrimSphere* sphere = GU_PrimSphere::build(&mixed, UT_Matrix4(1.0f));
        sphere->getVertexPoint(0)->setPos(UT_Vector4(random.vector(-4, 4)));
    }
    EXPECT_GT(compare(mixed, raysAbout(random, 1000, 5, 0.1, 1), "short"), 100);
    EXPECT_GT(compare(mixed, raysAbout(random, 1000, 5, 10, 20), "long"), 400);
}

// More branches of the tree at once than are kept, and more leaves of one ray.
TEST(GU_RayBatch, GoesThroughPilesOfTriangles) {
    RayRandom random(5);
    GU_Detail pile;
    for (int i = 0; i < 6000; ++i) {
        const float z = float(random(-1, 1));
        addPolygon(pile, {{-3, -3, z}, {3, -3, z + 0.01f}, {0, 3, z}});
    }
    std::vector<Ray> rays;
    for (int i = 0; i < 100; ++i)
        rays.push_back({UT_Vector3(float(random(-1, 1)), float(random(-1, 1)), -2), UT_Vector3(0, 0, 1), 4});
    EXPECT_EQ(compare(pile, rays, "pile"), 100);
}

TEST(GU_RayBatch, TakesWhatIsNoRay) {
    constexpr float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<Ray> rays{
        {{0, 0, 1}, {0, 0, -1}, 2},   {{0, 0, 1}, {0, 0, 0}, 2},    {{nan, 0, 1}, {0, 0, -1}, 2},
        {{0, 0, 1}, {0, nan, -1}, 2}, {{0, inf, 1}, {0, 0, -1}, 2}, {{0, 0, 1}, {0, 0, -inf}, 2},
        {{0, 0, 1}, {0, 0, -1}, -1},  {{0, 0, 1}, {0, 0, -1}, nan}, {{0, 0, 1}, {0, 0, -1}, inf}};
    GU_Detail empty, one;
    addPolygon(one, {{-1, -1, 0}, {1, -1, 0}, {0, 1, 0}});
    EXPECT_EQ(compare(empty, rays, "empty"), 0);
    EXPECT_EQ(compare(one, rays, "one"), 2);
}
