// What `flx run --profile` and `--profile-json` print, held against what the same run says of itself. No times.
#include "ToolFixture.h"

#include <fmt/format.h>
#include <fstream>
#include <map>
#include <sstream>

namespace {

using nlohmann::json;

class ProfileTool : public ToolTest {
protected:
    json trace() const { return json::parse(std::ifstream(path("t/trace.json"))); }
    /// One of the table's rows starts with these words, of which * is any.
    static void expectRow(const std::string& table, const std::string& wanted) {
        std::istringstream rows(table);
        for (std::string row, word, found; std::getline(rows, row);) {
            std::istringstream wantedWords(wanted), words(row);
            bool same = true;
            while (same && wantedWords >> word) same = words >> found && (word == "*" || word == found);
            if (same) return;
        }
        ADD_FAILURE() << wanted << " in\n" << table;
    }
    const std::vector<std::string> both{"--profile", "--profile-json", "t/trace.json"};
};

/// Inside another event, or apart from it.
bool nests(const json& a, const json& b) {
    const double tolerance = 1e-3;
    const double a0 = a["ts"], a1 = a0 + double(a["dur"]), b0 = b["ts"], b1 = b0 + double(b["dur"]);
    return a1 <= b0 + tolerance || b1 <= a0 + tolerance || (a0 >= b0 - tolerance && a1 <= b1 + tolerance) ||
           (b0 >= a0 - tolerance && b1 <= a1 + tolerance);
}

} // namespace

TEST_F(ProfileTool, TableAndTraceAgreeWithTheRun) {
    put("scene.json", scene(R"(
        {"name": "birth", "type": "source", "parms": {"soppath": "/obj/ground/grid", "constantrate": 480, "life": 0.25}},
        {"name": "sub", "type": "subnet", "inputs": ["birth"], "nodes": [
            {"name": "pull", "type": "force", "inputs": [0], "parms": {"force": [0, "-9.8 * $LIFE", 0]},
             "flags": ["display", "render"]}]},
        {"name": "end", "type": "force", "inputs": ["sub"], "flags": ["display", "render"]})",
                            R"({"name": "ground", "type": "geo", "nodes": [{"name": "grid", "type": "grid"}]},)"));
    std::vector<std::string> arguments{"run", "scene.json", "--json", "--frames", "1-20"};
    const ToolResult without = flx(arguments);
    arguments.insert(arguments.end(), both.begin(), both.end());
    const ToolResult with = flx(arguments);
    ASSERT_EQ(with.status, 0) << with.err;
    EXPECT_EQ(with.out, without.out);
    EXPECT_EQ(without.err, "");
    EXPECT_EQ(appeared(), (std::vector<std::string>{"t/trace.json"}));

    const std::vector<json> lines = with.lines();
    int born = 0, died = 0;
    for (const json& line : lines) born += line["born"].get<int>(), died += line["died"].get<int>();
    EXPECT_GT(died, 0);
    const int particles = lines.back()["particles"];
    for (const char* node : {"birth source", "sub subnet", "sub/pull force", "end force"})
        expectRow(with.err, fmt::format("/obj/fx/{} 20 {} ", node, particles));
    expectRow(with.err, fmt::format("/obj/fx/birth source 20 {} {} ", particles, born));
    expectRow(with.err, fmt::format("/obj/fx time step 20 * * {} ", died));
    expectRow(with.err, "/obj/ground/grid grid 1 "); // it does not depend on the time

    std::vector<json> events;
    std::map<std::string, int> cooks; // by name
    const json whole = trace();
    for (const json& event : whole["traceEvents"]) {
        for (const char* key : {"ph", "name", "pid", "tid", "args"}) ASSERT_TRUE(event.contains(key)) << event;
        if (event["ph"] != "X") continue;
        EXPECT_GE(double(event["ts"]), 0);
        EXPECT_GE(double(event["dur"]), 0);
        events.push_back(event);
        cooks[event["name"]] += event["cat"] == "cook";
        if (event["cat"] != "frame") continue;
        const json& line = lines.at(size_t(event["args"]["frame"]) - 1);
        for (const char* key : {"particles", "born", "died"}) EXPECT_EQ(event["args"][key], line[key]);
    }
    for (const json& a : events)
        for (const json& b : events) ASSERT_TRUE(nests(a, b)) << a << b;
    for (const char* name : {"birth", "time step", "pull"}) EXPECT_EQ(cooks[name], 20) << name;
    EXPECT_EQ(cooks["grid"], 1);
}

TEST_F(ProfileTool, AFailedRunStillTellsAndATraceThatCannotBeWrittenIsRefused) {
    put("scene.json", scene(R"({"name": "s", "type": "source", "parms": {"soppath": "/obj/g/f"}})",
                            R"({"name": "g", "type": "geo", "nodes": [{"name": "f", "type": "file",
                                "parms": {"file": "nothing.ply"}}]},)"));
    const ToolResult failed = flx({"run", "scene.json", "--quiet", both[0], both[1], both[2]});
    EXPECT_EQ(failed.status, 4);
    expectRow(failed.err, "/obj/g/f file ");
    EXPECT_GE(trace()["traceEvents"].size(), 3u);

    put("plain", "");
    put("good.json", scene(R"({"name": "birth", "type": "location"})"));
    const ToolResult refused =
        flx({"run", "good.json", "--json", "--profile-json", "plain/trace.json", "--out", "o.###.csv"});
    EXPECT_EQ(refused.status, 4);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err.rfind("plain/trace.json: ", 0), 0u) << refused.err;
    EXPECT_EQ(appeared(), std::vector<std::string>{"t/trace.json"});
}
