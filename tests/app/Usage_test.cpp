#include "ToolFixture.h"

namespace {

constexpr const char* BIRTH = R"({"name": "birth", "type": "location"})";

struct Case {
    std::vector<std::string> arguments;
    std::string message;
};

class Usage : public ToolTest {
protected:
    void expectRefused(const std::vector<Case>& cases) {
        for (const Case& wrong : cases) {
            const ToolResult result = flx(wrong.arguments);
            SCOPED_TRACE(wrong.message);
            EXPECT_EQ(result.status, 2);
            EXPECT_EQ(result.err, wrong.message + "\n");
            EXPECT_EQ(result.out, "");
            EXPECT_EQ(appeared(), std::vector<std::string>{});
        }
    }
};

} // namespace

TEST_F(Usage, WrongCommandLinesAreRefusedInOneLine) {
    put("scene.json", scene(BIRTH));
    expectRefused({
        {{}, "flx: expects a command: run, dump, check, ops (see flx --help)"},
        {{"rnu", "scene.json"}, "flx: unknown command \"rnu\"; did you mean \"run\"? (see flx --help)"},
        {{"--verson"}, "flx: unknown option \"--verson\" (see flx --help)"},
        {{"run"}, "flx run: expects a scene file (see flx run --help)"},
        {{"run", "scene.json", "--frmaes", "1-2"},
         "flx run: unknown option \"--frmaes\"; did you mean \"--frames\"? (see flx run --help)"},
        {{"run", "scene.json", "--jsn=1"},
         "flx run: unknown option \"--jsn\"; did you mean \"--json\"? (see flx run --help)"},
        {{"run", "--", "scene.json", "--json"}, "flx run: one argument too many: \"--json\" (see flx run --help)"},
        {{"run", "scene.json", "other.json"}, "flx run: one argument too many: \"other.json\" (see flx run --help)"},
        {{"run", "scene.json", "--profile-json", "--quiet"},
         "flx run: --profile-json expects a value, found \"--quiet\"; write --profile-json=--quiet if that is the "
         "value "
         "(see flx run --help)"},
        {{"dump", "--net", "--guides", "scene.json", "--frame", "1"},
         "flx dump: --net expects a value, found \"--guides\"; write --net=--guides if that is the value (see flx dump "
         "--help)"},
        {{"dump", "scene.json"}, "flx dump: expects --frame N"},
        {{"dump", "scene.json", "--frame", "1.5"}, "flx dump: --frame 1.5: expects a whole number"},
        {{"ops", "forse"}, "flx ops: unknown operator type \"forse\"; did you mean \"force\"?"},
    });
}

TEST_F(Usage, TwoDashesEndTheOptions) {
    for (const char* name : {"-scene.json", "--json"}) {
        put(name, scene(BIRTH));
        EXPECT_EQ(flx({"run", "--frames", "1-2", "--json", "--", name}).lines().size(), 2u) << name;
        EXPECT_EQ(flx({"check", "--", name}).status, 0) << name;
    }
    EXPECT_EQ(flx({"run", "--frames", "1-1", "--profile-json=--quiet", "--", "--json"}).status, 0);
    EXPECT_EQ(appeared(), std::vector<std::string>{"--quiet"});
}

TEST_F(Usage, WrongFrameRangesAndPatternsAreRefused) {
    put("scene.json", scene(BIRTH));
    put("two.json",
        R"({"flx": 1, "frames": [1, 2], "obj": [{"name": "a", "type": "flxnet"}, {"name": "b", "type": "flxnet"}]})");
    const std::string expects = ": expects FIRST-LAST, for example 1-48";
    std::vector<Case> cases;
    for (const std::string range : {"5-1", "a-b", "1-", "-", "1-2-3", "1..5", "0-99999999", "1-2x", "--", "1--2"})
        cases.push_back({{"run", "scene.json", "--frames=" + range, "--out", "o.####.ply"},
                         "flx run: --frames " + range + expects});
    cases.push_back({{"run", "scene.json", "--out", "o.####.abc"},
                     "flx run: --out o.####.abc: unknown ending; known are .ply .csv .npz .flx .bflx"});
    cases.push_back({{"run", "scene.json", "--out", "o.####.obj"},
                     "flx run: --out o.####.obj: unknown ending; known are .ply .csv .npz .flx .bflx"});
    cases.push_back(
        {{"run", "scene.json", "--out", "o.ply"},
         "flx run: --out o.ply: every frame would overwrite the one before; put ####, the frame, into the file name"});
    cases.push_back(
        {{"run", "two.json", "--out", "o.####.ply"},
         "flx run: --out o.####.ply: the scene has 2 particle networks; choose one with --net, or put %n, the "
         "network's name, into the file name"});
    cases.push_back(
        {{"dump", "two.json", "--frame", "1"}, "flx dump: the scene has 2 particle networks; choose one with --net"});
    cases.push_back({{"run", "scene.json", "--net", "/obj/fy"},
                     "flx run: --net /obj/fy: there is no particle network at this path; did you mean \"/obj/fx\"?"});
    expectRefused(cases);
}

