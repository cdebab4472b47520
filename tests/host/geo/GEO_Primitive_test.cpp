#include "RayModel.h"
#include "host/geo/GB_AttributeData.h"
#include "host/geo/GU_Detail.h"
#include "support/Near.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace {

GEO_PrimPoly* polygon(GU_Detail& d, const std::vector<UT_Vector3>& corners, bool open = false) {
    GEO_PrimPoly* poly = addPolygon(d, corners);
    if (open) poly->open();
    return poly;
}

UT_Vector3 at(const GEO_Primitive* prim, float u, float v) {
    UT_Vector4 p(0, 0, 0, 0);
    EXPECT_EQ(prim->evaluatePosition(u, v, p), 1);
    return p;
}

float uniform(std::mt19937& random) { return static_cast<float>(random() >> 8) * 0x1p-24f; }

// Draws from the primitive fall into equal bins equally often, by less than a part `off`.
template <class Bin>
void expectEven(const GEO_Primitive* prim, std::mt19937& random, size_t bins, double off, const Bin& bin) {
    std::vector<int> counts(bins);
    for (int k = 0; k < 64000; ++k) {
        const float u = uniform(random), v = uniform(random);
        ++counts[std::min(bins - 1, static_cast<size_t>(bin(at(prim, u, v))))];
    }
    for (int n : counts) EXPECT_NEAR(n * static_cast<double>(bins) / 64000, 1, off);
}

// A round trip through position and back must give the same place.
void expectInverse(const GEO_Primitive* prim, std::mt19937& random, float tolerance = 1e-4f) {
    for (int k = 0; k < 200; ++k) {
        const float u = uniform(random), v = uniform(random);
        const UT_Vector3 p = at(prim, u, v);
        float iu = -1, iv = -1;
        ASSERT_TRUE(prim->parametric(p, iu, iv));
        EXPECT_TRUE(iu >= 0 && iu <= 1 && iv >= 0 && iv <= 1);
        expectNear(at(prim, iu, iv), p, tolerance);
    }
}

const std::vector<UT_Vector3> TRIANGLE = {{0, 0, 0}, {4, 0, 0}, {1, 3, 0}};
const std::vector<UT_Vector3> QUAD = {{0, 0, 1}, {2, 0, 1}, {2, 2, 1}, {0, 2, 1}};

} // namespace

TEST(Polygon, PerimeterAndCentre) {
    GU_Detail d;
    const GEO_PrimPoly* quad = polygon(d, QUAD);
    expectNear(at(quad, 0.125f, 0), {1, 0, 1}); // middle of the first of four edges
    expectNear(at(quad, 1, 0), {0, 0, 1});
    expectNear(at(quad, 0.125f, 0.75f), {1, 0.5f, 1}); // sqrt(1/4) of the way out
    expectNear(quad->computeNormal(), {0, 0, 1});
    EXPECT_FLOAT_EQ(quad->calcArea(), 4);
    EXPECT_FLOAT_EQ(quad->calcPerimeter(), 8);
    for (float bad : {-5.0f, std::numeric_limits<float>::quiet_NaN()}) expectNear(at(quad, bad, bad), {0, 0, 1});
    expectNear(at(quad, 7, 7), {1, 1, 1});

    std::vector<UT_Vector3> hexagon;
    for (const auto& [x, y] : {std::pair{2.f, 0.f}, {1.f, 2.f}, {-1.f, 2.f}, {-2.f, 0.f}, {-1.f, -2.f}, {1.f, -2.f}})
        hexagon.push_back({x, y, 0});
    const GEO_PrimPoly* six = polygon(d, hexagon);
    expectNear(at(six, 0, 0.75f), {0.5f, 0, 0}); // linear from five vertices on
    EXPECT_EQ(d.validate(), "");
}

