#include "RayModel.h"

#include "host/geo/GU_RayIntersect.h"

#include <gtest/gtest.h>

namespace {

// isInside and the exact shape agree, away from the shape's surface by `clear`.
void expectAgreement(const GU_RayIntersect& rays, const std::function<double(const UT_Vector3&)>& signedDistance,
                     double clear) {
    RayRandom random(99);
    int wrong = 0, inside = 0;
    for (int i = 0; i < 6000; ++i) {
        const UT_Vector3 p = random.vector(-3, 3);
        const double d = signedDistance(p);
        if (std::fabs(d) < clear) continue;
        inside += d < 0;
        wrong += (rays.isInside(p, 1) != 0) != (d < 0);
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(inside, 300);
}

double toSphere(const UT_Vector3& p) { return double(p.length()) - 2; }

double toTorus(const UT_Vector3& p) {
    const double q = std::hypot(double(p.x()), double(p.y())) - 1.8;
    return std::hypot(q, double(p.z())) - 0.6;
}

double toBox(const UT_Vector3& p, double half = 1.5) {
    double d = -1e30;
    for (int k = 0; k < 3; ++k) d = std::max(d, std::fabs(double(p[k])) - half);
    return d;
}

} // namespace

TEST(GU_RayInside, agreesWithExactShapes) {
    GU_Detail torus, box, sphere, mesh, quadric;
    addTorusLike(torus, 60, 90, false, [](double u, double v) { return onTorus(u, v, 1.8, 0.6); });
    box.cube({-1.5f, -1.5f, -1.5f}, {1.5f, 1.5f, 1.5f});
    addSphere(sphere, 60, 80, 2);
    GU_PrimSphere::build(&quadric, UT_Matrix4(UT_Matrix3(2.0f)));
    addMesh(mesh, 50, 70, true, [](int r, int c) { return onTorus(c / 70.0, r / 50.0, 1.8, 0.6); });
    expectAgreement(GU_RayIntersect(&torus), toTorus, 0.01);
    expectAgreement(
        GU_RayIntersect(&box), [](const UT_Vector3& p) { return toBox(p); }, 0);
    expectAgreement(GU_RayIntersect(&sphere), toSphere, 0.01);
    expectAgreement(GU_RayIntersect(&mesh), toTorus, 0.01);
    expectAgreement(GU_RayIntersect(&quadric), toSphere, 1e-5);

    // Level with edges, corners and the split of every face.
    const GU_RayIntersect tidy(&box);
    for (int x = -9; x <= 9; ++x)
        for (int y = -9; y <= 9; ++y)
            for (int z = -9; z <= 9; ++z) {
                const UT_Vector3 p(static_cast<float>(x) / 4, static_cast<float>(y) / 4, static_cast<float>(z) / 4);
                EXPECT_TRUE(toBox(p) == 0 || tidy.isInside(p, 1) == (toBox(p) < 0)) << x << " " << y << " " << z;
            }
}

TEST(GU_RayInside, probesThroughVerticesAndEdgesCountThemOnce) {
    // The probes run in fixed directions: aim one exactly (in float) at each vertex and edge middle of a mesh.
    GU_Detail detail;
    addSphere(detail, 16, 24, 1);
    const GU_RayIntersect rays(&detail);
    int wrong = 0, checked = 0;
    for (size_t n = 0; n < detail.primitives().entries(); ++n) {
        const GEO_Primitive& prim = *detail.primitives()[n];
        for (int k = 0; k < prim.getVertexCount(); ++k) {
            const UT_Vector3 a(prim.getVertexPoint(k)->getPos());
            const UT_Vector3 b(prim.getVertexPoint((k + 1) % prim.getVertexCount())->getPos());
            for (const UT_Vector3& dir : {UT_Vector3(0.57f, 0.31f, 0.76f), UT_Vector3(0, 0, 1), UT_Vector3(1, 0, 0)})
                for (float back : {0.25f, 1.0f, 4.0f})
                    for (const UT_Vector3& target : {a, (a + b) * 0.5f}) {
                        const UT_Vector3 p = target - dir * back;
                        if (std::fabs(p.length() - 1) < 0.03f) continue;
                        ++checked;
                        wrong += (rays.isInside(p, 1) != 0) != (p.length() < 1);
                    }
        }
    }
    EXPECT_GT(checked, 10000);
    EXPECT_EQ(wrong, 0);
}

TEST(GU_RayInside, overlapsAreInsideAndCavitiesOutside) {
    GU_Detail both, shell;
    both.cube({-2, -2, -2}, {1, 1, 1});
    both.cube({-1, -1, -1}, {2, 2, 2});
    const UT_Vector3 half(0.5f, 0.5f, 0.5f);
    const auto toBoth = [&](const UT_Vector3& p) { return std::min(toBox(p + half), toBox(p - half)); };
    const auto toShell = [](const UT_Vector3& p) { return std::max(toBox(p, 2), -toBox(p, 1)); };
    expectAgreement(GU_RayIntersect(&both), toBoth, 0);
    shell.cube({-1, -1, -1}, {1, 1, 1});
    for (size_t i = 0; i < 6; ++i) shell.primitives()[i]->reverse();
    shell.cube({-2, -2, -2}, {2, 2, 2});
    expectAgreement(GU_RayIntersect(&shell), toShell, 0);
}

TEST(GU_RayInside, mixedWindingsFallBackToCountingCrossings) {
    GU_Detail detail;
    addSphere(detail, 12, 18, 2);
    for (size_t i = 0; i < detail.primitives().entries(); i += 3) detail.primitives()[i]->reverse();
    const GU_RayIntersect rays(&detail);
    expectAgreement(rays, toSphere, 0.1);
    EXPECT_TRUE(rays.isInside({0.1f, 0.2f, 0.3f}, 0));

    // A sphere with one polygon missing: points deep inside stay inside by majority.
    GU_Detail holed;
    addSphere(holed, 12, 18, 2);
    holed.deletePrimitive(holed.primitives()[40]);
    RayRandom random(4);
    const GU_RayIntersect leaky(&holed);
    for (int i = 0; i < 200; ++i) EXPECT_TRUE(leaky.isInside(random.direction() * 0.5f));
}
