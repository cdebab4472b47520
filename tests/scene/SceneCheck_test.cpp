#include "SceneFixture.h"
#include "scene/OpsJson.h"
#include "scene/SceneCheck.h"

#include <nlohmann/json.hpp>
#include <sstream>

class SceneChecks : public SceneTest {
protected:
    /// The findings as "error|warning PATH: TEXT" lines; "/obj/fx/" is left out.
    std::vector<std::string> check(const std::string& objects) {
        loadObjects(objects);
        std::vector<std::string> out;
        for (const SceneFinding& found : checkScene(file))
            out.push_back((found.error ? "error " : "warning ") + found.path + ": " + found.text);
        const std::string net = "/obj/fx/";
        for (std::string& line : out)
            for (size_t at; (at = line.find(net)) != std::string::npos;) line.erase(at, net.size());
        return out;
    }
    /// Each line tells of a finding of its own, and there are no others: how it begins, and behind " ... " what else it
    /// says.
    void expectFindings(const std::string& objects, const std::vector<std::string>& lines) {
        const std::vector<std::string> found = check(objects);
        EXPECT_EQ(found.size(), lines.size()) << testing::PrintToString(found);
        for (const std::string& line : lines) {
            const size_t gap = std::min(line.find(" ... "), line.size());
            const std::string rest = gap < line.size() ? line.substr(gap + 5) : "";
            const auto isTold = [&](const std::string& f) {
                return f.starts_with(line.substr(0, gap)) && f.find(rest) != std::string::npos;
            };
            EXPECT_EQ(std::count_if(found.begin(), found.end(), isTold), 1) << line << testing::PrintToString(found);
        }
    }
};

TEST_F(SceneChecks, FindsWhatIsWrong) {
    // clang-format off
    expectFindings(R"j(
        {"name": "ground", "type": "geo", "nodes": [
            {"name": "grid1", "type": "grid", "parms": {"type": 7, "size": ["$TT", 1]}},
            {"name": "f", "type": "file", "parms": {"path": "gone.ply"}}]},
        {"name": "fx", "type": "flxnet", "parms": {"input1": "/obj/ground/grid", "input2": "../ground/grid",
            "input3": "../ground/grid1", "startframe": {"keys": [[0, 1]]}}, "nodes": [
            {"name": "birth", "type": "location", "parms": {"life": "1 +", "group": "`$NOPE`"}},
            {"name": "pull", "type": "force", "inputs": ["birth"], "parms": {"scale": "$VXX * 2",
                "force": [0, "'up'", 0], "mass": "1 + age"}},
            {"name": "set", "type": "velocity", "inputs": ["pull"], "parms": {"velv": "vector3($VXX, 0, 0)"}},
            {"name": "put", "type": "position", "inputs": ["set"], "parms": {"posv": "vector3(1, 2"}},
            {"name": "by", "type": "position", "inputs": ["put"], "parms": {"refposv": "opname(\".\")"}}]})j", {
        "warning /obj/ground/grid1: \"type\": 7 names no entry of the menu, there are 2",
        "error /obj/ground/grid1: \"size.x\": ",
        "error /obj/ground/f: \"file\": there is no file \"gone.ply\"",
        "error /obj/fx: \"input1\": no geometry at \"/obj/ground/grid\"; did you mean \"/obj/ground/grid1\"?",
        "error /obj/fx: \"input2\": no geometry at \"../ground/grid\"; did you mean \"../ground/grid1\"?",
        "warning /obj/fx: \"startframe\" is animated in vain: it is read at time 0 only",
        "error birth: \"life\": ",
        "error birth: \"group\": ",
        "error pull: \"scale\": \"$VXX * 2\": unknown variable $VXX at column 1; did you mean $VX?",
        "error set: \"velv\": \"vector3($VXX, 0, 0)\": unknown variable $VXX at column 9",
        "error put: \"posv\": ",
        "error by: \"refposv\": \"opname(\".\")\": a vector is needed, this is a string, at column 1",
        "error pull: \"force.y\": \"'up'\": a number is needed, this is a string, at column 1",
        "error pull: \"mass\": \"1 + age\": unknown name age at column 5; did you mean $AGE?",
        "warning /obj/ground/f: parameter \"path\" is now called \"file\"",
    });
    // clang-format on
}

