#include "RayModel.h"

#include "host/geo/GU_RayIntersect.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>

namespace {

struct Reference {
    double t;
    int prim;
};

// Moeller and Trumbore's test in double over fans about the mean, apart from everything the structure does.
void crossTriangle(const UT_Vector3D (&p)[3], const UT_Vector3D& o, const UT_Vector3D& d, int prim,
                   std::vector<Reference>& out) {
    const UT_Vector3D e1 = p[1] - p[0], e2 = p[2] - p[0], h = cross(d, e2), s = o - p[0], q = cross(s, e1);
    const double det = dot(e1, h);
    if (det == 0) return;
    const double u = dot(s, h) / det, v = dot(d, q) / det;
    if (u < 0 || v < 0 || u + v > 1) return;
    out.push_back({dot(e2, q) / det, prim});
}

std::vector<Reference> everyHit(const GU_Detail& detail, const UT_Vector3& org, const UT_Vector3& dir, double low,
                                double high) {
    std::vector<Reference> all;
    const UT_Vector3D o(org), d(dir);
    for (size_t n = 0; n < detail.primitives().entries(); ++n) {
        const GEO_Primitive& prim = *detail.primitives()[n];
        const int count = prim.getVertexCount();
        UT_Vector3D mean(0, 0, 0);
        std::vector<UT_Vector3D> p;
        for (int i = 0; i < count; ++i) p.emplace_back(UT_Vector3(prim.getVertexPoint(i)->getPos()));
        for (const UT_Vector3D& q : p) mean += q / count;
        for (size_t i = 0; i < p.size(); ++i) {
            const UT_Vector3D corners[3] = {p[i], p[(i + 1) % p.size()], mean};
            crossTriangle(corners, o, d, prim.getNum(), all);
        }
    }
    std::erase_if(all, [&](const Reference& r) { return r.t < low || r.t > high; });
    std::sort(all.begin(), all.end(),
              [](const Reference& a, const Reference& b) { return a.t != b.t ? a.t < b.t : a.prim < b.prim; });
    return all;
}

// Polygons of three to nine vertices, flat and bent, all star-shaped about their mean.
void scatterPolygons(GU_Detail& detail, int count, RayRandom& random) {
    for (int i = 0; i < count; ++i) {
        const int n = 3 + i % 7;
        const UT_Vector3 center = random.vector(-4, 4), x = random.direction();
        const UT_Vector3 y = cross(x, random.direction()).normalized(), z = cross(x, y);
        std::vector<UT_Vector3> p;
        for (int k = 0; k < n; ++k) {
            const double a = 2 * M_PI * k / n;
            const float bend = static_cast<float>(i % 2 ? random(-0.2, 0.2) : 0);
            p.push_back(center + x * static_cast<float>(std::cos(a)) + y * static_cast<float>(1.3 * std::sin(a)) +
                        z * bend);
        }
        addPolygon(detail, p);
    }
}

void expectOnSurface(const GU_RayHit& hit, const UT_Vector3& org, const UT_Vector3& dir, double slack = 2e-5) {
    EXPECT_LT((surfacePosition(hit) - hitPosition(org, dir, hit.distance)).length(), slack)
        << "primitive " << hit.prim->getNum() << " u " << hit.u << " v " << hit.v;
}

// Whether the box around a stretch is known to be clear of everything.
bool isClear(const GU_RayIntersect& rays, const UT_Vector3& from, const UT_Vector3& to) {
    UT_BoundingBox box(from, from);
    box.enlargeBounds(to);
    const UT_Vector3 &low = box.vmin(), &high = box.vmax();
    return rays.isClear(GU_Float4::of(low.x(), low.y(), low.z()), GU_Float4::of(high.x(), high.y(), high.z()));
}

} // namespace

