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
        {{"run", "--", "scene.json", "--json"}, "flx run: one argument too many: \"--json\" (see flx run --help)"},
        {{"run", "scene.json", "--profile-json", "--quiet"},
         "flx run: --profile-json expects a value, found \"--quiet\"; write --profile-json=--quiet if that is the "
         "value "
         "(see flx run --help)"},
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

TEST_F(Usage, WrongFrameRangesPatternsAndAssignmentsAreRefused) {
    put("scene.json", scene(BIRTH));
    put("two.json",
        R"({"flx": 1, "frames": [1, 2], "obj": [{"name": "a", "type": "flxnet"}, {"name": "b", "type": "flxnet"}]})");
    const std::string ending = ": unknown ending; known are .ply .csv .npz .flx .bflx";
    std::vector<Case> cases = {
        {{"run", "scene.json", "--out", "o.####.abc"}, "flx run: --out o.####.abc" + ending},
        {{"run", "scene.json", "--out", "o.ply"},
         "flx run: --out o.ply: every frame would overwrite the one before; put ####, the frame, into the file name"},
        {{"run", "two.json", "--out", "o.####.ply"},
         "flx run: --out o.####.ply: the scene has 2 particle networks; choose one with --net, or put %n, the "
         "network's name, into the file name"},
        {{"dump", "two.json", "--frame", "1"}, "flx dump: the scene has 2 particle networks; choose one with --net"},
        {{"run", "scene.json", "--net", "/obj/fy"},
         "flx run: --net /obj/fy: there is no particle network at this path; did you mean \"/obj/fx\"?"},
        {{"run", "scene.json", "--set", "/obj/fx/birth.lief=3", "--out", "o.####.ply"},
         "flx run: --set /obj/fx/birth.lief=3: /obj/fx/birth: unknown parameter \"lief\"; did you mean \"life\"?"},
    };
    for (const std::string range : {"5-1", "a-b", "1-", "-", "1-2-3", "1..5", "0-99999999", "1-2x", "--", "1--2"})
        cases.push_back({{"run", "scene.json", "--frames=" + range, "--out", "o.####.ply"},
                         "flx run: --frames " + range + ": expects FIRST-LAST, for example 1-48"});
    expectRefused(cases);
}

TEST_F(Usage, HelpAndListsGoToStandardOutput) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"--help"}, "dump"},
        {{"run", "-h"}, "--frames"},
        {{"ops"}, "attribcreate"},
        {{"ops", "--json"}, "\"force\""},
        {{"ops", "--functions"}, "\nflxpointnum("},
        {{"ops", "--functions", "--json"}, "\"flxpointnum\""},
        {{"ops", "sphere"}, "one of: poly, mesh, prim"}};
    for (const auto& [arguments, wanted] : cases) {
        const ToolResult result = flx(arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_NE(result.out.find(wanted), std::string::npos) << result.out;
    }
    EXPECT_EQ(nlohmann::json::parse(flx({"ops", "force", "--json"}).out)["name"], "force");
}
