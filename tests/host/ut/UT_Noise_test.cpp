#include "host/ut/UT_Noise.h"

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
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
Columns places(int n = 3001) {
    Columns out;
    uint32_t state = 7;
    const auto draw = [&] { return float((state = state * 1664525u + 1013904223u) >> 8) * 0x1p-24f; };
    for (int i = 0; i < n; ++i) {
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

TEST(UT_Noise, ChannelsSeedsTypesAndNeighboursAreUnrelated) {
    const Columns at = places(20000);
    const auto channel = [&](int seed, int type, int c, UT_Vector3 shift = UT_Vector3(0, 0, 0)) {
        std::vector<double> out;
        for (size_t i = 0; i < 20000; ++i) {
            UT_Vector3 v;
            UT_Noise(seed, type).turbulence(at[i] + shift, 0, v, 0.5f, 1);
            out.push_back(v[c]);
        }
        return out;
    };
    for (int type = 0; type < 4; ++type) {
        std::vector<std::vector<double>> others{channel(1, type, 1), channel(2, type, 0),
                                                channel(1, (type + 1) % 4, 0)};
        for (int k = 3; k < 20; ++k)
            others.push_back(channel(1, type, 0, UT_Vector3(float(k), 0, 0))); // no short period
        const std::vector<double> first = channel(1, type, 0);
        const auto with = [&](const auto& f) { return std::inner_product(first.begin(), first.end(), f.begin(), 0.0); };
        for (const auto& other : others) {
            const double size =
                std::sqrt(with(first) * std::inner_product(other.begin(), other.end(), other.begin(), 0.0));
            EXPECT_NEAR(with(other) / size, 0, 0.04) << "type " << type << ", other " << &other - others.data();
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
