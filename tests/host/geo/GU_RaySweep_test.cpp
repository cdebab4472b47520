#include "RayModel.h"

#include "host/geo/GU_RayIntersect.h"
#include "host/ut/UT_Vector2.h"
#include "support/Near.h"

#include <algorithm>
#include <bit>
#include <gtest/gtest.h>
#include <limits>

namespace {

/// A particle and a triangle that move linearly over [0, 1].
struct Meeting {
    UT_Vector3D from[3], to[3], org, dir;

    UT_Vector3D corner(int k, double s) const { return from[k] + (to[k] - from[k]) * s - (org + dir * s); }
    double volume(double s) const {
        const UT_Vector3D a = corner(0, s);
        return dot(a, cross(corner(1, s) - a, corner(2, s) - a));
    }
    bool isInside(double s) const {
        const UT_Vector3D p[3] = {corner(0, s), corner(1, s), corner(2, s)};
        const UT_Vector3D n = cross(p[1] - p[0], p[2] - p[0]);
        for (int k = 0; k < 3; ++k)
            if (dot(n, cross(p[k], p[(k + 1) % 3])) < 0) return false;
        return true;
    }
    /// Every sign change of the volume, found by sampling and bisection.
    void addTimes(std::vector<double>& out) const {
        constexpr int SAMPLES = 2000;
        for (int i = 0; i < SAMPLES; ++i) {
            double low = double(i) / SAMPLES, high = double(i + 1) / SAMPLES;
            const bool negative = volume(low) < 0;
            if (negative == (volume(high) < 0)) continue;
            for (int k = 0; k < 50; ++k) {
                const double middle = (low + high) / 2;
                ((volume(middle) < 0) == negative ? low : high) = middle;
            }
            if (isInside(low)) out.push_back(low);
        }
    }
};

UT_Vector3 cornerOf(const GU_Detail& detail, size_t prim, int vertex) {
    return UT_Vector3(detail.primitives()[prim]->getVertexPoint(vertex)->getPos());
}

std::vector<double> everyMeeting(const GU_Detail& begin, const GU_Detail& end, const UT_Vector3& org,
                                 const UT_Vector3& dir) {
    std::vector<double> all;
    for (size_t n = 0; n < begin.primitives().entries(); ++n) {
        Meeting meeting{{}, {}, UT_Vector3D(org), UT_Vector3D(dir)};
        for (int k = 0; k < 3; ++k) {
            meeting.from[k] = UT_Vector3D(cornerOf(begin, n, k));
            meeting.to[k] = UT_Vector3D(cornerOf(end, n, k));
        }
        meeting.addTimes(all);
    }
    std::sort(all.begin(), all.end());
    return all;
}

UT_Vector3D between(const UT_Vector3& a, const UT_Vector3& b, double t) {
    return UT_Vector3D(a) * (1 - t) + UT_Vector3D(b) * t;
}

/// (u, v) name the place in both details: how far it is from the particle that it moves through.
double distanceToHit(const GU_Detail& begin, const GU_Detail& end, const GU_RayHit& hit, const UT_Vector3& org,
                     const UT_Vector3& dir) {
    UT_Vector4 from, to;
    const auto n = static_cast<size_t>(hit.prim->getNum());
    EXPECT_TRUE(begin.primitives()[n]->evaluatePosition(hit.u, hit.v, from));
    EXPECT_TRUE(end.primitives()[n]->evaluatePosition(hit.u, hit.v, to));
    return (between(from, to, hit.distance) - hitPosition(org, dir, hit.distance)).length();
}

/// Makes the end of a step in which a surface shivers and moves.
void deform(GU_Detail& begin, GU_Detail& end, RayRandom& random, double shiver, const UT_Vector3& move) {
    end.duplicate(begin);
    for (GU_Detail* detail : {&begin, &end}) shake(*detail, random, shiver);
    moveAll(end, move);
}

/// Hash of all hits of many rays, and how many there are.
std::pair<uint64_t, int> hashOfRays(const GU_RayIntersect& rays, uint64_t seed, int count) {
    RayRandom random(seed);
    GU_RayInfo info(1.2f, 0, GU_FIND_ALL);
    info.setSweep(0, 1);
    uint64_t h = 0xcbf29ce484222325u;
    int hits = 0;
    for (int i = 0; i < count; ++i) {
        const UT_Vector3 org = random.vector(-3, 3), dir = random.vector(-3, 3);
        rays.sendRay(org, dir, info);
        hits += info.getHitCount();
        for (const GU_RayHit& hit : info.getHits())
            for (float x : {static_cast<float>(hit.prim->getNum()), hit.distance, hit.u, hit.v, hit.normal.x(),
                            hit.normal.y(), hit.normal.z()})
                h = (h ^ std::bit_cast<uint32_t>(x)) * 0x100000001b3u;
    }
    return {h, hits};
}

} // namespace

