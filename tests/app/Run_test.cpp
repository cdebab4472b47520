#include "ToolFixture.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <map>
#include <unistd.h>

namespace {

class RunTool : public ToolTest {};

} // namespace

TEST_F(RunTool, JsonLinesFollowBirthsAndDeaths) {
    // Exactly 10 per frame. Ages are sums of float steps; who has reached the end is seen once more, and gone a frame
    // later.
    put("scene.json", scene(R"({"name": "birth", "type": "location", "parms": {"constantrate": 240, "life": 0.5}})"));
    const std::vector<nlohmann::json> lines = flx({"run", "scene.json", "--json", "--frames", "1-40"}).lines();
    ASSERT_EQ(lines.size(), 40u);
    long long particles = 0, died = 0;
    for (int frame = 1; frame <= 40; ++frame) {
        const nlohmann::json& line = lines[size_t(frame) - 1];
        particles += 10 - line["died"].get<int>();
        died += line["died"].get<int>();
        EXPECT_EQ(line["time"].get<float>(), float((frame - 1) / 24.0));
        EXPECT_EQ(line["hash"].get<std::string>().size(), 16u);
        const nlohmann::json expected = {{"frame", frame}, {"time", line["time"]}, {"net", "/obj/fx"},
                                         {"born", 10},     {"died", line["died"]}, {"particles", particles},
                                         {"severity", 0},  {"hash", line["hash"]}};
        EXPECT_EQ(line, expected);
    }
    int frames = 1;
    for (float age = 0; age < 0.5f; age += float(1 / 24.0)) ++frames;
    EXPECT_EQ(particles, 10 * frames);
    EXPECT_EQ(died, 10 * (40 - frames));
}

// On a machine without wider registers the baseline is what runs anyway.
TEST_F(RunTool, RunAndDumpAgreeAndTheBaselineInstructionSetGivesTheSameBits) {
    const std::vector<std::string> arguments{"run", example("fountain.json"), "--json", "--frames", "20-24"};
    const ToolResult once = flx(arguments);
    setenv("FLX_CPU", "baseline", 1);
    EXPECT_EQ(flx(arguments).out, once.out);
    unsetenv("FLX_CPU");
    const std::vector<nlohmann::json> lines = once.lines();
    ASSERT_EQ(lines.size(), 5u);
    const nlohmann::json dump = nlohmann::json::parse(flx({"dump", example("fountain.json"), "--frame", "24"}).out);
    for (const char* key : {"frame", "time", "hash", "particles"}) EXPECT_EQ(dump[key], lines[4][key]) << key;
    EXPECT_EQ(dump["particles"], dump["pointcount"]);
    EXPECT_EQ(dump["points"]["P"].size(), dump["pointcount"]);
    EXPECT_EQ(dump["particles"], 24 * 100) << "2400 a second";
    EXPECT_EQ(dump["detail"]["nextid"], 24 * 100 + 1);
    const ToolResult reseeded = flx({"dump", example("fountain.json"), "--frame", "24", "--set", "/obj/fx.seed=8",
                                     "--set", "/obj/fx/nozzle.group=true"});
    const nlohmann::json other = nlohmann::json::parse(reseeded.out);
    EXPECT_NE(other["points"]["P"], dump["points"]["P"]);
    EXPECT_EQ(other["groups"]["true"].size(), 100u) << "a text, not the boolean that it looks like";
}

TEST_F(RunTool, ProgressIsOneLinePerFrameWithoutATerminal) {
    put("scene.json", scene(R"({"name": "birth", "type": "location", "parms": {"constantrate": 24}})"));
    EXPECT_EQ(flx({"run", "scene.json", "--frames", "1-2"}).out,
              "/obj/fx frame 1: 1 particles\n/obj/fx frame 2: 2 particles\n");
    EXPECT_EQ(flx({"run", "scene.json", "--frames", "1-2", "--quiet"}).out, "");
    EXPECT_EQ(flx({"run", "scene.json", "--frames", "2", "--out", "o.ply"}).out,
              "/obj/fx frame 2: 2 particles\nwrote o.ply\n");
}

TEST_F(RunTool, FramesBeforeTheWantedOnesShowOnTheBar) {
    put("scene.json", R"({"flx": 1, "obj": [{"name": "fx", "type": "flxnet", "parms": {"startframe": -300},
        "nodes": [{"name": "birth", "type": "location", "parms": {"constantrate": 24}}]}]})");
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    const char* const name = ptsname(terminal);
    const int keepOpen = open(name, O_RDWR | O_NOCTTY); // else the text goes with the last writer
    ASSERT_EQ(flx({"run", "scene.json", "--frames", "2-2"}, 0, name).status, 0);
    char text[4096];
    const ssize_t got = read(terminal, text, sizeof text);
    ASSERT_GT(got, 0);
    const std::string shown(text, size_t(got));
    EXPECT_NE(shown.find("frame -300 of 2  1 particles"), std::string::npos) << shown;
    EXPECT_NE(shown.find("frame 2 of 2  303 particles"), std::string::npos) << shown;
    close(keepOpen);
    close(terminal);
}

