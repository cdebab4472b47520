// Whole networks over several steps against arithmetic done here.
#include <cmath>

#include <gtest/gtest.h>

#include "support/Network.h"

TEST(Simulation, LocationBirthsRoundUpAndCarryTheRest) {
    Network net;
    FLX_Node& birth = net.add("location", "birth");
    birth.setFloat("constantrate", 0, 100);
    net.start(birth);
    EXPECT_EQ(Network::messages(birth), "");
    float born = 0;
    int expected = 0;
    for (int frame = 1; frame <= 30; ++frame) {
        if (frame > 1) net.step();
        born += 100.0f * net.timeStep();
        while (born > 0) born -= 1, ++expected;
        ASSERT_EQ(net.particles(), expected) << "frame " << frame;
        ASSERT_EQ(net.detail().validate(), "");
    }
}

TEST(Simulation, ForceMovesParticlesByForwardEuler) {
    Network net;
    FLX_Node& birth = net.add("location", "birth");
    FLX_Node& pull = net.add("force", "pull", {&birth});
    birth.setFloat("constantrate", 0, 0);
    birth.setExpression("impulserate", 0, "$FF == 1");
    birth.setFloat("vel", 0, 1);
    for (int i = 0; i < 3; ++i) birth.setFloat("var", i, 0);
    pull.setExpression("force", 1, "-9.8 * $MASS");
    pull.setFloat("force", 1, -9.8);
    net.start(pull);
    ASSERT_EQ(net.particles(), 1) << Network::messages(birth);
    const float dt = net.timeStep();
    float y = 0, vy = 0, x = 0;
    for (int i = 0; i < 20; ++i) {
        net.step();
        x += 1 * dt;
        y += vy * dt;
        vy += -9.8f * dt;
        ASSERT_FLOAT_EQ(net.position(0).x(), x);
        ASSERT_FLOAT_EQ(net.position(0).y(), y) << i;
        ASSERT_FLOAT_EQ(net.value("v", 0, 1), vy);
    }
    EXPECT_EQ(Network::messages(pull), "");
}