TEST(GU_RaySweep, aMovingTriangleMeetsParticlesAtRestAndInMotion) {
    GU_Detail begin, end;
    addPolygon(begin, {{-1, -1, 0}, {1, -1, 0}, {0, 2, 0}});
    end.duplicate(begin);
    moveAll(end, {0, 0, 4});
    ASSERT_TRUE(GU_RayIntersect::validForDeformingGeometry(&begin, &end));
    const GU_RayIntersect rays(&begin, &end);
    constexpr float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    const UT_Vector3 above(0, 0, 5), down(0, 0, -1);
    const struct {
        UT_Vector3 org, dir;
        float start, length, low, high, expected; // negative: none
    } cases[] = {
        {{0, 0, 1}, {0, 0, 0}, 0, 2, 0, 2, 0.5f},         // at rest
        {{0, 0, 0}, {0, 0, 0}, 0, 2, 0, 2, 0},            // on it when it leaves
        {{0, 0, 4}, {0, 0, 0}, 0, 2, 0, 2, 2},            // where it arrives
        {above, {0, 0, 0}, 0, 2, 0, 2, -1},               // beyond
        {above, down, 0, 2, 0, 2, 5.0f / 3},              // against each other
        {{0, 0, 3}, {0, 0, 0}, 0.5f, 2, 0, 2, 1},         // the second half of the step
        {{0, 0, 1}, {0, 0, 0}, 0.5f, 2, 0, 2, -1},        // which has passed by
        {{0, 0, -1}, {0, 0, 2.4f}, 0, 2, 0, 2, -1},       // behind, nearly as fast
        {{0, 0, -1}, {0, 0, 2.4f}, 0, 2, 0, 3, 5 / 2.4f}, // reached when it stands still
        {{0, 0, 1}, {1.5f, 0, 2}, 0, 2, 0, 2, -1},        // never
        {{0.3f, 0.2f, 0}, {0, 0, 2}, 0, 2, 0, 2, 0},      // stays on it
        {above, down, 0, 1, 0, 1e18f, 1},                 // meets it as it arrives
        {above, down, 0, 1, 2, 1e18f, -1},                // what comes after
        {above, down, 1, 1, 0, inf, 1},                   // the step is over
        {above, {0, 0, -0.5f}, 7, 1, 0, inf, 2},          // and more than over
        {above, down, nan, 1, 0, inf, 1},
        {above, down, 0, nan, 0, inf, 5}, // no length: at rest where it began
        {above, down, 0, 0, 0, inf, 5},
        {above, down, 1, 0, 0, 2, 1}, // or ended
        {above, down, 0, 1, -inf, inf, 1},
        {above, down, 0, 1, nan, 1, -1},
        {above, down, 0, 1, 2, 1, -1},
        {above, down, 0, 1, 1, 1, 1},
        {above, down, 0, 1, 0.5f, 0.5f, -1},
        {above, down, 0, 4, 5, 5, -1},
    };
    for (const auto& c : cases) {
        GU_RayInfo info(c.high, c.low, GU_FIND_ALL);
        info.setSweep(c.start, c.length);
        EXPECT_EQ(rays.sendRay(c.org, c.dir, info), c.expected >= 0) << &c - cases;
        if (c.expected < 0) continue;
        ASSERT_EQ(info.getHitCount(), 1) << &c - cases;
        EXPECT_FLOAT_EQ(info.getDistance(), c.expected) << &c - cases;
        EXPECT_EQ(info.getNormal(), UT_Vector3(0, 0, 1));
        EXPECT_EQ(info.getPrim(), end.primitives()[0]);
    }
}

