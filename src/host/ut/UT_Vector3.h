#pragma once

#include <cmath>
#include <type_traits>

/// Three components, a row vector: transformed as `v * M`. A plain value of 3 × sizeof(T) bytes, so it can be laid over
/// attribute data. `*` and `/` between vectors work component by component.
template <class T> class UT_Vector3T {
public:
    using Vec = UT_Vector3T;

    UT_Vector3T() = default; ///< uninitialised, as for a plain array
    constexpr UT_Vector3T(T x, T y, T z)
        : myV{x, y, z} {}
    explicit constexpr UT_Vector3T(const T* v)
        : myV{v[0], v[1], v[2]} {}
    /// Between float and double vectors.
    template <class U>
    requires(!std::is_same_v<U, T>) explicit constexpr UT_Vector3T(const UT_Vector3T<U>& v)
        : myV{T(v.x()), T(v.y()), T(v.z())} {}

    constexpr T& x() { return myV[0]; }
    constexpr T& y() { return myV[1]; }
    constexpr T& z() { return myV[2]; }
    constexpr T x() const { return myV[0]; }
    constexpr T y() const { return myV[1]; }
    constexpr T z() const { return myV[2]; }
    constexpr T& operator[](int i) { return myV[i]; }
    constexpr T operator[](int i) const { return myV[i]; }
    constexpr T& operator()(int i) { return myV[i]; }
    constexpr T operator()(int i) const { return myV[i]; }
    T* data() { return myV; }
    const T* data() const { return myV; }
    constexpr void assign(T x, T y, T z) { myV[0] = x, myV[1] = y, myV[2] = z; }

    constexpr Vec& operator+=(const Vec& b) { return *this = {x() + b.x(), y() + b.y(), z() + b.z()}; }
    constexpr Vec& operator-=(const Vec& b) { return *this = {x() - b.x(), y() - b.y(), z() - b.z()}; }
    constexpr Vec& operator*=(const Vec& b) { return *this = {x() * b.x(), y() * b.y(), z() * b.z()}; }
    constexpr Vec& operator/=(const Vec& b) { return *this = {x() / b.x(), y() / b.y(), z() / b.z()}; }
    constexpr Vec& operator*=(T s) { return *this = {x() * s, y() * s, z() * s}; }
    constexpr Vec& operator/=(T s) { return *this = {x() / s, y() / s, z() / s}; }
    constexpr Vec operator-() const { return {-x(), -y(), -z()}; }

    friend constexpr Vec operator+(Vec a, const Vec& b) { return a += b; }
    friend constexpr Vec operator-(Vec a, const Vec& b) { return a -= b; }
    friend constexpr Vec operator*(Vec a, const Vec& b) { return a *= b; }
    friend constexpr Vec operator/(Vec a, const Vec& b) { return a /= b; }
    friend constexpr Vec operator*(Vec a, T s) { return a *= s; }
    friend constexpr Vec operator*(T s, Vec a) { return a *= s; }
    friend constexpr Vec operator/(Vec a, T s) { return a /= s; }
    friend constexpr bool operator==(const Vec&, const Vec&) = default;

    friend constexpr T dot(const Vec& a, const Vec& b) { return a.x() * b.x() + a.y() * b.y() + a.z() * b.z(); }
    friend constexpr Vec cross(const Vec& a, const Vec& b) {
        return {a.y() * b.z() - a.z() * b.y(), a.z() * b.x() - a.x() * b.z(), a.x() * b.y() - a.y() * b.x()};
    }

    constexpr T length2() const { return dot(*this, *this); }
    T length() const { return T(exactLength()); }
    /// Makes the length 1 and returns the length there was. A vector without direction (zero, NaN) stays as it is.
    T normalize() {
        const double l = exactLength();
        if (l > 0) {
            const double s = 1 / l;
            assign(T(x() * s), T(y() * s), T(z() * s));
        }
        return T(l);
    }
    Vec normalized() const {
        Vec v = *this;
        v.normalize();
        return v;
    }

private:
    T myV[3];

    // In double, so that the squares of a float vector neither overflow nor vanish.
    double exactLength() const {
        const double a = x(), b = y(), c = z();
        return std::sqrt(a * a + b * b + c * c);
    }
};

using UT_Vector3 = UT_Vector3T<float>;
using UT_Vector3D = UT_Vector3T<double>;

static_assert(sizeof(UT_Vector3) == 12 && alignof(UT_Vector3) == 4 && std::is_trivially_copyable_v<UT_Vector3>);
