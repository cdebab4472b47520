#include "host/geo/GEO_AttributeHandle.h"
#include "host/geo/GEO_WorkVertexBuffer.h"
#include "host/geo/GU_Detail.h"
#include "host/geo/GU_DetailHandle.h"

#include <gtest/gtest.h>

namespace {

std::string text(const GU_Detail& d, size_t point, const char* name) {
    const GB_Attribute* attrib = d.pointAttribs().find(name);
    const char* s = attrib->getIndex(*d.points()(point)->castAttribData<int>(attrib->getOffset()));
    return s ? s : "(none)";
}

float number(const GU_Detail& d, size_t point, const char* name, int component = 0) {
    return d.points()(point)->castAttribData<float>(d.pointAttribs().find(name)->getOffset())[component];
}

void setText(GU_Detail& d, GEO_Point* p, const char* name, const char* value) {
    GB_Attribute* attrib = d.pointAttribs().find(name);
    *p->castAttribData<int>(attrib->getOffset()) = attrib->addIndex(value);
}

} // namespace

TEST(Merge, StringsConflictsDefaultsAndGroups) {
    GU_Detail a, b;
    const float one = 1;
    a.pointAttribs().append("mass", 4, GB_ATTRIB_FLOAT, &one);
    a.pointAttribs().append("kind", 4, GB_ATTRIB_INT);
    a.pointAttribs().append("instance", 4, GB_ATTRIB_INDEX);
    setText(a, a.appendPoint(), "instance", "rock");
    a.pointGroups().newGroup("hit")->add(a.points()(0));

    b.pointAttribs().append("instance", 4, GB_ATTRIB_INDEX);
    const int kindB = b.pointAttribs().append("kind", 4, GB_ATTRIB_FLOAT); // means something else in a
    const float two = 2;
    const int life = b.pointAttribs().append("life", 8, GB_ATTRIB_FLOAT),
              drag = b.pointAttribs().append("drag", 4, GB_ATTRIB_FLOAT, &two);
    for (const char* s : {"tree", "rock", "tree"}) {
        GEO_Point* p = b.appendPoint();
        setText(b, p, "instance", s);
        *p->castAttribData<float>(kindB) = 9;
        p->castAttribData<float>(life)[1] = 4;
        *p->castAttribData<float>(drag) = 7;
    }
    *b.points()(2)->castAttribData<int>(0) = 55; // a number without string
    b.pointGroups().newGroup("hit")->add(b.points()(1));
    b.pointGroups().newGroup("__new")->add(b.points()(0));

    a.merge(b);
    EXPECT_EQ(a.validate(), "");
    ASSERT_EQ(a.points().entries(), 4u);
    EXPECT_EQ(a.pointAttribs().find("instance")->indexStrings(), (std::vector<std::string>{"rock", "tree"}));
    for (size_t i = 0; const char* expected : {"rock", "tree", "rock", "(none)"})
        EXPECT_EQ(text(a, i++, "instance"), expected);
    EXPECT_EQ(a.pointAttribs().find("kind")->getType(), GB_ATTRIB_INT);
    EXPECT_EQ(*a.points()(1)->castAttribData<int>(a.pointAttribs().find("kind")->getOffset()), 0);
    EXPECT_EQ(number(a, 1, "mass"), 1);
    EXPECT_EQ(number(a, 2, "life", 1), 4);
    EXPECT_EQ(number(a, 2, "drag"), 7);
    EXPECT_EQ(number(a, 0, "drag"), 2) << "older points get the new attribute's default";
    const GB_PointGroup* hit = a.pointGroups().find("hit");
    EXPECT_EQ(hit->entries(), 2u);
    EXPECT_TRUE(hit->contains(a.points()(2)));
    EXPECT_TRUE(a.pointGroups().find("__new")->getInternal());
    EXPECT_TRUE(a.pointGroups().find("__new")->contains(a.points()(1)));
}