TEST(GU_RaySweep, findsEveryMeetingThatBisectionFinds) {
    RayRandom random(4);
    GU_Detail begin, end;
    for (int i = 0; i < 30; ++i) {
        const UT_Vector3 center = random.vector(-1.5, 1.5);
        addPolygon(begin,
                   {center + random.vector(-1, 1), center + random.vector(-1, 1), center + random.vector(-1, 1)});
    }
    end.duplicate(begin);
    shake(end, random, 2);
    const GU_RayIntersect rays(&begin, &end);
    GU_RayInfo info(1, 0, GU_FIND_ALL), closest(1, 0), furthest(1, 0, GU_FIND_FURTHEST);
    size_t met = 0;
    for (int i = 0; i < 150; ++i) {
        const UT_Vector3 org = random.vector(-2, 2);
        const UT_Vector3 dir = i % 5 ? random.vector(-2, 2) : UT_Vector3(0, 0, 0);
        const std::vector<double> expected = everyMeeting(begin, end, org, dir);
        EXPECT_EQ(rays.sendRay(org, dir, info) != 0, !expected.empty());
        ASSERT_EQ(info.getHits().size(), expected.size()) << i;
        met += expected.size();
        for (size_t k = 0; k < expected.size(); ++k) {
            const GU_RayHit& hit = info.getHits()[k];
            EXPECT_NEAR(hit.distance, expected[k], 2e-7);
            EXPECT_LT(distanceToHit(begin, end, hit, org, dir), 1e-5);
            EXPECT_NEAR(hit.normal.length(), 1, 1e-6);
            const auto n = static_cast<size_t>(hit.prim->getNum());
            const auto at = [&](int c) { return between(cornerOf(begin, n, c), cornerOf(end, n, c), hit.distance); };
            for (int v = 0; v < 3; ++v) EXPECT_NEAR(dot(at((v + 1) % 3) - at(v), UT_Vector3D(hit.normal)), 0, 1e-5);
        }
        EXPECT_EQ(rays.sendRay(org, dir, closest), rays.sendRay(org, dir, furthest));
        if (expected.empty()) continue;
        EXPECT_EQ(closest.getDistance(), info.getHits().front().distance);
        EXPECT_EQ(furthest.getDistance(), info.getHits().back().distance);
        EXPECT_EQ(closest.getPrim(), info.getPrim());
    }
    EXPECT_GT(met, 50u);
}

// Who ends on the other side of a closed surface has crossed it an odd number of times.
TEST(GU_RaySweep, parityTellsTheSideOfADeformingClosedMesh) {
    for (const std::string kind : {"triangles", "quads", "mesh"}) {
        RayRandom random(9);
        GU_Detail begin, end;
        if (kind == "mesh")
            addMesh(begin, 14, 22, true, [](int r, int c) { return onTorus(c / 22.0, r / 14.0, 2, 0.8); });
        else
            addTorusLike(begin, 14, 22, kind == "triangles", [](double u, double v) { return onTorus(u, v, 2, 0.8); });
        deform(begin, end, random, 0.04, {0.4f, -0.3f, 0.5f});
        const GU_RayIntersect rays(&begin, &end), first(&begin), last(&end);
        GU_RayInfo info(1, 0, GU_FIND_ALL);
        int changed = 0, wrong = 0;
        for (int i = 0; i < 6000; ++i) {
            const UT_Vector3 org = random.vector(-3, 3), dir = random.vector(-1, 1);
            rays.sendRay(org, dir, info);
            const bool crossed = first.isInside(org) != last.isInside(org + dir);
            changed += crossed;
            wrong += (info.getHitCount() & 1) != crossed;
            // A bent cell of a mesh is four triangles.
            for (const GU_RayHit& hit : info.getHits())
                EXPECT_LT(distanceToHit(begin, end, hit, org, dir), kind == "mesh" ? 0.03 : 1e-5);
        }
        EXPECT_EQ(wrong, 0) << kind;
        EXPECT_GT(changed, 500);
    }
}

// Through edges and corners of the moving surface, at any moment, on particles from everywhere.
TEST(GU_RaySweep, nothingSlipsThroughMovingEdgesAndCorners) {
    RayRandom random(13);
    GU_Detail begin, end;
    addSphere(begin, 14, 20, 1);
    deform(begin, end, random, 0.02, {0.5f, 1, -0.25f});
    const GU_RayIntersect rays(&begin, &end);
    GU_RayInfo info(1, 0, GU_FIND_ALL);
    int missed = 0;
    for (int i = 0; i < 40000; ++i) {
        const size_t n = static_cast<size_t>(random(0, double(begin.primitives().entries())));
        const int k = static_cast<int>(random(0, begin.primitives()[n]->getVertexCount()));
        const int l = (k + 1) % begin.primitives()[n]->getVertexCount();
        const float s = i % 3 == 0 ? 0 : i % 3 == 1 ? 0.5f : static_cast<float>(random(0, 1));
        const float f = i % 4 == 0 ? 0.5f : static_cast<float>(random(0.1, 0.9));
        const UT_Vector3 from = cornerOf(begin, n, k) * (1 - s) + cornerOf(begin, n, l) * s;
        const UT_Vector3 to = cornerOf(end, n, k) * (1 - s) + cornerOf(end, n, l) * s;
        // At the middle of the sphere when the step begins, at the edge at f.
        const UT_Vector3 org = random.vector(-0.2, 0.2), meet = from * (1 - f) + to * f;
        if (!rays.sendRay(org, (meet - org) * (1 / f), info)) ++missed;
    }
    EXPECT_EQ(missed, 0);
}

