// Births from geometry, against the walk and the random sequence written out again.
#include <cmath>
#include <fmt/format.h>

#include "host/geo/GEO_PrimMesh.h"
#include "host/geo/GU_Detail.h"
#include "host/ut/UT_RandomSequence.h"
#include "ops/birth/FLX_Source.h"
#include "support/Network.h"
#include "support/RandomModel.h"
#include "support/SetParms.h"

namespace {

using Type = FLX_Source::EmissionType;
// One by one: Clang 14 does not find the names that `using enum` brings in.
constexpr Type Point = FLX_Source::Point, PointRandom = FLX_Source::PointRandom, Edge = FLX_Source::Edge,
               Surface = FLX_Source::Surface, Center = FLX_Source::Center, CenterAttrib = FLX_Source::CenterAttrib,
               EdgeAttrib = FLX_Source::EdgeAttrib, SurfaceAttrib = FLX_Source::SurfaceAttrib,
               Volume = FLX_Source::Volume, Metaball = FLX_Source::Metaball;

using Fill = std::function<void(GU_Detail&, float)>;

/// A source operator over geometry of the test's, births by impulse alone, velocity as inherited.
struct Source {
    Network net;
    FLX_Node& op;

    Source(int type, double impulse, const Fill& fill, bool still = true)
        : op(net.add("source", "src")) {
        op.setString("soppath", net.addGeometry("geo", fill, still));
        set("emittype={} impulserate={} constantrate=0", type, impulse);
    }
    template <class... Values> void set(fmt::format_string<Values...> parms, Values&&... values) {
        setParms(op, fmt::format(parms, std::forward<Values>(values)...));
    }
    std::vector<float> xs() {
        std::vector<float> found;
        for (int i = 0; i < net.particles(); ++i) found.push_back(net.position(i).x());
        return found;
    }
    std::string messages() { return Network::messages(op); }
};

/// Points on the x axis at 0, 1, 2, …
Fill row(int n) {
    return [n](GU_Detail& detail, float) {
        for (int i = 0; i < n; ++i) detail.appendPoint()->setPos({float(i), 0, 0, 1});
    };
}

GEO_PrimPoly* polygon(GU_Detail& detail, std::initializer_list<UT_Vector3> corners, bool open = false) {
    GEO_PrimPoly* poly = GU_PrimPoly::build(&detail, int(corners.size()), open);
    int i = 0;
    for (const UT_Vector3& c : corners) poly->getVertexPoint(i++)->setPos({c.x(), c.y(), c.z(), 1});
    return poly;
}

UT_Matrix4 placed(const UT_Vector3& at, float size) {
    UT_Matrix4 m(1.0f);
    for (int i = 0; i < 3; ++i) m(i, i) = size, m(3, i) = at[i];
    return m;
}

/// One primitive of every kind, apart from each other.
void zoo(GU_Detail& detail, float) {
    polygon(detail, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    polygon(detail, {{10, 0, 0}, {11, 0, 0}, {11, 1, 0}, {10, 1, 0}});
    polygon(detail, {{20, 0, 0}, {21, 0, 0}, {22, 1, 0}, {21, 2, 0}, {20, 2, 0}});
    polygon(detail, {{30, 0, 0}, {31, 0, 0}, {31, 1, 0}}, true);
    auto* part = static_cast<GEO_PrimParticle*>(detail.insertPrimitive(GEOPRIMPART));
    part->birthPoint()->setPos({40, 0, 0, 1});
    part->birthPoint()->setPos({41, 0, 0, 1});
    GEO_PrimMesh* mesh = GEO_PrimMesh::build(&detail, 2, 3, false, false);
    for (int i = 0; i < 6; ++i) mesh->getVertexPoint(i)->setPos({50 + float(i % 3), float(i / 3), 0, 1});
    GU_PrimSphere::build(&detail, placed({60, 0, 0}, 1));
    GU_PrimTube::build(&detail, placed({70, 0, 0}, 1));
    GU_PrimCircle::build(&detail, placed({80, 0, 0}, 1));
}

/// Two metaballs, each with a heat of its own.
void balls(GU_Detail& detail, float) {
    detail.pointAttribs().append("heat", 4, GB_ATTRIB_FLOAT);
    GU_PrimMetaball::build(&detail, placed({0, 0, 0}, 1), 2);
    GU_PrimMetaball::build(&detail, placed({1, 0, 0}, 1.5f), 1);
    *detail.primitives()(0)->getVertexPoint(0)->castAttribData<float>(0) = 10;
    *detail.primitives()(1)->getVertexPoint(0)->castAttribData<float>(0) = 20;
}

/// What a mode draws on a primitive.
void drawUV(int mode, const GEO_Primitive& prim, RandomModel& model, float& u, float& v) {
    const unsigned id = prim.getPrimitiveId();
    u = v = 0;
    if (mode == 1) {
        if (id & 0x1 || id & ~0x800Fu) {
            u = model.sample();
            v = model.sample();
            if (id & 0x1 && prim.getVertexCount() > 4) {
                if (v < u) std::swap(u, v);
                if (v != 0) u /= v;
                v = 1 - v;
            }
        } else {
            u = model.random();
        }
        return;
    }
    const float r = model.random();
    if (id & 0x900F)
        u = r;
    else if (id & 0x4000)
        u = r < 0.5f ? 2 * r : 2 * (r - 0.5f), v = r < 0.5f ? 0 : 1;
    else if (r < 0.25f)
        u = 4 * r;
    else if (r < 0.5f)
        v = 4 * (r - 0.25f);
    else if (r < 0.75f)
        u = 4 * (r - 0.5f), v = 1;
    else
        u = 1, v = 4 * (r - 0.75f);
}

} // namespace

TEST(Source, OrderedPointsGoRoundFromCookToCook) {
    Source s(Point, 3, row(10));
    s.set("doorigin=1 originindex=5 dogen=1");
    s.net.start(s.op);
    s.net.step(4);
    std::vector<float> expected;
    for (int i = 0; i < 15; ++i) expected.push_back(float(i % 10));
    EXPECT_EQ(s.xs(), expected);
    for (int i = 0; i < 15; ++i) {
        EXPECT_EQ(s.net.intValue("origin", i), 5 + i % 10);
        EXPECT_EQ(s.net.intValue("id", i), i + 1);
    }
    s.set("originuse=0");
    s.net.step();
    EXPECT_EQ(s.net.intValue("origin", 17), 5);
    s.set("prob=2,2 impulserate=4");
    s.net.step();
    auto xs = s.xs();
    EXPECT_EQ(std::vector<float>(xs.end() - 4, xs.end()), (std::vector<float>{8, 8, 9, 9}));
    EXPECT_EQ(s.messages(), "");
    // A count that is half a particle short waits.
    Source half(Point, 0.4, row(3));
    half.net.start(half.op);
    EXPECT_EQ(half.net.particles(), 0);
    half.net.step();
    EXPECT_EQ(half.net.particles(), 1);
    half.net.step(3);
    EXPECT_EQ(half.net.particles(), 2) << "0.8 - 1 + 1.2 = 1.0 makes the second";
}

TEST(Source, RandomPointsFollowTheSequence) {
    Source s(PointRandom, 6, row(20));
    s.net.start(s.op);
    s.net.step(3);
    std::vector<float> expected;
    int element = 0;
    for (int cook = 0; cook < 4; ++cook) {
        UT_RandomSequence sequence(unsigned(element) + 1, 20);
        for (int i = 0; i < 6; ++i) {
            expected.push_back(float(element));
            element = sequence.next();
        }
    }
    EXPECT_EQ(s.xs(), expected);
}

TEST(Source, ProbabilityDecidesAndIsCountedInMisses) {
    for (const auto& [low, high] : {std::pair{0.3f, 0.3f}, {0.2f, 2.6f}, {1.0f, 1.0f}, {2.5f, 2.5f}, {0.0f, 1.0f}}) {
        Source s(Point, 25, row(7));
        s.set("prob={},{} lifevar=1", low, high);
        s.net.start(s.op, 99);
        RandomModel model{99};
        std::vector<float> expected, lives;
        float probability = 0;
        bool evaluate = true;
        for (int element = 0; expected.size() < 25;) {
            if (evaluate) probability = low + (high - low) * model.random();
            evaluate = false;
            if (probability > 0 && (probability > 1 || model.random() <= probability)) {
                expected.push_back(float(element));
                lives.push_back(100 + 1 * (2 * model.random() - 1));
            }
            probability -= 1;
            if (probability < 0) element = (element + 1) % 7, evaluate = true;
        }
        EXPECT_EQ(s.xs(), expected) << low << " " << high;
        for (int i = 0; i < s.net.particles(); ++i) ASSERT_EQ(s.net.value("life", i, 1), lives[size_t(i)]);
        EXPECT_EQ(s.net.context().getRandomSeed(), model.seed);
        EXPECT_EQ(s.messages(), "");
    }
    Source never(Point, 3, row(10));
    never.set("prob=0,0");
    never.net.start(never.op, 1);
    EXPECT_EQ(never.net.particles(), 0);
    EXPECT_EQ(never.messages().find("warning FLX 25"), 0u);
    RandomModel model{1};
    for (int i = 0; i < 100; ++i) model.random();
    EXPECT_EQ(never.net.context().getRandomSeed(), model.seed) << "a hundred misses are the limit";
    never.set("prob=1,1");
    never.net.step();
    EXPECT_EQ(never.net.particles(), 6) << "the count was carried over";
    EXPECT_EQ(never.messages(), "");
}

TEST(Source, GroupsKeepTheWalkInside) {
    const auto grouped = [](GU_Detail& detail, float t) {
        row(10)(detail, t);
        GB_PointGroup* group = detail.pointGroups().newGroup("odd");
        for (const int i : {3, 5, 9}) group->add(detail.points()(size_t(i)));
        detail.pointGroups().newGroup("empty");
    };
    Source s(Point, 2, grouped);
    s.op.setString("source", "odd");
    s.net.start(s.op);
    s.net.step(2);
    EXPECT_EQ(s.xs(), (std::vector<float>{3, 5, 9, 3, 5, 9}));
    s.op.setString("source", "");
    s.net.step();
    EXPECT_EQ(s.xs()[6], 3) << "on from where it stood";
    s.op.setString("source", "odd");
    s.net.step();
    EXPECT_EQ(s.xs()[8], 3) << "a group that comes anew starts at its first member";
    s.op.setString("source", "empty");
    s.net.step();
    EXPECT_EQ(s.net.particles(), 10);
    EXPECT_EQ(s.messages(), "");
    s.op.setString("source", "nonsense");
    s.net.step();
    EXPECT_EQ(s.net.particles(), 10);
    EXPECT_EQ(s.messages(), "error FLX 2: nonsense");
    s.op.setString("source", "2-4");
    s.set("emittype={}", int(PointRandom));
    s.net.step(2);
    EXPECT_GT(s.net.particles(), 12);
    for (int i = 10; i < s.net.particles(); ++i) EXPECT_TRUE(s.xs()[size_t(i)] >= 2 && s.xs()[size_t(i)] <= 4);
}

TEST(Source, NothingIsBornWhereThereIsNothing) {
    Source s(Point, 3, row(3));
    s.op.setString("soppath", "/obj/nowhere");
    s.net.start(s.op);
    EXPECT_EQ(s.messages(), "error FLX 11: /obj/nowhere");
    EXPECT_EQ(s.net.particles(), 0);
    const Fill nothing = [](GU_Detail&, float) {};
    const Fill flat = [](GU_Detail& detail, float) { polygon(detail, {{0, 0, 0}, {1, 0, 0}, {1, 0, 1}}); };
    const Fill open = [](GU_Detail& detail, float) {
        polygon(detail, {{0, 0, 0}, {1, 0, 0}, {1, 1, 1}});
        polygon(detail, {{5, 5, 5}, {6, 5, 5}, {6, 6, 6}});
    };
    struct Case {
        Type type;
        Fill fill;
        const char *parms = "", *start = ""; ///< of the message
    };
    // clang-format off
    const Case cases[] = {
        {Point, nothing}, {PointRandom, nothing}, {Center, nothing}, {SurfaceAttrib, nothing}, {Volume, nothing},
        {Metaball, nothing}, {Metaball, row(4)}, {Volume, flat},
        {Volume, open, "samplethreshold=200", "warning FLX 25"}, {Metaball, balls, "densitymin=50", "warning FLX 25"}};
    // clang-format on
    for (const Case& c : cases) {
        Source empty(c.type, 3, c.fill);
        empty.op.setString("distributionattrib", "");
        setParms(empty.op, c.parms);
        empty.net.start(empty.op);
        if (!*c.start) empty.net.step(2);
        EXPECT_EQ(empty.net.particles(), 0);
        EXPECT_EQ(empty.messages().substr(0, 14), c.start) << c.type;
    }
}

TEST(Source, SurfacesAndEdgesDrawByTheKindOfPrimitive) {
    GU_Detail geometry;
    zoo(geometry, 0);
    for (const int mode : {0, 1}) {
        Source s(mode ? Surface : Edge, 36, zoo);
        s.op.setString("attrib", "");
        s.net.start(s.op, 5);
        ASSERT_EQ(s.messages(), "");
        ASSERT_EQ(s.net.particles(), 36);
        RandomModel model{5};
        for (int i = 0; i < 36; ++i) {
            const GEO_Primitive& prim = *geometry.primitives()(size_t(i % 9));
            float u, v;
            if (i > 0)
                drawUV(mode, *geometry.primitives()(size_t((i - 1) % 9)), model, u, v); // the pass that gives nothing
            drawUV(mode, prim, model, u, v);
            model.random(); // the probability
            model.random(); // the decision
            model.random(); // the life span
            UT_Vector4 expected;
            ASSERT_TRUE(prim.evaluatePosition(u, v, expected));
            ASSERT_EQ(s.net.point(i)->getPos(), expected) << "mode " << mode << " particle " << i;
            ASSERT_EQ(int(s.net.position(i).x() + 2) / 10, i % 9) << "the element itself";
        }
        EXPECT_EQ(s.net.context().getRandomSeed(), model.seed);
    }
}

TEST(Source, CentresHaveTheirPrimitivesNormal) {
    const auto two = [](GU_Detail& detail, float) {
        polygon(detail, {{0, 0, 0}, {0, 0, 2}, {2, 0, 2}, {2, 0, 0}});
        polygon(detail, {{5, 0, 0}, {5, 3, 0}, {5, 0, 3}});
        detail.primitiveGroups().newGroup("second")->add(detail.primitives()(1));
    };
    Source s(Center, 2, two);
    s.set("inheritvel=4 life=10+$P+($NX+2*$NY)*100");
    s.net.start(s.op);
    EXPECT_EQ(s.net.position(0), UT_Vector3(1, 0, 1));
    EXPECT_EQ(s.net.position(1), UT_Vector3(5, 1, 1));
    EXPECT_EQ(s.net.value("v", 0, 1), 4);
    EXPECT_EQ(s.net.value("v", 1, 0), 4);
    EXPECT_EQ(s.net.value("life", 0, 1), 210);
    EXPECT_EQ(s.net.value("life", 1, 1), 111);
    s.op.setString("source", "second");
    s.net.step();
    EXPECT_EQ(s.net.position(2).x(), 5);
    EXPECT_EQ(s.net.position(3).x(), 5);
    EXPECT_EQ(s.messages(), "");
}

TEST(Source, WeightsDistributeTheBirths) {
    const auto weighted = [](GU_Detail& detail, float) {
        const int area = detail.primitiveAttribs().append("area", 4, GB_ATTRIB_FLOAT);
        float x = 0;
        for (const float weight : {1.0f, 2.0f, 0.0f, 3.0f, 4.0f}) {
            *polygon(detail, {{x, 0, 0}, {x + 1, 0, 0}, {x, 1, 0}})->castAttribData<float>(area) = weight;
            x += 10;
        }
    };
    constexpr int n = 4000;
    // clang-format off
    struct Case { const char *attrib, *message; double expected[5]; };
    const Case cases[] = {
        {"area", "", {400, 800, 0, 1200, 1600}}, {"size", "warning FLX 16: size", {800, 800, 800, 800, 800}},
        {"", "", {800, 800, 800, 800, 800}}};
    // clang-format on
    for (const Type type : {CenterAttrib, EdgeAttrib, SurfaceAttrib})
        for (const Case& c : cases) {
            SCOPED_TRACE(testing::Message() << type << " " << c.attrib);
            Source s(type, n, weighted);
            s.op.setString("distributionattrib", c.attrib);
            s.net.start(s.op, 11);
            EXPECT_EQ(s.messages(), c.message);
            ASSERT_EQ(s.net.particles(), n);
            int counts[5] = {};
            for (const float x : s.xs()) ++counts[int(x + 0.5f) / 10];
            double chi2 = 0;
            for (int i = 0; i < 5; ++i) {
                const double expected = c.expected[i], off = counts[i] - expected;
                if (expected > 0) chi2 += off * off / expected;
                EXPECT_TRUE(expected > 0 || counts[i] <= 1) << "no weight";
            }
            EXPECT_LT(chi2, 18.5) << "the 0.1 percent point with four degrees of freedom";
        }
}

TEST(Source, VolumesAreFilledByRejection) {
    // |x| + |y| + |z| <= 2, closed, about (5, 0, 0).
    const auto octahedron = [](GU_Detail& detail, float) {
        for (int i = 0; i < 8; ++i) {
            const UT_Vector3 x(i & 1 ? 3 : 7, 0, 0), y(5, i & 2 ? -2 : 2, 0), z(5, 0, i & 4 ? -2 : 2);
            const bool flip = ((i ^ (i >> 1) ^ (i >> 2)) & 1) != 0;
            polygon(detail, {x, flip ? z : y, flip ? y : z});
        }
    };
    Source s(Volume, 60, octahedron);
    s.set("originindex=$ITER doorigin=1");
    s.net.start(s.op, 3);
    ASSERT_EQ(s.net.particles(), 60) << s.messages();
    RandomModel model{3};
    for (int i = 0; i < 60; ++i) {
        float x, y, z;
        do x = 3 + model.sample() * 4, y = -2 + model.sample() * 4, z = -2 + model.sample() * 4;
        while (std::abs(x - 5) + std::abs(y) + std::abs(z) > 2);
        model.random(); // the life span
        ASSERT_EQ(s.net.position(i), UT_Vector3(x, y, z)) << i;
        ASSERT_EQ(s.net.intValue("origin", i), i);
    }
    EXPECT_EQ(s.messages(), "");
}

TEST(Source, MetaballsSpendTheirDensity) {
    GU_Detail geometry;
    balls(geometry, 0);
    const auto density = [&](int i, const UT_Vector3& p) {
        return static_cast<GEO_PrimMetaball*>(geometry.primitives()(size_t(i)))->density(p);
    };
    for (const bool useDensity : {false, true}) {
        Source s(Metaball, 40, balls);
        s.set("threshold=0.8 densitymin=0.05 usedensity={} prob=0,0", int(useDensity)); // which has no say here
        s.net.start(s.op, 21);
        ASSERT_EQ(s.net.particles(), 40) << s.messages();
        RandomModel model{21};
        float accumulated = 0;
        for (int born = 0; born < 40;) {
            UT_Vector3 at;
            if (useDensity) {
                const int ball = model.random() <= 2.0 / 3 ? 0 : 1;
                const float w = ball ? 1 : 2, size = ball ? 3 : 2;
                UT_Vector3 d;
                for (int k = 0; k < 3; ++k) d[k] = 2 * (model.sample() - 0.5f) * size;
                const float target = model.random() * w;
                bool reached = false;
                for (int pass = 0; pass < 64 && !reached; ++pass) {
                    at = UT_Vector3(float(ball), 0, 0) + d;
                    reached = density(ball, at) >= target;
                    d = d * (1 / (1 + (w - 1) * model.random()));
                }
            } else {
                at[0] = -1 + model.sample() * 3.5f;
                at[1] = -1.5f + model.sample() * 3;
                at[2] = -1.5f + model.sample() * 3;
            }
            const float a = density(0, at), b = density(1, at);
            accumulated += a + b;
            if (!(accumulated > 0.8f && a + b > 0.05f)) continue;
            accumulated -= 0.8f;
            model.random(); // the life span
            for (int k = 0; k < 3; ++k) ASSERT_NEAR(s.net.position(born)[k], at[k], 1e-6f) << useDensity << " " << born;
            ASSERT_NEAR(s.net.value("heat", born), (10 * a + 20 * b) / (a + b), 1e-4f);
            ++born;
        }
        EXPECT_EQ(s.net.context().getRandomSeed(), model.seed);
        EXPECT_EQ(s.messages(), "");
    }
}

TEST(Source, AccurateBirthsAreSpreadOverTheStep) {
    const auto moving = [](GU_Detail& detail, float t) {
        detail.pointAttribs().append("when", 4, GB_ATTRIB_FLOAT);
        GEO_Point* p = detail.appendPoint();
        p->setPos({100 * t, 0, 0, 1});
        *p->castAttribData<float>(0) = t;
    };
    Source s(Point, 5, moving, false);
    s.set("accuratebirths=1");
    s.net.start(s.op, 8);
    s.net.step();
    ASSERT_EQ(s.net.particles(), 10);
    RandomModel model{8};
    for (int cook = 0; cook < 2; ++cook) {
        const float t = cook ? s.net.time() : 0, dt = s.net.timeStep();
        for (int k = 0; k < 5; ++k) {
            if (k > 0) model.random(); // fetched for the pass that gave nothing
            const float when = t + (model.random() + float(k)) * (1.0f / 5) * dt;
            for (int draws = 0; draws < 3; ++draws) model.random();
            const int i = 5 * cook + k;
            ASSERT_FLOAT_EQ(s.net.value("when", i), when) << i;
            if (cook == 1) {
                ASSERT_FLOAT_EQ(s.net.position(i).x(), 100 * when);
            }
        }
    }
    EXPECT_EQ(s.net.context().getRandomSeed(), model.seed);

    // Attributes that come and go with the fetched moment are mapped anew.
    const auto changing = [](GU_Detail& detail, float t) {
        const float one = 1;
        if (int(t * 1000) % 2) detail.pointAttribs().append("extra", 4, GB_ATTRIB_FLOAT, &one);
        detail.pointAttribs().append("heat", 4, GB_ATTRIB_FLOAT, &one);
        detail.appendPoint();
    };
    Source c(Point, 40, changing, false);
    c.set("accuratebirths=1");
    c.net.start(c.op, 8);
    for (int i = 0; i < 40; ++i) EXPECT_EQ(c.net.value("heat", i), 1);
    EXPECT_EQ(c.messages(), "");
    EXPECT_EQ(c.net.detail().validate(), "");
}

TEST(Source, VelocityModes) {
    const auto blowing = [](GU_Detail& detail, float) {
        const int v = detail.pointAttribs().append("v", 12, GB_ATTRIB_VECTOR);
        detail.appendPoint()->castAttribData<UT_Vector3>(v)->assign(1, 2, 3);
    };
    for (int mode = 0; mode < 3; ++mode) {
        Source s(Point, 8, blowing);
        s.set("initvel={} inheritvel=2 vel=10,20,30 var=1,2,4 dospeed=1", mode);
        s.net.start(s.op, 31);
        RandomModel model{31};
        for (int i = 0; i < 8; ++i) {
            for (int draws = 0; draws < 3; ++draws) model.random(); // probability, decision, life span
            const auto d = mode ? model.spread(true) : std::array<float, 3>{};
            float v[3];
            for (int k = 0; k < 3; ++k) {
                const float drawn = float(10 * (k + 1)) + float(1 << k) * d[size_t(k)];
                v[k] = mode == 2 ? drawn : 2 * float(k + 1) + (mode ? drawn : 0);
                ASSERT_FLOAT_EQ(s.net.value("v", i, k), v[k]) << "mode " << mode << " particle " << i;
            }
            ASSERT_FLOAT_EQ(s.net.value("speed", i), std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]));
        }
        s.set("inheritvel=0");
        s.net.step();
        if (mode == 0) {
            EXPECT_EQ(s.net.value("v", 12, 1), 0);
        }
    }
}

