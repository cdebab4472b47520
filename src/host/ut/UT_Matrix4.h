#pragma once

#include "host/ut/UT_Matrix3.h"
#include "host/ut/UT_Vector4.h"

/// 4 × 4 matrix acting on row vectors `(x, y, z, 1) * M`: translation in the last row, and `A * B` is first A, then B.
template <class T> class UT_Matrix4T {
public:
    using Vec = UT_Vector3T<T>;
    using Mat = UT_Matrix4T;

    UT_Matrix4T() = default; ///< uninitialised; see identity()
    explicit constexpr UT_Matrix4T(T d)
        : myM{{d, 0, 0, 0}, {0, d, 0, 0}, {0, 0, d, 0}, {0, 0, 0, d}} {}
    explicit constexpr UT_Matrix4T(const UT_Matrix3T<T>& m, const Vec& translation = Vec(0, 0, 0))
        : UT_Matrix4T(T(1)) {
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) myM[i][j] = m(i, j);
        setTranslation(translation);
    }
    /// Between float and double matrices.
    template <class U>
    requires(!std::is_same_v<U, T>) explicit constexpr UT_Matrix4T(const UT_Matrix4T<U>& m)
        : myM{} {
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j) myM[i][j] = T(m(i, j));
    }

    constexpr void identity() { *this = Mat(T(1)); }
    constexpr bool isIdentity() const { return *this == Mat(T(1)); }
    constexpr T& operator()(int row, int col) { return myM[row][col]; }
    constexpr T operator()(int row, int col) const { return myM[row][col]; }
    T* data() { return myM[0]; }
    const T* data() const { return myM[0]; }
    friend constexpr bool operator==(const Mat&, const Mat&) = default;

    constexpr Vec translation() const { return {myM[3][0], myM[3][1], myM[3][2]}; }
    constexpr void setTranslation(const Vec& t) {
        for (int j = 0; j < 3; ++j) myM[3][j] = t[j];
    }
    /// The rotation, scale and shear: the upper left 3 × 3 part.
    constexpr UT_Matrix3T<T> upper3() const { return {rowVec(0), rowVec(1), rowVec(2)}; }

    friend constexpr Mat operator*(const Mat& a, const Mat& b) {
        Mat m(T(0));
        for (int i = 0; i < 4; ++i)
            for (int k = 0; k < 4; ++k)
                for (int j = 0; j < 4; ++j) m.myM[i][j] += a.myM[i][k] * b.myM[k][j];
        return m;
    }
    constexpr Mat& operator*=(const Mat& b) { return *this = *this * b; }

    constexpr Mat transposed() const {
        Mat m(T(0));
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j) m.myM[i][j] = myM[j][i];
        return m;
    }
    constexpr void transpose() { *this = transposed(); }
    /// Laplace expansion by 2 × 2 minors, in double.
    constexpr T determinant() const { return T(Minors(*this).determinant()); }
    /// Inverts in place; false, and unchanged, when the matrix is singular or not finite. Computed in double.
    bool invert() {
        const Minors n(*this);
        const double s = 1 / n.determinant();
        if (!std::isfinite(s) || s == 0) return false;
        *this = n.adjugate(*this, s);
        return true;
    }

    void translate(const Vec& t) { *this *= Mat(UT_Matrix3T<T>(T(1)), t); }
    void scale(const Vec& s) { *this *= Mat(scaling(s)); }
    /// Appends a right-handed rotation about `axis` through the origin.
    void rotate(const Vec& axis, T radians, int norm = 1) {
        *this *= Mat(UT_Matrix3T<T>::rotationMat(axis, radians, norm));
    }
    /// An object's transform: scales, rotates about x, then y, then z (degrees), all about `pivot`, then translates.
    static Mat fromXform(const Vec& scale, const Vec& degrees, const Vec& translate, const Vec& pivot) {
        UT_Matrix3T<T> m = scaling(scale);
        for (int axis = 0; axis < 3; ++axis)
            if (degrees[axis] != 0) m *= axisRotation(axis, degrees[axis]);
        return Mat(m, translate + pivot - pivot * m);
    }