TEST(GU_RaySweep, touchesAndLastingContactsCountOnce) {
    // The plane z = (s - 1/2) x turns under a particle that comes by: (s - 1/2)^2 above it.
    GU_Detail begin, end;
    addPolygon(begin, {{-2, -3, 1}, {2, -3, -1}, {0, 6, 0}});
    addPolygon(end, {{-2, -3, -1}, {2, -3, 1}, {0, 6, 0}});
    const GU_RayIntersect turning(&begin, &end);
    GU_RayInfo info(1, 0, GU_FIND_ALL);
    const auto hits = [&](const GU_RayIntersect& rays, const UT_Vector3& org, const UT_Vector3& dir) {
        rays.sendRay(org, dir, info);
        return info.getHitCount();
    };
    EXPECT_EQ(hits(turning, {-0.5f, 0, 0}, {1, 0, 0}), 1);
    EXPECT_NEAR(info.getDistance(), 0.5, 1e-6);
    EXPECT_EQ(hits(turning, {-0.5f, 0, -1e-4f}, {1, 0, 0}), 0);
    ASSERT_EQ(hits(turning, {-0.5f, 0, 1e-4f}, {1, 0, 0}), 2);
    EXPECT_NEAR(info.getHits()[0].distance, 0.49, 1e-6);
    EXPECT_NEAR(info.getHits()[1].distance, 0.51, 1e-6);

    // Gliding along a quad, a fan of four: on it from the start, entering it at 1/4, past it.
    GU_Detail low, high;
    addPolygon(low, {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}});
    high.duplicate(low);
    moveAll(high, {0, 0, 1});
    const GU_RayIntersect quad(&low, &high);
    const struct {
        UT_Vector3 org, dir;
        float low, expected; // negative: none
    } cases[] = {
        {{-0.7f, 0.2f, 0}, {1.2f, 0.1f, 1}, 0, 0}, {{-0.7f, 0.2f, 0}, {1.2f, 0.1f, 1}, 0.75f, 0.75f}, // still on it
        {{-2, 0.2f, 0}, {4, 0, 1}, 0, 0.25f},      {{-2, 1.2f, 0}, {4, 0, 1}, 0, -1},
        {{0, 0, 0.5f}, {0, 0, 0}, 0, 0.5f}, // through the middle, where the four pieces meet
    };
    info.setSweep(0, 1);
    for (const auto& c : cases) {
        info.setRange(c.low, 1);
        EXPECT_EQ(hits(quad, c.org, c.dir), c.expected >= 0) << &c - cases;
        if (c.expected >= 0) {
            EXPECT_FLOAT_EQ(info.getDistance(), c.expected) << &c - cases;
        }
    }
    info.setRange(0, 1);
    // A second quad shares an edge: what passes through it meets both.
    addPolygon(low, {{1, -1, 0}, {3, -1, 0}, {3, 1, 0}, {1, 1, 0}});
    addPolygon(high, {{1, -1, 1}, {3, -1, 1}, {3, 1, 1}, {1, 1, 1}});
    EXPECT_EQ(hits(GU_RayIntersect(&low, &high), {1, 0.3f, 1}, {0, 0, -1}), 2);
}

using Outline = std::vector<UT_Vector2>;

bool isInside(const Outline& outline, float x, float y) { // by the sides above it
    bool odd = false;
    for (size_t i = 0; i < outline.size(); ++i) {
        const UT_Vector2 &a = outline[i], &b = outline[(i + 1) % outline.size()];
        if ((a.x() > x) != (b.x() > x)) odd ^= a.y() + (b.y() - a.y()) * (x - a.x()) / (b.x() - a.x()) > y;
    }
    return odd;
}

