// Operators that route particles: collect, switch, null, sub-network.
#include "support/Info.h"
#include "support/Probe.h"

namespace {

std::vector<std::string> generators(Network& net, FLX_Node& node) {
    std::vector<std::string> names;
    for (int i = 0; i < node.getParticleList()->entries(); ++i) {
        const FLX_Node* generator = net.context().getGenerator(node.getParticleList()->entry(i).prim);
        names.push_back(generator ? generator->getName() : "?");
    }
    return names;
}

using Names = std::vector<std::string>;

} // namespace

TEST(Stream, CollectJoinsAndRefusesDoubles) {
    Network net;
    FLX_Node& a = net.add("location", "a");
    FLX_Node& through = net.add("null", "through", {&a});
    FLX_Node& own = net.add("null", "own"); // without an input it owns particles
    FLX_Node& all = net.add("collect", "all", {&through, nullptr, &own});
    net.start(all);
    net.step(2);
    EXPECT_EQ(generators(net, all), (Names{"own", "a"}));
    EXPECT_EQ(net.detail().primitives().entries(), 2u) << "one primitive each, for good";
    EXPECT_EQ(Network::messages(all), "");
    all.setInput(1, &a);
    net.start(all);
    EXPECT_EQ(Network::messages(all), "error FLX 12: a") << "a's particles are taken by the first wire";
    EXPECT_EQ(generators(net, all), Names{});
}

TEST(Stream, SwitchTakesOneInput) {
    Network net;
    FLX_Node& a = net.add("location", "a");
    FLX_Node& b = net.add("location", "b");
    FLX_Node& one = net.add("switch", "one", {&a, &b});
    for (const int index : {0, 1, 2, 5, -1}) {
        one.setInt("input", 0, index);
        net.start(one);
        EXPECT_EQ(generators(net, one), Names{index > 0 ? "b" : "a"}) << index;
        const bool beyond = index < 0 || index > 1;
        EXPECT_EQ(Network::messages(one), beyond ? "warning FLX 4: Index out of range" : "") << index;
    }
    one.setExpression("input", 0, "$FF > 2");
    net.start(one);
    EXPECT_EQ(generators(net, one), Names{"a"});
    EXPECT_EQ(b.cookCount(), 3u) << "what is not chosen is not cooked";
    net.step(2);
    EXPECT_EQ(generators(net, one), Names{"b"});

    Probe& bad = Probe::add(net, "bad");
    bad.work = [](Probe& self, OP_Context&) { self.addError(FLX_ERR_GEOMETRY); };
    FLX_Node& other = net.add("switch", "other", {&bad});
    other.setInt("input", 0, 3);
    net.start(other);
    EXPECT_GE(other.error(), UT_ERROR_ABORT);
    EXPECT_EQ(Network::messages(other).find("Index out of range"), std::string::npos) << "the failure comes first";
}

TEST(Stream, ASubNetworkHandsOnItsOutput) {
    Network net;
    FLX_Node& a = net.add("location", "a");
    FLX_Node& sub = net.add("subnet", "sub", {&a});
    FLX_Node& inner = net.add("force", "inner", {}, &sub);
    inner.setIndirectInput(0, 0);
    inner.setFloat("force", 0, 3);
    FLX_Node& extra = net.add("location", "extra", {}, &sub);
    FLX_Node& all = net.add("collect", "all", {&inner, &extra}, &sub);
    FLX_Node& below = net.add("force", "below", {&sub});
    for (FLX_Node* birth : {&a, &extra}) birth->setFloat("constantrate", 0, 24);
    net.start(below);
    EXPECT_EQ(generators(net, below), Names{"a"}) << "without an output the first input passes through";
    EXPECT_NE(info(net, sub).find("No output node available in this sub-network."), std::string::npos);
    EXPECT_EQ(net.value("accel", 0), 0);

    const uint32_t serial = below.getChangeSerial();
    all.setRender(true);
    EXPECT_GT(below.getChangeSerial(), serial) << "another output is another result";
    net.start(below);
    EXPECT_EQ(Network::messages(below) + Network::messages(sub), "");
    EXPECT_EQ(generators(net, below), (Names{"extra", "a"}));
    EXPECT_EQ(net.value("accel", 0), 3) << "the wire into the sub-network";
    EXPECT_NE(info(net, sub).find("Sub-Network output from: /obj/fx/sub/all"), std::string::npos) << info(net, sub);

    Probe& bad = static_cast<Probe&>((Network::registerOperator<Probe>("probe"), net.add("probe", "bad", {}, &sub)));
    bad.work = [](Probe& self, OP_Context&) { self.addError(FLX_ERR_GEOMETRY, "why"); };
    bad.setRender(true);
    net.step();
    EXPECT_EQ(Network::messages(sub).find("error OP 23: /obj/fx/sub/bad\n"), 0u) << Network::messages(sub);
    EXPECT_NE(Network::messages(sub).find("why"), std::string::npos);
    EXPECT_EQ(generators(net, sub), Names{});
    sub.destroyNode(&bad);
    net.step(2);
    EXPECT_EQ(generators(net, below), Names{"a"}) << "no output any more";
    sub.setInput(0, nullptr);
    net.start(below);
    EXPECT_EQ(generators(net, below), Names{"sub"}) << "nor an input: particles of its own";
}
