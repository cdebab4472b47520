// Operators may work chunk by chunk or each on all particles before the next: nothing must tell the two apart.
#include <cstdlib>

#include <gtest/gtest.h>

#include "support/RandomNetwork.h"

namespace {

constexpr int STEPS = 14;

/// What each step of a random network shows.
std::vector<std::string> show(unsigned seed, FLX_CookOrder order, std::string& description) {
    RandomNetwork network(seed, order);
    description = network.description();
    std::vector<std::string> shown;
    for (int i = 0; i < STEPS; ++i) shown.push_back(network.step());
    return shown;
}

void expectSame(unsigned seed) {
    std::string description;
    const std::vector<std::string> chunked = show(seed, FLX_CookOrder::Chunk, description);
    const std::vector<std::string> plain = show(seed, FLX_CookOrder::Operator, description);
    for (size_t i = 0; i < STEPS; ++i)
        ASSERT_EQ(chunked[i], plain[i]) << "seed " << seed << ", step " << i + 1 << ":" << description;
}

int countFromEnvironment(int usual) {
    const char* text = std::getenv("FLX_RANDOM_NETWORKS");
    return text ? std::atoi(text) : usual;
}

} // namespace

// FLX_RANDOM_NETWORKS=1000 runs as many.
class RandomNetworks : public ::testing::TestWithParam<int> {};

TEST_P(RandomNetworks, ChunkByChunkIsOperatorByOperator) {
    constexpr int PARTS = 10;
    const int n = countFromEnvironment(100);
    for (int seed = 1 + GetParam(); seed <= n && !HasFatalFailure(); seed += PARTS) expectSame(unsigned(seed));
}

INSTANTIATE_TEST_SUITE_P(Part, RandomNetworks, ::testing::Range(0, 10));