TEST(GU_RayIntersect, findsWhatTestingEveryPolygonFinds) {
    RayRandom random(11);
    GU_Detail detail;
    scatterPolygons(detail, 300, random);
    const GU_RayIntersect rays(&detail);
    GU_RayInfo closest, furthest, all;
    furthest.setFindType(GU_FIND_FURTHEST);
    all.setFindType(GU_FIND_ALL);
    size_t hits = 0, ordered = 0, clear = 0;
    for (int i = 0; i < 3000; ++i) {
        const UT_Vector3 org = random.vector(-6, 6);
        const UT_Vector3 dir = random.direction() * static_cast<float>(random(0.2, 5));
        const float low = i % 3 ? 0 : static_cast<float>(random(-20, 0)),
                    high = static_cast<float>(random(0, i % 4 ? 20 : 0.2));
        const std::vector<Reference> expected = everyHit(detail, org, dir, low, high);
        for (GU_RayInfo* info : {&closest, &furthest, &all}) {
            info->setRange(low, high);
            EXPECT_EQ(rays.sendRay(org, dir, *info) != 0, !expected.empty());
        }
        ASSERT_EQ(all.getHits().size(), expected.size()) << "ray " << i;
        if (isClear(rays, org + dir * low, org + dir * high)) {
            ++clear;
            EXPECT_TRUE(expected.empty());
        }
        hits += expected.size();
        if (expected.empty()) continue;
        const auto size = [](const Reference& a, const Reference& b) { return std::fabs(a.t) < std::fabs(b.t); };
        const Reference first = *std::min_element(expected.begin(), expected.end(), size);
        const Reference last = *std::max_element(expected.begin(), expected.end(), size);
        EXPECT_NEAR(closest.getDistance(), first.t, 1e-4);
        EXPECT_EQ(closest.getPrim()->getNum(), first.prim);
        EXPECT_EQ(all.getPrim(), closest.getPrim());
        EXPECT_EQ(all.getDistance(), closest.getDistance());
        EXPECT_NEAR(furthest.getDistance(), last.t, 1e-4);
        EXPECT_EQ(furthest.getPrim()->getNum(), last.prim);
        expectOnSurface(closest.getHit(), org, dir);
        expectOnSurface(furthest.getHit(), org, dir);
        for (size_t k = 0; k < expected.size(); ++k) {
            EXPECT_NEAR(all.getHits()[k].distance, expected[k].t, 1e-4);
            expectOnSurface(all.getHits()[k], org, dir);
            ordered += all.getHits()[k].prim->getNum() == expected[k].prim;
        }
    }
    EXPECT_GT(hits, 5000u);
    EXPECT_EQ(ordered, hits);
    EXPECT_GT(clear, 100u);
}

// A ray from inside a closed mesh gets out through some polygon, wherever it goes; here it goes through an edge or a
// vertex, from anywhere, from tidy places, or parallel to an axis.
TEST(GU_RayIntersect, raysThroughEdgesAndVerticesOfAClosedMeshNeverMiss) {
    RayRandom random(5);
    GU_Detail detail;
    addSphere(detail, 20, 32, 2);
    shake(detail, random, 0.03);
    const GU_RayIntersect rays(&detail);
    const GEO_PrimList& prims = detail.primitives();
    GU_RayInfo info;
    int missed = 0, elsewhere = 0, axial = 0;
    for (int i = 0; i < 100000; ++i) {
        const GEO_Primitive& prim = *prims[static_cast<size_t>(random(0, double(prims.entries())))];
        const int k = static_cast<int>(random(0, prim.getVertexCount()));
        const UT_Vector3 a(prim.getVertexPoint(k)->getPos());
        const UT_Vector3 b(prim.getVertexPoint((k + 1) % prim.getVertexCount())->getPos());
        const float s = i % 4 == 0 ? 0 : i % 4 == 1 ? 0.5f : static_cast<float>(random(0, 1));
        const UT_Vector3 target = a + (b - a) * s;
        UT_Vector3 org = random.vector(-0.5, 0.5);
        if (i % 3 == 1) org = {std::round(org.x() * 4) / 4, std::round(org.y() * 4) / 4, std::round(org.z() * 4) / 4};
        if (i % 3 == 2 && std::fabs(target.z()) > 0.7f) {
            org = {target.x(), target.y(), 0};
            ++axial;
        }
        if (!rays.sendRay(org, target - org, info))
            ++missed;
        else
            elsewhere += std::fabs(info.getDistance() - 1) > 1e-4f;
    }
    EXPECT_EQ(missed, 0);
    EXPECT_EQ(elsewhere, 0);
    EXPECT_GT(axial, 10000);
}

