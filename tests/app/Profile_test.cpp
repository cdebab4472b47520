// What `flx run --profile` and `--profile-json` print, held against what the same run says of itself. No times.
#include "ToolFixture.h"

#include <cmath>
#include <fstream>
#include <map>
#include <sstream>

namespace {

using nlohmann::json;

const std::string NODES = R"(
    {"name": "birth", "type": "source", "parms": {"soppath": "/obj/ground/grid", "constantrate": 480, "life": 0.25}},
    {"name": "sub", "type": "subnet", "inputs": ["birth"], "nodes": [
        {"name": "pull", "type": "force", "inputs": [0], "parms": {"force": [0, "-9.8 * $LIFE", 0]},
         "flags": ["display", "render"]}]},
    {"name": "end", "type": "force", "inputs": ["sub"], "flags": ["display", "render"]})";
const std::string GROUND = R"({"name": "ground", "type": "geo", "nodes": [{"name": "grid", "type": "grid"}]},)";

class ProfileTool : public ToolTest {
protected:
    json trace(const std::string& name) const { return json::parse(std::ifstream(path(name))); }
};

/// The table as its cells, by "node type"; cells are apart by two blanks or more.
std::map<std::string, std::vector<std::string>> cells(const std::string& table) {
    std::map<std::string, std::vector<std::string>> out;
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> row;
        for (size_t at = 0; at < line.size();) {
            const size_t end = std::min(line.find("  ", at), line.size());
            row.push_back(line.substr(at, end - at));
            at = std::min(line.find_first_not_of(' ', end), line.size());
        }
        out[row.size() > 1 ? row[0] + " " + row[1] : line] = row;
    }
    return out;
}

/// Inside another event, or apart from it.
bool nests(const json& a, const json& b) {
    const double tolerance = 1e-3;
    const double a0 = a["ts"], a1 = a0 + double(a["dur"]), b0 = b["ts"], b1 = b0 + double(b["dur"]);
    return a1 <= b0 + tolerance || b1 <= a0 + tolerance || (a0 >= b0 - tolerance && a1 <= b1 + tolerance) ||
           (b0 >= a0 - tolerance && b1 <= a1 + tolerance);
}

} // namespace

TEST_F(ProfileTool, TheTableAgreesWithTheRun) {
    put("scene.json", scene(NODES, GROUND));
    const std::vector<std::string> plain{"run", "scene.json", "--json", "--frames", "1-20"};
    std::vector<std::string> profiled = plain;
    profiled.push_back("--profile");
    const ToolResult without = flx(plain), with = flx(profiled);
    ASSERT_EQ(with.status, 0) << with.err;
    EXPECT_EQ(with.out, without.out);
    EXPECT_EQ(without.err, "");

    long long born = 0, died = 0;
    for (const json& line : with.lines()) born += line["born"].get<int>(), died += line["died"].get<int>();
    const std::string particles = std::to_string(with.lines().back()["particles"].get<int>());
    const auto rows = cells(with.err);
    for (const char* name :
         {"/obj/fx/birth source", "/obj/fx/sub subnet", "/obj/fx/sub/pull force", "/obj/fx/end force"}) {
        ASSERT_EQ(rows.count(name), 1u) << name << " in\n" << with.err;
        EXPECT_EQ(rows.at(name)[2], "20") << name;
        EXPECT_EQ(rows.at(name)[3], particles) << name;
    }
    EXPECT_EQ(rows.at("/obj/ground/grid grid")[2], "1"); // it does not depend on the time
    EXPECT_EQ(rows.at("/obj/fx/birth source")[4], std::to_string(born));
    EXPECT_EQ(rows.at("/obj/fx time step")[5], std::to_string(died));
    EXPECT_GT(died, 0);
    double shares = 0;
    for (const auto& [name, row] : rows)
        if (name.find("/obj/") == 0) shares += std::stod(row[8]);
    EXPECT_NEAR(shares, 100, 0.05 * double(rows.size()));
}

TEST_F(ProfileTool, TheTraceNestsAndItsCountsAgree) {
    put("scene.json", scene(NODES, GROUND));
    const ToolResult result =
        flx({"run", "scene.json", "--json", "--frames", "1-20", "--profile-json", "t/trace.json"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(appeared(), (std::vector<std::string>{"t/trace.json"}));
    std::vector<json> events;
    std::map<std::string, int> cooks; // by name
    const json whole = trace("t/trace.json");
    for (const json& event : whole["traceEvents"]) {
        for (const char* key : {"ph", "name", "pid", "tid", "args"}) ASSERT_TRUE(event.contains(key)) << event;
        if (event["ph"] != "X") continue;
        EXPECT_GE(double(event["ts"]), 0);
        EXPECT_GE(double(event["dur"]), 0);
        events.push_back(event);
        cooks[event["name"]] += event["cat"] == "cook";
    }
    for (const json& a : events)
        for (const json& b : events) ASSERT_TRUE(nests(a, b)) << a << b;
    const std::vector<json> lines = result.lines();
    for (const json& event : events)
        if (event["cat"] == "frame") {
            const json& line = lines.at(size_t(event["args"]["frame"]) - 1);
            for (const char* key : {"particles", "born", "died"}) EXPECT_EQ(event["args"][key], line[key]);
        }
    for (const char* name : {"birth", "time step", "pull"}) EXPECT_EQ(cooks[name], 20) << name;
    EXPECT_EQ(cooks["grid"], 1);
}

TEST_F(ProfileTool, AnInterruptedRunStillTells) {
    put("scene.json", scene(R"({"name": "birth", "type": "location", "parms": {"constantrate": 24000}})"));
    const ToolResult result =
        interruptWhenThere("o.00003.bflx", {"run", "scene.json", "--frames", "1-90000", "--out", "o.#####.bflx",
                                            "--quiet", "--profile", "--profile-json", "trace.json"});
    EXPECT_EQ(result.status, 130) << result.err;
    EXPECT_NE(result.err.find("interrupted at frame"), std::string::npos);
    EXPECT_EQ(cells(result.err).count("/obj/fx/birth location"), 1u) << result.err;
    EXPECT_GE(trace("trace.json")["traceEvents"].size(), 3u * 3);
}

TEST_F(ProfileTool, AFailedRunStillTellsAndATraceThatCannotBeWrittenIsRefused) {
    put("scene.json", scene(R"({"name": "s", "type": "source", "parms": {"soppath": "/obj/g/f"}})",
                            R"({"name": "g", "type": "geo", "nodes": [{"name": "f", "type": "file",
                                "parms": {"file": "nothing.ply"}}]},)"));
    const ToolResult failed = flx({"run", "scene.json", "--quiet", "--profile", "--profile-json", "trace.json"});
    EXPECT_EQ(failed.status, 4);
    EXPECT_EQ(cells(failed.err).count("/obj/g/f file"), 1u) << failed.err;
    EXPECT_EQ(appeared(), std::vector<std::string>{"trace.json"});
    EXPECT_GE(trace("trace.json")["traceEvents"].size(), 3u);

    put("plain", "");
    put("good.json", scene(R"({"name": "birth", "type": "location"})"));
    const ToolResult refused =
        flx({"run", "good.json", "--json", "--profile-json", "plain/trace.json", "--out", "o.###.csv"});
    EXPECT_EQ(refused.status, 4);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err.rfind("plain/trace.json: ", 0), 0u) << refused.err;
    EXPECT_EQ(appeared(), std::vector<std::string>{"trace.json"});
}
