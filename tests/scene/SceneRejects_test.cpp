#include "SceneFixture.h"

#include <fstream>

namespace {

struct Case {
    const char* what;
    const char* scene;
    const char* error;
};

/// A scene with one particle network of these nodes.
std::string net(const std::string& nodes) {
    return R"({"flx": 1, "obj": [{"name": "fx", "type": "flxnet", "nodes": [)" + nodes + "]}]}";
}
std::string birth(const std::string& rest) { return net(R"({"name": "birth", "type": "location", )" + rest + "}"); }

} // namespace

class SceneRejects : public SceneTest {};

TEST_F(SceneRejects, TheSceneAsAWhole) {
    const Case cases[] = {
        {"no object", "[1]", "scene.json: a scene is an object, found an array"},
        {"no version", "{}", "scene.json: \"flx\" is missing: a scene says its format version, \"flx\": 1"},
        {"later version", R"({"flx": 2})", "scene.json: \"flx\" is 2: this program reads format version 1"},
        {"version no number", R"({"flx": "1"})", "scene.json: \"flx\" is \"1\": this program reads format version 1"},
        {"unknown key", R"({"flx": 1, "frame": [1, 2]})",
         "scene.json: unknown key \"frame\"; did you mean \"frames\"?"},
        {"reserved key", R"({"flx": 1, "camera": {}})",
         "scene.json: \"camera\" is reserved for a later format version"},
        {"fps 0", R"({"flx": 1, "fps": 0})", "scene.json: \"fps\" expects a number above 0 and up to 1000000, found 0"},
        {"frames backward", R"({"flx": 1, "frames": [5, 1]})",
         "scene.json: \"frames\" expects [first, last], found [5,1]"},
        {"frames broken", R"({"flx": 1, "frames": [1, 2.5]})",
         "scene.json: \"frames\" expects [first, last], found [1,2.5]"},
        {"variable name", R"({"flx": 1, "variables": {"a b": 1}})",
         "scene.json: variable \"a b\": a name has letters, digits and _ only"},
        {"variable value", R"({"flx": 1, "variables": {"A": "1"}})",
         "scene.json: variable \"A\" expects a number, found a text"},
        {"obj no list", R"({"flx": 1, "obj": {}})",
         "scene.json: /obj: \"obj\" expects an array of nodes, found an object"},
        {"key twice", "{\"flx\": 1,\n\"flx\": 1}", "scene.json:2: the key \"flx\" stands here twice"},
    };
    for (const Case& c : cases) EXPECT_EQ(load(c.scene), c.error) << c.what;
}

TEST_F(SceneRejects, Nodes) {
    const std::pair<std::string, const char*> cases[] = {
        {R"({"flx": 1, "obj": [3]})", "scene.json: /obj: node 1: expects an object, found a number"},
        {R"({"flx": 1, "obj": [{"type": "geo"}]})", "scene.json: /obj: node 1: \"name\" is missing"},
        {R"({"flx": 1, "obj": [{"name": "1a", "type": "geo"}]})",
         "scene.json: /obj: node 1: \"1a\" is no node name: letters, digits and _ only, no digit first"},
        {R"({"flx": 1, "obj": [{"name": "a"}]})", "scene.json: /obj/a: \"type\" is missing"},
        {R"({"flx": 1, "obj": [{"name": "a", "type": "gee"}]})",
         "scene.json: /obj/a: unknown type \"gee\"; did you mean \"geo\"?"},
        {R"({"flx": 1, "obj": [{"name": "a", "type": "geo"}, {"name": "a", "type": "flxnet"}]})",
         "scene.json: /obj/a: another node here has this name"},
        {R"({"flx": 1, "obj": [{"name": "a", "type": "geo", "node": []}]})",
         "scene.json: /obj/a: unknown key \"node\"; did you mean \"nodes\"?"},
        {R"({"flx": 1, "obj": [{"name": "a", "type": "geo", "comment": 1}]})",
         "scene.json: /obj/a: \"comment\" expects a text, found a number"},
        {net(R"({"name": "a", "type": "locaton"})"),
         "scene.json: /obj/fx/a: unknown type \"locaton\"; did you mean \"location\"?"},
        {R"({"flx": 1, "shop": [{"name": "s", "type": "shader", "nodes": [{"name": "a", "type": "shader"}]}]})",
         "scene.json: /shop/s: type \"shader\" holds no nodes"},
        {birth(R"("flags": ["displai"])"),
         "scene.json: /obj/fx/birth: unknown flag \"displai\"; did you mean \"display\"?"},
        {birth(R"("flags": "display")"), "scene.json: /obj/fx/birth: \"flags\" expects an array, found a text"},
    };
    for (const auto& [scene, error] : cases) EXPECT_EQ(load(scene), error);
}