TEST(GU_RayIntersect, aPolygonCountsOnceWhereAllItsPiecesMeet) {
    GU_Detail detail;
    std::vector<UT_Vector3> ring;
    for (int i = 0; i < 20000; ++i)
        ring.push_back(UT_Vector3(UT_Vector3D(std::cos(2 * M_PI * i / 20000), std::sin(2 * M_PI * i / 20000), 0)));
    addPolygon(detail, ring);
    GU_RayInfo info(1e18f, 0, GU_FIND_ALL);
    ASSERT_TRUE(GU_RayIntersect(&detail).sendRay({0, 0, 4}, {0, 0, -2}, info));
    EXPECT_EQ(info.getHitCount(), 1);
    EXPECT_FLOAT_EQ(info.getDistance(), 2);
}

TEST(GU_RayIntersect, concavePolygonsAreHitInsideTheirOutlineOnly) {
    // A comb: the mean lies outside, between its teeth.
    const std::vector<UT_Vector3> comb = {{0, 0, 0}, {5, 0, 0}, {5, 4, 0}, {4, 4, 0}, {4, 1, 0}, {3, 1, 0},
                                          {3, 4, 0}, {2, 4, 0}, {2, 1, 0}, {1, 1, 0}, {1, 4, 0}, {0, 4, 0}};
    GU_Detail detail;
    addPolygon(detail, comb);
    const GU_RayIntersect rays(&detail);
    const auto inComb = [](double x, double y, double slack = 0) {
        if (x < -slack || x > 5 + slack || y < -slack || y > 4 + slack) return false;
        return y <= 1 + slack || std::fabs(std::remainder(x - 0.5, 2)) <= 0.5 + slack;
    };
    RayRandom random(8);
    GU_RayInfo info(1e18f, 0, GU_FIND_ALL);
    for (int i = 0; i < 4000; ++i) {
        const UT_Vector3 target(static_cast<float>(random(-1, 6)), static_cast<float>(random(-1, 5)), 0);
        const UT_Vector3 org(static_cast<float>(random(0, 5)), 2, i % 2 ? 3.0f : -3.0f);
        const bool inside = inComb(target.x(), target.y());
        EXPECT_EQ(rays.sendRay(org, target - org, info) != 0, inside) << target.x() << " " << target.y();
        EXPECT_EQ(info.getHitCount(), inside ? 1 : 0);
        if (inside) expectOnSurface(info.getHit(), org, target - org);
        // The point of the comb nearest to somewhere above the plane.
        GU_RayHit near;
        ASSERT_TRUE(rays.minimumPoint({target.x(), target.y(), 0.5f}, near));
        EXPECT_TRUE(!inside || std::fabs(near.distance - 0.5f) < 1e-6f);
        const UT_Vector3D at = surfacePosition(near);
        EXPECT_TRUE(inComb(at.x(), at.y(), 1e-5)) << at.x() << " " << at.y();
    }
    for (const UT_Vector3& p : comb) EXPECT_TRUE(rays.sendRay(p + UT_Vector3(0, 0, 1), {0, 0, -1}, info));
}

