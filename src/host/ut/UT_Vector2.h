#pragma once

#include <cmath>
#include <type_traits>

/// Two floats; used for texture coordinates and parameter pairs.
class UT_Vector2 {
public:
    UT_Vector2() = default; ///< uninitialised, as for a plain array
    constexpr UT_Vector2(float x, float y)
        : myV{x, y} {}
    explicit constexpr UT_Vector2(const float* v)
        : myV{v[0], v[1]} {}

    constexpr float& x() { return myV[0]; }
    constexpr float& y() { return myV[1]; }
    constexpr float x() const { return myV[0]; }
    constexpr float y() const { return myV[1]; }
    constexpr float& operator[](int i) { return myV[i]; }
    constexpr float operator[](int i) const { return myV[i]; }
    constexpr float& operator()(int i) { return myV[i]; }
    constexpr float operator()(int i) const { return myV[i]; }
    float* data() { return myV; }
    const float* data() const { return myV; }
    constexpr void assign(float x, float y) { myV[0] = x, myV[1] = y; }

    constexpr UT_Vector2& operator+=(const UT_Vector2& b) { return *this = {myV[0] + b.myV[0], myV[1] + b.myV[1]}; }
    constexpr UT_Vector2& operator-=(const UT_Vector2& b) { return *this = {myV[0] - b.myV[0], myV[1] - b.myV[1]}; }
    constexpr UT_Vector2& operator*=(const UT_Vector2& b) { return *this = {myV[0] * b.myV[0], myV[1] * b.myV[1]}; }
    constexpr UT_Vector2& operator/=(const UT_Vector2& b) { return *this = {myV[0] / b.myV[0], myV[1] / b.myV[1]}; }
    constexpr UT_Vector2& operator*=(float s) { return *this = {myV[0] * s, myV[1] * s}; }
    constexpr UT_Vector2& operator/=(float s) { return *this = {myV[0] / s, myV[1] / s}; }
    constexpr UT_Vector2 operator-() const { return {-myV[0], -myV[1]}; }

    friend constexpr UT_Vector2 operator+(UT_Vector2 a, const UT_Vector2& b) { return a += b; }
    friend constexpr UT_Vector2 operator-(UT_Vector2 a, const UT_Vector2& b) { return a -= b; }
    friend constexpr UT_Vector2 operator*(UT_Vector2 a, const UT_Vector2& b) { return a *= b; }
    friend constexpr UT_Vector2 operator/(UT_Vector2 a, const UT_Vector2& b) { return a /= b; }
    friend constexpr UT_Vector2 operator*(UT_Vector2 a, float s) { return a *= s; }
    friend constexpr UT_Vector2 operator*(float s, UT_Vector2 a) { return a *= s; }
    friend constexpr UT_Vector2 operator/(UT_Vector2 a, float s) { return a /= s; }
    friend constexpr bool operator==(const UT_Vector2&, const UT_Vector2&) = default;
    friend constexpr float dot(const UT_Vector2& a, const UT_Vector2& b) {
        return a.myV[0] * b.myV[0] + a.myV[1] * b.myV[1];
    }

    constexpr float length2() const { return dot(*this, *this); }
    /// Summed in double: no overflow or underflow on the way.
    float length() const { return float(std::sqrt(double(x()) * x() + double(y()) * y())); }

private:
    float myV[2];
};

static_assert(sizeof(UT_Vector2) == 8 && alignof(UT_Vector2) == 4 && std::is_trivially_copyable_v<UT_Vector2>);
