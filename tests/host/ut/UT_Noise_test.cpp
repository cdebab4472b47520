#include "host/ut/UT_Noise.h"

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "host/ut/UT_CRC.h"
#include <gtest/gtest.h>

namespace {

struct Columns {
    std::vector<float> x, y, z;
    size_t size() const { return x.size(); }
    UT_Vector3 operator[](size_t i) const { return {x[i], y[i], z[i]}; }
    void add(float a, float b, float c) { x.push_back(a), y.push_back(b), z.push_back(c); }
};

/// Scattered points, points on the lattices and in hopeless places.
Columns places() {
    Columns out;
    uint32_t state = 7;
    const auto draw = [&] { return float((state = state * 1664525u + 1013904223u) >> 8) * 0x1p-24f; };
    for (int i = 0; i < 3001; ++i) {
        const float a = draw(), b = draw(), c = draw(), size = i % 5 == 0 ? 1e5f : 20.0f;
        out.add((a - 0.5f) * size, (b - 0.5f) * size, (c - 0.5f) * size);
    }
    for (int i = -3; i <= 3; ++i) out.add(float(i), float(i) - 0.0f, -float(i));
    for (float v : {NAN, INFINITY, -INFINITY, FLT_MAX, -FLT_MAX, 3e9f, -3e9f, 268435456.0f, 1e-40f, -0.0f}) {
        out.add(v, 0.3f, 0.7f);
        out.add(0.1f, v, v);
        out.add(v, v, v);
    }
    return out;
}

} // namespace

TEST(UT_Noise, ColumnsGiveTheBitsOfSinglePoints) {
    const Columns at = places();
    for (int type = 0; type < 4; ++type)
        for (const float atten : {1.0f, 1.7f}) {
            const UT_Noise noise(11, type);
            Columns out = at; // in place
            noise.turbulence(out.x.data(), out.y.data(), out.z.data(), int(at.size()), 2, out.x.data(), out.y.data(),
                             out.z.data(), 0.6f, atten);
            for (size_t i = 0; i < at.size(); ++i) {
                UT_Vector3 one;
                noise.turbulence(at[i], 2, one, 0.6f, atten);
                const UT_Vector3 all = out[i];
                ASSERT_EQ(std::memcmp(all.data(), one.data(), 12), 0) << "type " << type << ", point " << i;
                const float first = noise.turbulence(at[i], 2, 0.6f, atten);
                ASSERT_EQ(std::memcmp(&first, one.data(), 4), 0) << "type " << type;
            }
        }
}

TEST(UT_Noise, OctavesAddRoughenedAndAttenuationKeepsTheSign) {
    for (int i = 0; i < 100; ++i) {
        const UT_Noise noise(9, i % 4);
        const auto at = [&](int octaves, float rough, float atten = 1) {
            UT_Vector3 out;
            noise.turbulence(UT_Vector3(float(i) * 0.37f, 4.2f, -7.7f), octaves, out, rough, atten);
            return out;
        };
        const UT_Vector3 one = at(0, 0.5f), two = at(1, 0.5f), rougher = at(1, 1), squared = at(1, 0.5f, 2);
        EXPECT_EQ(one, at(9, 0));
        EXPECT_NE(one, two);
        for (int c = 0; c < 3; ++c) {
            EXPECT_NEAR(rougher[c] - one[c], 2 * (two[c] - one[c]), 1e-5f); // its share is proportional
            EXPECT_NEAR(squared[c], two[c] * std::fabs(two[c]), 1e-6f);
        }
        EXPECT_EQ(at(15, 0.9f), at(1000000000, 0.9f));
        EXPECT_EQ(one, at(-5, 0.9f));
    }
    EXPECT_EQ(UT_Noise(0, 77).type(), 0);
}

// The fields are part of what scenes look like: they never change. All bits of 3001 points, on any compiler and CPU.
TEST(UT_Noise, GoldenValues) {
    const Columns at = places();
    unsigned sums[4] = {};
    for (int type = 0; type < 4; ++type)
        for (size_t i = 0; i < at.size(); ++i) {
            UT_Vector3 v;
            UT_Noise(42, type).turbulence(at[i], 3, v, 0.5f, 1);
            v += UT_Vector3(0, 0, 0); // -0 to 0
            UT_CRC::updateCRC(sums[type], v.data(), sizeof v);
        }
    const unsigned expected[4] = {2027525686u, 3057030208u, 303934588u, 634563890u};
    for (int type = 0; type < 4; ++type) EXPECT_EQ(sums[type], expected[type]) << type;
}
