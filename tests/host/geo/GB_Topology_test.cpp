#include "host/geo/GU_Detail.h"
#include "host/geo/GU_RayIntersect.h"

#include <functional>

#include <gtest/gtest.h>

namespace {

struct Edit {
    const char* what;
    std::function<void(GU_Detail&)> make;
};

UT_BitSet slotOfPoint(const GU_Detail& d, size_t number) {
    UT_BitSet slots(d.points().slotEnd());
    slots.set(d.points().slotAt(number));
    return slots;
}

template <class Prim> Prim* find(GU_Detail& d, unsigned typeId) {
    return static_cast<Prim*>(d.primitives().head(typeId));
}

GEO_PrimPoly* poly(GU_Detail& d) { return find<GEO_PrimPoly>(d, GEOPRIMPOLY); }
GEO_PrimParticle* particles(GU_Detail& d) { return find<GEO_PrimParticle>(d, GEOPRIMPART); }

/// A box, a mesh of 3 x 3, particles, and a point that nothing uses.
void fill(GU_Detail& d) {
    d.cube({0, 0, 0}, {1, 1, 1});
    GEO_PrimMesh::build(&d, 3, 3, false, false);
    auto* system = static_cast<GEO_PrimParticle*>(d.insertPrimitive(GEOPRIMPART));
    for (int i = 0; i < 3; ++i) system->birthPoint();
    d.appendPoint();
}

} // namespace

TEST(Topology, EveryEditOfItGivesANewSerial) {
    GU_Detail other;
    fill(other);
    const Edit edits[] = {
        {"a point", [](GU_Detail& d) { d.appendPoint(); }},
        {"unused points", [](GU_Detail& d) { d.removeUnusedPoints(); }},
        {"a primitive", [](GU_Detail& d) { d.insertPrimitive(GEOPRIMPOLY); }},
        {"a primitive less", [](GU_Detail& d) { d.deletePrimitive(poly(d)); }},
        {"a corner of a box less", [](GU_Detail& d) { d.destroyPoints(slotOfPoint(d, 0)); }},
        {"a point of a mesh less", [](GU_Detail& d) { d.destroyPoints(slotOfPoint(d, 8)); }},
        {"merged", [&](GU_Detail& d) { d.merge(other); }},
        {"emptied", [](GU_Detail& d) { d.clearGeometry(); }},
        {"another one", [&](GU_Detail& d) { d.copy(other); }},
        {"a vertex", [](GU_Detail& d) { poly(d)->appendVertex(d.points()(0)); }},
        {"another point", [](GU_Detail& d) { poly(d)->setVertexPoint(0, d.points()(9)); }},
        {"a face turned", [](GU_Detail& d) { poly(d)->reverse(); }},
        {"a face opened", [](GU_Detail& d) { poly(d)->open(); }},
        {"a mesh turned", [](GU_Detail& d) { find<GEO_PrimMesh>(d, GEOPRIMMESH)->reverse(); }},
        {"a birth", [](GU_Detail& d) { particles(d)->birthPoint(); }},
        {"a particle at a point", [](GU_Detail& d) { particles(d)->appendParticle(d.points()(0)); }},
        {"a death", [](GU_Detail& d) { particles(d)->deadParticle(1), particles(d)->deleteDead(); }},
        {"particles turned", [](GU_Detail& d) { particles(d)->reverse(); }},
        {"no particles", [](GU_Detail& d) { particles(d)->deleteLists(); }},
    };
    for (const Edit& edit : edits) {
        SCOPED_TRACE(edit.what);
        GU_Detail detail, copy;
        fill(detail);
        copy.copy(detail);
        ASSERT_EQ(copy.topologySerial(), detail.topologySerial());
        const uint64_t count = copy.getChangeCount();
        edit.make(copy);
        EXPECT_NE(copy.topologySerial(), detail.topologySerial());
        EXPECT_NE(copy.getChangeCount(), count);
        EXPECT_EQ(GU_RayIntersect::validForDeformingGeometry(&other, &copy), edit.what == std::string("another one"));
        EXPECT_EQ(GU_RayIntersect(&other, &copy).entries() == 0, edit.what != std::string("another one"));
        edit.make(detail); // of the same kind, but not the same
        EXPECT_TRUE(GU_RayIntersect::validForDeformingGeometry(&detail, &copy));
        if (copy.topologySerial().detail != other.dataId()) {
            EXPECT_NE(copy.topologySerial(), detail.topologySerial());
        }
    }
}

TEST(Topology, MovingAndDescribingKeepTheSerial) {
    GU_Detail detail, copy, third;
    fill(detail);
    copy.copy(detail);
    const uint64_t count = copy.getChangeCount();
    copy.transform(UT_Matrix4(2.0f));
    EXPECT_NE(copy.getChangeCount(), count);
    poly(copy)->transform(UT_Matrix4(2.0f));
    copy.points()(0)->setPos({1, 2, 3, 1});
    copy.pointGroups().newGroup("g")->add(copy.points()(0));
    for (bool known : {false, true}) {
        const uint64_t layout = copy.layoutSerial();
        copy.pointAttribs().append("v", 12, GB_ATTRIB_VECTOR);
        EXPECT_EQ(copy.layoutSerial() == layout, known);
    }
    copy.bumpChange();
    EXPECT_EQ(copy.topologySerial(), detail.topologySerial());
    third.duplicate(copy);
    EXPECT_EQ(third.topologySerial(), detail.topologySerial());

    // There and back again: what a copy becomes by an edit is never what its source becomes by another.
    const auto before = detail.topologySerial();
    poly(third)->open();
    const auto opened = third.topologySerial();
    detail.copy(third);
    EXPECT_EQ(detail.topologySerial(), opened);
    poly(detail)->close();
    EXPECT_NE(detail.topologySerial(), opened);
    EXPECT_NE(detail.topologySerial(), before);
}