TEST(Source, AttributesAndVariablesOfTheSource) {
    const auto rocks = [](GU_Detail& detail, float) {
        const int none = -1;
        const int rock = detail.pointAttribs().append("rock", 4, GB_ATTRIB_INDEX, &none);
        const int mass = detail.pointAttribs().append("mass", 4, GB_ATTRIB_FLOAT);
        for (const char* name : {"granite", "basalt", "granite"}) {
            GEO_Point* p = detail.appendPoint();
            *p->castAttribData<int>(rock) = detail.pointAttribs().addIndex("rock", name);
            *p->castAttribData<float>(mass) = float(detail.points().entries());
        }
    };
    Source s(Point, 3, rocks);
    FLX_Node& pull = s.net.add("force", "pull", {&s.op});
    s.set("life=$MASS*10+$NPT createlocalvar=1");
    pull.setExpression("force", 0, "$MASS1 * 2");
    s.op.setString("group", "born");
    s.net.start(pull);
    EXPECT_EQ(s.messages() + Network::messages(pull), "");
    const GB_Attribute* rock = s.net.detail().pointAttribs().find("rock");
    for (int i = 0; i < 3; ++i) {
        EXPECT_STREQ(rock->getIndex(s.net.intValue("rock", i)), i == 1 ? "basalt" : "granite");
        EXPECT_EQ(s.net.value("life", i, 1), float(10 * (i + 1) + 3));
        EXPECT_EQ(s.net.value("accel", i, 0), 2) << "a user variable, and divided by the mass";
    }
    EXPECT_EQ(s.net.detail().pointGroups().find("born")->entries(), 3u);
    s.op.setString("attrib", "^*");
    s.net.step();
    EXPECT_EQ(s.net.value("mass", 4), 0) << "nothing inherited any more: the default";
}

TEST(Source, GeometryInAnotherObjectAndContextGeometries) {
    Source s(Point, 2, row(2));
    OPgetDirector()->objManager()->findChild("geo")->setFloat("t", 1, 7);
    s.net.start(s.op);
    EXPECT_EQ(s.net.position(1), UT_Vector3(1, 7, 0));
    s.set("ignorexform=1");
    s.net.step();
    EXPECT_EQ(s.net.position(3), UT_Vector3(1, 0, 0));
    s.net.context().setInputGeo(s.net.addGeometry("other",
                                                  [](GU_Detail& d, float) {
                                                      d.appendPoint()->setPos({50, 0, 0, 1});
                                                  }),
                                1);
    s.set("usecontextgeo=2");
    s.net.step();
    EXPECT_EQ(s.net.position(4).x(), 50);
    s.op.setTemplate(true);
    s.net.context().guidesWanted = 1;
    OP_Context context(s.net.time());
    s.net.context().cookGuide(context);
    EXPECT_EQ(s.op.guideHandle().peekDetail()->points().entries(), 1u) << "the guide shows the source";
}
