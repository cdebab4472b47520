// The window of random numbers hands out what the context would have, one after the other.
#include "core/FLX_RandomAhead.h"
#include "support/Network.h"
#include "support/RandomModel.h"

TEST(RandomAhead, IsTheSequenceOfTheContext) {
    // From the last seed on, 29 draws in a row miss the ball: more than are looked at together.
    for (const uint32_t seed : {0u, 77u, 4294967295u, 11414797u}) {
        Network net;
        net.start(net.addBirths(0), seed);
        RandomModel model{seed};
        for (const int n : {1, 0, 40, 999}) {
            {
                FLX_RandomAhead ahead(net.context());
                for (int i = 0; i < n; ++i) {
                    const bool ball = i % 5 != 3;
                    const float* d = ball ? ahead.ball() : ahead.cube();
                    const auto expected = model.spread(ball);
                    for (size_t k = 0; k < 3; ++k) ASSERT_EQ(d[k], expected[k]) << "seed " << seed << " draw " << i;
                    for (int k = i % 3; k > 0; --k) ASSERT_EQ(ahead.random(), model.random());
                }
            }
            ASSERT_EQ(net.context().getRandomSeed(), model.seed) << "seed " << seed << " after " << n;
            for (int i = 0; i < 100; ++i) {
                ASSERT_EQ(net.context().random(), model.random());
                ASSERT_EQ(net.context().randomSample(), model.sample());
            }
        }
    }
}
