#pragma once

#include "host/ut/UT_Vector3.h"

/// Four floats: a position with its weight w, or a colour with alpha. Arithmetic is component-wise over all four.
class UT_Vector4 {
public:
    UT_Vector4() = default; ///< uninitialised, as for a plain array
    constexpr UT_Vector4(float x, float y, float z, float w = 1)
        : myV{x, y, z, w} {}
    explicit constexpr UT_Vector4(const UT_Vector3& v, float w = 1)
        : myV{v.x(), v.y(), v.z(), w} {}
    explicit constexpr UT_Vector4(const float* v)
        : myV{v[0], v[1], v[2], v[3]} {}
    /// Drops w (does not divide by it).
    constexpr operator UT_Vector3() const { return {myV[0], myV[1], myV[2]}; }

    constexpr float& x() { return myV[0]; }
    constexpr float& y() { return myV[1]; }
    constexpr float& z() { return myV[2]; }
    constexpr float& w() { return myV[3]; }
    constexpr float x() const { return myV[0]; }
    constexpr float y() const { return myV[1]; }
    constexpr float z() const { return myV[2]; }
    constexpr float w() const { return myV[3]; }
    constexpr float& operator[](int i) { return myV[i]; }
    constexpr float operator[](int i) const { return myV[i]; }
    constexpr float& operator()(int i) { return myV[i]; }
    constexpr float operator()(int i) const { return myV[i]; }
    float* data() { return myV; }
    const float* data() const { return myV; }
    constexpr void assign(float x, float y, float z, float w = 1) { *this = {x, y, z, w}; }
    /// Sets x, y and z; w stays.
    constexpr void setXYZ(const UT_Vector3& v) { assign(v.x(), v.y(), v.z(), w()); }

    /// Moves a position: x, y and z only.
    constexpr UT_Vector4& operator+=(const UT_Vector3& b) {
        return *this = {x() + b.x(), y() + b.y(), z() + b.z(), w()};
    }
    constexpr UT_Vector4& operator-=(const UT_Vector3& b) {
        return *this = {x() - b.x(), y() - b.y(), z() - b.z(), w()};
    }

    constexpr UT_Vector4& operator+=(const UT_Vector4& b) {
        return each(b, [](float p, float q) { return p + q; });
    }
    constexpr UT_Vector4& operator-=(const UT_Vector4& b) {
        return each(b, [](float p, float q) { return p - q; });
    }
    constexpr UT_Vector4& operator*=(const UT_Vector4& b) {
        return each(b, [](float p, float q) { return p * q; });
    }
    constexpr UT_Vector4& operator/=(const UT_Vector4& b) {
        return each(b, [](float p, float q) { return p / q; });
    }
    constexpr UT_Vector4& operator*=(float s) { return *this *= UT_Vector4(s, s, s, s); }
    constexpr UT_Vector4& operator/=(float s) { return *this /= UT_Vector4(s, s, s, s); }
    constexpr UT_Vector4 operator-() const { return {-x(), -y(), -z(), -w()}; }

    friend constexpr UT_Vector4 operator+(UT_Vector4 a, const UT_Vector4& b) { return a += b; }
    friend constexpr UT_Vector4 operator-(UT_Vector4 a, const UT_Vector4& b) { return a -= b; }
    friend constexpr UT_Vector4 operator*(UT_Vector4 a, const UT_Vector4& b) { return a *= b; }
    friend constexpr UT_Vector4 operator/(UT_Vector4 a, const UT_Vector4& b) { return a /= b; }
    friend constexpr UT_Vector4 operator*(UT_Vector4 a, float s) { return a *= s; }
    friend constexpr UT_Vector4 operator*(float s, UT_Vector4 a) { return a *= s; }
    friend constexpr UT_Vector4 operator/(UT_Vector4 a, float s) { return a /= s; }
    friend constexpr bool operator==(const UT_Vector4&, const UT_Vector4&) = default;
    friend constexpr float dot(const UT_Vector4& a, const UT_Vector4& b) {
        return a.x() * b.x() + a.y() * b.y() + a.z() * b.z() + a.w() * b.w();
    }

private:
    float myV[4];

    template <class F> constexpr UT_Vector4& each(const UT_Vector4& b, F f) {
        return *this = {f(x(), b.x()), f(y(), b.y()), f(z(), b.z()), f(w(), b.w())};
    }
};

static_assert(sizeof(UT_Vector4) == 16 && alignof(UT_Vector4) == 4 && std::is_trivially_copyable_v<UT_Vector4>);
