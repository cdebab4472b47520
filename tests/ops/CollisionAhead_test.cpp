// The loop that sorts out particles and casts their rays ahead, against the one that takes particle after particle.
#include "ops/CollisionRig.h"
#include "support/SetParms.h"

namespace {

// Hills of triangles below a thousand particles, some of which stand in their list more than once.
struct Crowd {
    CollisionRig rig;
    bool isRepeated;

    Crowd(const std::string& parms, const char* group, bool varying, bool repeated)
        : rig(hills, 1000)
        , isRepeated(repeated) {
        setParms(rig.hit, "behavior=1 gainnml=0.8 donumhit=1 dohitid=1 " + parms);
        rig.hit.setString("group", group);
        // The same values by expressions that are evaluated at each particle's turn.
        setParms(rig.hit, varying ? "gainnml=0.8+0*$ID gaintan=1+0*$ID tolerance=0.0625+0*$ID" : "tolerance=0.0625");
        rig.start();
        uint32_t random = 1;
        const auto between = [&random](float low, float high) {
            random = random * 1664525u + 1013904223u;
            return low + (high - low) * float(random >> 8) / 16777216.0f;
        };
        for (int i = 0; i < 1000; ++i) {
            const bool caught = i < 40; // between hills and ceiling, so fast that every turn has its hits
            const UT_Vector3 place(between(-5, 5), caught ? 0.4f : between(-0.6f, 3), between(-5, 5));
            rig.place(i, place, {between(-9, 9), caught ? -150 : between(-30, 5), between(-9, 9)});
            if (i % 50 == 7) rig.net.setInt("pstate", i, FLX_STOPPED);
        }
        rig.place(3, {0, NAN, 0}, {0, -1, 0});
        rig.place(4, {0, 1, 0}, {0, INFINITY, 0});
        rig.place(5, {0, 1, 0}, {0, 0, 0});
        if (isRepeated) repeat();
    }
    static void hills(GU_Detail& detail, float) {
        addFloor(detail, 0.5f); // a ceiling: who comes below it bounces at every turn
        const auto at = [](int i, int j) {
            return UT_Vector3(float(i) / 4 - 5, 0.3f * float((i * 7 + j * 3) % 5) / 4, float(j) / 4 - 5);
        };
        for (int i = 0; i < 40; ++i)
            for (int j = 0; j < 40; ++j) {
                addFace(detail, {at(i, j), at(i + 1, j + 1), at(i + 1, j)});
                addFace(detail, {at(i, j), at(i, j + 1), at(i + 1, j + 1)});
            }
    }
    // Some stand in other chunks again, some several times in one.
    void repeat() {
        GEO_PrimParticle* prim = rig.net.context().hasPrimPart(&rig.source);
        for (int i = 0; i < 300; ++i) prim->appendParticle(rig.net.point(i * 3));
        for (int i = 0; i < 300; ++i) prim->appendParticle(rig.net.point(i * 3 % 40));
        rig.net.context().setCookOrder(FLX_CookOrder::Operator);
        rig.net.context().setDoApplyRules(false); // which would move them again and again
    }
    void step() {
        FLX_ContextData& context = rig.net.context();
        if (isRepeated)
            rig.net.detail().points().forEach(nullptr, [&](GEO_Point* p) {
                const UT_Vector3 v = context.velocity(p);
                float* backtrack = context.backtrack(p);
                for (int k = 0; k < 3; ++k) backtrack[k] = v[k];
                backtrack[3] = DT;
                context.life(p)[0] += DT;
                p->setPos(UT_Vector4(UT_Vector3(p->getPos()) + v * DT, 1));
            });
        rig.net.step();
    }
};

} // namespace

TEST(Collision, WorkingAheadChangesNothing) {
    // clang-format off
    struct Case { const char *parms, *group; int hits; }; // at least, in four steps
    const Case cases[] = {
        {"", "", 300}, {"behavior=0", "", 20}, {"finalbehavior=3 minimpulse=20", "", 200}, {"dodistance=1", "", 300},
        {"bounce=1", "", 200}, {"bounce=1 finalbehavior=1 minimpulse=60", "", 40}, {"bounce=0", "", 0},
        {"dohittest=1 donormalstep=1", "", 300}, {"", "hit", 300}};
    // clang-format on
    for (const Case& c : cases)
        for (const bool repeated : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.parms << c.group << (repeated ? ", repeated" : ""));
            std::vector<std::string> states[2];
            int hits = 0;
            for (const bool varying : {false, true}) {
                Crowd crowd(c.parms, c.group, varying, repeated);
                for (int step = 0; step < 4; ++step) {
                    crowd.step();
                    states[varying].push_back(crowd.rig.net.state());
                }
                hits = 0;
                for (int i = 0; i < int(crowd.rig.net.detail().points().entries()); ++i)
                    hits += crowd.rig.net.intValue("numhit", i);
            }
            for (size_t step = 0; step < 4; ++step) EXPECT_TRUE(states[0][step] == states[1][step]) << step;
            EXPECT_GE(hits, c.hits);
            EXPECT_TRUE(c.hits > 0 || hits == 0);
        }
}