// Two lobes that face opposite ways and make up for each other: such a polygon has no normal, or turned in space one of
// rounding alone. The second leans from one side to the other and has one but for that moment; the mean of the crown
// lies outside its lobes, and that of the growing U in its gap.
TEST(GU_RaySweep, bowTiesAndConcavePolygonsAreHitAsWhenTheyStandStill) {
    const auto bow = [](float left, float right) {
        return Outline{{-left, -left}, {right, right}, {right, -right}, {-left, left}};
    };
    const auto u = [](float s) {
        return Outline{{-s, -s}, {2 * s, -s}, {2 * s, 2 * s}, {s, 2 * s}, {s, 0}, {0, 0}, {0, 2 * s}, {-s, 2 * s}};
    };
    const Outline crown{{-2, -1}, {1, 1}, {2, -1}, {-1, 1}};
    const struct {
        Outline outlines[3];
        float left, right; // which way it faces; 0: a lobe is seen through both sides of its fan
    } cases[] = {{{bow(2, 2), bow(2, 2), bow(2, 2)}, 1, -1},
                 {{bow(3, 2), bow(2.5f, 2.5f), bow(2, 3)}, 1, -1},
                 {{crown, crown, crown}, 0, 0},
                 {{u(0.5f), u(1), u(1.5f)}, 1, 1}};
    const UT_Vector3 straight[] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    const UT_Vector3 turned[] = {{7, -3, 5},
                                 UT_Vector3(2, 1, 2) * (1 / 3.0f),
                                 UT_Vector3(-2, 2, 1) * (1 / 3.0f),
                                 UT_Vector3(-1, -2, 2) * (1 / 3.0f)};
    for (const auto& c : cases)
        for (const auto& axes : {straight, turned}) {
            SCOPED_TRACE(testing::Message() << "case " << &c - cases << (axes == straight ? "" : ", turned"));
            const auto place = [&](float x, float y, float z) {
                return axes[0] + axes[1] * x + axes[2] * y + axes[3] * z;
            };
            GU_Detail details[3];
            for (size_t i = 0; i < 3; ++i) {
                std::vector<UT_Vector3> corners;
                for (const UT_Vector2& p : c.outlines[i]) corners.push_back(place(p.x(), p.y(), 0.5f * float(i)));
                addPolygon(details[i], corners);
            }
            const GU_RayIntersect sweep(&details[0], &details[2]), still(&details[1]);
            RayRandom random(32);
            GU_RayInfo info(1, 0, GU_FIND_ALL);
            for (int i = 0; i < 500; ++i) {
                const auto x = static_cast<float>(random(-3, 3)), y = static_cast<float>(random(-3, 3));
                const bool inside = isInside(c.outlines[1], x, y);
                const float side = x < 0 ? c.left : c.right;
                const auto expectHit = [&](const GU_RayIntersect& rays, float z, const UT_Vector3& dir) {
                    rays.sendRay(place(x, y, z), dir, info);
                    ASSERT_EQ(info.getHitCount(), inside) << x << " " << y;
                    const float facing = dot(info.getNormal(), axes[3]);
                    EXPECT_NEAR(side == 0 ? std::fabs(facing) : facing * side, inside, 1e-6);
                    UT_Vector4 at;
                    details[1].primitives()[0]->evaluatePosition(info.getU(), info.getV(), at);
                    if (inside) expectNear(at, place(x, y, 0.5f), 1e-5);
                };
                expectHit(still, 1, -axes[3]);
                expectHit(sweep, 0.5f, {0, 0, 0});
            }
        }
}

TEST(GU_RaySweep, brokenGeometryHitsNothingAndNeverHangs) {
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    GU_Detail begin, end;
    addPolygon(begin, {{-1, -1, 0}, {1, -1, 0}, {0, 2, 0}});
    addPolygon(begin, {{-1, -1, nan}, {1, -1, 0}, {0, 2, 0}});
    addPolygon(begin, {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}});
    addPolygon(begin, {{-1, 0, 0}, {0, 0, 0}, {1, 0, 0}});
    addPolygon(begin, {{-1, -1, 0}, {1, -1, 0}, {0, 2, 0}});
    addPolygon(begin, {{-1e5f, -1e5f, 0}, {1e5f, -1e5f, 0}, {0, 2e5f, 0}});
    GU_PrimSphere::build(&begin, UT_Matrix4(1.0f));
    end.duplicate(begin);
    moveAll(end, {0, 0, 2});
    end.primitives()[4]->getVertexPoint(0)->setPos(UT_Vector4(inf, 0, 0, 1));
    const GU_RayIntersect rays(&begin, &end);
    EXPECT_EQ(rays.skipped(), 1u);
    GU_RayInfo info(1, 0, GU_FIND_ALL);
    ASSERT_TRUE(rays.sendRay({0, 0, 1}, {0, 0, 0}, info));
    ASSERT_EQ(info.getHitCount(), 2);
    for (const GU_RayHit& hit : info.getHits()) EXPECT_FLOAT_EQ(hit.distance, 0.5f);
    for (float bad : {nan, inf}) {
        EXPECT_FALSE(rays.sendRay({bad, 0, 1}, {0, 0, 0}, info));
        EXPECT_FALSE(rays.sendRay({0, 0, 1}, {0, bad, 0}, info));
    }
}

