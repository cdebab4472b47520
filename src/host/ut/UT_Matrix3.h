#pragma once

#include "host/ut/UT_Math.h"
#include "host/ut/UT_Vector3.h"

/// 3 × 3 matrix acting on row vectors: `v * M`, and `v * (A * B)` is first A, then B. Rows are the images of the axes.
/// Rotations are right-handed: a positive angle about z turns x towards y.
template <class T> class UT_Matrix3T {
public:
    using Vec = UT_Vector3T<T>;
    using Mat = UT_Matrix3T;

    UT_Matrix3T() = default; ///< uninitialised; see identity()
    explicit constexpr UT_Matrix3T(T diagonal)
        : myRows{{diagonal, 0, 0}, {0, diagonal, 0}, {0, 0, diagonal}} {}
    constexpr UT_Matrix3T(const Vec& r0, const Vec& r1, const Vec& r2)
        : myRows{r0, r1, r2} {}
    template <class U>
    requires(!std::is_same_v<U, T>) explicit constexpr UT_Matrix3T(const UT_Matrix3T<U>& m)
        : myRows{Vec(m.row(0)), Vec(m.row(1)), Vec(m.row(2))} {}

    constexpr void identity() { *this = Mat(T(1)); }
    constexpr bool isIdentity() const { return *this == Mat(T(1)); }

    constexpr T& operator()(int row, int col) { return myRows[row][col]; }
    constexpr T operator()(int row, int col) const { return myRows[row][col]; }
    constexpr Vec& row(int i) { return myRows[i]; }
    constexpr const Vec& row(int i) const { return myRows[i]; }
    T* data() { return myRows[0].data(); }
    const T* data() const { return myRows[0].data(); }
    friend constexpr bool operator==(const Mat&, const Mat&) = default;

    friend constexpr Vec operator*(const Vec& v, const Mat& m) {
        return m.myRows[0] * v.x() + m.myRows[1] * v.y() + m.myRows[2] * v.z();
    }
    friend constexpr Mat operator*(const Mat& a, const Mat& b) {
        return {a.myRows[0] * b, a.myRows[1] * b, a.myRows[2] * b};
    }
    constexpr Mat& operator*=(const Mat& b) { return *this = *this * b; }
    constexpr Mat& operator*=(T s) { return *this = {myRows[0] * s, myRows[1] * s, myRows[2] * s}; }

    constexpr Mat transposed() const {
        const Mat& m = *this;
        return {{m(0, 0), m(1, 0), m(2, 0)}, {m(0, 1), m(1, 1), m(2, 1)}, {m(0, 2), m(1, 2), m(2, 2)}};
    }
    constexpr void transpose() { *this = transposed(); }
    constexpr T determinant() const { return T(dot(wide(0), cross(wide(1), wide(2)))); }
    /// Inverts in place; false, and unchanged, when the matrix is singular or not finite. Computed in double.
    bool invert() {
        const UT_Vector3D a = wide(0), b = wide(1), c = wide(2), bc = cross(b, c), ca = cross(c, a), ab = cross(a, b);
        const double s = 1 / dot(a, bc);
        if (!std::isfinite(s) || s == 0) return false;
        *this = Mat(Vec(bc * s), Vec(ca * s), Vec(ab * s)).transposed();
        return true;
    }

    /// Rotation by `radians` about `axis`, which is normalised first when `norm` is set and must have length 1
    /// otherwise. An axis without direction gives the identity. Rodrigues' formula.
    static Mat rotationMat(const Vec& axis, T radians, int norm = 1) {
        UT_Vector3D n(axis.x(), axis.y(), axis.z());
        if (norm && !(n.normalize() > 0)) return Mat(T(1));
        return fromCosSin(n, UT_Math::cos(double(radians)), UT_Math::sin(double(radians)));
    }
    /// Appends a rotation: afterwards `v * M` is turned by it last.
    void rotate(const Vec& axis, T radians, int norm = 1) { *this *= rotationMat(axis, radians, norm); }
    void scale(const Vec& s) {
        for (Vec& r : myRows) r *= s;
    }

    /// Builds the smallest rotation that turns a onto b, for row vectors: a * M points along b. `norm` non-zero: a and
    /// b are normalised first; zero: the caller has done so. Returns 0 on success. 1: a and b are opposite, so that the
    /// axis is free; the matrix is then a half turn about some axis across a. 2: a or b has no direction; the matrix is
    /// the identity.
    int dihedral(const Vec& a, const Vec& b, int norm) {
        UT_Vector3D p(a.x(), a.y(), a.z()), q(b.x(), b.y(), b.z());
        identity();
        if (!hasDirection(p, norm) || !hasDirection(q, norm)) return 2;
        const UT_Vector3D axis = cross(p, q);
        const double sine = axis.length(), cosine = dot(p, q);
        if (sine < 1e-7 && cosine < 0) {
            *this = fromCosSin(across(p), -1, 0);
            return 1;
        }
        if (sine > 0) *this = fromCosSin(axis / sine, cosine, sine);
        return 0;
    }

    /// The frame of something that faces along `direction`: row 2 (z) is the direction, row 1 (y) is `up` made
    /// perpendicular to it, row 0 completes a right-handed frame; all of length `scale`, times the components of
    /// `scales` when given. Without direction z stays (0, 0, 1); without `up`, or with one along the direction, the
    /// y axis, else the x axis, takes its place. `rot`, when given, is a rotation applied before the frame.
    void orient(const Vec& direction, T scale, const Vec* scales, const Vec* up, const Mat* rot) {
        Vec z = direction;
        if (!(z.normalize() > 0)) z.assign(0, 0, 1);
        Vec x = sideways(z, up ? *up : Vec(0, 1, 0));
        if (x == Vec(0, 0, 0)) x = sideways(z, Vec(0, 1, 0));
        if (x == Vec(0, 0, 0)) x = sideways(z, Vec(1, 0, 0));
        *this = {x, cross(z, x).normalized(), z};
        if (rot) *this = *rot * *this;
        const Vec s = (scales ? *scales : Vec(1, 1, 1)) * scale;
        for (int i = 0; i < 3; ++i) myRows[i] *= s[i];
    }

private:
    Vec myRows[3];

    constexpr UT_Vector3D wide(int i) const { return {myRows[i].x(), myRows[i].y(), myRows[i].z()}; }

    static bool hasDirection(UT_Vector3D& v, int norm) {
        const double l = norm ? v.normalize() : v.length();
        return l > 0 && std::isfinite(l);
    }
    // A unit vector across unit vector p, from the axis that p leans to least.
    static UT_Vector3D across(const UT_Vector3D& p) {
        const double x = std::fabs(p.x()), y = std::fabs(p.y()), z = std::fabs(p.z());
        const UT_Vector3D axis = x <= y && x <= z ? UT_Vector3D(1, 0, 0)
                                 : y <= z         ? UT_Vector3D(0, 1, 0)
                                                  : UT_Vector3D(0, 0, 1);
        return cross(p, axis).normalized();
    }
    static Vec sideways(const Vec& z, const Vec& up) {
        Vec x = cross(up, z);
        const T l = x.normalize();
        return l > T(1e-6) * up.length() ? x : Vec(0, 0, 0);
    }
    static Mat fromCosSin(const UT_Vector3D& n, double c, double s) {
        const UT_Vector3D k = n * (1 - c), m = n * s;
        return {Vec(UT_Vector3D(c, m.z(), -m.y()) + k * n.x()), Vec(UT_Vector3D(-m.z(), c, m.x()) + k * n.y()),
                Vec(UT_Vector3D(m.y(), -m.x(), c) + k * n.z())};
    }
};

using UT_Matrix3 = UT_Matrix3T<float>;
using UT_DMatrix3 = UT_Matrix3T<double>;
