#include "GeoModel.h"

#include <random>

namespace {

// Random operations on a detail and on its model, compared after each.
class RandomWalk {
public:
    explicit RandomWalk(unsigned seed)
        : myRandom(seed) {}

    void step() {
        switch (pick(16)) {
        case 0: model.appendPoint(); break;
        case 1: model.insert(pick(2) ? GEOPRIMPART : GEOPRIMPOLY); break;
        case 2:
        case 3:
        case 4: births(); break;
        case 5: shareParticle(); break;
        case 6: corners(); break;
        case 7: die(); break;
        case 8: compact(); break;
        case 9:
        case 10: removeUnused(); break;
        case 11: deletePrim(); break;
        case 12: destroyPoints(); break;
        case 13: group(); break;
        case 14: primGroup(); break;
        case 15: attribute(); break;
        }
        model.check();
    }
    GeoModel model;

private:
    size_t pick(size_t n) { return n ? myRandom() % n : 0; }
    int pickPoint() { return model.points[pick(model.points.size())]; }
    bool choose(unsigned type, size_t& n) {
        n = pick(model.prims.size());
        return !model.prims.empty() && model.prims[n].type == type;
    }
    void births() {
        size_t n;
        if (!choose(GEOPRIMPART, n)) return;
        for (size_t k = pick(8); k > 0; --k) {
            model.prims[n].vertices.emplace_back(model.nextId, 0);
            model.dress(model.particles(n)->giveBirth().getPt());
        }
    }
    void shareParticle() {
        size_t n;
        if (pick(4) || model.points.empty() || !choose(GEOPRIMPART, n)) return;
        const int id = pickPoint();
        model.particles(n)->appendParticle(model.byId(id));
        model.prims[n].vertices.emplace_back(id, 0);
    }
    void corners() {
        size_t n;
        if (model.points.empty() || !choose(GEOPRIMPOLY, n)) return;
        for (size_t k = pick(4); k > 0; --k) model.addCorner(n, pickPoint());
    }
    void die() {
        size_t n;
        if (!choose(GEOPRIMPART, n)) return;
        auto& list = model.prims[n].vertices;
        auto kept = list;
        kept.clear();
        for (size_t i = 0; i < list.size(); ++i)
            if (pick(3) == 0)
                model.particles(n)->deadParticle(i);
            else
                kept.push_back(list[i]);
        EXPECT_EQ(model.particles(n)->deleteDead(), list.size() - kept.size());
        list = kept;
    }
    void compact() {
        size_t n;
        if (!choose(GEOPRIMPART, n)) return;
        const auto keep = [](int id) { return id % 5 != 0; };
        model.particles(n)->compact([&](uint32_t slot) { return keep(model.id(model.detail.points().bySlot(slot))); });
        std::erase_if(model.prims[n].vertices, [&](const auto& v) { return !keep(v.first); });
    }
    void removeUnused() {
        const std::set<int> gone = model.unusedPoints();
        EXPECT_EQ(model.detail.removeUnusedPoints(), gone.size());
        model.forgetPoints(gone);
    }
    void deletePrim() {
        if (pick(3) || model.prims.empty()) return;
        const size_t n = pick(model.prims.size());
        const bool andPoints = pick(2);
        const auto its = model.prims[n].vertices;
        model.detail.deletePrimitive(model.detail.primitives()[n], andPoints);
        model.forgetPrim(n);
        if (!andPoints) return;
        const std::set<int> unused = model.unusedPoints();
        std::set<int> gone;
        for (const auto& [p, corner] : its)
            if (unused.count(p)) gone.insert(p);
        model.forgetPoints(gone);
    }
    void destroyPoints() {
        if (pick(3) || model.points.empty()) return;
        UT_BitSet slots(model.detail.points().slotEnd());
        std::set<int> gone;
        for (size_t k = 1 + pick(5); k > 0; --k) {
            const int id = pickPoint();
            gone.insert(id);
            slots.set(model.byId(id)->slot());
        }
        EXPECT_EQ(model.detail.destroyPoints(slots), gone.size());
        for (size_t n = model.prims.size(); n-- > 0;) {
            GeoModel::Prim& prim = model.prims[n];
            const size_t lost = std::erase_if(prim.vertices, [&](const auto& v) { return gone.count(v.first) != 0; });
            if (lost && prim.type == GEOPRIMPOLY && prim.vertices.empty()) model.forgetPrim(n);
        }
        model.forgetPoints(gone);
    }
    static constexpr const char* NAMES[] = {"g0", "g1", "g2"};
    void group() {
        const std::string name = NAMES[pick(3)];
        auto& groups = model.detail.pointGroups();
        if (!groups.find(name) || pick(8) == 0) {
            groups.newGroup(name, 0); // an existing one is emptied
            model.groups[name].clear();
        }
        if (pick(20) == 0) {
            groups.destroy(groups.find(name));
            model.groups.erase(name);
            return;
        }
        for (size_t k = pick(6); k > 0 && !model.points.empty(); --k) {
            const int id = pickPoint();
            const bool add = pick(3) != 0;
            const bool changed =
                add ? groups.find(name)->add(model.byId(id)) : groups.find(name)->remove(model.byId(id));
            EXPECT_EQ(changed, add ? model.groups[name].insert(id).second : model.groups[name].erase(id) == 1);
        }
    }
    void primGroup() {
        if (model.prims.empty()) return;
        auto& groups = model.detail.primitiveGroups();
        if (!groups.find("p")) groups.newGroup("p", 0);
        const size_t n = pick(model.prims.size());
        groups.find("p")->add(model.detail.primitives()[n]);
        model.primGroups["p"].insert(model.prims[n].tag);
    }
    void attribute() {
        if (pick(4)) return;
        const std::string name = std::to_string(model.detail.pointAttribs().entries());
        const float value[3] = {1, 2, 3};
        const int offset = model.detail.pointAttribs().append(name, 12, GB_ATTRIB_VECTOR, value);
        for (size_t i = 0; i < model.points.size(); ++i)
            ASSERT_EQ(model.detail.points()(i)->castAttribData<float>(offset)[2], 3.0f);
        model.detail.vertexAttribs().append(name, 4, GB_ATTRIB_FLOAT);
        model.detail.primitiveAttribs().append(name, 3, GB_ATTRIB_RAW);
    }
    std::mt19937 myRandom;
};

} // namespace