TEST(GU_RayIntersect, quadricsAndMeshesAreHitWhereTheyAre) {
    GU_Detail detail;
    UT_Matrix4 place(UT_Matrix3::rotationMat({1, 2, 3}, 0.7f) * UT_Matrix3({1, 0, 0}, {0.4f, 2, 0}, {0, 0, 0.5f}),
                     UT_Vector3(1, -2, 3));
    const auto put = [&](float x) {
        place.setTranslation(UT_Vector3(x, -2, 3));
        return place;
    };
    GU_PrimSphere::build(&detail, put(0));
    GU_PrimTube::build(&detail, put(6), 0.3f);
    GU_PrimCircle::build(&detail, put(12));
    addMesh(detail, 9, 14, true,
            [](int r, int c) { return onTorus(c / 14.0, r / 9.0, 2, 0.8) + UT_Vector3(18, -2, 3); });
    const GU_RayIntersect rays(&detail);
    EXPECT_EQ(rays.entries(), 4u);

    // Rays aimed at random places on each surface: the place itself is among the hits.
    RayRandom random(21);
    GU_RayInfo info(1e18f, 0, GU_FIND_ALL);
    for (int i = 0; i < 4000; ++i) {
        const GEO_Primitive& prim = *detail.primitives()[static_cast<size_t>(i % 4)];
        const float u = static_cast<float>(random(0, 1)), v = static_cast<float>(random(0.01, 0.99));
        UT_Vector4 on;
        ASSERT_TRUE(prim.evaluatePosition(u, v, on));
        const UT_Vector3 target(on), org = target + random.direction() * 5.0f;
        UT_Vector3 normal;
        prim.evaluateNormal(u, v, normal);
        if (std::fabs(dot(normal, target - org)) < 0.5f) continue; // grazing
        ASSERT_TRUE(rays.sendRay(org, target - org, info)) << i % 4;
        double best = 1;
        for (const GU_RayHit& hit : info.getHits()) {
            if (hit.prim == &prim) best = std::min(best, std::fabs(double(hit.distance) - 1));
            // A bent cell is four triangles: they differ from the bilinear patch by less than its sagitta.
            expectOnSurface(hit, org, target - org, i % 4 == 3 || hit.prim->getNum() == 3 ? 0.03 : 1e-4);
            EXPECT_NEAR(hit.normal.length(), 1, 1e-5);
            if (std::fabs(hit.distance - 1) < 1e-4f) {
                EXPECT_GT(dot(hit.normal, normal), i % 4 == 3 ? 0.5f : 0.999f) << i % 4;
            }
        }
        EXPECT_LT(best, i % 4 == 3 ? 0.03 : 1e-5) << "kind " << i % 4;
    }
}

TEST(GU_RayIntersect, rangesReachBehindTheOriginAndIncludeTheirEnds) {
    GU_Detail detail;
    for (float z : {-2.0f, -0.5f, 1.0f, 3.0f}) addPolygon(detail, {{-1, -1, z}, {1, -1, z}, {1, 1, z}, {-1, 1, z}});
    const GU_RayIntersect rays(&detail);
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    const struct {
        float low, high;
        int closest, furthest; // -1: none
    } cases[] = {{0, 1e18f, 2, 3},  {-1, 1, 1, 2},     {-5, -0.6f, 0, 0}, {1, 1, 2, 2},     {-2, 2.9f, 1, 0},
                 {0, 0.9f, -1, -1}, {-inf, inf, 1, 3}, {2, 1, -1, -1},    {nan, 1, -1, -1}, {0, nan, -1, -1}};
    for (const auto& c : cases)
        for (int find : {GU_FIND_CLOSEST, GU_FIND_FURTHEST}) {
            GU_RayInfo info(c.high, c.low, find);
            const int hit = rays.sendRay({0.2f, 0.1f, 0}, {0, 0, 1}, info);
            EXPECT_EQ(hit != 0, info.getPrim() != nullptr);
            EXPECT_EQ(hit ? info.getPrim()->getNum() : -1, find == GU_FIND_CLOSEST ? c.closest : c.furthest)
                << c.low << " to " << c.high;
        }
}