TEST(Merge, PrimitivesComeWithVerticesAndShapes) {
    GU_Detail a, b;
    const int uv = b.vertexAttribs().append("uv", 4, GB_ATTRIB_FLOAT),
              area = b.primitiveAttribs().append("area", 4, GB_ATTRIB_FLOAT);
    b.cube({0, 0, 0}, {1, 1, 1});
    for (size_t i = 0; i < 6; ++i) {
        *b.primitives()[i]->castAttribData<float>(area) = static_cast<float>(i);
        for (int k = 0; k < 4; ++k) *b.primitives()[i]->getVertex(k)->castAttribData<float>(uv) = static_cast<float>(k);
    }
    UT_Matrix4 m(2.0f);
    m.setTranslation({5, 5, 5});
    GU_PrimTube::build(&b, m, 0.5f);
    GU_PrimMetaball::build(&b, m, 3, 2);
    GEO_PrimMesh::build(&b, 2, 3, true, false);
    auto* particles = static_cast<GEO_PrimParticle*>(b.insertPrimitive(GEOPRIMPART));
    particles->giveBirth();
    particles->appendParticle(b.points()(3));
    b.primitiveGroups().newGroup("some")->add(b.primitives()[2]);
    static_cast<GEO_PrimPoly*>(b.primitives()[1])->open();

    a.cube({-1, -1, -1}, {0, 0, 0});
    a.merge(b);
    EXPECT_EQ(a.validate(), "");
    ASSERT_EQ(a.primitives().entries(), 16u);
    const int areaA = a.primitiveAttribs().getOffset("area", 4, GB_ATTRIB_FLOAT),
              uvA = a.vertexAttribs().getOffset("uv", 4, GB_ATTRIB_FLOAT);
    EXPECT_EQ(*a.primitives()[11]->castAttribData<float>(areaA), 5);
    EXPECT_EQ(*a.primitives()[0]->castAttribData<float>(areaA), 0);
    EXPECT_EQ(*a.primitives()[7]->getVertex(3)->castAttribData<float>(uvA), 3);
    EXPECT_FALSE(a.primitives()[7]->isClosed());
    EXPECT_TRUE(a.primitives()[8]->isClosed());
    EXPECT_EQ(a.primitives()[8]->getVertexPoint(0)->getPos(), b.primitives()[2]->getVertexPoint(0)->getPos());
    EXPECT_EQ(static_cast<GEO_PrimTube*>(a.primitives()[12])->getTaper(), 0.5f);
    EXPECT_EQ(static_cast<GEO_PrimMetaball*>(a.primitives()[13])->density({5, 5, 5}), 3);
    EXPECT_TRUE(static_cast<GEO_PrimMesh*>(a.primitives()[14])->isWrappedU());
    EXPECT_EQ(a.primitives()[15]->getVertexPoint(1), a.points()(8 + 3));
    EXPECT_TRUE(a.primitiveGroups().find("some")->contains(a.primitives()[8]));
    EXPECT_EQ(a.primitives().next(a.primitives().head(GEOPRIMMETA), GEOPRIMPART), a.primitives()[15]);

    // Only a group's members and the points they use.
    GU_Detail part;
    part.merge(b, b.primitiveGroups().find("some"));
    EXPECT_EQ(part.validate(), "");
    EXPECT_EQ(part.points().entries(), 4u);
    part.merge(part);
    EXPECT_EQ(part.primitives().entries(), 2u);
    EXPECT_EQ(part.primitiveGroups().find("some")->entries(), 2u);
    EXPECT_NE(part.primitives()[0]->getVertexPoint(0), part.primitives()[1]->getVertexPoint(0));
}

TEST(Merge, DetailAttributesOnlyWhenMissing) {
    GU_Detail a, b;
    const int one = 1, fifty = 50;
    const int id = a.attribs().append("nextid", 4, GB_ATTRIB_INT, &one);
    b.attribs().append("nextid", 4, GB_ATTRIB_INT, &fifty);
    const int event = b.attribs().append("event", 4, GB_ATTRIB_FLOAT, &fifty);
    a.merge(b);
    EXPECT_EQ(*a.attribs().castAttribData<int>(id), 1);
    EXPECT_EQ(*a.attribs().castAttribData<int>(event), 50);
    a.duplicate(b, 1);
    EXPECT_EQ(*a.attribs().castAttribData<int>(id), 50);
}

TEST(Handles, DeletingEmptiesForEverySharer) {
    GU_Detail lent;
    lent.appendPoint();
    GU_DetailHandle a;
    a.allocateAndSet(&lent, 0);
    const GU_DetailHandle b = a;
    a.deleteGdp();
    EXPECT_TRUE(!a.isValid() && b.peekDetail() == &lent);
    EXPECT_EQ(lent.points().entries(), 0u);
}

TEST(Scratch, WorkPointsHaveDefaultsAndPositions) {
    GU_Detail d;
    const float standard[3] = {1, 2, 3};
    d.pointAttribs().append("id", 4, GB_ATTRIB_INT);
    d.pointAttribs().append("Cd", 12, GB_ATTRIB_FLOAT, standard);
    GEO_WorkVertexBuffer buffer(&d, 0, 11);
    ASSERT_EQ(buffer.entries(), 11);
    GEO_AttributeHandleList handles;
    handles.bind(&d);
    handles.addAllFloat();
    EXPECT_EQ(handles.find("id"), nullptr);
    const GEO_AttributeHandleList copy = handles;
    EXPECT_NE(copy.find("Cd"), handles.find("Cd"));
    GEO_Point* last = buffer.getVertex(10)->getPt();
    last->setPos({4, 5, 6, 7});
    EXPECT_EQ(handles.find("Cd")->getF(last, 2) + handles.find("P")->getF(last, 3), 10);
}

TEST(Load, LeavesNothingHalfLoaded) {
    GU_Detail d;
    std::string error;
    GU_Detail::setLoader([](GU_Detail& into, const char* file, std::string& why) {
        into.appendPoint();
        why = file;
        return std::string_view(file) == "good";
    });
    EXPECT_TRUE(d.load("good"));
    EXPECT_EQ(d.points().entries(), 1u);
    EXPECT_FALSE(d.load("bad", nullptr, &error));
    EXPECT_EQ(error, "bad");
    EXPECT_EQ(d.points().entries(), 0u);
    GU_Detail::setLoader(nullptr);
    EXPECT_FALSE(d.load("good", nullptr, &error));
    EXPECT_NE(error, "bad");
}
