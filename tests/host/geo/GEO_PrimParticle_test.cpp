#include "host/geo/GU_Detail.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {

struct Swarm {
    GU_Detail detail;
    GEO_PrimParticle* prim = static_cast<GEO_PrimParticle*>(detail.insertPrimitive(GEOPRIMPART));
    int id = detail.pointAttribs().append("id", 4, GB_ATTRIB_INT);
    std::vector<int> ids() const {
        std::vector<int> out, bySpan, backwards;
        for (GEO_ParticleVertex v = prim->head(); v; v = v.next()) out.push_back(*v.getPt()->castAttribData<int>(id));
        for (GEO_ParticleVertex v = prim->tail(); v; v = v.prev())
            backwards.push_back(*v.getPt()->castAttribData<int>(id));
        prim->forEachSpan([&](const uint32_t* slots, size_t n) {
            for (size_t i = 0; i < n; ++i) bySpan.push_back(*detail.points().bySlot(slots[i])->castAttribData<int>(id));
        });
        EXPECT_EQ(bySpan, out);
        EXPECT_TRUE(std::equal(out.rbegin(), out.rend(), backwards.begin(), backwards.end()));
        return out;
    }
};

} // namespace

TEST(Particles, TurnoverKeepsOrderAndReusesRecords) {
    Swarm s;
    std::mt19937 random(3);
    std::vector<int> model;
    int next = 1;
    for (int step = 0; step < 40; ++step) {
        for (int k = 0; k < 5000; ++k) {
            *s.prim->birthPoint()->castAttribData<int>(s.id) = next;
            model.push_back(next++);
        }
        const auto salt = static_cast<uint32_t>(random());
        const auto keep = [&](int id) { return (static_cast<uint32_t>(id) * 2654435761u ^ salt) % 3 != 0; };
        const GEO_PointAccess point = s.detail.points().access();
        size_t ahead = 0;
        const size_t before = model.size();
        const size_t dropped = s.prim->compact(
            [&](uint32_t slot) { return keep(*point(slot)->castAttribData<int>(s.id)); }, [&](uint32_t) { ++ahead; });
        EXPECT_EQ(ahead, before) << "every particle is announced once";
        std::erase_if(model, [&](int id) { return !keep(id); });
        ASSERT_EQ(dropped, before - model.size());
        ASSERT_EQ(s.detail.removeUnusedPoints(), dropped);
        ASSERT_EQ(s.detail.points().entries(), model.size());
        ASSERT_EQ(s.detail.validate(), "");
    }
    EXPECT_EQ(next, 200001);
    EXPECT_EQ(s.ids(), model);
    // Reused slots: the table never outgrows the largest population (about 15000) by more than a slab.
    EXPECT_LE(s.detail.points().slotEnd(), 18432u);
    for (const size_t dead : {1, 4, 4}) s.prim->deadParticle(dead); // the same one twice
    EXPECT_EQ(s.prim->getVertexCount(), static_cast<int>(model.size())) << "marking removes nothing";
    EXPECT_EQ(s.prim->deleteDead(), 2u);
    EXPECT_EQ(s.prim->deleteDead(), 0u) << "marks are gone with the dead";
    s.prim->deleteLists();
    EXPECT_EQ(s.ids(), std::vector<int>{});
    EXPECT_EQ(s.detail.removeUnusedPoints(), model.size());
}