TEST_F(Usage, WrongAssignmentsAreRefused) {
    put("scene.json", scene(BIRTH));
    std::vector<Case> cases;
    const auto add = [&](const std::string& assignment, const std::string& why) {
        cases.push_back({{"run", "scene.json", "--set", assignment, "--out", "o.####.ply"},
                         "flx run: --set " + assignment + ": " + why});
    };
    const std::string form = "\": expects NODE.PARM=VALUE, for example /obj/fx.seed=3";
    add("seed", "\"seed" + form);
    add("/obj/fx=3", "\"/obj/fx=3" + form);
    add("/obj/fx/brith.life=3", "there is no node \"/obj/fx/brith\"; did you mean \"/obj/fx/birth\"?");
    add("/obj/nothing/here.life=3", "there is no node \"/obj/nothing/here\"");
    add("/obj/fx/birth.lief=3", "/obj/fx/birth: unknown parameter \"lief\"; did you mean \"life\"?");
    add("/obj/fx/birth.vel.q=3", "/obj/fx/birth: \"vel\" has no component \"q\"");
    add("/obj/fx/birth.vel.w=3", "/obj/fx/birth: \"vel\" has no component \"w\"");
    add("/obj/fx/birth.vel.3=3", "/obj/fx/birth: \"vel\" has no component \"3\"");
    add("/obj/fx/birth.vel=[1,2]", "/obj/fx/birth: \"vel\" has 3 components, found 2");
    add("/obj/fx/birth.method=ploar +", "/obj/fx/birth: \"method\": unknown menu token \"ploar +\"");
    expectRefused(cases);
}

TEST_F(Usage, AssignmentsReachComponentsTextsExpressionsAndTokens) {
    put("scene.json", scene(BIRTH));
    const ToolResult result = flx({"dump", "scene.json", "--frame", "1", "--set", "/obj/fx/birth.constantrate=24 * 3",
                                   "--set", "/obj/fx/birth.method=polar", "--set", "/obj/fx/birth.loc=[2, 90, 0]",
                                   "--set", "/obj/fx/birth.var=[0,0,0]", "--set", "/obj/fx/birth.vel.y=-3", "--set",
                                   "/obj/fx/birth.vel.2=$ITER", "--set", "/obj/fx/birth.group=true"});
    ASSERT_EQ(result.status, 0) << result.err;
    const nlohmann::json dump = nlohmann::json::parse(result.out);
    EXPECT_EQ(dump["particles"], 3);
    EXPECT_EQ(dump["points"]["v"], nlohmann::json::parse("[[0, -3, 0], [0, -3, 1], [0, -3, 2]]"));
    EXPECT_NEAR(dump["points"]["P"][0][1], 2, 1e-6);
    EXPECT_NEAR(dump["points"]["P"][0][0], 0, 1e-6);
    // The text of a string parameter is not read as the boolean it looks like.
    EXPECT_EQ(dump["groups"]["true"], nlohmann::json::parse("[0, 1, 2]"));
}

TEST_F(Usage, HelpAndListsGoToStandardOutput) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"--help"}, {"run", "-h"}, {"ops"}, {"ops", "--functions"}, {"ops", "force"}}) {
        const ToolResult result = flx(arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_NE(result.out, "");
    }
    EXPECT_NE(flx({"run", "--help"}).out.find("--frames"), std::string::npos);
    const nlohmann::json ops = nlohmann::json::parse(flx({"ops", "--json"}).out);
    EXPECT_GE(ops["operators"].size(), 7u);
    EXPECT_EQ(nlohmann::json::parse(flx({"ops", "force", "--json"}).out)["name"], "force");
}
