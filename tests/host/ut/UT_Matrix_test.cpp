#include "host/ut/UT_BoundingBox.h"
#include "host/ut/UT_Matrix4.h"
#include "host/ut/UT_Quaternion.h"
#include "support/Near.h"

#include <random>

#include <gtest/gtest.h>

namespace {

class Random {
public:
    float operator()(float lo = -1, float hi = 1) { return lo + (hi - lo) * float(myEngine() >> 8) * 0x1p-24f; }
    UT_Vector3 vector(float size = 1) {
        const float x = (*this)(-size, size), y = (*this)(-size, size), z = (*this)(-size, size);
        return {x, y, z};
    }

private:
    std::mt19937 myEngine{20};
};

void expectRotation(const UT_Matrix3& m) {
    EXPECT_NEAR(m.determinant(), 1, 2e-6f);
    const UT_Matrix3 shouldBeOne = m * m.transposed();
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_NEAR(shouldBeOne(i, j), i == j, 2e-6f);
}

const UT_Vector3 X(1, 0, 0), Y(0, 1, 0), Z(0, 0, 1);

} // namespace

TEST(UT_Vector3, NormalisesAnyMagnitude) {
    for (float size : {1e-44f, 1e-30f, 1.0f, 1e30f, 3e38f}) {
        UT_Vector3 v(size, -size, size);
        v.normalize();
        expectNear(v, UT_Vector3(0.57735027f, -0.57735027f, 0.57735027f));
    }
    EXPECT_FLOAT_EQ(UT_Vector3(3e-30f, 4e-30f, 0).normalize(), 5e-30f);
    UT_Vector3 zero(0, 0, 0);
    EXPECT_EQ(zero.normalize(), 0);
    EXPECT_EQ(zero, UT_Vector3(0, 0, 0));
}

TEST(UT_Matrix3, DihedralTurnsOneDirectionOntoTheOther) {
    Random random;
    UT_Matrix3 m;
    for (int i = 0; i < 2000; ++i) {
        const UT_Vector3 a = random.vector(5), b = random.vector(0.01f);
        ASSERT_EQ(m.dihedral(a, b, 1), 0);
        expectRotation(m);
        expectNear(a.normalized() * m, b.normalized());
        // The smallest such rotation leaves the common normal alone.
        const UT_Vector3 n = cross(a, b).normalized();
        expectNear(n * m, n, 2e-5f);
        // Opposite directions have no unique axis.
        EXPECT_EQ(m.dihedral(a, a * -2.5f, 1), 1);
        expectRotation(m);
        expectNear(a * m, -a, 1e-5f);
    }
    EXPECT_EQ(m.dihedral(X, X, 0), 0);
    EXPECT_TRUE(m.isIdentity());
    for (const UT_Vector3& bad : {UT_Vector3(0, 0, 0), UT_Vector3(NAN, 0, 0), UT_Vector3(INFINITY, 1, 0)}) {
        EXPECT_EQ(m.dihedral(bad, X, 1) + m.dihedral(X, bad, 1), 4);
        EXPECT_TRUE(m.isIdentity());
    }
}

TEST(UT_Matrix3, RotatesRightHanded) {
    const float quarter = float(UT_Math::pi / 2);
    expectNear(Y * UT_Matrix3::rotationMat(X * 7.0f, quarter), Z);
    expectNear(Z * UT_Matrix3::rotationMat(Y, quarter), X);
    EXPECT_TRUE(UT_Matrix3::rotationMat(UT_Vector3(0, 0, 0), 1).isIdentity());
    UT_Matrix3 m(1);
    m.rotate(Z, quarter);
    m.rotate(X, quarter); // appended: x goes to y, then to z
    expectNear(X * m, Z);
}

TEST(UT_Matrix3, OrientFacesAlongTheDirection) {
    Random random;
    for (int i = 0; i < 500; ++i) {
        const UT_Vector3 v = random.vector(3), up = random.vector();
        UT_Matrix3 m;
        m.orient(v, 1, nullptr, &up, nullptr);
        expectRotation(m);
        expectNear(Z * m, v.normalized());
        EXPECT_GT(dot(m.row(1), up), 0);
        EXPECT_NEAR(dot(m.row(0), up), 0, 2e-6f);
    }
    UT_Matrix3 m;
    m.orient(UT_Vector3(0, 0, 0), 1, nullptr, nullptr, nullptr);
    EXPECT_TRUE(m.isIdentity());
    for (const UT_Vector3& along : {Y, -Y, X, Z}) { // up along the direction
        m.orient(along, 1, nullptr, &along, nullptr);
        expectRotation(m);
        expectNear(m.row(2), along);
    }
    const UT_Vector3 scales(1, 2, 3);
    m.orient(Z, 2, &scales, nullptr, nullptr);
    EXPECT_EQ(UT_Vector3(m(0, 0), m(1, 1), m(2, 2)), UT_Vector3(2, 4, 6));
}

