#include "host/geo/GOP_Manager.h"
#include "host/geo/GU_Detail.h"
#include "host/geo/GU_Group.h"

#include <gtest/gtest.h>

namespace {

struct Fixture {
    GU_Detail detail;
    GOP_Manager manager;
    Fixture() {
        for (int i = 0; i < 10; ++i) detail.appendPoint();
        group("left", {0, 1, 2, 3});
        group("right", {6, 7, 8, 9});
        group("odd", {1, 3, 5, 7, 9});
        group("__hidden", {4});
    }
    void group(const char* name, std::vector<size_t> members) {
        GB_PointGroup* g = detail.pointGroups().newGroup(name);
        for (size_t n : members) g->add(detail.points()(n));
    }
    std::string members(const GB_PointGroup* g) const {
        if (!g) return "null";
        std::string out;
        detail.points().forEach(g, [&](GEO_Point* p) { out += std::to_string(detail.points().number(p)); });
        return out;
    }
};

} // namespace

TEST(GroupStrings, Table) {
    Fixture f;
    // clang-format off
    const struct { const char* text; const char* members; } cases[] = {
        {"left", "0123"}, {"left right", "01236789"}, {"left !odd", "02"},
        {"!odd left", "0123468"}, /* starts from all, loses odd, then gains left */ {"!3", "012456789"}, {"3", "3"},
        {"0-4", "01234"}, {"4-0", "null"}, {"9-9", "9"}, {"0-9:3", "0369"}, {"0-9:2 !4 5", "02568"}, {"8-200", "89"},
        {"10", ""}, {"99999999999999999999", ""}, {"0-99999999999999999999:9999999999999", "0"}, {"*", "012356789"},
        {"__*", "4"}, {"__hidden", "4"}, {"?dd", "13579"}, {"[lr]*t", "01236789"}, {"left !l*", ""}, {"zebra*", ""},
        {"  ", ""}, {"", ""}, {"\todd\n7", "13579"}, {"zebra", "null"}, {"left zebra", "null"}, {"!", "null"},
        {"left !", "null"}, {"!!left", "null"}, {"3-", "null"}, {"3-5:", "null"}, {"3-5:0", "null"}, {"3:2", "null"},
        {"3x", "null"}, {"-3", "null"}, {"[left", "null"}};
    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(f.members(f.manager.parsePointGroups(c.text, &f.detail)), c.members) << '"' << c.text << '"';
        EXPECT_EQ(f.members(f.manager.parsePointGroupsCopy(c.text, &f.detail)), c.members) << '"' << c.text << '"';
    }
    EXPECT_EQ(f.manager.parsePointGroups(nullptr, &f.detail), nullptr);
    EXPECT_EQ(f.members(f.manager.parsePointGroups("left zebra", &f.detail, 0)), "0123");
    EXPECT_EQ(f.manager.parsePointGroups("3", &f.detail, 1, 0), nullptr);
    f.manager.destroyAdhocGroups();
    EXPECT_EQ(f.detail.pointGroups().entries(), 4u) << "nameless groups are not among the detail's";
}

TEST(GroupStrings, NamedAndNamelessGroups) {
    GOP_Manager later;
    const GB_PointGroup* survivor;
    {
        Fixture f;
        const GB_PointGroup* left = f.detail.pointGroups().find("left");
        EXPECT_EQ(f.manager.parsePointGroups(" left ", &f.detail), left);
        f.manager.parsePointGroupsCopy("left", &f.detail)->clear();
        EXPECT_EQ(left->entries(), 4u) << "a copy is not the group itself";

        const GB_PointGroup* g = f.manager.parsePointGroups("0-3", &f.detail);
        UT_BitSet gone(f.detail.points().slotEnd());
        gone.set(f.detail.points().slotAt(1));
        f.detail.destroyPoints(gone);
        EXPECT_FALSE(g->contains(f.detail.appendPoint())) << "which takes the freed slot";
        EXPECT_EQ(f.members(g), "012");
        EXPECT_EQ(g->entries(), 3u);
        f.detail.stashAll();
        EXPECT_TRUE(g->isEmpty());
        Fixture other;
        survivor = later.parsePointGroups("0-3", &other.detail);
    }
    EXPECT_EQ(survivor->entries(), 4u) << "it outlives its detail";
    later.destroyAdhocGroups();
}

TEST(GroupStrings, Primitives) {
    GU_Detail d;
    d.cube({0, 0, 0}, {1, 1, 1});
    GOP_Manager manager;
    d.primitiveGroups().newGroup("top")->add(d.primitives()[3]);
    const GB_PrimitiveGroup* g = manager.parsePrimitiveGroups("top 0-1", &d);
    d.deletePrimitive(d.primitives()[0], true);
    std::string numbers;
    d.primitives().forEach(g, [&](GEO_Primitive* p) { numbers += std::to_string(p->getNum()); });
    EXPECT_EQ(numbers, "02");
    EXPECT_EQ(g->entries(), 2u);
}

TEST(Groups, NamesAndOrder) {
    GU_Detail d;
    auto& groups = d.pointGroups();
    for (const char* bad : {"", "a b", "a*", "!a", "12", "3-4", "0-9:2", "x?", "[x]"})
        EXPECT_EQ(groups.newGroup(bad), nullptr) << bad;
    GB_PointGroup* one = groups.newGroup("one");
    for (const char* name : {"__two", "three", "four"}) groups.newGroup(name);
    EXPECT_TRUE(groups.find("__two")->getInternal());
    EXPECT_FALSE(one->getInternal());
    one->add(d.appendPoint());
    EXPECT_EQ(groups.newGroup("one"), one);
    EXPECT_TRUE(one->isEmpty());
    groups.destroy(groups.find("__two"));
    std::string names;
    for (const GB_PointGroup* g = groups.head(); g; g = groups.next(g)) names += g->getName() + " ";
    EXPECT_EQ(names, "one three four ");
}

TEST(Groups, Boolean) {
    Fixture f;
    auto& groups = f.detail.pointGroups();
    const GB_PointGroup& left = *groups.find("left");
    const GB_PointGroup& odd = *groups.find("odd");
    GB_PointGroup& target = *groups.newGroup("target");
    // clang-format off
    const struct { GU_GroupBoolOp op; bool not1, not2; const char* members; } cases[] = {
        {GU_GroupBoolOp::COPY, false, false, "13579"}, {GU_GroupBoolOp::UNION, false, false, "0123579"},
        {GU_GroupBoolOp::INTERSECT, false, false, "13"}, {GU_GroupBoolOp::XOR, false, false, "02579"},
        {GU_GroupBoolOp::SUBTRACT, false, false, "02"}, {GU_GroupBoolOp::INTERSECT, true, false, "579"},
        {GU_GroupBoolOp::INTERSECT, false, true, "02"}, {GU_GroupBoolOp::UNION, true, true, "02456789"},
        {GU_GroupBoolOp::COPY, false, true, "02468"}, {GU_GroupBoolOp::SUBTRACT, true, true, "579"}};
    // clang-format on
    for (const auto& c : cases) {
        GU_Group::boolean(f.detail, target, left, c.not1, c.op, odd, c.not2);
        EXPECT_EQ(f.members(&target), c.members) << static_cast<int>(c.op) << c.not1 << c.not2;
    }
    GU_Group::boolean(f.detail, target, target, true, GU_GroupBoolOp::XOR, target, false);
    EXPECT_EQ(f.members(&target), "0123456789");
}
