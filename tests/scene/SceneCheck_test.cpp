#include "SceneFixture.h"
#include "scene/OpsJson.h"
#include "scene/SceneCheck.h"

#include <nlohmann/json.hpp>
#include <sstream>

class SceneChecks : public SceneTest {
protected:
    /// The findings as "error|warning PATH: TEXT" lines.
    std::vector<std::string> check(const std::string& objects) {
        EXPECT_EQ(load(R"({"flx": 1, "obj": [)" + objects + "]}"), "");
        std::vector<std::string> out;
        for (const SceneFinding& found : checkScene(file))
            out.push_back((found.error ? "error " : "warning ") + found.path + ": " + found.text);
        return out;
    }
};

TEST_F(SceneChecks, ASoundSceneHasNoFindings) {
    EXPECT_EQ(check(R"j({"name": "ground", "type": "geo", "nodes": [{"name": "grid1", "type": "grid"}]},
        {"name": "fx", "type": "flxnet", "parms": {"input1": "/obj/ground"}, "nodes": [
            {"name": "birth", "type": "location", "parms": {"life": {"keys": [[0, 1], [2, 3]]}, "vel": ["$TX", "rand($T)", 0]
}
},
            {"name": "pull", "type": "force", "inputs": ["birth"], "parms": {"force": ["$MASS", "$ID", 0]}}]
})j"),
              std::vector<std::string>{});
}

TEST_F(SceneChecks, FindsWhatIsWrong) {
    const std::vector<std::string> found = check(R"j(
        {"name": "ground", "type": "geo", "nodes": [
            {"name": "grid1", "type": "grid", "parms": {"type": 7, "size": ["$TT", 1]}},
            {"name": "f", "type": "file", "parms": {"path": "gone.ply"}}]},
        {"name": "fx", "type": "flxnet", "parms": {"input1": "/obj/ground/grid", "startframe": {"keys": [[0, 1]]}}, "nodes": [
            {"name": "birth", "type": "location", "parms": {"life": "1 +", "group": "`$NOPE`"}},
            {"name": "pull", "type": "force", "inputs": ["birth"], "parms": {"scale": "$VXX * 2"}},
            {"name": "set", "type": "velocity", "inputs": ["pull"], "parms": {"velv": "vector3($VXX, 0, 0)"}},
            {"name": "put", "type": "position", "inputs": ["set"], "parms": {"posv": "vector3(1, 2"}},
            {"name": "by", "type": "position", "inputs": ["put"], "parms": {"refposv": "opname(\".\")"}}]})j");
    const auto has = [&](const std::string& part) {
        for (const std::string& line : found)
            if (line.find(part) != std::string::npos) return true;
        return false;
    };
    EXPECT_EQ(found.size(), 12u) << testing::PrintToString(found);
    EXPECT_TRUE(has("warning /obj/ground/grid1: \"type\": 7 names no entry of the menu, there are 2"));
    EXPECT_TRUE(has("error /obj/ground/grid1: \"size\": "));
    EXPECT_TRUE(has("error /obj/ground/f: \"file\": there is no file \"gone.ply\""));
    EXPECT_TRUE(
        has("error /obj/fx: \"input1\": no geometry at \"/obj/ground/grid\"; did you mean \"/obj/ground/grid1\"?"));
    EXPECT_TRUE(has("warning /obj/fx: \"startframe\" is animated in vain: it is read at time 0 only"));
    EXPECT_TRUE(has("error /obj/fx/birth: \"life\": "));
    EXPECT_TRUE(has("error /obj/fx/birth: \"group\": "));
    EXPECT_TRUE(
        has("error /obj/fx/pull: \"scale\": \"$VXX * 2\": unknown variable $VXX at column 1; did you mean $VX?"));
    EXPECT_TRUE(has("error /obj/fx/set: \"velv\": \"vector3($VXX, 0, 0)\": unknown variable $VXX at column 9"));
    EXPECT_TRUE(has("error /obj/fx/put: \"posv\": "));
    EXPECT_TRUE(has("error /obj/fx/by: \"refposv\": a vector is needed"));
    EXPECT_TRUE(has("warning /obj/ground/f: parameter \"path\" is now called \"file\""));
}

TEST(OpsJson, TellsEveryOperator) {
    std::ostringstream out;
    OpsJson::writeJson(out);
    const nlohmann::json json = nlohmann::json::parse(out.str());
    const OP_OperatorTable& table = OP_Director::operatorTable("FLX");
    ASSERT_EQ(json["operators"].size(), size_t(table.entries()));
    const nlohmann::json* location = nullptr;
    for (const nlohmann::json& op : json["operators"])
        if (op["name"] == "location") location = &op;
    ASSERT_NE(location, nullptr);
    EXPECT_EQ((*location)["class"], "FLX_Location");
    EXPECT_EQ((*location)["inputs"], nlohmann::json({0, 0}));
    const nlohmann::json *method = nullptr, *life = nullptr, *folders = nullptr;
    for (const nlohmann::json& row : (*location)["parms"]) {
        if (row.contains("folders")) folders = &row;
        if (row.value("token", "") == "method") method = &row;
        if (row.value("token", "") == "life") life = &row;
    }
    ASSERT_TRUE(method && life && folders);
    EXPECT_EQ((*method)["menu"][1], nlohmann::json({"cylin", "Cylindrical"}));
    EXPECT_EQ((*life)["default"], nlohmann::json({100}));
    EXPECT_EQ((*life)["range"], nlohmann::json({0, 100}));
    EXPECT_EQ((*life)["rangekind"], nlohmann::json({"hard", "slider"}));
    EXPECT_EQ((*folders)["folders"][1], nlohmann::json({"Birth", 8}));
    bool clamp = false;
    for (const nlohmann::json& function : json["functions"]) clamp |= function["name"] == "clamp";
    EXPECT_TRUE(clamp);
}

TEST(OpsJson, TextForms) {
    std::ostringstream list, type, functions;
    OpsJson::writeList(list);
    EXPECT_NE(list.str().find("attribcreate"), std::string::npos);
    ASSERT_TRUE(OpsJson::writeType(type, "sphere"));
    EXPECT_NE(type.str().find("one of: poly, mesh, prim"), std::string::npos) << type.str();
    EXPECT_NE(type.str().find("at least 3"), std::string::npos);
    EXPECT_FALSE(OpsJson::writeType(type, "nothing"));
    OpsJson::writeFunctions(functions);
    EXPECT_NE(functions.str().find("clamp("), std::string::npos);
}
