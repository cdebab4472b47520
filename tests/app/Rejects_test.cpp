#include "ToolFixture.h"

#include <algorithm>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// A scene whose source is the mesh "mesh.ply", with text after it.
std::string meshScene() {
    return R"({"flx": 1, "frames": [1, 4], "obj": [
        {"name": "thing", "type": "geo", "nodes": [{"name": "mesh", "type": "file", "parms": {"file": "mesh.ply"}}]},
        {"name": "fx", "type": "flxnet", "nodes": [
            {"name": "birth", "type": "source", "parms": {"soppath": "/obj/thing/mesh", "emittype": "surfacerandom"}}]}]})";
}

class Rejects : public ToolTest {
protected:
    ToolResult run() const { return flx({"run", "scene.json", "--out", "out/o.####.ply", "--quiet"}); }

    void expectBad(const std::string& text, const std::string& message, int status = 3, size_t files = 0) {
        put("scene.json", text);
        const ToolResult result = run();
        SCOPED_TRACE(text);
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.err, message + "\n");
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(appeared().size(), files);
        std::filesystem::remove_all(path("out"));
    }
};

} // namespace

TEST_F(Rejects, BadScenesWriteNothing) {
    expectBad("{\"flx\": 1,\n \"obj\": [,]}", "scene.json:2: unexpected ','; expected '[', '{', or a literal");
    expectBad(R"({"flx": 1, "obj": []})", "scene.json: holds no particle network, an object of type \"flxnet\"");
    expectBad(R"({"flx": 1, "obj": [{"name": "a", "type": "geo", "parms": {"parent": "/obj/b"}},
        {"name": "b", "type": "geo", "parms": {"parent": "/obj/a"}}, {"name": "fx", "type": "flxnet"}]})",
              "scene.json: /obj/a: the parents form a cycle");
}

TEST_F(Rejects, BadMeshesEndTheRunBeforeAFileAppears) {
    put("scene.json", meshScene());
    const ToolResult missing = run();
    EXPECT_EQ(missing.status, 4);
    EXPECT_EQ(missing.err,
              "scene.json: /obj/thing/mesh: error OP 6: File problem: mesh.ply: cannot open the file: No such file or "
              "directory\n"
              "scene.json: /obj/fx/birth: error FLX 6: The geometry could not be cooked: /obj/thing/mesh\n");
    EXPECT_EQ(appeared(), std::vector<std::string>{});
}

TEST_F(Rejects, FoldersThatCannotBeMadeOrWrittenAreTold) {
    put("scene.json", scene(R"({"name": "birth", "type": "location"})"));
    const auto expectRefused = [&](const std::string& why) {
        const ToolResult result = run();
        EXPECT_EQ(result.status, 4);
        EXPECT_TRUE(result.err.starts_with("out/o.0001.ply: " + why)) << result.err;
        EXPECT_EQ(appeared(), std::vector<std::string>{});
    };
    put("out", "a file where the folder should be");
    expectRefused("cannot make the folder: ");
    if (geteuid() == 0) return; // the superuser may write anywhere
    std::filesystem::remove(path("out"));
    ASSERT_EQ(mkdir(path("out").c_str(), 0555), 0);
    expectRefused("cannot create the file: Permission denied\n");
}

TEST_F(Rejects, AFullDiskUnderTheOutputIsTold) {
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "this system has no /dev/full";
    put("scene.json", scene(R"({"name": "birth", "type": "location"})"));
    const ToolResult result = flx({"dump", "scene.json", "--frame", "2"}, 0, "/dev/full");
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(result.err, "flx: standard output: No space left on device\n");
}

TEST_F(Rejects, MemoryThatRunsOutIsTold) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer's own address space is beyond any limit";
#endif
    put("scene.json", scene(R"({"name": "birth", "type": "location", "parms": {"impulserate": 1e7}})"));
    const ToolResult result = flx({"run", "scene.json", "--out", "o.####.ply"}, size_t(400) << 20);
    EXPECT_EQ(result.status, 5);
    EXPECT_EQ(result.err, "flx: memory ran out\n");
    EXPECT_EQ(appeared(), std::vector<std::string>{});
}

// Between two births the source grows from 4 to 60 points, and its group moves past the first 4.
TEST_F(Rejects, ASourceThatGrowsIsSampledWhereItGrew) {
    for (const auto& [type, kind, number] :
         {std::tuple{"pointrandom", "points", "$PT"}, {"surfacerandom", "prims", "$PR"}}) {
        put("scene.json", fmt::format(R"({{"flx": 1, "frames": [1, 2], "obj": [
            {{"name": "g", "type": "geo", "nodes": [
                {{"name": "grid", "type": "grid", "parms": {{"rows": "frac($T*24)<0.001 ? 2 : 30", "cols": 2}}}},
                {{"name": "late", "type": "group", "inputs": ["grid"],
                 "parms": {{"name": "late", "kind": "{}", "rule": "frac($T*24)<0.001 ? 1 : {}>20"}}}}]}},
            {{"name": "fx", "type": "flxnet", "nodes": [{{"name": "birth", "type": "source", "parms": {{
                "emittype": "{}", "soppath": "/obj/g/late", "source": "late", "accuratebirths": 1}}}}]}}]}})",
                                      kind, number, type));
        const ToolResult result = flx({"run", "scene.json", "--json"});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_NE(result.out.find("\"particles\":8"), std::string::npos) << result.out;
    }
}