TEST(OpsJson, TellsEveryOperator) {
    std::ostringstream out;
    OpsJson::writeJson(out);
    const nlohmann::json json = nlohmann::json::parse(out.str());
    ASSERT_EQ(json["operators"].size(), size_t(OP_Director::operatorTable("FLX").entries()));
    nlohmann::json location, rows;
    for (const nlohmann::json& op : json["operators"])
        if (op["name"] == "location") location = op;
    EXPECT_EQ(location["inputs"], nlohmann::json({0, 0}));
    for (const nlohmann::json& row : location["parms"]) rows[row.contains("folders") ? "folders" : row["token"]] = row;
    EXPECT_EQ(rows["method"]["menu"][1], nlohmann::json({"cylin", "Cylindrical"}));
    EXPECT_EQ(rows["life"]["default"], nlohmann::json({100}));
    EXPECT_EQ(rows["life"]["range"], nlohmann::json({0, 100}));
    EXPECT_EQ(rows["life"]["rangekind"], nlohmann::json({"hard", "slider"}));
    EXPECT_EQ(rows["folders"]["folders"][1], nlohmann::json({"Birth", 8}));
}

TEST_F(SceneChecks, ReadsThatGoRoundOrNowhere) {
    // clang-format off
    expectFindings(R"j({"name": "fx", "type": "flxnet", "nodes": [
        {"name": "a", "type": "location", "parms": {"life": "ch('../b/scale') + 1", "vel": ["ch('vel2')", "ch('vely')", 0],
          "group": "`chs('group')`"}},
        {"name": "b", "type": "force", "inputs": ["a"], "parms": {"scale": "2 * ch('../c/scale')", "mass": "ch('scal')",
          "force": ["ch('../nobody/scale')", "ch(strcat('fo', 'rcez'))", "$F < 3 ? 1 : ch('force.z')"]}},
        {"name": "c", "type": "force", "inputs": ["b"], "parms": {"scale": "ch('../a/life')", "mass": "ch('../b/scale')"}}]})j", {
        "error a: \"group\": parameters read each other in a circle by ch: a/group -> a/group",
        "error a: \"life\": parameters read each other in a circle by ch: a/life -> b/scale -> c/scale -> a/life",
        "error a: \"vel.y\": parameters read each other in a circle by ch: a/vel.y -> a/vel.y",
        "error b: \"force.x\": \"ch('../nobody/scale')\": ch: there is no node \"../nobody\" seen from b at column 1",
        "warning b: \"force.z\": parameters read each other in a circle by ch: b/force.z -> b/force.z",
        "error b: \"mass\": \"ch('scal')\": ch: b has no parameter \"scal\"; did you mean \"scale\"? at column 1",
    });
    // clang-format on
}

TEST_F(SceneChecks, VariablesWhereNoneCanBeRead) {
    // clang-format off
    expectFindings(R"j({"name": "fx", "type": "flxnet", "nodes": [
        {"name": "birth", "type": "source", "parms": {"constantrate": "10 * $TX", "constantactivate": "$ITER < 3",
            "impulserate": "$F > 2 ? $NPT : 0", "impulseactivate": "$F", "life": "$TX", "densitymin": "$T + $U"}},
        {"name": "pull", "type": "force", "inputs": ["birth"], "parms": {"activate": "$VX", "scale": "$VX"}},
        {"name": "hit", "type": "collision", "inputs": ["pull"], "parms": {"geohint": "$ID", "sample": "$ID + 1",
            "usecontextgeo": 1}}]})j", {
        "error birth: \"soppath\": a path is needed here",
        "error birth: \"constantrate\": \"10 * $TX\": variable $TX has no value here at column 6",
        "error birth: \"constantactivate\": \"$ITER < 3\": variable $ITER has no value here at column 1",
        "warning birth: \"impulserate\": \"$F > 2 ? $NPT : 0\": variable $NPT has no value here at column 10",
        "error birth: \"densitymin\": \"$T + $U\": variable $U has no value here at column 6",
        "error pull: \"activate\": \"$VX\": variable $VX has no value here at column 1",
        "error hit: \"geohint\": \"$ID\": variable $ID has no value here at column 1",
        "error hit: \"sample\": \"$ID + 1\": variable $ID has no value here at column 1",
    });
    // clang-format on
}