TEST(Polygon, ParametricIsTheInverse) {
    GU_Detail d;
    std::mt19937 random(13);
    const std::vector<UT_Vector3> shapes[] = {
        TRIANGLE,
        QUAD,
        {{0, 0, 0}, {5, 0, 1}, {6, 4, 2}, {2, 7, 1}, {-1, 3, 0.5f}},
        {{0, 0, 0}, {4, 0, 0}, {4, 1, 0}, {1, 1, 0}, {1, 4, 0}, {0, 4, 0}}, // L-shaped
        {{1, 2, 3}, {2, 2, 2}},
        {{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}};
    for (const auto& shape : shapes)
        for (const bool open : {false, true}) expectInverse(polygon(d, shape, open), random);
    // Off the surface: the nearest place.
    const GEO_PrimPoly* quad = polygon(d, QUAD);
    float u, v;
    ASSERT_TRUE(quad->parametric({1, -3, 9}, u, v));
    expectNear(at(quad, u, v), {1, 0, 1});
    ASSERT_TRUE(quad->parametric({1.5f, 0.25f, -4}, u, v));
    expectNear(at(quad, u, v), {1.5f, 0.25f, 1});
    EXPECT_FALSE(GU_PrimPoly::build(&d, 0)->parametric({0, 0, 0}, u, v));
}

TEST(Polygon, NormalsAndDegenerateFaces) {
    GU_Detail d;
    GEO_PrimPoly* triangle = polygon(d, TRIANGLE);
    triangle->reverse();
    expectNear(triangle->computeNormal(), {0, 0, -1});
    for (const GEO_PrimPoly* none : {polygon(d, {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}}), polygon(d, {{0, 0, 0}, {1, 1, 1}}),
                                     polygon(d, TRIANGLE, true)})
        EXPECT_EQ(none->computeNormal(), UT_Vector3(0, 0, 0));
    // Far from the origin the digits of a small face survive.
    expectNear(polygon(d, {{1e5f, 1e5f, 0}, {1e5f + 1, 1e5f, 0}, {1e5f, 1e5f + 1, 0}})->computeNormal(), {0, 0, 1});
    UT_Vector4 p;
    EXPECT_EQ(GU_PrimPoly::build(&d, 0)->evaluatePosition(0, 0, p), 0);
    const GEO_PrimPoly* line = polygon(d, {{0, 0, 0}, {1, 0, 0}, {1, 9, 0}}, true);
    expectNear(at(line, 0.25f, 0.9f), {0.5f, 0, 0}); // by index, whatever the lengths
    expectNear(at(line, 1, 0), {1, 9, 0});
}

TEST(Polygon, AttributesFollowTheWeights) {
    GU_Detail d;
    const int f = d.pointAttribs().append("f", 8, GB_ATTRIB_FLOAT), i = d.pointAttribs().append("i", 4, GB_ATTRIB_INT),
              uv = d.vertexAttribs().append("uv", 4, GB_ATTRIB_FLOAT);
    const GEO_PrimPoly* quad = polygon(d, QUAD);
    for (int k = 0; k < 4; ++k) {
        quad->getVertexPoint(k)->castAttribData<float>(f)[1] = static_cast<float>(k);
        *quad->getVertexPoint(k)->castAttribData<int>(i) = 10 * k;
        *quad->getVertex(k)->castAttribData<float>(uv) = static_cast<float>(100 * k);
    }
    GB_AttributeData out;
    ASSERT_EQ(quad->evaluateAttribs(out, 0.25f + 0.25f * 0.75f, 0), 1);
    EXPECT_FLOAT_EQ(out.castAttribData<float>(f)[1], 1.75f);
    EXPECT_EQ(*out.castAttribData<int>(i), 20) << "ints come from the nearer vertex";
    ASSERT_EQ(quad->evaluateAttribs(out, 0.6f, 1), 1);
    EXPECT_FLOAT_EQ(out.castAttribData<float>(f)[1], 1.5f) << "the centre has the mean";
    ASSERT_EQ(quad->evaluateVertexAttribs(out, 0.375f, 0), 1);
    EXPECT_FLOAT_EQ(*out.castAttribData<float>(uv), 150);
    GB_AttributeData none;
    EXPECT_EQ(static_cast<GEO_PrimParticle*>(d.insertPrimitive(GEOPRIMPART))->evaluateAttribs(none, 0, 0), 0);
}