TEST(Detail, RandomOperationsAgreeWithTheModel) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        RandomWalk walk(seed);
        for (int k = 0; k < 450 && !testing::Test::HasFailure(); ++k) walk.step();
    }
}

TEST(Detail, DuplicateIsIndependentAndEqual) {
    RandomWalk walk(77);
    for (int k = 0; k < 400; ++k) walk.step();
    GU_Detail copy;
    copy.insertPrimitive(GEOPRIMSPHERE);
    copy.duplicate(walk.model.detail, 1);
    walk.model.detail.stashAll();
    EXPECT_EQ(walk.model.detail.pointAttribs().entries() + walk.model.detail.pointGroups().entries(), 0u);
    EXPECT_EQ(copy.validate(), "");
    copy.duplicate(copy, 1);
    walk.model.detail.duplicate(copy, 1);
    for (int k = 0; k < 50; ++k) walk.step();
}

TEST(Detail, TransformMovesPointsVectorsAndNormals) {
    GU_Detail d;
    const int v = d.pointAttribs().append("v", 12, GB_ATTRIB_VECTOR),
              n = d.pointAttribs().append("N", 12, GB_ATTRIB_VECTOR),
              c = d.pointAttribs().append("Cd", 12, GB_ATTRIB_FLOAT);
    GEO_Point* p = d.appendPoint();
    p->setPos({1, 2, 3, 0.5f});
    for (int offset : {v, n, c}) *p->castAttribData<UT_Vector3>(offset) = {1, 1, 0};
    d.transform(UT_Matrix4(UT_Matrix3({2, 0, 0}, {1, 1, 0}, {0, 0, 1}), UT_Vector3(10, 0, 0))); // scaled and sheared
    EXPECT_EQ(p->getPos(), UT_Vector4(14, 2, 3, 0.5f));
    EXPECT_EQ(*p->castAttribData<UT_Vector3>(v), UT_Vector3(3, 1, 0));
    EXPECT_EQ(*p->castAttribData<UT_Vector3>(n), UT_Vector3(0.5f, 0.5f, 0)) << "across what it was across";
    EXPECT_EQ(*p->castAttribData<UT_Vector3>(c), UT_Vector3(1, 1, 0));
}

TEST(Detail, BoundingBoxes) {
    GU_Detail d;
    UT_BoundingBox box;
    EXPECT_EQ(d.getBBox(box), 0);
    EXPECT_FALSE(box.isValid());
    UT_Matrix4 m(1.0f);
    m(0, 0) = 3; // a sphere three wide
    m.setTranslation({5, 0, 0});
    GU_PrimSphere::build(&d, m);
    ASSERT_EQ(d.getBBox(box), 1);
    EXPECT_EQ(box.vmin(), UT_Vector3(2, -1, -1));
    EXPECT_EQ(box.vmax(), UT_Vector3(8, 1, 1));
    GB_PointGroup* group = d.pointGroups().newGroup("p");
    EXPECT_EQ(d.getBBox(box, group), 0);
    group->add(d.points()(0));
    ASSERT_EQ(d.getBBox(box, group), 1);
    EXPECT_EQ(box.size(), UT_Vector3(0, 0, 0));
    d.cube({-4, -5, -6}, {-3, -3, -3});
    GB_PrimitiveGroup* prims = d.primitiveGroups().newGroup("q");
    prims->add(d.primitives()[1]);
    ASSERT_EQ(d.getBBox(box, prims), 1);
    EXPECT_EQ(box.vmax(), UT_Vector3(-4, -3, -3)); // the cube's first face is its low x side
}
