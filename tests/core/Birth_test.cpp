// Births and what newborn particles inherit.
#include <limits>

#include "core/FLX_AttribMap.h"
#include "support/Probe.h"

namespace {

/// Births of a probe, one network each.
struct Births {
    Network net;
    Probe& probe;
    FLX_Birth birth;
    float life = 5;
    int origin = 3;
    int asked = 0;

    Births()
        : probe(Probe::add(net, "probe")) {
        probe.attribs = [](Probe&, FLX_ContextData* context) {
            for (const FLX_Attrib a :
                 {FLX_Attrib::ID, FLX_Attrib::Parent, FLX_Attrib::Gen, FLX_Attrib::Origin, FLX_Attrib::PrevVel})
                context->addAttrib(a);
        };
        net.start(probe);
    }
    GEO_Point* give() {
        const auto lifeOf = [this] { return life; };
        const auto originOf = [this] { return ++asked, origin; };
        birth.prim = net.context().getPrimPart(&probe);
        birth.life = lifeOf;
        birth.origin = originOf;
        return probe.birthParticle(&net.context(), birth);
    }
    int get(const GEO_Point* p, const char* attrib) {
        return *p->castAttribData<int>(net.detail().pointAttribs().find(attrib)->getOffset());
    }
};

int appendStrings(GU_Detail& detail, const char* name, std::initializer_list<const char*> strings) {
    const int none = -1;
    const int offset = detail.pointAttribs().append(name, 4, GB_ATTRIB_INDEX, &none);
    for (const char* text : strings) detail.pointAttribs().addIndex(name, text);
    return offset;
}

GB_AttributeData recordOf(const GU_Detail& detail, int point) {
    GB_AttributeData data(detail.pointAttribs().recordSize());
    data.copy(detail.points()(size_t(point))->data());
    return data;
}

} // namespace

TEST(Birth, IdentityAgeAndLineage) {
    Births b;
    b.birth.position = {1, 2, 3, 0.5f};
    const auto velocity = [](GEO_Point*, UT_Vector3& v) { v = {7, 8, 9}; };
    b.birth.velocity = velocity;
    GEO_Point* first = b.give();
    EXPECT_EQ(first->getPos(), UT_Vector4(1, 2, 3, 0.5f));
    EXPECT_EQ(b.net.context().life(first)[0], 0);
    EXPECT_EQ(b.net.context().life(first)[1], 5);
    EXPECT_EQ(b.net.context().velocity(first), UT_Vector3(7, 8, 9));
    EXPECT_EQ(*first->castAttribData<UT_Vector3>(b.net.context().getPrevVelOffset()), UT_Vector3(7, 8, 9));
    EXPECT_EQ(b.get(first, "id"), 1);
    EXPECT_EQ(b.get(first, "parent"), 0);
    EXPECT_EQ(b.get(first, "gen"), 1);
    EXPECT_EQ(b.net.context().backtrack(first)[3], -1);
    EXPECT_EQ(b.net.particles(), 1);

    for (int i = 0; i < 2; ++i) b.birth.parent = b.net.point(0), b.give();
    b.birth.parent = b.net.point(2);
    const GEO_Point* grandchild = b.give();
    EXPECT_EQ(b.get(grandchild, "id"), 4);
    EXPECT_EQ(b.get(grandchild, "parent"), 3);
    EXPECT_EQ(b.get(grandchild, "gen"), 3);
    b.birth.parent = nullptr;
    EXPECT_EQ(b.get(b.give(), "gen"), 1);
}

TEST(Birth, OriginModesAddUp) {
    for (int mode = 0; mode < 8; ++mode) {
        for (const bool child : {false, true}) {
            Births b;
            b.give();
            b.net.setInt("origin", 0, 5);
            b.asked = 0;
            b.birth.originMode = mode;
            b.birth.originAdd = 10;
            b.birth.parent = child ? b.net.point(0) : nullptr;
            const int expected = (mode & 1 ? 3 : 0) + (mode & 2 ? 10 : 0) + (child && mode & 4 ? 5 : 0);
            EXPECT_EQ(b.get(b.give(), "origin"), expected) << "mode " << mode << " child " << child;
            EXPECT_EQ(b.asked, mode & 1) << "asked only when it counts";
        }
    }
}

TEST(Birth, CountsGoNoFurtherThanAnInt) {
    constexpr int MOST = std::numeric_limits<int>::max();
    Births b;
    b.origin = b.birth.originAdd = MOST;
    b.birth.originMode = 3;
    *b.net.context().idCounter() = MOST - 1;
    for (const int id : {MOST - 1, MOST, MOST}) {
        const GEO_Point* born = b.give();
        EXPECT_EQ(b.get(born, "id"), id);
        EXPECT_EQ(b.get(born, "origin"), MOST);
    }
    b.net.setInt("gen", 0, MOST);
    b.birth.parent = b.net.point(0);
    EXPECT_EQ(b.get(b.give(), "gen"), MOST);
}

