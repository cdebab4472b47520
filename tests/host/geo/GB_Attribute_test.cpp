#include "host/geo/GB_RecordPool.h"
#include "host/geo/GU_Detail.h"
#include "host/ut/UT_BitSet.h"

#include <cstring>
#include <gtest/gtest.h>

TEST(Attribute, StringTableKeepsOrderAndShiftsOnRemoval) {
    GB_Attribute a("instance", 4, GB_ATTRIB_INDEX, 0, nullptr), b("x", 4, GB_ATTRIB_INDEX, 0, nullptr);
    for (const char* text : {"a", "b", "c", "b"}) a.addIndex(text);
    a.destroyIndex(0);
    EXPECT_EQ(a.findIndex("a"), -1);
    EXPECT_EQ(a.addIndex("a"), 2);
    for (int outside : {3, -1}) {
        a.destroyIndex(outside);
        EXPECT_EQ(a.getIndex(outside), nullptr);
    }
    b.addIndex("c");
    b.addIndex("new");
    a.mergeIndexByAppending(b);
    EXPECT_EQ(a.indexStrings(), (std::vector<std::string>{"b", "c", "a", "c", "new"}));
    EXPECT_EQ(a.findIndex("c"), 1) << "the first of equal strings counts";
    a.destroyIndex(1);
    EXPECT_EQ(a.findIndex("c"), 2);
    a.mergeIndexByAppending(a);
    EXPECT_EQ(a.entries(), 8);
    a.clearIndex();
    EXPECT_EQ(a.findIndex("b"), -1);
    EXPECT_EQ(a.addIndex("b"), 0);
}

TEST(Attribute, AppendGivesExistingOffsetOrRefuses) {
    GU_Detail d;
    auto& dict = d.pointAttribs();
    const float one = 1;
    EXPECT_EQ(dict.append("mass", 4, GB_ATTRIB_FLOAT, &one), 0);
    EXPECT_EQ(dict.append("blob", 5, GB_ATTRIB_RAW), 4);
    EXPECT_EQ(dict.append("v", 12, GB_ATTRIB_VECTOR), 12) << "offsets are multiples of 4";
    EXPECT_EQ(dict.append("mass", 4, GB_ATTRIB_FLOAT), 0);
    const struct {
        const char* name;
        int size;
        GB_AttribType type;
    } bad[] = {{"", 4, GB_ATTRIB_INT},        {"x", 0, GB_ATTRIB_RAW},    {"x", -4, GB_ATTRIB_INT},
               {"x", 6, GB_ATTRIB_FLOAT},     {"x", 8, GB_ATTRIB_INDEX},  {"x", 16, GB_ATTRIB_VECTOR},
               {"x", 1 << 20, GB_ATTRIB_RAW}, {"x", 4, GB_AttribType(2)}, {"mass", 8, GB_ATTRIB_FLOAT},
               {"mass", 4, GB_ATTRIB_INT}};
    for (const auto& b : bad) EXPECT_EQ(dict.append(b.name, b.size, b.type), -1) << b.name << b.size;
    EXPECT_EQ(dict.entries(), 3u);
    EXPECT_EQ(dict.getOffset("v", 12, GB_ATTRIB_FLOAT), -1);
    EXPECT_EQ(d.validate(), "");
}

TEST(Attribute, CleanIndexDropsUnusedStringsAndRenumbers) {
    GU_Detail d;
    const int offset = d.pointAttribs().append("instance", 4, GB_ATTRIB_INDEX);
    GB_Attribute* attrib = d.pointAttribs().find("instance");
    for (const char* text : {"a", "b", "c", "d"}) attrib->addIndex(text);
    EXPECT_EQ(*d.appendPoint()->castAttribData<int>(offset), -1);
    for (int value : {3, -1, 1, 17}) *d.appendPoint()->castAttribData<int>(offset) = value;
    d.pointAttribs().cleanIndex("instance");
    EXPECT_EQ(attrib->indexStrings(), (std::vector<std::string>{"b", "d"}));
    const int expected[] = {-1, 1, -1, 0, 17};
    for (size_t i = 0; i < 5; ++i) EXPECT_EQ(*d.points()(i)->castAttribData<int>(offset), expected[i]);
    EXPECT_EQ(attrib->findIndex("d"), 1);
}

TEST(RecordPool, ManyAtOnceComeAsOneByOne) {
    GB_RecordPool many(8), single(8);
    std::vector<uint32_t> slots(5000), expected(5000);
    const char model[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    for (uint32_t round = 0; round < 3; ++round) {
        for (uint32_t& slot : expected) slot = single.allocate();
        size_t got = 0;
        while (got < slots.size()) {
            const size_t n = many.allocate(model, &slots[got], std::min<size_t>(slots.size() - got, 100 + round));
            ASSERT_GT(n, 0u);
            for (size_t i = got; i < got + n; ++i) ASSERT_EQ(std::memcmp(many.record(slots[i]), model, 8), 0);
            got += n;
        }
        ASSERT_EQ(slots, expected);
        EXPECT_EQ(many.live(), single.live());
        for (uint32_t slot = round; slot < 5000; slot += 1 + slot % 200)
            for (GB_RecordPool* pool : {&many, &single}) pool->release(slot);
        for (uint32_t slot = 0; slot < single.slotEnd(); ++slot) ASSERT_EQ(many.isLive(slot), single.isLive(slot));
    }
}

TEST(RecordPool, LargePoolsShareBlocksAndGiveThemBack) {
    GB_RecordPool pool(100); // sixteen slabs are 3 MiB
    const uint32_t n = 50 * 2048;
    const char* const first = pool.record(pool.allocate());
    for (uint32_t i = 1; i < n; ++i) std::memcpy(pool.record(pool.allocate()), &i, 4);
    EXPECT_EQ(pool.record(0), first) << "views outlive births";
    const size_t full = pool.slabBytes();
    UT_BitSet some(n);
    for (uint32_t i = 20 * 2048; i < 40 * 2048; ++i) some.set(i); // part of one block, part of the next
    pool.release(some);
    EXPECT_EQ(pool.slabBytes(), full) << "both blocks still hold records";
    const int word = 7;
    pool.grow(reinterpret_cast<const char*>(&word), 4);
    const GB_RecordView view = pool.view();
    EXPECT_EQ(pool.allocate(), 20u * 2048);
    pool.forEachLive([&](uint32_t slot) {
        uint32_t value;
        std::memcpy(&value, view(slot), 4);
        ASSERT_EQ(value, slot == 20 * 2048 ? 0 : slot);
    });
    pool.release(20 * 2048);
    for (uint32_t i = 0; i < n; ++i) some.assign(i, i < 20 * 2048 && i >= 16 * 2048);
    pool.release(some);
    EXPECT_LT(pool.slabBytes(), full) << "the block of slabs 16 to 31 is empty";
    for (uint32_t i = 0; i < n; ++i) some.assign(i, i >= 2048);
    pool.release(some);
    EXPECT_EQ(pool.live(), 2048u);
    EXPECT_EQ(pool.slotEnd(), 2048u);
    for (uint32_t i = 2048; i < n; ++i) ASSERT_EQ(pool.allocate(), i);
}
