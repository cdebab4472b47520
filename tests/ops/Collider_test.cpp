// The geometry that particles collide with: when it is fetched, and that nothing is built twice for what is the same.
#include "ops/collision/FLX_Collider.h"

#include "ops/CollisionRig.h"

namespace {

struct Fetched {
    CollisionRig rig;
    FLX_Collider collider;

    explicit Fetched(bool still)
        : rig([](GU_Detail& detail, float t) { addFloor(detail, t); }, 1, still) {}

    /// The structures of all parts, as they stand after a fetch at time t.
    std::vector<const GU_RayIntersect*> fetch(float t, FLX_GeoHint hint, int parts = 1) {
        rig.net.context().objectNode = &rig.net.object();
        const FLX_Collider::Request request{&rig.net.context(), t, 0.5f, hint, parts, 0};
        collider.fetch(rig.hit, request);
        EXPECT_TRUE(collider.prepare());
        std::vector<const GU_RayIntersect*> all;
        for (int k = 0; k < parts; ++k) all.push_back(collider.rays(k));
        for (const GU_RayIntersect* rays : all) EXPECT_NE(rays, nullptr);
        return all;
    }
};

} // namespace

TEST(Collider, KeepsItsRaysWhileTheGeometryIsTheSame) {
    for (const FLX_GeoHint hint : {FLX_GeoHint::Static, FLX_GeoHint::Translating, FLX_GeoHint::Deforming}) {
        SCOPED_TRACE(int(hint));
        Fetched f(true);
        f.rig.hit.findOBJNode("/obj/wall")->setFloat("t", 1, 2); // transformed: "changed" at every look-up
        const int parts = hint == FLX_GeoHint::Translating ? 2 : 1;
        f.fetch(1, hint, parts);
        EXPECT_EQ(f.collider.updates(), parts);
        const float low = f.collider.reach().ymin();
        f.fetch(1.5f, hint, parts);
        EXPECT_EQ(f.collider.updates(), parts);
        f.rig.hit.findOBJNode("/obj/wall")->setFloat("t", 1, 3);
        f.fetch(2, hint, parts);
        EXPECT_EQ(f.collider.updates(), 2 * parts);
        f.fetch(2.5f, hint, parts);
        EXPECT_EQ(f.collider.updates(), 2 * parts);
        EXPECT_NEAR(f.collider.reach().ymin(), low + 1, 1e-6) << "a unit higher";
    }
}

TEST(Collider, LooksAtTheMomentsThatTheMotionAsksFor) {
    Fetched f(false);
    const auto heights = [&](FLX_GeoHint hint, int parts) {
        f.fetch(2, hint, parts);
        std::vector<float> found;
        for (int k = 0; const GU_Detail* detail = f.collider.detail(k); ++k)
            found.push_back(detail->points()(0)->getPos().y());
        return found;
    };
    EXPECT_EQ(heights(FLX_GeoHint::Static, 1), std::vector<float>{2});
    EXPECT_EQ(heights(FLX_GeoHint::Deforming, 1), (std::vector<float>{1.5f, 2}));
    EXPECT_EQ(heights(FLX_GeoHint::Translating, 2), (std::vector<float>{1.5f, 1.75f, 2}));
    EXPECT_NEAR(f.collider.reach().ymax(), 2, 1e-6) << "where the last part ends";
}

// A hint that changes back must not find the rays of the other hint: only a moving surface runs into a point at rest.
TEST(Collider, EveryHintHasItsOwnRays) {
    Fetched f(false);
    const auto runsInto = [&](FLX_GeoHint hint) {
        const GU_RayIntersect* rays = f.fetch(2, hint)[0]; // from 1.5 to 2
        GU_RayInfo info(0.5f);
        info.setSweep(0, 0.5f);
        return rays->sendRay({1, 1.7f, 1}, {0, 0, 0}, info) != 0;
    };
    for (const FLX_GeoHint hint : {FLX_GeoHint::Deforming, FLX_GeoHint::Static, FLX_GeoHint::Deforming,
                                   FLX_GeoHint::Translating, FLX_GeoHint::Deforming})
        EXPECT_EQ(runsInto(hint), hint == FLX_GeoHint::Deforming) << int(hint);
}