TEST_F(SceneChecks, FixedPathsOfFunctions) {
    // clang-format off
    expectFindings(R"j(
        {"name": "ground", "type": "geo", "nodes": [{"name": "grid1", "type": "grid"}]},
        {"name": "fx", "type": "flxnet", "nodes": [
        {"name": "birth", "type": "location", "parms": {"life": "npoints('/obj/ground/grid')", "group": "g`opdigits('../birt') + bbox('/obj/ground', 'width')`",
            "vel": ["point('/obj/ground', 0, 'P', 1)", "1 + bbox('/obj/fx', 'ymin')", "$F < 2 ? opdigits('..') : opdigits('../no')"]}},
        {"name": "set", "type": "velocity", "inputs": ["birth"], "parms": {
            "velv": "vector3(npoints('/obj/groun'), bbox('/obj/ground/grid1', 'xmin'), ch('lif'))"}}]})j", {
        "error birth: \"life\": ... npoints: there is no geometry node \"/obj/ground/grid\" at column 1; did you mean \"/obj/ground/grid1\"?",
        "error birth: \"group\": ... opdigits: there is no node \"../birt\" at column 3; did you mean \"../birth\"?",
        "error birth: \"group\": ... bbox: \"width\" is no measure of a box: xmin xmax xsize, ymin ... zsize at column 25",
        "error birth: \"vel.y\": ... bbox: there is no geometry node \"/obj/fx\" at column 5",
        "warning birth: \"vel.z\": ... opdigits: there is no node \"../no\" at column 27",
        "error set: \"velv\": ... npoints: there is no geometry node \"/obj/groun\" at column 9; did you mean \"/obj/ground\"?",
        "error set: \"velv\": ... ch: set has no parameter \"lif\"",
    });
    // clang-format on
}

TEST_F(SceneChecks, VariablesWhereOneValueIsForAll) {
    // Not those that may vary: "pathpos", "doellipse" of a birth, "turb", "gaintan".
    const std::string once = "\": ... ; it is read once per cook, for all";
    expectFindings(R"j({"name": "ground", "type": "geo", "nodes": [
        {"name": "grid1", "type": "grid"}, {"name": "a", "type": "attribcreate", "inputs": ["grid1"], "parms": {
            "size": "$PT", "value": ["$PT", 0, 0]}}]},
        {"name": "fx", "type": "flxnet", "nodes": [
        {"name": "spot", "type": "location", "parms": {"loc": [0, "$TX", 0], "vel": ["$ITER", 0, 0]}},
        {"name": "birth", "type": "source", "parms": {"soppath": "/obj/ground", "emittype": "$TX", "doellipse": "$ITER"}},
        {"name": "place", "type": "position", "inputs": ["birth"], "parms": {"mswitcher": "$ID", "pathpos": "$ID"}},
        {"name": "look", "type": "lookat", "inputs": ["place"], "parms": {"mode": "$F > 2 ? $ID : 0"}},
        {"name": "push", "type": "force", "inputs": ["look"], "parms": {"turb": "$ID", "ignoremass": "$ID"}},
        {"name": "hit", "type": "collision", "inputs": ["push"], "parms": {"soppath": "/obj/ground", "bounce": "$ID",
            "group": "hit`$ID + 1`", "event": "$F", "gaintan": "$ID"}}]})j",
                   {"warning /obj/ground/a: \"size" + once, "warning spot: \"loc.y" + once,
                    "warning birth: \"emittype" + once, "warning place: \"mswitcher" + once,
                    "warning look: \"mode" + once, "warning push: \"ignoremass" + once, "warning hit: \"bounce" + once,
                    "warning hit: \"group" + once});
}