private:
    T myM[4][4];

    constexpr Vec rowVec(int i) const { return {myM[i][0], myM[i][1], myM[i][2]}; }

    static constexpr UT_Matrix3T<T> scaling(const Vec& s) { return {{s.x(), 0, 0}, {0, s.y(), 0}, {0, 0, s.z()}}; }

    // Quarter turns are exact, so that an object turned by 90 degrees keeps clean coordinates.
    static UT_Matrix3T<T> axisRotation(int axis, T degrees) {
        const double quarters = double(degrees) / 90, rest = quarters - 4 * std::floor(quarters / 4);
        const bool exact = rest == std::floor(rest);
        const double angle = double(degrees) * (UT_Math::pi / 180);
        const double c = exact ? (rest == 0) - (rest == 2) : UT_Math::cos(angle);
        const double s = exact ? (rest == 1) - (rest == 3) : UT_Math::sin(angle);
        UT_Matrix3T<T> m(T(1));
        const int j = (axis + 1) % 3, k = (axis + 2) % 3;
        m(j, j) = m(k, k) = T(c), m(j, k) = T(s), m(k, j) = T(-s);
        return m;
    }

    // The 2 × 2 minors of the upper two rows (s) and the lower two rows (c).
    struct Minors {
        double s[6], c[6];

        explicit constexpr Minors(const Mat& m)
            : s{}
            , c{} {
            constexpr int cols[6][2] = {{0, 1}, {0, 2}, {0, 3}, {1, 2}, {1, 3}, {2, 3}};
            for (int i = 0; i < 6; ++i) {
                const int p = cols[i][0], q = cols[i][1];
                s[i] = double(m(0, p)) * m(1, q) - double(m(1, p)) * m(0, q);
                c[i] = double(m(2, p)) * m(3, q) - double(m(3, p)) * m(2, q);
            }
        }
        constexpr double determinant() const {
            return s[0] * c[5] - s[1] * c[4] + s[2] * c[3] + s[3] * c[2] - s[4] * c[1] + s[5] * c[0];
        }
        // Row i of the inverse from column i's cofactors; k scales all of them.
        constexpr Mat adjugate(const Mat& m, double k) const {
            Mat r(T(0));
            for (int j = 0; j < 4; ++j) {
                const double* n = j < 2 ? c : s;
                const int other = j ^ 1;
                const double sign = j % 2 ? -k : k;
                const double a = m(other, 0), b = m(other, 1), d = m(other, 2), e = m(other, 3);
                r(0, j) = T(sign * (b * n[5] - d * n[4] + e * n[3]));
                r(1, j) = T(-sign * (a * n[5] - d * n[2] + e * n[1]));
                r(2, j) = T(sign * (a * n[4] - b * n[2] + e * n[0]));
                r(3, j) = T(-sign * (a * n[3] - b * n[1] + d * n[0]));
            }
            return r;
        }
    };
};

using UT_Matrix4 = UT_Matrix4T<float>;
using UT_DMatrix4 = UT_Matrix4T<double>;

/// A point: `(v, 1) * M`, translation included; the w of the result is dropped (affine matrices keep it 1). The vector
/// may be of the other precision; the arithmetic is the wider of the two.
template <class V, class T> constexpr UT_Vector3T<V> rowVecMult(const UT_Vector3T<V>& v, const UT_Matrix4T<T>& m) {
    using W = decltype(V() * T());
    const W x = v.x(), y = v.y(), z = v.z();
    return {V(x * m(0, 0) + y * m(1, 0) + z * m(2, 0) + m(3, 0)), V(x * m(0, 1) + y * m(1, 1) + z * m(2, 1) + m(3, 1)),
            V(x * m(0, 2) + y * m(1, 2) + z * m(2, 2) + m(3, 2))};
}
template <class V, class T> constexpr UT_Vector3T<V> operator*(const UT_Vector3T<V>& v, const UT_Matrix4T<T>& m) {
    return rowVecMult(v, m);
}
template <class T> constexpr UT_Vector3T<T> rowVecMult(const UT_Vector3T<T>& v, const UT_Matrix3T<T>& m) {
    return v * m;
}

/// A direction: `v * M` by the upper 3 × 3 part, no translation.
template <class V, class T> constexpr UT_Vector3T<V> rowVecMult3(const UT_Vector3T<V>& v, const UT_Matrix4T<T>& m) {
    using W = decltype(V() * T());
    const W x = v.x(), y = v.y(), z = v.z();
    return {V(x * m(0, 0) + y * m(1, 0) + z * m(2, 0)), V(x * m(0, 1) + y * m(1, 1) + z * m(2, 1)),
            V(x * m(0, 2) + y * m(1, 2) + z * m(2, 2))};
}

/// `M * v` as a column, by the upper 3 × 3 part: with the inverse matrix this transforms normals.
template <class V, class T> constexpr UT_Vector3T<V> colVecMult3(const UT_Matrix4T<T>& m, const UT_Vector3T<V>& v) {
    using W = decltype(V() * T());
    const W x = v.x(), y = v.y(), z = v.z();
    return {V(x * m(0, 0) + y * m(0, 1) + z * m(0, 2)), V(x * m(1, 0) + y * m(1, 1) + z * m(1, 2)),
            V(x * m(2, 0) + y * m(2, 1) + z * m(2, 2))};
}

/// All four components: `v * M`.
constexpr UT_Vector4 operator*(const UT_Vector4& v, const UT_Matrix4& m) {
    UT_Vector4 r(0, 0, 0, 0);
    for (int j = 0; j < 4; ++j) r[j] = v.x() * m(0, j) + v.y() * m(1, j) + v.z() * m(2, j) + v.w() * m(3, j);
    return r;
}