TEST_F(RunTool, NegativeFramesAndFramesBeforeTheStart) {
    put("scene.json", scene(R"({"name": "birth", "type": "location", "parms": {"constantrate": 24}})"));
    const ToolResult result = flx({"run", "scene.json", "--json", "--frames", "-1-2"});
    ASSERT_EQ(result.status, 0) << result.err;
    std::vector<int> counts;
    for (const nlohmann::json& line : result.lines()) counts.push_back(line["particles"]);
    EXPECT_EQ(counts, (std::vector<int>{0, 0, 1, 2}));
    ASSERT_EQ(flx({"run", "scene.json", "--quiet", "--frames", "-1-0", "--out", "a/f.###.csv"}).status, 0);
    EXPECT_EQ(appeared(), (std::vector<std::string>{"a/f.-01.csv", "a/f.000.csv"}));
    EXPECT_EQ(flx({"dump", "scene.json", "--frame", "-5"}).status, 0);
}

TEST_F(RunTool, SeveralNetworksWriteUnderTheirNames) {
    put("two.json", R"({"flx": 1, "frames": [1, 2], "obj": [
        {"name": "a", "type": "flxnet", "nodes": [{"name": "b", "type": "location", "parms": {"constantrate": 24}}]},
        {"name": "b", "type": "flxnet", "nodes": [{"name": "b", "type": "location", "parms": {"constantrate": 48}}]}]})");
    const ToolResult result = flx({"run", "two.json", "--json", "--out", "%n/##.flx"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(appeared(), (std::vector<std::string>{"a/01.flx", "a/02.flx", "b/01.flx", "b/02.flx"}));
    std::map<std::string, int> last;
    for (const nlohmann::json& line : result.lines()) last[line["net"]] = line["particles"];
    EXPECT_EQ(last, (std::map<std::string, int>{{"/obj/a", 2}, {"/obj/b", 4}}));
    EXPECT_EQ(flx({"run", "two.json", "--json", "--net", "/obj/b"}).lines().size(), 2u);
}

TEST_F(RunTool, CtrlCKeepsFinishedFramesAndTheProfile) {
    put("scene.json", scene(R"({"name": "birth", "type": "location", "parms": {"constantrate": 24000}})"));
    const ToolResult result =
        interruptWhenThere("o.00003.bflx", {"run", "scene.json", "--frames", "1-90000", "--out", "o.#####.bflx",
                                            "--quiet", "--profile", "--profile-json", "p.trace"});
    EXPECT_EQ(result.status, 130) << result.err;
    EXPECT_NE(result.err.find("interrupted at frame"), std::string::npos);
    EXPECT_NE(result.err.find("/obj/fx/birth  location"), std::string::npos) << result.err;
    EXPECT_GE(nlohmann::json::parse(std::ifstream(path("p.trace")))["traceEvents"].size(), 3u * 3);
    std::filesystem::remove(path("p.trace"));
    const std::vector<std::string> files = appeared();
    ASSERT_TRUE(files.size() >= 3 && files.size() < 90000);
    // The last file is whole: a simulation can start from it, and it has the particles of its frame.
    put("again.json", R"({"flx": 1, "obj": [{"name": "fx", "type": "flxnet", "parms": {"initialstate": ")" +
                          files.back() + R"("}, "nodes": [{"name": "n", "type": "null"}]}]})");
    const ToolResult again = flx({"dump", "again.json", "--frame", "1"});
    ASSERT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(nlohmann::json::parse(again.out)["pointcount"], 1000 * int(files.size()));
}

TEST_F(RunTool, AnInitialStateContinuesASimulation) {
    ASSERT_EQ(flx({"run", example("rain.json"), "--frames", "30", "--out", "state.bflx", "--quiet"}).status, 0);
    put("again.json", R"({"flx": 1, "frames": [30, 30], "obj": [{"name": "fx", "type": "flxnet",
        "parms": {"initialstate": "state.bflx"}, "nodes": [{"name": "n", "type": "null"}]}]})");
    const nlohmann::json before = nlohmann::json::parse(flx({"dump", example("rain.json"), "--frame", "30"}).out);
    const nlohmann::json after = nlohmann::json::parse(flx({"dump", "again.json", "--frame", "30"}).out);
    for (const char* name : {"P", "v", "life", "id"}) EXPECT_EQ(after["points"][name], before["points"][name]) << name;
}