TEST_F(SceneRejects, Inputs) {
    const std::string source = R"({"name": "birth", "type": "location"},)";
    const std::pair<std::string, const char*> cases[] = {
        {source + R"({"name": "f", "type": "force", "inputs": ["brith"]})",
         "scene.json: /obj/fx/f: unknown input \"brith\"; did you mean \"birth\"?"},
        {source + R"({"name": "f", "type": "force", "inputs": ["birth", "birth"]})",
         "scene.json: /obj/fx/f: too many inputs: type \"force\" takes 1, found 2"},
        {source + R"({"name": "g", "type": "location", "inputs": ["birth"]})",
         "scene.json: /obj/fx/g: too many inputs: type \"location\" takes none, found 1"},
        {source + R"({"name": "f", "type": "force"})",
         "scene.json: /obj/fx/f: missing inputs: type \"force\" needs 1, found none"},
        {R"({"name": "a", "type": "null", "inputs": ["b"]}, {"name": "b", "type": "null", "inputs": ["a"]})",
         "scene.json: /obj/fx/b: the inputs form a cycle: b -> a -> b"},
        {R"({"name": "a", "type": "null", "inputs": ["a"]})", "scene.json: /obj/fx/a: the inputs form a cycle: a -> a"},
        {R"({"name": "a", "type": "null", "inputs": [0]})",
         "scene.json: /obj/fx/a: input 0: numbers stand for the inputs of a sub-network, this is none"},
        {R"({"name": "s", "type": "subnet", "nodes": [{"name": "a", "type": "null", "inputs": [4]}]})",
         "scene.json: /obj/fx/s/a: input 4: the sub-network has inputs 0 to 3"},
        {R"({"name": "a", "type": "null", "inputs": [0.5]})",
         "scene.json: /obj/fx/a: \"inputs\" expects names, null or input numbers, found 0.5"},
        {R"({"name": "a", "type": "null", "inputs": "b"})",
         "scene.json: /obj/fx/a: \"inputs\" expects an array, found a text"},
    };
    for (const auto& [nodes, error] : cases) EXPECT_EQ(load(net(nodes)), error);
}

