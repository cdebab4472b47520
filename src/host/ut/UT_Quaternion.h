#pragma once

#include "host/ut/UT_Matrix3.h"
#include "host/ut/UT_Vector4.h"

/// Quaternion x i + y j + z k + w; as a rotation, (axis · sin(a/2), cos(a/2)). Product and sum are Hamilton's.
class UT_Quaternion {
public:
    UT_Quaternion() = default; ///< uninitialised
    constexpr UT_Quaternion(float x, float y, float z, float w)
        : myV(x, y, z, w) {}
    explicit constexpr UT_Quaternion(const float* v)
        : myV(v) {}
    UT_Quaternion(float radians, const UT_Vector3& axis, int norm = 1) { updateFromAngleAxis(radians, axis, norm); }
    explicit UT_Quaternion(const UT_Matrix3& m) { updateFromRotationMatrix(m); }

    constexpr float& x() { return myV.x(); }
    constexpr float& y() { return myV.y(); }
    constexpr float& z() { return myV.z(); }
    constexpr float& w() { return myV.w(); }
    constexpr float x() const { return myV.x(); }
    constexpr float y() const { return myV.y(); }
    constexpr float z() const { return myV.z(); }
    constexpr float w() const { return myV.w(); }
    constexpr float& operator[](int i) { return myV[i]; }
    constexpr float operator[](int i) const { return myV[i]; }
    float* data() { return myV.data(); }
    const float* data() const { return myV.data(); }
    constexpr void assign(float x, float y, float z, float w) { myV.assign(x, y, z, w); }
    constexpr void identity() { assign(0, 0, 0, 1); }
    friend constexpr bool operator==(const UT_Quaternion&, const UT_Quaternion&) = default;

    constexpr UT_Quaternion& operator+=(const UT_Quaternion& b) { return myV += b.myV, *this; }
    constexpr UT_Quaternion& operator*=(float s) { return myV *= s, *this; }
    /// this = this · b. As rotations of row vectors through toMatrix(), b turns first.
    constexpr UT_Quaternion& operator*=(const UT_Quaternion& b) {
        const UT_Quaternion a = *this;
        assign(a.w() * b.x() + a.x() * b.w() + a.y() * b.z() - a.z() * b.y(),
               a.w() * b.y() - a.x() * b.z() + a.y() * b.w() + a.z() * b.x(),
               a.w() * b.z() + a.x() * b.y() - a.y() * b.x() + a.z() * b.w(),
               a.w() * b.w() - a.x() * b.x() - a.y() * b.y() - a.z() * b.z());
        return *this;
    }
    friend constexpr UT_Quaternion operator*(UT_Quaternion a, const UT_Quaternion& b) { return a *= b; }
    friend constexpr UT_Quaternion operator*(UT_Quaternion a, float s) { return a *= s; }
    friend constexpr UT_Quaternion operator+(UT_Quaternion a, const UT_Quaternion& b) { return a += b; }

    float length() const {
        const double a = x(), b = y(), c = z(), d = w();
        return float(std::sqrt(a * a + b * b + c * c + d * d));
    }
    /// Makes the length 1 and returns the length there was; a zero quaternion stays as it is.
    float normalize() {
        const float l = length();
        if (l > 0) myV /= l;
        return l;
    }

    /// Rotation by `radians` about `axis`, which is normalised first when `norm` is set; an axis without direction
    /// gives the identity.
    void updateFromAngleAxis(float radians, const UT_Vector3& axis, int norm = 1) {
        UT_Vector3 n = axis;
        if (norm && !(n.normalize() > 0)) return identity();
        const double half = double(radians) / 2;
        n *= float(UT_Math::sin(half));
        assign(n.x(), n.y(), n.z(), float(UT_Math::cos(half)));
    }

    /// The rotation for row vectors, `v * toMatrix()`; a quaternion whose length is not 1 is normalised on the way,
    /// zero gives the identity.
    UT_Matrix3 toMatrix() const {
        UT_Quaternion q = *this;
        if (!(q.normalize() > 0)) return UT_Matrix3(1);
        const float a = q.x(), b = q.y(), c = q.z(), d = q.w();
        return {{1 - 2 * (b * b + c * c), 2 * (a * b + c * d), 2 * (a * c - b * d)},
                {2 * (a * b - c * d), 1 - 2 * (a * a + c * c), 2 * (b * c + a * d)},
                {2 * (a * c + b * d), 2 * (b * c - a * d), 1 - 2 * (a * a + b * b)}};
    }

    /// From a rotation matrix for row vectors (no scale). Picks the largest component first (Shepperd 1978), so the
    /// division is always safe; w is not negative.
    void updateFromRotationMatrix(const UT_Matrix3& m) {
        const float trace[4] = {m(0, 0) - m(1, 1) - m(2, 2), m(1, 1) - m(0, 0) - m(2, 2), m(2, 2) - m(0, 0) - m(1, 1),
                                m(0, 0) + m(1, 1) + m(2, 2)};
        int big = 3;
        for (int i = 0; i < 3; ++i)
            if (trace[i] > trace[big]) big = i;
        const float s = 0.5f * std::sqrt(trace[big] > -1 ? 1 + trace[big] : 0);
        if (!(s > 0)) return identity();
        const float f = 0.25f / s;
        myV[big] = s;
        if (big == 3) {
            for (int i = 0; i < 3; ++i) myV[i] = f * (m((i + 1) % 3, (i + 2) % 3) - m((i + 2) % 3, (i + 1) % 3));
            return;
        }
        const int j = (big + 1) % 3, k = (big + 2) % 3;
        myV[j] = f * (m(big, j) + m(j, big));
        myV[k] = f * (m(big, k) + m(k, big));
        myV[3] = f * (m(j, k) - m(k, j));
        if (myV[3] < 0) myV = -myV;
    }

    /// `v` turned by this rotation.
    UT_Vector3 rotate(const UT_Vector3& v) const { return v * toMatrix(); }

private:
    UT_Vector4 myV;
};

static_assert(sizeof(UT_Quaternion) == 16 && std::is_trivially_copyable_v<UT_Quaternion>);
