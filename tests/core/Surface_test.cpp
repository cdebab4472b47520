// Particles bound to geometry: stuck to a moving grid, and sliding on planes, against closed forms.
#include <cmath>

#include "support/Probe.h"

namespace {

/// A quad over [-1, 1] x [-1, 1] times `half`, normal up, whose height and tilt (rise per x) are the test's.
void quad(GU_Detail& detail, float half, float height, float slope) {
    GEO_PrimPoly* face = GU_PrimPoly::build(&detail, 4);
    const float x[] = {-half, -half, half, half}, z[] = {-half, half, half, -half};
    for (int i = 0; i < 4; ++i) face->getVertexPoint(i)->setPos({x[i], height + slope * x[i], z[i], 1});
}

void wideFloor(GU_Detail& detail, float) { quad(detail, 50, 0, 0); }

/// One particle bound to the geometry of a path.
struct Bound {
    Network net;
    Probe& probe;

    Bound(const std::function<void(GU_Detail&, float)>& fill, int bits, std::initializer_list<FLX_Attrib> more = {},
          UT_Vector3 at = {0, 0, 0})
        : probe(Probe::addSource(net, "probe", 1)) {
        const std::string path = net.addGeometry("ground", fill);
        probe.attribs = [list = std::vector(more)](Probe&, FLX_ContextData* context) {
            for (const FLX_Attrib a : {FLX_Attrib::PosPath, FLX_Attrib::PosPrim, FLX_Attrib::PosUV})
                context->addAttrib(a);
            for (const FLX_Attrib a : list) context->addAttrib(a);
        };
        net.start(probe);
        GB_Attribute* paths = net.detail().pointAttribs().find("pospath");
        net.setInt("pospath", 0, paths->addIndex(path));
        net.setInt("posprim", 0, 0);
        net.setInt("pstate", 0, bits);
        net.point(0)->setPos({at.x(), at.y(), at.z(), 1});
        // u = 0.5, v = 1 is the centre of the quad, where sliding particles start.
        net.setValue("posuv", 0, {0.5f, 1});
    }
    int bits() { return net.context().state(net.point(0)); }
    void setAccel(float x, float y, float z) { net.setValue("accel", 0, {x, y, z}); }
};

} // namespace

TEST(Surface, AStuckParticleGoesWhereItsPrimitiveGoes) {
    const auto rising = [](GU_Detail& detail, float t) { quad(detail, 1, 3 * t, 0); };
    Bound b(rising, FLX_STUCK);
    b.net.setValue("posuv", 0, {0, 0}); // the first corner
    for (int i = 0; i < 5; ++i) {
        b.net.step();
        EXPECT_EQ(b.net.position(0), UT_Vector3(-1, 3 * b.net.time(), -1));
        EXPECT_EQ(b.net.context().backtrack(b.net.point(0))[3], 0);
        EXPECT_EQ(b.bits(), FLX_STUCK);
    }
    b.net.setInt("posprim", 0, 7);
    const UT_Vector3 before = b.net.position(0);
    b.net.step();
    EXPECT_EQ(b.net.position(0), before) << "no such primitive";
    b.net.setInt("posprim", 0, 0);
    b.net.setInt("pospath", 0, 99);
    b.net.step();
    EXPECT_EQ(b.net.position(0), before) << "no such path";
    EXPECT_EQ(Network::messages(b.probe), "");
}

TEST(Surface, ASlidingParticleGoesDownASlopeWithoutFriction) {
    const float slope = 0.5f, g = 9.8f;
    Bound b([=](GU_Detail& detail, float) { quad(detail, 50, 0, slope); }, FLX_SLIDING);
    // Along the slope downhill: (-1, -slope) / sqrt(1 + slope^2), pulled by g sin.
    const double norm = std::sqrt(1.0 + slope * slope);
    const double pull = g * slope / norm;
    double s = 0, v = 0;
    for (int i = 0; i < 24; ++i) {
        b.setAccel(0, -g, 0);
        b.net.step();
        s += v * b.net.timeStep();
        v += pull * b.net.timeStep();
        ASSERT_EQ(b.bits(), FLX_SLIDING) << "step " << i;
        ASSERT_NEAR(b.net.position(0).x(), -s / norm, 2e-4 * (1 + s)) << "step " << i;
        ASSERT_NEAR(b.net.position(0).y(), -s / norm * slope, 2e-4 * (1 + s));
        ASSERT_NEAR(b.net.value("v", 0, 0), -v / norm, 2e-3 * (1 + v));
        ASSERT_EQ(b.net.intValue("posprim", 0), 0);
    }
    EXPECT_GT(s, 2);
}

TEST(Surface, FrictionHoldsAtRestAndBrakesInMotion) {
    const float g = 10;
    const auto friction = {FLX_Attrib::FStatic, FLX_Attrib::FDynamic};
    Bound rest(wideFloor, FLX_SLIDING, friction);
    rest.net.setValue("fstatic", 0, {0.5f});
    rest.setAccel(4, -g, 0);
    rest.net.step();
    EXPECT_EQ(rest.net.value("v", 0), 0) << "pushed by less than half its weight";
    EXPECT_EQ(rest.bits(), FLX_SLIDING);

    Bound moving(wideFloor, FLX_SLIDING, friction);
    moving.net.setValue("fdynamic", 0, {0.2f});
    moving.net.setValue("v", 0, {3, 0, 0});
    double v = 3;
    for (int i = 0; i < 12; ++i) {
        moving.setAccel(0, -g, 0);
        moving.net.step();
        v -= 0.2 * g * moving.net.timeStep();
        ASSERT_NEAR(moving.net.value("v", 0), v, 1e-3) << i;
        ASSERT_NEAR(moving.net.value("v", 0, 1), 0, 1e-5);
    }
}

TEST(Surface, AParticleLeavesTheSurfaceUnlessItClings) {
    Bound free(wideFloor, FLX_SLIDING);
    free.net.setValue("v", 0, {1, 1, 0});
    free.net.step();
    EXPECT_EQ(free.bits(), 0) << "it moves off";
    EXPECT_FLOAT_EQ(free.net.position(0).y(), free.net.timeStep());

    Bound clinging(wideFloor, FLX_SLIDING, {FLX_Attrib::Cling});
    clinging.net.setValue("cling", 0, {3});
    clinging.setAccel(0, 2, 0);
    clinging.net.step();
    EXPECT_EQ(clinging.net.value("v", 0, 1), 0) << "pulled by less than its cling";
    clinging.setAccel(0, 5, 0);
    clinging.net.step();
    EXPECT_FLOAT_EQ(clinging.net.value("v", 0, 1), (5 - 3) * clinging.net.timeStep());

    Bound edge(wideFloor, FLX_SLIDING, {}, {49.99f, 0, 0});
    edge.net.setValue("v", 0, {12, 0, 0});
    edge.net.step();
    EXPECT_EQ(edge.bits(), 0);
    EXPECT_EQ(edge.net.intValue("posprim", 0), -1) << "past the edge there is nothing to stand on";
}

TEST(Surface, ASlidingParticleIsLiftedByARisingGround) {
    // A rise of 0.2 per second; the particle stands on it from the second frame on.
    const auto rising = [](GU_Detail& detail, float t) { quad(detail, 50, 0.2f * t, 0); };
    Bound b(rising, FLX_SLIDING);
    for (int i = 0; i < 10; ++i) {
        b.setAccel(0, -9.8f, 0);
        b.net.step();
        ASSERT_EQ(b.bits(), FLX_SLIDING) << i;
        ASSERT_NEAR(b.net.position(0).y(), 0.2f * b.net.time(), 1e-4) << i;
    }
}
