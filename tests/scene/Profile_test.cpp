// The arithmetic of profiles, on a clock that the test turns.
#include "scene/profile/CookProfile.h"

#include "SceneFixture.h"
#include "core/FLX_Node.h"
#include "scene/profile/ProfileTable.h"
#include "scene/profile/TraceFile.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace {

using Phase = FLX_CookRecorder::Phase;

class Profile : public SceneTest {
protected:
    /// The rows by "path type".
    std::map<std::string, ProfileRow> rows() const {
        std::map<std::string, ProfileRow> out;
        for (const ProfileRow* row : profile.sorted()) out[row->path + " " + row->type] = *row;
        return out;
    }
    uint64_t clock = 1000;
    /// Goes on by `tick` whenever it is looked at.
    uint64_t tick = 0;
    CookProfile profile{[this] { return clock += tick; }};
};

} // namespace

TEST_F(Profile, OwnTimesLeaveOutWhatRanInside) {
    loadNet(R"({"name": "birth", "type": "location"}, {"name": "pull", "type": "force", "inputs": ["birth"]})");
    OP_Node &birth = *node("/obj/fx/birth"), &pull = *node("/obj/fx/pull");
    FLX_Node& force = *pull.castToFLXNode();
    FLX_ContextData context("/obj/fx");
    for (uint64_t round = 1; round <= 2; ++round) {
        profile.phaseBegins(context, Phase::Context);
        clock += 1000;
        profile.phaseBegins(context, Phase::Step);
        clock += 20000 * round;
        profile.phaseEnds(context, Phase::Step);
        profile.cookBegins(pull);
        clock += 300000;
        profile.cookBegins(birth);
        clock += 4000000 * round;
        context.bumpNumParticles(10);
        profile.cookEnds(birth);
        clock += 50000000;
        context.bumpNumParticles(-3);
        profile.passMade(force, round == 1 ? nullptr : "source group");
        profile.cookEnds(pull);
        clock += 600000000; // of which the pass has a part
        profile.passesRan(force, 100000000);
        profile.phaseEnds(context, Phase::Context);
    }
    // clang-format off
    EXPECT_EQ(profileTable(profile),
        "node           type       cooks  particles  births  deaths  total ms    own ms  share %  ns/particle  passes\n"
        "/obj/fx        flxnet         2          -       -       -  1312.662  1000.002     76.2            -\n"
        "/obj/fx/pull   force          2          -       -       6   312.600   300.600     22.9            -  "
        "1 queued, 200000000.0 ns per particle; 1 at once: source group\n"
        "/obj/fx/birth  location       2          -      20       -    12.000    12.000      0.9            -\n"
        "/obj/fx        time step      2          7       -       -     0.060     0.060      0.0       8571.4\n"
        "all                                             20       6            1312.662    100.0");
    // clang-format on
}

// Two networks, one of which shows the other's particles: births count where they happen.
TEST_F(Profile, ANetworkThatCooksWithinAnotherKeepsItsOwnCounts) {
    loadObjects(
        R"({"name": "a", "type": "flxnet", "nodes": [{"name": "b", "type": "location", "parms": {"constantrate": 240}}]},
        {"name": "g", "type": "geo", "nodes": [{"name": "p", "type": "particles", "parms": {"path": "/obj/a"}}]},
        {"name": "c", "type": "flxnet", "nodes": [
            {"name": "s", "type": "source", "parms": {"soppath": "/obj/g/p", "constantrate": 48}}]})");
    for (const char* path : {"/obj/a", "/obj/c"}) network(path).setRecorder(&profile);
    for (int frame = 1; frame <= 5; ++frame) ASSERT_TRUE(network("/obj/c").cookFrame(frame));
    const auto found = rows();
    EXPECT_EQ(found.at("/obj/a/b location").births, network("/obj/a").particleCount());
    EXPECT_EQ(found.at("/obj/c/s source").births, network("/obj/c").particleCount());
    EXPECT_GT(network("/obj/c").particleCount(), 0);
    EXPECT_EQ(found.at("/obj/g/p particles").births, 0);
    EXPECT_EQ(found.at("/obj/g/p particles").cooks, 5);
    EXPECT_EQ(found.at("/obj/a flxnet").cooks, 5);
}

TEST_F(Profile, SubNetworksAndSubstepsAreCounted) {
    loadNet(R"(
        {"name": "birth", "type": "location", "parms": {"constantrate": 720, "life": 0.1}},
        {"name": "sub", "type": "subnet", "inputs": ["birth"], "nodes": [
            {"name": "pull", "type": "force", "inputs": [0], "flags": ["display", "render"]}]},
        {"name": "unused", "type": "force", "inputs": ["birth"]},
        {"name": "off", "type": "force", "inputs": ["sub"], "flags": ["bypass", "display", "render"]})",
            R"("substeps": 3)");
    network().setRecorder(&profile);
    tick = 1;
    constexpr int frames = 12, cooks = 1 + 3 * (frames - 1);
    for (int frame = 1; frame <= frames; ++frame) ASSERT_TRUE(network().cookFrame(frame));
    uint64_t sum = 0;
    const auto found = rows();
    for (const auto& [name, row] : found) {
        EXPECT_EQ(row.cooks, cooks) << name;
        sum += row.own;
    }
    EXPECT_EQ(found.size(), 6u) << "not the unused one";
    EXPECT_EQ(sum, found.at("/obj/fx flxnet").total) << "every tick belongs to one row";
    EXPECT_EQ(found.at("/obj/fx/sub/pull force").queued, cooks);
}

TEST_F(Profile, ATraceIsValidJsonWhateverTheNames) {
    const std::string path =
        (std::filesystem::temp_directory_path() / "flx-trace-").string() + std::to_string(getpid()) + ".json";
    TraceFile trace(path);
    std::string error;
    ASSERT_TRUE(trace.open("a \"name\"\n\xff", error)) << error;
    ProfileRow row;
    row.path = "/obj/fx/\"odd\\";
    row.type = "force";
    trace.add({row, 1234567, 10, 5, 4, 3});
    trace.add("frame", "frame", 1000000, 3000000, {{"frame", -2}});
    ASSERT_TRUE(trace.commit(error)) << error;
    const nlohmann::json events = nlohmann::json::parse(std::ifstream(path))["traceEvents"];
    std::filesystem::remove(path);
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[1]["name"], "\"odd\\");
    EXPECT_DOUBLE_EQ(events[1]["ts"].get<double>(), 1234.567);
    EXPECT_DOUBLE_EQ(events[1]["dur"].get<double>(), 0.01);
    EXPECT_EQ(events[2]["dur"], 2000);
    EXPECT_EQ(events[2]["args"]["frame"], -2);
}
