#include "host/ut/UT_BitSet.h"
#include "host/ut/UT_SegmentedArray.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <random>
#include <set>

#include <gtest/gtest.h>

namespace {

using Small = UT_SegmentedArray<uint32_t, 16>; // small segments, so that short tests cross many

std::vector<uint32_t> contents(const Small& a) {
    std::vector<uint32_t> out;
    a.forEachSpan([&](std::span<const uint32_t> part) { out.insert(out.end(), part.begin(), part.end()); });
    return out;
}

void expectSame(const UT_BitSet& bits, const std::set<size_t>& expected) {
    std::vector<size_t> members;
    bits.forEach([&](size_t i) { members.push_back(i); });
    ASSERT_TRUE(std::ranges::equal(members, expected));
    ASSERT_EQ(bits.count(), expected.size());
    ASSERT_EQ(bits.any(), !expected.empty());
}

} // namespace

TEST(UT_SegmentedArray, BehavesLikeAVector) {
    std::mt19937 random(3);
    Small a;
    std::vector<uint32_t> expected;
    for (int round = 0; round < 3000; ++round) {
        const uint32_t r = uint32_t(random());
        switch (r % 6) {
        case 0: a.resize(r / 8 % 150, r), expected.resize(r / 8 % 150, r); break;
        case 1: {
            std::vector<uint32_t> more(r / 8 % 50);
            std::iota(more.begin(), more.end(), r);
            a.append(more), expected.insert(expected.end(), more.begin(), more.end());
            break;
        }
        case 2: {
            const auto odd = [&](uint32_t v) { return (v * 2654435761u >> 16 & 3) != r / 8 % 4; };
            ASSERT_EQ(a.keepIf(odd), std::erase_if(expected, std::not_fn(odd)));
            break;
        }
        default: a.push_back(r), expected.push_back(r);
        }
        ASSERT_EQ(a.size(), expected.size());
        ASSERT_EQ(contents(a), expected);
        ASSERT_LE(a.capacity(), std::max<size_t>(16, a.size() + 16));
        for (size_t i = 0; i < expected.size(); i += 7) ASSERT_EQ(a[i], expected[i]);
    }
}

TEST(UT_SegmentedArray, SmallStaysSmallAndLargeStaysPut) {
    UT_SegmentedArray<uint32_t> a;
    a.push_back(1);
    EXPECT_LE(a.capacity(), 8u);
    a.resize(16384);
    const uint32_t* first = &a[0];
    a.resize(100000);
    const uint32_t *same = &a[0], *later = &a[70000];
    a.resize(300000);
    EXPECT_EQ(first, same);
    EXPECT_EQ(later, &a[70000]);
    EXPECT_LE(a.capacity(), 300000u + 16384);
    a.resize(5);
    EXPECT_LE(a.capacity(), 16384u);
}

TEST(UT_SegmentedArray, TakesItsOwnElementsAndCopies) {
    Small a;
    for (uint32_t i = 0; i < 8; ++i) a.push_back(i + 40);
    a.push_back(a[0]); // grows the first segment under the reference
    EXPECT_EQ(a.back(), 40u);
    a.resize(40, a[1]);
    EXPECT_EQ(a.back(), 41u);
    Small copy = a, moved = std::move(a);
    copy[3] = 7;
    EXPECT_EQ(moved[3], 43u);
    EXPECT_EQ(copy.size(), 40u);
    copy = moved;
    EXPECT_EQ(contents(copy), contents(moved));
    moved.clear();
    moved.push_back(5);
    EXPECT_EQ(contents(moved), std::vector<uint32_t>{5});
}

TEST(UT_BitSet, BehavesLikeASet) {
    std::mt19937 random(5);
    for (const size_t size : {1u, 63u, 64u, 65u, 4096u, 4097u, 20000u}) {
        UT_BitSet bits(size);
        std::set<size_t> expected;
        for (int round = 0; round < 400; ++round) {
            const size_t i = random() % size;
            if (random() % 3)
                EXPECT_EQ(bits.set(i), expected.insert(i).second);
            else
                EXPECT_EQ(bits.clear(i), expected.erase(i) == 1);
            EXPECT_EQ(bits.test(i), expected.count(i) == 1);
            const size_t from = random() % (size + 2);
            const auto next = expected.lower_bound(from);
            ASSERT_EQ(bits.findFrom(from), next == expected.end() ? UT_BitSet::NONE : *next);
            const size_t last = from + random() % 100;
            ASSERT_EQ(bits.count(from, last), size_t(std::distance(next, expected.lower_bound(last))));
        }
        expectSame(bits, expected);
        for (const size_t i : std::vector<size_t>(expected.begin(), expected.end())) bits.clear(i);
        EXPECT_EQ(bits.findFrom(), UT_BitSet::NONE);
    }
}

TEST(UT_BitSet, ResizingForgetsWhatWasCutOff) {
    UT_BitSet bits(10000);
    for (size_t i = 0; i < 10000; i += 3) bits.set(i);
    for (const size_t cut : {9999u, 8192u, 8191u, 4097u, 4096u, 129u, 64u, 1u, 0u}) {
        bits.resize(cut);
        bits.resize(10000);
        std::set<size_t> expected;
        for (size_t i = 0; i < cut; i += 3) expected.insert(i);
        expectSame(bits, expected);
    }
    bits.resize(70);
    bits.setAll();
    EXPECT_EQ(bits.count(), 70u);
    bits.resize(200);
    EXPECT_EQ(bits.findFrom(70), UT_BitSet::NONE);
}

TEST(UT_BitSet, Combines) {
    UT_BitSet even(5000), third(9000), bits;
    std::set<size_t> both, either, only;
    for (size_t i = 0; i < 9000; ++i) {
        const bool e = i < 5000 && i % 2 == 0, t = i % 3 == 0;
        if (e) even.set(i);
        if (t) third.set(i);
        if (e && t) both.insert(i);
        if (e || t) either.insert(i);
        if (t && !e) only.insert(i);
    }
    expectSame((bits = third) &= even, both);
    expectSame((bits = even) |= third, either);
    expectSame((bits = third) -= even, only);
    bits.forEach([&](size_t i) { bits.clear(i); });
    expectSame(bits, {});
}