TEST(Mesh, BilinearCellsWrapAndInverse) {
    GU_Detail d;
    std::mt19937 random(14);
    GEO_PrimMesh* grid = addMesh(
        d, 3, 4, false, [](int r, int c) { return UT_Vector3(float(c), float(r), c == 3 && r == 2 ? 1.0f : 0.0f); });
    expectNear(at(grid, 0.5f, 0.25f), {1.5f, 0.5f, 0});
    expectNear(at(grid, 1, 1), {3, 2, 1});
    expectNear(at(grid, 5.0f / 6, 0.75f), {2.5f, 1.5f, 0.25f});
    UT_Vector3 n;
    grid->evaluateNormal(0.1f, 0.1f, n);
    expectNear(n, {0, 0, 1});
    expectInverse(grid, random);
    float u, v;
    ASSERT_TRUE(grid->parametricInCell(1, 2, {2.5f, 1.5f, 0.25f}, u, v));
    expectNear({u, v, 0}, {5.0f / 6, 0.75f, 0});
    EXPECT_FALSE(grid->parametricInCell(2, 0, {0, 0, 0}, u, v));
    EXPECT_NEAR(grid->calcArea(), 5 + 1.41421356, 1e-5); // the bent cell: two triangles of sqrt(2) / 2
    grid->reverse();
    grid->evaluateNormal(0.9f, 0.1f, n);
    expectNear(n, {0, 0, -1});

    // A ring: four columns around, wrapped.
    GEO_PrimMesh* ring = GEO_PrimMesh::build(&d, 2, 4, true, false);
    for (int k = 0; k < 8; ++k) {
        constexpr float X[] = {1, 0, -1, 0}, Y[] = {0, 1, 0, -1};
        ring->getVertexPoint(k)->setPos({X[k % 4], Y[k % 4], static_cast<float>(k / 4)});
    }
    expectNear(at(ring, 0.875f, 0.5f), {0.5f, -0.5f, 0.5f});
    expectNear(at(ring, 1, 0), {1, 0, 0});
    expectInverse(ring, random);
    UT_Vector4 p;
    EXPECT_EQ(GEO_PrimMesh::build(&d, 1, 4, false, false)->evaluatePosition(0.5f, 0.5f, p), 0);
    EXPECT_EQ(GEO_PrimMesh::build(&d, 0, 4, false, false), nullptr);
    EXPECT_EQ(d.validate(), "");
}

TEST(Quadrics, SurfacesNormalsAndBoxes) {
    GU_Detail d;
    std::mt19937 random(15);
    const UT_Matrix4 m = UT_Matrix4::fromXform({2, 3, 4}, {20, 30, 40}, {1, 2, 3}, {0, 0, 0});
    GEO_PrimTube* cone = GU_PrimTube::build(&d, m, 0.25f);
    GEO_Primitive* prims[] = {GU_PrimSphere::build(&d, m), cone, GU_PrimCircle::build(&d, m), GU_PrimTube::build(&d, m),
                              GU_PrimMetaball::build(&d, m)};
    for (const GEO_Primitive* prim : prims) {
        SCOPED_TRACE(prim->getPrimitiveId());
        expectInverse(prim, random);
        UT_BoundingBox box, sampled;
        ASSERT_TRUE(prim->getBBox(box));
        for (int k = 0; k < 20000; ++k) {
            const float u = uniform(random), v = uniform(random);
            sampled.enlargeBounds(at(prim, u, v));
            // The normal is across the surface: two nearby places differ by a tangent.
            if (k % 100) continue;
            UT_Vector3 n;
            ASSERT_EQ(prim->evaluateNormal(u, 0.5f, n), 1);
            const UT_Vector3 along = at(prim, u, 0.502f) - at(prim, u, 0.498f);
            const UT_Vector3 around = at(prim, u + 0.001f, 0.5f) - at(prim, u - 0.001f, 0.5f);
            EXPECT_NEAR(n.length(), 1, 1e-5f);
            if (u > 0.01f && u < 0.99f) {
                EXPECT_NEAR(dot(n, around.normalized()), 0, 0.01);
            }
            EXPECT_NEAR(dot(n, along.normalized()), 0, 0.01);
        }
        for (int i = 0; i < 3; ++i) { // tight: samples come close to every face and never pass it
            EXPECT_NEAR(box.vmin()[i], sampled.vmin()[i], 0.15f);
            EXPECT_NEAR(box.vmax()[i], sampled.vmax()[i], 0.15f);
            EXPECT_LE(box.vmin()[i], sampled.vmin()[i] + 1e-5f);
            EXPECT_GE(box.vmax()[i], sampled.vmax()[i] - 1e-5f);
        }
    }
    EXPECT_EQ(d.validate(), "");
}