TEST(GU_RayIntersect, degenerateInputHitsNothingAndNeverHangs) {
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    GU_Detail detail;
    const GU_RayIntersect none(nullptr), empty(&detail);
    GU_RayInfo info(1e18f, 0, GU_FIND_ALL);
    GU_RayHit near;
    for (const GU_RayIntersect* rays : {&none, &empty})
        EXPECT_FALSE(rays->sendRay({0, 0, 1}, {0, 0, -1}, info) || rays->isInside({0, 0, 0}, 1) ||
                     rays->minimumPoint({0, 0, 0}, near) || rays->getBBox().isValid());
    addPolygon(detail, {{0, 0, 0}, {nan, 0, 0}, {0, 1, 0}});
    addPolygon(detail, {{-1, -1, 0}, {inf, -1, 0}, {0, 1, 0}});
    addPolygon(detail, {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}});
    addPolygon(detail, {{-1, 0, 0}, {0, 0, 0}, {1, 0, 0}}); // no area
    addPolygon(detail, {{-1, 0, 0}, {1, 0, 0}});
    addPolygon(detail, {{-1, -1, 0}, {1, -1, 0}, {0, 1, 0}})->open();
    for (int i = 0; i < 500; ++i) addPolygon(detail, {{-2, -2, -1}, {2, -2, -1}, {0, 2, -1}}); // one place
    GU_PrimSphere::build(&detail, UT_Matrix4(0.0f));
    detail.insertPrimitive(GEOPRIMSPHERE);
    detail.insertPrimitive(GEOPRIMPOLY);
    detail.insertPrimitive(GEOPRIMMESH);
    const GU_RayIntersect rays(&detail);
    ASSERT_TRUE(rays.sendRay({0, 0.1f, 1}, {0, 0, -1}, info));
    ASSERT_EQ(info.getHitCount(), 500);
    for (size_t i = 0; i < 500; ++i) EXPECT_EQ(info.getHits()[i].prim->getNum(), 6 + int(i)) << "in their order";
    EXPECT_EQ(info.getPrim()->getNum(), 6);
    EXPECT_EQ(info.getDistance(), 2);
    for (const UT_Vector3& bad : {UT_Vector3(0, 0, 0), UT_Vector3(nan, 0, 1), UT_Vector3(0, inf, 0)})
        EXPECT_FALSE(rays.sendRay({0, 0, 1}, bad, info));
    EXPECT_FALSE(rays.sendRay({nan, 0, 1}, {0, 0, -1}, info) || rays.isInside({nan, 0, 0}) ||
                 rays.minimumPoint({0, inf, 0}, near));
    // Very short and very long directions count in their own lengths.
    info.setRange(0, inf);
    for (float length : {1e-30f, 1e30f}) {
        ASSERT_TRUE(rays.sendRay({0, 0, 1}, {0, 0, -length}, info));
        EXPECT_FLOAT_EQ(info.getDistance(), 2 / length);
    }
    // A direction so short that the distance overflows a float.
    EXPECT_FALSE(rays.sendRay({0, 0, 1}, {0, 0, -1e-42f}, info));
}

TEST(GU_RayIntersect, hugeAndTinyCoordinatesStillMeet) {
    for (float size : {1e-15f, 1e-6f, 1e5f, 1e15f}) {
        RayRandom random(2);
        GU_Detail detail;
        addSphere(detail, 12, 16, double(size));
        const GU_RayIntersect rays(&detail);
        GU_RayInfo info(std::numeric_limits<float>::infinity(), 0, GU_FIND_ALL);
        for (int i = 0; i < 500; ++i) {
            const UT_Vector3 org = random.direction() * (3 * size), target = random.direction() * (0.5f * size);
            ASSERT_TRUE(rays.sendRay(org, target - org, info)) << size;
            EXPECT_GE(info.getHitCount(), 2);
            EXPECT_FALSE(isClear(rays, org * 0.35f, org * 0.3f)) << size;
            EXPECT_TRUE(rays.isInside(target) && !rays.isInside(org)) << size;
        }
    }
}