// A structure that followed its detail answers as a new one does, to the bit.
TEST(GU_RaySweep, refittedStructuresAnswerLikeNewOnes) {
    RayRandom random(17);
    GU_Detail calm, calmEnd, begin, end;
    addTorusLike(calm, 16, 24, true, [](double u, double v) { return onTorus(u, v, 2, 0.8); });
    calmEnd.duplicate(calm);
    begin.duplicate(calm);
    addTorusLike(begin, 8, 10, false, [](double u, double v) { return onTorus(u, v, 3, 0.3); });
    addPolygon(begin, {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0.4f, 0.2f, 0}, {0, 1, 0}}); // folded
    end.duplicate(begin);
    GU_RayIntersect still(&calm), moving(&calm, &calmEnd), whole(&begin, &end);
    // What is left out for a position that is not finite stays so, and nothing else is, or a new structure is due.
    GEO_Point* corner = end.primitives()[0]->getVertexPoint(0);
    corner->setPos(UT_Vector4(0, std::numeric_limits<float>::quiet_NaN(), 0, 1));
    GU_RayIntersect holed(&begin, &end);
    EXPECT_LT(holed.entries(), whole.entries());
    const auto before = hashOfRays(whole, 71, 300);
    EXPECT_FALSE(whole.refit(&begin, &end));
    EXPECT_EQ(hashOfRays(whole, 71, 300), before);
    for (int step = 0; step < 6; ++step) {
        for (GU_Detail* detail : {&calm, &calmEnd}) shake(*detail, random, step == 4 ? 3 : 0.1); // once out of its tree
        for (GU_Detail* detail : {&begin, &end}) shake(*detail, random, 0.1);
        EXPECT_FALSE(still.validForDetail(&calm));
        ASSERT_TRUE(still.refit(&calm) && moving.refit(&calm, &calmEnd) && holed.refit(&begin, &end)) << step;
        EXPECT_TRUE(still.validForDetail(&calm));
        const GU_RayIntersect newStill(&calm), newMoving(&calm, &calmEnd), newHoled(&begin, &end);
        for (const auto& [old, fresh] : {std::pair{&still, &newStill}, {&moving, &newMoving}, {&holed, &newHoled}}) {
            const auto expected = hashOfRays(*fresh, 70, 1000);
            EXPECT_GT(expected.second, 100);
            EXPECT_EQ(hashOfRays(*old, 70, 1000), expected) << step;
            EXPECT_EQ(old->getBBox().vmax(), fresh->getBBox().vmax());
        }
    }
    corner->setPos(UT_Vector4(2, 1, 0, 1));
    EXPECT_FALSE(holed.refit(&begin, &end));
    // Hits name the primitives of the detail that was followed last.
    GU_Detail other, larger;
    other.duplicate(end);
    ASSERT_TRUE(whole.refit(&begin, &other));
    GU_RayInfo info(20);
    ASSERT_TRUE(whole.sendRay({2, 0.3f, -9}, {0, 0, 1}, info));
    EXPECT_EQ(info.getPrim()->getParent(), &other);
    other.primitives()[0]->reverse();
    EXPECT_FALSE(whole.refit(&begin, &other));
    larger.duplicate(calm);
    addPolygon(larger, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    const auto last = hashOfRays(still, 70, 100);
    EXPECT_FALSE(still.refit(&larger) || still.refit(nullptr) || still.refit(&calm, &calmEnd));
    EXPECT_FALSE(moving.refit(&calm) || moving.refit(&calm, &larger) || moving.refit(&larger, &larger));
    EXPECT_EQ(hashOfRays(still, 70, 100), last);
}