TEST(Quadrics, ParametersAsPromised) {
    GU_Detail d;
    const UT_Matrix4 one(1.0f);
    const GEO_PrimSphere* sphere = GU_PrimSphere::build(&d, one);
    expectNear(at(sphere, 0.3f, 0), {0, -1, 0});
    expectNear(at(sphere, 0.3f, 1), {0, 1, 0});
    expectNear(at(sphere, 0, 0.5f), {1, 0, 0});
    expectNear(at(sphere, 0.25f, 0.5f), {0, 0, -1}); // counter-clockwise seen from +y
    const GEO_PrimTube* tube = GU_PrimTube::build(&d, one, 0.5f);
    expectNear(at(tube, 0, 0), {1, -0.5f, 0});
    expectNear(at(tube, 0.5f, 1), {-0.5f, 0.5f, 0});
    const GEO_PrimCircle* circle = GU_PrimCircle::build(&d, one);
    expectNear(at(circle, 0.25f, 0), {0, 1, 0});
    expectNear(at(circle, 0.25f, 1), {0, 0, 0});
    // A flattened frame has no normal and no inverse, but positions.
    UT_Matrix4 flat(1.0f);
    flat(1, 1) = 0;
    const GEO_PrimSphere* pancake = GU_PrimSphere::build(&d, flat);
    UT_Vector3 n(9, 9, 9);
    float u, v;
    EXPECT_EQ(pancake->evaluateNormal(0, 0.5f, n), 1);
    EXPECT_EQ(n, UT_Vector3(0, 0, 0));
    EXPECT_FALSE(pancake->parametric({0, 0, 0}, u, v));
    expectNear(at(pancake, 0, 0.5f), {1, 0, 0});
}

TEST(Primitive, UniformSamplesCoverItEvenly) {
    GU_Detail d;
    std::mt19937 random(16);
    // Equal slices of height have equal areas (Archimedes), and so have the four midpoint triangles of a triangle.
    expectEven(GU_PrimSphere::build(&d, UT_Matrix4(1.0f)), random, 8, 0.05,
               [](const UT_Vector3& p) { return (p.y() + 1) * 4; });
    expectEven(GU_PrimCircle::build(&d, UT_Matrix4(1.0f)), random, 2, 0.02,
               [](const UT_Vector3& p) { return p.length2() * 2; });
    expectEven(polygon(d, QUAD), random, 16, 0.07,
               [](const UT_Vector3& p) { return std::floor(p.y() * 2) * 4 + std::min(3.0f, p.x() * 2); });
    expectEven(polygon(d, TRIANGLE), random, 4, 0.03, [](const UT_Vector3& p) {
        const float c = p.y() / 3, b = (p.x() - c) / 4, a = 1 - b - c;
        return a > 0.5f ? 0 : b > 0.5f ? 1 : c > 0.5f ? 2 : 3;
    });
}

TEST(Metaball, DensityFallsToZeroAtTheRadii) {
    GU_Detail d;
    UT_Matrix4 m(1.0f);
    m(0, 0) = 2;
    m.setTranslation({1, 0, 0});
    const GEO_PrimMetaball* ball = GU_PrimMetaball::build(&d, m, 3);
    EXPECT_FLOAT_EQ(ball->density({1, 0, 0}), 3);
    EXPECT_FLOAT_EQ(ball->density({2, 0, 0}), 3 * 0.75f * 0.75f * 0.75f); // half the radius: r2 = 1/4
    EXPECT_EQ(ball->density({3, 0, 0}), 0);
    EXPECT_EQ(ball->density({1, 1.01f, 0}), 0);
    EXPECT_GT(ball->density({2.9f, 0, 0}), 0);
    for (int k = 0; k < TS_KernelList::entries(); ++k) {
        const TS_MetaKernel& kernel = TS_KernelList::kernel(k);
        SCOPED_TRACE(kernel.token);
        EXPECT_EQ(TS_KernelList::find(kernel.token), k);
        EXPECT_FLOAT_EQ(kernel(0), 1);
        EXPECT_EQ(kernel(1), 0);
        for (float r2 = 0.05f; r2 < 1; r2 += 0.05f) EXPECT_LT(kernel(r2), kernel(r2 - 0.05f));
        EXPECT_LT(kernel(0.9999f), 0.001f) << "no jump at the rim";
    }
    EXPECT_EQ(TS_KernelList::find("none"), -1);
}