TEST(GU_RayIntersect, theNearestPointIsTheNearestOfAll) {
    RayRandom random(77);
    GU_Detail detail;
    scatterPolygons(detail, 200, random);
    const GU_RayIntersect rays(&detail);
    for (int i = 0; i < 300; ++i) {
        const UT_Vector3 p = random.vector(-8, 8);
        GU_RayHit hit;
        ASSERT_TRUE(rays.minimumPoint(p, hit));
        const double claimed = (surfacePosition(hit) - UT_Vector3D(p)).length();
        EXPECT_NEAR(claimed, hit.distance, 2e-5);
        double best = 1e30;
        for (size_t n = 0; n < detail.primitives().entries(); ++n) {
            float u, v;
            UT_Vector4 at;
            const GEO_Primitive& prim = *detail.primitives()[n];
            ASSERT_TRUE(prim.parametric(p, u, v) && prim.evaluatePosition(u, v, at));
            best = std::min(best, (UT_Vector3D(UT_Vector3(at)) - UT_Vector3D(p)).length());
        }
        EXPECT_NEAR(hit.distance, best, 2e-5);
        EXPECT_TRUE(rays.minimumPoint(p, hit, static_cast<float>(best + 1e-3)));
        EXPECT_FALSE(rays.minimumPoint(p, hit, static_cast<float>(best - 1e-3)));
    }
}

TEST(GU_RayIntersect, aGroupRestrictsAndChangesInvalidate) {
    GU_Detail detail, other;
    for (float z : {1.0f, 2.0f, 3.0f}) addPolygon(detail, {{-1, -1, z}, {1, -1, z}, {0, 1, z}});
    GB_PrimitiveGroup group("far", false);
    group.add(detail.primitives()[1]);
    group.add(detail.primitives()[2]);
    GU_RayInfo info;
    const auto firstHit = [&](const GU_RayIntersect& rays) {
        return rays.sendRay({0, 0, 0}, {0, 0, 1}, info) ? info.getDistance() : -1;
    };
    EXPECT_EQ(GU_RayIntersect(&detail, &group).getBBox().zmin(), 2);
    auto all = GU_RayIntersect::shared(&detail);
    EXPECT_EQ(firstHit(*all), 1);
    EXPECT_FALSE(all->validForDetail(&other) || all->validForDetail(nullptr));
    EXPECT_EQ(firstHit(*GU_RayIntersect::shared(&detail, &group)), 2);
    EXPECT_EQ(GU_RayIntersect::shared(&detail), all);
    group.remove(detail.primitives()[1]); // same group, other members
    EXPECT_EQ(firstHit(*GU_RayIntersect::shared(&detail, &group)), 3);

    movePoints(detail, [](const UT_Vector3& p) { return p.z() == 1 ? p * 9.0f : p; });
    EXPECT_FALSE(all->validForDetail(&detail));
    EXPECT_EQ(firstHit(*GU_RayIntersect::shared(&detail)), 2);
    EXPECT_EQ(firstHit(*all), 1); // who still holds the old one keeps it
    // More details than the cache keeps: answers stay right.
    std::vector<GU_Detail> many(40);
    for (size_t i = 0; i < many.size(); ++i) {
        const float z = static_cast<float>(i + 1);
        addPolygon(many[i], {{-1, -1, z}, {1, -1, z}, {0, 1, z}});
    }
    for (int round = 0; round < 2; ++round)
        for (size_t i = 0; i < many.size(); ++i)
            EXPECT_EQ(firstHit(*GU_RayIntersect::shared(&many[i])), static_cast<float>(i + 1));
}