TEST(Birth, RefusedBirthsChangeNothing) {
    Births b;
    for (const float span : {0.0f, -1.0f, std::nanf("")}) {
        b.life = span;
        EXPECT_EQ(b.give(), nullptr) << span;
    }
    b.life = 1;
    b.net.context().maxParticles = 2;
    for (const bool room : {true, true, false}) EXPECT_EQ(b.give() != nullptr, room);
    EXPECT_EQ(b.net.particles(), 2);
    EXPECT_EQ(b.net.detail().points().entries(), 2u);
    EXPECT_EQ(b.net.context().nextID(), 3);
}

TEST(Birth, AttributesAreInheritedByPattern) {
    Births b;
    GU_Detail src;
    const float mass = 4, normal[] = {0, 1, 0}, heat[] = {1, 2};
    src.pointAttribs().append("rank", 4, GB_ATTRIB_INT);
    src.pointAttribs().append("mass", 4, GB_ATTRIB_FLOAT, &mass);
    src.pointAttribs().append("N", 12, GB_ATTRIB_VECTOR, normal);
    src.pointAttribs().append("heat", 8, GB_ATTRIB_FLOAT, heat);
    src.pointAttribs().append("up", 12, GB_ATTRIB_VECTOR);
    src.pointAttribs().append("life", 4, GB_ATTRIB_FLOAT); // not the particles' "life"
    GEO_Point* p = src.appendPoint();
    p->castAttribData<float>(20)[1] = 2.5f;
    p->castAttribData<UT_Vector3>(8)->assign(0, 0, 2);

    FLX_AttribMap map;
    map.build(&b.net.context(), &src, &b.net.detail(), "* ^rank", 1);
    EXPECT_EQ(map.mappings().size(), 4u) << "mass N heat up";
    EXPECT_EQ(map.getFloatOffsets().entries(), 1 + 3 + 2 + 3);
    EXPECT_EQ(map.getVectorOffsets().entries(), 2);
    EXPECT_EQ(*map.getAttributeData().castAttribData<float>(4), 4) << "the scratch record starts at the defaults";
    EXPECT_EQ(b.net.detail().pointAttribs().find("rank"), nullptr);
    EXPECT_EQ(b.net.detail().pointAttribs().find("life")->getSize(), 8);
    std::string names;
    for (const CH_LocalVariable* v = b.net.context().getUserVariables(); v && v->name; ++v)
        names += std::string(v->name) + " ";
    EXPECT_EQ(names, "MASS MASS1 NX NY NZ HEAT1 HEAT2 UPX UPY UPZ ");

    const GB_AttributeData record = recordOf(src, 0);
    b.birth.map = &map;
    b.birth.source = &record;
    b.give();
    EXPECT_EQ(b.net.value("heat", 0, 1), 2.5f);
    EXPECT_EQ(b.net.vector("v"), UT_Vector3(0, 0, 2)) << "without a velocity, along the normal";
    map.build(&b.net.context(), &src, &b.net.detail(), "nothing", 0);
    EXPECT_TRUE(map.isEmpty());
    map.setSrcNormal({0, 3, 0});
    b.give();
    EXPECT_EQ(b.net.value("v", 1, 1), 3) << "the stored normal stands in";
}

TEST(Birth, StringIndicesAreTranslated) {
    struct Case {
        std::initializer_list<const char*> there, here, after;
        std::vector<int> mapped; // of the source's indices -1, 0, 1, …, and one past the end
    };
    const Case cases[] = {
        {{"a", "b"}, {"b", "a"}, {"b", "a"}, {-1, 1, 0, -1}},
        {{"a", "b", "c"}, {"c", "x"}, {"c", "x", "a", "b"}, {-1, 2, 3, 0, -1}},
        {{"a", "b"}, {"a", "b", "c"}, {"a", "b", "c"}, {-1, 0, 1, 2}}, // they agree: taken as they are
        {{"a"}, {}, {"a"}, {-1, 0, -1}},
    };
    for (const Case& c : cases) {
        Births b;
        GU_Detail src;
        const int from = appendStrings(src, "rock", c.there);
        appendStrings(b.net.detail(), "rock", c.here);
        for (int i = -1; i <= int(c.there.size()); ++i) *src.appendPoint()->castAttribData<int>(from) = i;
        FLX_AttribMap map;
        map.build(&b.net.context(), &src, &b.net.detail(), "*", 0);
        EXPECT_EQ(b.net.detail().pointAttribs().find("rock")->indexStrings(),
                  std::vector<std::string>(c.after.begin(), c.after.end()));
        b.birth.map = &map;
        for (size_t i = 0; i < c.mapped.size(); ++i) {
            const GB_AttributeData record = recordOf(src, int(i));
            b.birth.source = &record;
            EXPECT_EQ(b.get(b.give(), "rock"), c.mapped[i]) << *c.there.begin() << " case, source " << int(i) - 1;
        }
    }
}
