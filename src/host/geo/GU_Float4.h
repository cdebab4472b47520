#pragma once

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// Four floats side by side with plain IEEE arithmetic. max(a, b) and min(a, b) give b when a is NaN; comparisons give
/// one bit per lane, 0 with NaN.
#if defined(__SSE2__)
struct GU_Float4 {
    __m128 v;
    static GU_Float4 splat(float x) { return {_mm_set1_ps(x)}; }
    static GU_Float4 load(const float* p) { return {_mm_load_ps(p)}; } ///< p aligned to 16 bytes
    static GU_Float4 loadAny(const float* p) { return {_mm_loadu_ps(p)}; }
    void store(float* p) const { _mm_storeu_ps(p, v); }
    /// Towards zero; lanes that no int can hold give nothing of use.
    void storeInts(int* p) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_cvttps_epi32(v)); }
    friend GU_Float4 operator+(GU_Float4 a, GU_Float4 b) { return {_mm_add_ps(a.v, b.v)}; }
    friend GU_Float4 operator-(GU_Float4 a, GU_Float4 b) { return {_mm_sub_ps(a.v, b.v)}; }
    friend GU_Float4 operator*(GU_Float4 a, GU_Float4 b) { return {_mm_mul_ps(a.v, b.v)}; }
    friend GU_Float4 max(GU_Float4 a, GU_Float4 b) { return {_mm_max_ps(a.v, b.v)}; }
    friend GU_Float4 min(GU_Float4 a, GU_Float4 b) { return {_mm_min_ps(a.v, b.v)}; }
    friend GU_Float4 abs(GU_Float4 a) { return {_mm_andnot_ps(_mm_set1_ps(-0.0f), a.v)}; }
    static GU_Float4 of(float x, float y, float z) { return {_mm_setr_ps(x, y, z, 0)}; }
    /// Rows become columns.
    friend void transpose(GU_Float4& a, GU_Float4& b, GU_Float4& c, GU_Float4& d) {
        _MM_TRANSPOSE4_PS(a.v, b.v, c.v, d.v);
    }
    friend int less(GU_Float4 a, GU_Float4 b) { return _mm_movemask_ps(_mm_cmplt_ps(a.v, b.v)); }
    friend int lessEqual(GU_Float4 a, GU_Float4 b) { return _mm_movemask_ps(_mm_cmple_ps(a.v, b.v)); }
};
#else
struct GU_Float4 {
    float v[4];
    template <class F> static GU_Float4 each(F f) { return {{f(0), f(1), f(2), f(3)}}; }
    template <class F> static int bits(F f) { return f(0) | f(1) << 1 | f(2) << 2 | f(3) << 3; }
    static GU_Float4 splat(float x) { return {{x, x, x, x}}; }
    static GU_Float4 load(const float* p) { return {{p[0], p[1], p[2], p[3]}}; }
    static GU_Float4 loadAny(const float* p) { return load(p); }
    void store(float* p) const {
        for (int i = 0; i < 4; ++i) p[i] = v[i];
    }
    void storeInts(int* p) const {
        for (int i = 0; i < 4; ++i) p[i] = v[i] > -2e9f && v[i] < 2e9f ? static_cast<int>(v[i]) : 0;
    }
    friend GU_Float4 operator+(GU_Float4 a, GU_Float4 b) {
        return each([&](int i) { return a.v[i] + b.v[i]; });
    }
    friend GU_Float4 operator-(GU_Float4 a, GU_Float4 b) {
        return each([&](int i) { return a.v[i] - b.v[i]; });
    }
    friend GU_Float4 operator*(GU_Float4 a, GU_Float4 b) {
        return each([&](int i) { return a.v[i] * b.v[i]; });
    }
    friend GU_Float4 max(GU_Float4 a, GU_Float4 b) {
        return each([&](int i) { return a.v[i] > b.v[i] ? a.v[i] : b.v[i]; });
    }
    friend GU_Float4 min(GU_Float4 a, GU_Float4 b) {
        return each([&](int i) { return a.v[i] < b.v[i] ? a.v[i] : b.v[i]; });
    }
    friend GU_Float4 abs(GU_Float4 a) {
        return each([&](int i) { return a.v[i] < 0 ? -a.v[i] : a.v[i]; });
    }
    static GU_Float4 of(float x, float y, float z) { return {{x, y, z, 0}}; }
    friend void transpose(GU_Float4& a, GU_Float4& b, GU_Float4& c, GU_Float4& d) {
        GU_Float4* rows[4] = {&a, &b, &c, &d};
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < i; ++j) {
                const float x = rows[i]->v[j];
                rows[i]->v[j] = rows[j]->v[i];
                rows[j]->v[i] = x;
            }
    }
    friend int less(GU_Float4 a, GU_Float4 b) {
        return bits([&](int i) { return int(a.v[i] < b.v[i]); });
    }
    friend int lessEqual(GU_Float4 a, GU_Float4 b) {
        return bits([&](int i) { return int(a.v[i] <= b.v[i]); });
    }
};
#endif