// Of a group's reader, "pull", and its maker, "hit", what follows the group's name or its beginning.
TEST_F(SceneChecks, GroupsThatNobodyMakes) {
    const char *error = "error", *warning = "warning", *idle = R"(", "activate": 0})",
               *bypassed = R"("}, "flags": ["bypass"])";
    // clang-format off
    const struct { std::string source, pull, hit; const char* finding; } cases[] = {
        {"", "\"}", "\"}", nullptr}, {"born", "\"}", "\"}", nullptr}, {"hit born !3", "\"}", "\"}", nullptr},
        {"none*", "\"}", "\"}", nullptr}, {"0-5:2", "\"}", "\"}", nullptr}, {"hit1", "\"}", "`1+0`\"}", nullptr},
        {"bron", "\"}", "\"}", error}, {"born hit2", "\"}", "\"}", error}, {"9-0", "\"}", "\"}", error},
        {"hit", "\"}", bypassed, error}, {"hit", "\"}", idle, error},
        {"hit", bypassed, bypassed, nullptr}, {"hit", idle, idle, nullptr}, // nobody looks
        {"hit", R"(", "activate": "$F > 2"})", idle, warning},
        {"hit2", "\"}", "$F\"}", warning}}; // a later frame may make it
    // clang-format on
    for (const auto& c : cases) {
        std::vector<std::string> expected;
        if (c.finding)
            expected.push_back(std::string(c.finding) + " pull: \"source\": \"" + c.source +
                               "\": no operator of the network makes such a group");
        EXPECT_EQ(check(R"j({"name": "fx", "type": "flxnet", "nodes": [
            {"name": "birth", "type": "location", "parms": {"group": "born"}},
            {"name": "pull", "type": "force", "inputs": ["birth"], "parms": {"source": ")j" +
                        c.source + c.pull + R"j(}, {"name": "sub", "type": "subnet", "inputs": ["pull"], "nodes": [
            {"name": "hit", "type": "collision", "inputs": [0], "parms": {"usecontextgeo": 1, "group": "hit)j" +
                        c.hit + "}]}]}"),
                  expected)
            << c.source << c.pull << c.hit;
    }
}

TEST_F(SceneChecks, SmallNetworks) {
    const std::string both = R"({"name": "a", "type": "force", "inputs": ["birth"]},
        {"name": "b", "type": "force", "inputs": ["birth"]}, {"name": "last", "type": )";
    const std::string twice = " birth: its particles are taken 2 times, by a, b; they can flow down one branch only";
    const std::string position = R"({"name": "put", "type": "position", "inputs": ["birth"], "parms": {"mswitcher": )";
    const std::string hit = R"({"name": "hit", "type": "collision", "inputs": ["birth"])";
    // clang-format off
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {both + R"("collect", "inputs": ["a", "b"]})", {"error" + twice}},
        {both + R"("switch", "inputs": ["a", "b"]})", {"warning" + twice}},
        {both + R"("null", "inputs": ["b"]})", {}}, // a is not cooked
        {position + "7}}", {"warning put: \"mswitcher\": 7 names no entry of the menu, there are 3"}},
        {position + "2}}", {}},
        {position + "1}}", {"error put: \"pathpath\": a path is needed here"}},
        {position + R"(1, "usecontextgeo": 1}})", {}},
        {hit + R"(}, {"name": "turn", "type": "lookat", "inputs": ["hit"], "parms": {"reference": "object"}})",
         {"error hit: \"soppath\": a path is needed here", "error turn: \"objpath\": a path is needed here"}},
        {hit + R"(, "parms": {"soppath": "`flxcontextgeo(0)`"}})", {}},
        {hit + R"(, "parms": {"soppath": "`flxcontextgeo(0)`x"}})",
         {"error hit: \"soppath\": no geometry at \"/obj/g/lx\"; did you mean \"/obj/g/l\"?"}},
        {hit + R"(, "parms": {"behavior": "bounce", "usecontextgeo": 1, "dohittest": true, "hittestattrib": "P"}})",
         {"warning hit: FLX 9: The attribute could not be created: P is a standard attribute"}}};
    // clang-format on
    for (const auto& [nodes, findings] : cases)
        EXPECT_EQ(check(R"({"name": "g", "type": "geo", "nodes": [{"name": "l", "type": "grid"}]},
            {"name": "fx", "type": "flxnet", "parms": {"input1": "../g/l"}, "nodes": [
            {"name": "birth", "type": "location"}, )" +
                        nodes + "]}"),
                  findings);
}