TEST(UT_Matrix4, InverseUndoes) {
    Random random;
    for (int i = 0; i < 500; ++i) {
        UT_DMatrix4 m(0.0);
        for (int k = 0; k < 16; ++k) m.data()[k] = random();
        UT_DMatrix4 inverse = m;
        ASSERT_TRUE(inverse.invert());
        EXPECT_NEAR(m.determinant() * inverse.determinant(), 1, 1e-9);
        const double size = 1 + 1 / std::fabs(m.determinant());
        for (const UT_DMatrix4& one : {m * inverse, inverse * m})
            for (int k = 0; k < 16; ++k) EXPECT_NEAR(one.data()[k], k % 5 == 0, 1e-13 * size);
        UT_Matrix3 small(random.vector(), random.vector(), random.vector()), back = small;
        ASSERT_TRUE(back.invert());
        const UT_Vector3 v = random.vector();
        expectNear(v * small * back, v, 3e-5f / std::fabs(small.determinant()));
    }
    // Determinant of a known matrix by cofactors on paper.
    UT_DMatrix4 known(0.0);
    const double rows[16] = {1, 0, 2, -1, 3, 0, 0, 5, 2, 1, 4, -3, 1, 0, 5, 0};
    std::copy(rows, rows + 16, known.data());
    EXPECT_DOUBLE_EQ(known.determinant(), 30);
    UT_Matrix4 flat = UT_Matrix4::fromXform({1, 0, 1}, {0, 0, 0}, {1, 2, 3}, {0, 0, 0});
    const UT_Matrix4 before = flat;
    EXPECT_FALSE(flat.invert() || UT_Matrix3(NAN).invert());
    EXPECT_EQ(flat, before) << "the singular stays as it is";
}

TEST(UT_Matrix4, ObjectTransformScalesRotatesTranslatesAboutItsPivot) {
    // 2 × along x, then 90 degrees about x, then about y, moved by (10, 0, 0).
    const UT_Matrix4 m = UT_Matrix4::fromXform({2, 1, 1}, {90, 90, 0}, {10, 0, 0}, {0, 0, 0});
    EXPECT_EQ(X * m, UT_Vector3(10, 0, -2)); // stays under x, goes to -z under y
    EXPECT_EQ(Y * m, UT_Vector3(11, 0, 0));  // to z, then to x
    EXPECT_EQ(Z * m, UT_Vector3(10, -1, 0)); // to -y
    EXPECT_EQ(rowVecMult3(Y, m), X);
    const UT_Vector3 pivot(1, 2, 3), t(0, 5, 0);
    expectNear(pivot * UT_Matrix4::fromXform({3, 3, 3}, {10, 20, 30}, t, pivot), pivot + t, 1e-5f);
    // A normal by the inverse stays across a tangent.
    const UT_Matrix4 squeezed = UT_Matrix4::fromXform({1, 4, 0.5f}, {20, -50, 70}, {1, 2, 3}, {0, 1, 0});
    UT_Matrix4 inverse = squeezed;
    ASSERT_TRUE(inverse.invert());
    const UT_Vector3 tangent(1, 2, -1), normal(2, -0.5f, 1);
    EXPECT_NEAR(dot(rowVecMult3(tangent, squeezed), colVecMult3(inverse, normal)), 0, 1e-5f);
}

TEST(UT_Quaternion, TurnsLikeTheMatrix) {
    Random random;
    for (int i = 0; i < 500; ++i) {
        const UT_Vector3 axis = random.vector(), v = random.vector(3);
        const float angle = random(-7, 7);
        const UT_Quaternion q(angle, axis);
        const UT_Matrix3 m = UT_Matrix3::rotationMat(axis, angle);
        expectNear(v * q.toMatrix(), v * m, 1e-5f);
        const UT_Quaternion back(m);
        EXPECT_NEAR(std::fabs(back.x() * q.x() + back.y() * q.y() + back.z() * q.z() + back.w() * q.w()), 1, 2e-6f);
        // The product turns by its right factor first.
        const UT_Quaternion p(random(-3, 3), random.vector());
        expectNear(v * (p * q).toMatrix(), v * q.toMatrix() * p.toMatrix(), 2e-5f);
    }
    // Half turns have w = 0, where the easy formula divides by nothing.
    for (const UT_Vector3& axis : {X, Y, Z, UT_Vector3(1, 1, 0), UT_Vector3(-1, 2, 3)}) {
        const UT_Quaternion q(UT_Matrix3::rotationMat(axis, float(UT_Math::pi)));
        expectNear(q.rotate(axis), axis, 1e-5f);
        EXPECT_NEAR(q.length(), 1, 1e-6f);
    }
    UT_Quaternion none(0, 0, 0, 0);
    EXPECT_EQ(none.normalize(), 0);
    EXPECT_TRUE(none.toMatrix().isIdentity());
}

TEST(UT_BoundingBox, GrowsAndTransforms) {
    UT_BoundingBox box;
    box.enlargeBounds(UT_BoundingBox());
    EXPECT_FALSE(box.isValid() || box.isInside(UT_Vector3(0, 0, 0)));
    box.enlargeBounds(UT_Vector3(1, 2, 3));
    box.enlargeBounds(UT_Vector3(-1, 5, NAN));
    EXPECT_EQ(box.size(), UT_Vector3(2, 3, 0));
    EXPECT_EQ(box.center(), UT_Vector3(0, 3.5f, 3));
    EXPECT_TRUE(box.isInside(UT_Vector3(1, 5, 3)));
    EXPECT_FALSE(box.isInside(UT_Vector3(1, 5.001f, 3)));

    UT_BoundingBox cube(UT_Vector3(-1, -1, -1), UT_Vector3(1, 1, 1));
    cube.transform(UT_Matrix4::fromXform({1, 1, 1}, {0, 0, 45}, {10, 0, 0}, {0, 0, 0}));
    expectNear(cube.vmax(), UT_Vector3(11.4142136f, 1.4142136f, 1), 1e-5f);
    EXPECT_TRUE(cube.intersects(UT_BoundingBox(UT_Vector3(11, 1, 1), UT_Vector3(20, 20, 20))));
    EXPECT_FALSE(cube.intersects(UT_BoundingBox(UT_Vector3(11, 1, 1.1f), UT_Vector3(20, 20, 20))));
}