TEST_F(Rejects, NodesInErrorAreToldOnceAndTheRunGoesOn) {
    const auto birth = [](const std::string& parms) {
        return scene(R"({"name": "birth", "type": "location", "parms": {)" + parms + "}}");
    };
    expectBad(birth(R"("doid": "$NOPE")"),
              "scene.json: /obj/fx/birth: error OP 1: Expression failed: doid: \"$NOPE\": unknown variable $NOPE at "
              "column 1",
              1, 4);
    for (const char* rate : {"1e9", "\"1/0\""})
        expectBad(birth("\"impulserate\": " + std::string(rate)),
                  "scene.json: /obj/fx/birth: error OP 7: A limit was reached: more than 16777216 births in one cook: "
                  "lower the birth rates",
                  5);
    put("scene.json", birth(R"("impulserate": 1e7, "life": 0)"));
    EXPECT_EQ(run().status, 0) << "4e7 births wait in the end, more than a float counts";
    std::filesystem::remove_all(path("out"));
    put("scene.json", scene(R"({"name": "birth", "type": "location", "parms": {"constantrate": 24}},
        {"name": "pull", "type": "force", "inputs": ["birth"], "parms": {"scale": "$VXX * 2"}})"));
    const ToolResult result = run();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "scene.json: /obj/fx/pull: error OP 1: Expression failed: scale: \"$VXX * 2\": unknown "
                          "variable $VXX at column 1; did "
                          "you mean $VX?\n");
    EXPECT_EQ(appeared().size(), 4u);
    const ToolResult dump = flx({"dump", "scene.json", "--frame", "3"});
    EXPECT_EQ(dump.status, 1);
    EXPECT_EQ(dump.err, result.err);
    EXPECT_EQ(nlohmann::json::parse(dump.out)["nodes"]["/obj/fx/pull"]["severity"], 4);
}

TEST_F(Rejects, CheckTellsWithoutSimulating) {
    for (const std::vector<std::string>& none : {std::vector<std::string>{"run", "gone.json"}, {"check", "."}})
        EXPECT_EQ(flx(none).status, 4) << "a file problem";
    put("scene.json", meshScene());
    const ToolResult bad = flx({"check", "scene.json"});
    EXPECT_EQ(bad.status, 1);
    EXPECT_EQ(bad.out, "scene.json: /obj/thing/mesh: error: \"file\": there is no file \"mesh.ply\"\n");
    for (const std::string name : {"fountain", "rain", "mesh_sparks", "inside", "metaballs"}) {
        const ToolResult good = flx({"check", example(name + ".json")});
        EXPECT_EQ(good.status, 0);
        EXPECT_EQ(good.out, example(name + ".json") + ": nothing is wrong\n");
    }
}

TEST_F(Rejects, CheckAndTheRunSayTheSame) {
    const std::pair<const char*, const char*> bad[] = {
        {"constantrate", "10 + $TX"},           {"impulserate", "$NPART"},     {"constantactivate", "$MASS * 2"},
        {"life", "npoints('/obj/none')"},       {"life", "opdigits('../no')"}, {"life", "1 + flxpointd(1, 'P', 0)"},
        {"life", "1 + point('no', 0, 'P', 0)"},
    };
    for (const auto& [parm, text] : bad) {
        nlohmann::json parms = {{"impulserate", 1}};
        parms[parm] = text;
        put("scene.json", scene(R"({"name": "birth", "type": "location", "parms": )" + parms.dump() + "}"));
        const ToolResult check = flx({"check", "scene.json"}), run = flx({"run", "scene.json", "--quiet"});
        const std::string start = std::string("scene.json: /obj/fx/birth: error: \"") + parm + "\": \"" + text + "\": ";
        ASSERT_TRUE(check.out.starts_with(start)) << check.out;
        std::string message = check.out.substr(start.size());
        message = message.substr(0, std::min(message.find('\n'), message.find("; did you mean")));
        EXPECT_NE((run.out + run.err).find(fmt::format("{}: \"{}\": {}", parm, text, message)), std::string::npos)
            << message << run.out << run.err;
        EXPECT_EQ(check.status, 1);
        EXPECT_EQ(run.status, 1);
    }
}

TEST_F(Rejects, LongChainsAreRefusedByCheckAsByTheRun) {
    const auto chain = [&](int count) {
        std::string nodes = R"({"name": "birth", "type": "location"})";
        for (int i = 0; i < count; ++i)
            nodes += fmt::format(
                R"j(, {{"name": "g{}x", "type": "force", "inputs": ["birth"], "parms": {{"force": ["{}", 0, 0]}}}})j",
                i, i + 1 < count ? fmt::format("ch('../g{}x/forcex')", i + 1) : "2 * 1");
        return scene(nodes);
    };
    constexpr const char* wanted = "more than 64 parameters read each other by ch";
    for (const int count : {60, 100, 3000}) {
        put("scene.json", chain(count));
        EXPECT_EQ(flx({"check", "scene.json"}).out.find(wanted) != std::string::npos, count > 64) << count;
    }
}
