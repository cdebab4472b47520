#include "host/geo/GU_Detail.h"
#include "scene/StateHash.h"

#include <functional>
#include <gtest/gtest.h>
#include <set>

namespace {

/// Three particles in two primitives with a name and a weight each. `spoil` first fills and empties the detail, so that
/// slots come out differently.
void build(GU_Detail& gdp, bool spoil, bool reverseAttributes = false) {
    const float one = 1;
    const int none = -1;
    if (!reverseAttributes) gdp.pointAttribs().append("mass", 4, GB_ATTRIB_FLOAT, &one);
    gdp.pointAttribs().append("kind", 4, GB_ATTRIB_INDEX, &none);
    if (reverseAttributes) gdp.pointAttribs().append("mass", 4, GB_ATTRIB_FLOAT, &one);
    GB_Attribute& kind = *gdp.pointAttribs().find("kind");
    if (spoil) {
        kind.addIndex("unused");
        for (int i = 0; i < 5; ++i) gdp.appendPoint();
    }
    auto* first = static_cast<GEO_PrimParticle*>(gdp.insertPrimitive(GEOPRIMPART));
    auto* second = static_cast<GEO_PrimParticle*>(gdp.insertPrimitive(GEOPRIMPART));
    for (int i = 0; i < 3; ++i) {
        GEO_Point* p = (i == 1 ? second : first)->birthPoint();
        p->setPos(UT_Vector4(float(i), 0.5f, -1, 1));
        *p->castAttribData<int>(kind.getOffset()) = kind.addIndex(i == 2 ? "b" : "a");
    }
    if (spoil) gdp.removeUnusedPoints();
    GB_PointGroup* group = gdp.pointGroups().newGroup("hit");
    group->add(gdp.points()[2]);
}

uint64_t hashAfter(const std::function<void(GU_Detail&)>& change) {
    GU_Detail gdp;
    build(gdp, false);
    change(gdp);
    return hashDetail(gdp);
}

} // namespace

TEST(StateHash, SlotsTablesAndOrderOfCreationDoNotCount) {
    GU_Detail plain, spoilt, reversed;
    build(plain, false);
    build(spoilt, true);
    build(reversed, true, true);
    ASSERT_EQ(spoilt.points().entries(), 3u);
    ASSERT_NE(spoilt.points().slotAt(0), plain.points().slotAt(0));
    EXPECT_EQ(hashDetail(plain), hashDetail(spoilt));
    EXPECT_EQ(hashDetail(plain), hashDetail(reversed));
    GU_Detail copy;
    copy.duplicate(spoilt);
    EXPECT_EQ(hashDetail(copy), hashDetail(plain));
}

TEST(StateHash, EverythingElseCounts) {
    const auto mass = [](GU_Detail& gdp, size_t i) -> float& {
        return *gdp.points()[i]->castAttribData<float>(gdp.pointAttribs().getOffset("mass", 4, GB_ATTRIB_FLOAT));
    };
    const auto kind = [](GU_Detail& gdp, size_t i) -> int& {
        return *gdp.points()[i]->castAttribData<int>(gdp.pointAttribs().getOffset("kind", 4, GB_ATTRIB_INDEX));
    };
    const std::function<void(GU_Detail&)> changes[] = {
        [](GU_Detail&) {},
        [](GU_Detail& g) { g.points()[0]->getPos().y() = -0.5f; },
        [](GU_Detail& g) { g.points()[0]->getPos().w() = 2; },
        [](GU_Detail& g) { g.points()[0]->getPos().x() = -0.0f; },
        [](GU_Detail& g) { std::swap(g.points()[0]->getPos(), g.points()[2]->getPos()); },
        [&](GU_Detail& g) { mass(g, 1) = 2; },
        [&](GU_Detail& g) { mass(g, 2) = 2; },
        [&](GU_Detail& g) { kind(g, 0) = -1; },
        [&](GU_Detail& g) { kind(g, 0) = kind(g, 2); },
        [](GU_Detail& g) { g.pointAttribs().append("more", 4, GB_ATTRIB_INT); },
        [](GU_Detail& g) { g.pointAttribs().append("more", 4, GB_ATTRIB_FLOAT); },
        [](GU_Detail& g) { g.attribs().append("more", 4, GB_ATTRIB_INT, nullptr, nullptr); },
        [](GU_Detail& g) { g.primitiveAttribs().append("more", 4, GB_ATTRIB_INT); },
        [](GU_Detail& g) { g.pointGroups().find("hit")->add(g.points()[0]); },
        [](GU_Detail& g) { g.pointGroups().newGroup("none"); },
        [](GU_Detail& g) { g.primitives()[0]->reverse(); },
        [](GU_Detail& g) { g.deletePrimitive(g.primitives()[1]); },
        [](GU_Detail& g) { g.insertPrimitive(GEOPRIMPART); },
        [](GU_Detail& g) { g.insertPrimitive(GEOPRIMPOLY); },
    };
    std::set<uint64_t> seen;
    for (const auto& change : changes) EXPECT_TRUE(seen.insert(hashAfter(change)).second) << seen.size();
}

TEST(StateHash, Text) { EXPECT_EQ(hashText(0x1fULL), "000000000000001f"); }