TEST_F(SceneRejects, ParameterValues) {
    const std::pair<std::string, const char*> cases[] = {
        {R"("constantrat": 1)", "unknown parameter \"constantrat\"; did you mean \"constantrate\"?"},
        {R"("life": [1, 2])", "\"life\" has 1 component, found 2"},
        {R"("life": [])", "\"life\" has 1 component, found 0"},
        {R"("life": null)", "\"life\" expects a number, an expression or key frames, found null"},
        {R"("life": {"keys": []})", "\"life\": key frames are written {\"keys\": [[time, value], ...]}"},
        {R"("life": {"key": [[0, 1]]})", "\"life\": key frames are written {\"keys\": [[time, value], ...]}"},
        {R"("life": {"keys": [[0, 1], [1]]})", "\"life\": a key is [time, value], found [1]"},
        {R"("life": {"keys": [[0, "1"]]})", "\"life\": a key is [time, value], found [0,\"1\"]"},
        {R"("life": [[1]])", "\"life\" expects a number, an expression or key frames, found an array"},
    };
    for (const auto& [parms, error] : cases)
        EXPECT_EQ(load(birth("\"parms\": {" + parms + "}")), std::string("scene.json: /obj/fx/birth: ") + error);
    EXPECT_EQ(load(birth("\"parms\": []")), "scene.json: /obj/fx/birth: \"parms\" expects an object, found an array");
    const auto grid = [&](const std::string& parms) {
        return load(R"({"flx": 1, "obj": [{"name": "g", "type": "geo", "nodes": [
            {"name": "n", "type": "grid", "parms": {)" +
                    parms + "}}]}]}");
    };
    EXPECT_EQ(grid(R"("type": "mash")"),
              "scene.json: /obj/g/n: \"type\": unknown menu token \"mash\"; did you mean \"mesh\"?");
    EXPECT_EQ(grid(R"("type": "prim")"), "scene.json: /obj/g/n: \"type\": unknown menu token \"prim\"");
    EXPECT_EQ(grid(R"("size": [1, 2, 3])"), "scene.json: /obj/g/n: \"size\" has 2 components, found 3");
    EXPECT_EQ(load(R"({"flx": 1, "obj": [{"name": "g", "type": "geo", "parms": {"parent": 3}}]})"),
              "scene.json: /obj/g: \"parent\" expects a text, found a number");
}

TEST_F(SceneRejects, SpareParameters) {
    const std::pair<std::string, const char*> cases[] = {
        {R"({"type": "float"})", "a spare parameter needs a \"token\""},
        {R"({"token": "a", "type": "flot"})", "spare \"a\": \"type\" is one of float, int, toggle, menu, string"},
        {R"({"token": "a", "type": "float", "size": 0})", "spare \"a\": \"size\" is a number from 1 to 16"},
        {R"({"token": "a", "type": "float", "defalt": 0})",
         "unknown key \"defalt\" in \"spare\"; did you mean \"default\"?"},
        {R"({"token": "life", "type": "float"})", "spare \"life\": the node has this parameter already"},
        {R"({"token": "a", "type": "float", "default": [1, 2]})", "spare \"a\" has 1 components, its default 2"},
        {R"({"token": "a", "type": "float", "value": [1, 2]})", "\"a\" has 1 component, found 2"},
    };
    for (const auto& [row, error] : cases)
        EXPECT_EQ(load(birth("\"spare\": [" + row + "]")), std::string("scene.json: /obj/fx/birth: ") + error);
}

TEST_F(SceneRejects, NothingIsHalfLoaded) {
    ASSERT_EQ(load(net(R"({"name": "birth", "type": "location"})")), "");
    ASSERT_NE(node("/obj/fx/birth"), nullptr);
    ASSERT_NE(
        load(R"({"flx": 1, "variables": {"A": 1}, "obj": [{"name": "a", "type": "geo"}, {"name": "b", "type": "x"}]})"),
        "");
    EXPECT_EQ(OPgetDirector()->objManager()->getNchildren(), 0);
    EXPECT_TRUE(OPgetDirector()->variables.empty());
}

TEST_F(SceneRejects, FilesThatCannotBeRead) {
    EXPECT_EQ(file.load("/nowhere/scene.json"), SceneFile::Status::UNREADABLE);
    EXPECT_EQ(file.error(), "/nowhere/scene.json: No such file or directory");
    EXPECT_EQ(file.load(testing::TempDir()), SceneFile::Status::UNREADABLE);
    const std::string path = testing::TempDir() + "/bad.json";
    std::ofstream(path) << "{";
    EXPECT_EQ(file.load(path), SceneFile::Status::BAD);
    EXPECT_EQ(file.error().substr(0, path.size() + 3), path + ":1:");
}

TEST_F(SceneRejects, LongChainsAreNoProblem) {
    // Written from the last reader up, the longest way round for whoever wires in file order.
    std::string nodes;
    const int count = 20000;
    for (int i = count; i > 0; --i)
        nodes += R"({"name": "n)" + std::to_string(i) + R"(", "type": "null", "inputs": ["n)" + std::to_string(i - 1) +
                 "\"]},";
    ASSERT_EQ(load(net(nodes + R"({"name": "n0", "type": "location"})")), "");
    EXPECT_EQ(node("/obj/fx/n20000")->getInput(0), node("/obj/fx/n19999"));
}

TEST_F(SceneRejects, NoDamageGetsPast) {
    const std::string sound = R"({"flx": 1, "fps": 24, "frames": [1, 9], "variables": {"A": 1},
 "obj": [{"name": "g", "type": "geo", "parms": {"t": [0, "$A", {"keys": [[0, 1]]}]}, "nodes": [
  {"name": "p", "type": "points", "parms": {"P": [0, 0, 0], "groups": {"a": [0]}}, "flags": ["!display"]},
  {"name": "m", "type": "merge", "inputs": ["p", null], "spare": [{"token": "x", "type": "int", "menu": null}]}]}]})";
    ASSERT_EQ(load(sound), "");
    for (size_t i = 0; i < sound.size(); ++i)
        for (const char c : std::string("\"{}[],:0-e\\ \x01\xff")) {
            std::string damaged = sound;
            damaged[i] = c;
            if (file.loadText(damaged, "scene.json") == SceneFile::Status::LOADED) {
                EXPECT_EQ(file.error(), "");
            } else {
                EXPECT_EQ(file.error().substr(0, 11), "scene.json:") << damaged;
                EXPECT_EQ(OPgetDirector()->objManager()->getNchildren(), 0);
            }
        }
    for (size_t i = 0; i < sound.size(); ++i)
        EXPECT_EQ(file.loadText(sound.substr(0, i), "scene.json"), SceneFile::Status::BAD);
}
