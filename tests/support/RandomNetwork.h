#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "support/Network.h"

/// Decisions that follow from a seed.
class Dice {
public:
    explicit Dice(unsigned seed)
        : myState(seed * 2654435761u + 1) {}

    int below(int n) {
        myState = myState * 6364136223846793005u + 1442695040888963407u;
        return int((myState >> 33) % uint64_t(n));
    }
    bool chance(int percent) { return below(100) < percent; }
    double between(double low, double high) { return low + (high - low) * below(1 << 20) / double(1 << 20); }
    template <class T> T pick(std::initializer_list<T> choices) {
        return *(choices.begin() + below(int(choices.size())));
    }

private:
    uint64_t myState;
};

/// A particle network put together at random from a seed: generators, operators in a row, branches, switches over time,
/// sub-networks, and operators of its own that do to particles and their context what operators may do. Two of the same
/// seed are the same network.
class RandomNetwork {
public:
    RandomNetwork(unsigned seed, FLX_CookOrder order);

    /// Cooks one step. Everything there is to see afterwards: the simulation's bytes, what is displayed, each node's
    /// messages and info text.
    std::string step();
    /// What the network is made of, for a failure's message.
    const std::string& description() const { return myDescription; }

private:
    FLX_Node& addNode(const char* type, std::initializer_list<OP_Node*> inputs, OP_Network* parent = nullptr);
    FLX_Node& addGenerator();
    FLX_Node& addOperator(FLX_Node& input);
    FLX_Node& addRow(FLX_Node& input, int most);
    FLX_Node& join(std::vector<FLX_Node*> branches);
    FLX_Node& addSubNetwork();
    void chooseSwitches();
    std::string seen();

    Network myNet;
    Dice myDice;
    std::string myGeometry;
    std::vector<FLX_Node*> myNodes;
    std::string myDescription;
    int myInterruptedStep = -1;
    int myStep = 0;
};
