#include "SceneFixture.h"

namespace {

/// A scene with one particle network of these nodes.
std::string net(const std::string& nodes) {
    return R"({"flx": 1, "obj": [{"name": "fx", "type": "flxnet", "nodes": [)" + nodes + "]}]}";
}
std::string birth(const std::string& rest) { return net(R"({"name": "birth", "type": "location", )" + rest + "}"); }

} // namespace

class SceneRejects : public SceneTest {
protected:
    using Cases = std::vector<std::pair<std::string, std::string>>;
    /// Scenes made of these texts are refused, with these errors at a place.
    template <class Make> void expectErrors(const Make& make, const std::string& place, const Cases& cases) {
        for (const auto& [text, error] : cases) EXPECT_EQ(load(make(text)), "scene.json: " + place + error);
    }
};

TEST_F(SceneRejects, ScenesAndNodes) {
    // clang-format off
    expectErrors([](const std::string& scene) { return scene; }, "", {
        {"[1]", "a scene is an object, found an array"},
        {R"({"flx": 2})", "\"flx\" is 2: this program reads format version 1"},
        {R"({"flx": 1, "frame": [1, 2]})", "unknown key \"frame\"; did you mean \"frames\"?"},
        {R"({"flx": 1, "camera": {}})", "\"camera\" is reserved for a later format version"},
        {R"({"flx": 1, "fps": 0})", "\"fps\" expects a number above 0 and up to 1000000, found 0"},
        {R"({"flx": 1, "frames": [5, 1]})", "\"frames\" expects [first, last], found [5,1]"},
        {R"({"flx": 1, "variables": {"a b": 1}})", "variable \"a b\": a name has letters, digits and _ only"},
        {R"({"flx": 1, "obj": [{"type": "geo"}]})", "/obj: node 1: \"name\" is missing"},
        {R"({"flx": 1, "obj": [3]})", "/obj: node 1: expects an object, found a number"},
        {R"({"flx": 1, "obj": [{"name": "1a", "type": "geo"}]})",
         "/obj: node 1: \"1a\" is no node name: letters, digits and _ only, no digit first"},
        {R"({"flx": 1, "obj": [{"name": "a"}]})", "/obj/a: \"type\" is missing"},
        {R"({"flx": 1, "obj": [{"name": "a", "type": "geo"}, {"name": "a", "type": "flxnet"}]})",
         "/obj/a: another node here has this name"},
        {R"({"flx": 1, "obj": [{"name": "a", "type": "geo", "node": []}]})",
         "/obj/a: unknown key \"node\"; did you mean \"nodes\"?"},
        {net(R"({"name": "a", "type": "locaton"})"),
         "/obj/fx/a: unknown type \"locaton\"; did you mean \"location\"?"},
        {R"({"flx": 1, "shop": [{"name": "s", "type": "shader", "nodes": [{"name": "a", "type": "shader"}]}]})",
         "/shop/s: type \"shader\" holds no nodes"},
        {birth(R"("flags": ["displai"])"), "/obj/fx/birth: unknown flag \"displai\"; did you mean \"display\"?"},
        {birth(R"("flags": "display")"), "/obj/fx/birth: \"flags\" expects an array, found a text"},
    });
    // clang-format on
}

TEST_F(SceneRejects, Inputs) {
    const std::string source = R"({"name": "birth", "type": "location"},)";
    // clang-format off
    expectErrors(net, "/obj/fx/", {
        {source + R"({"name": "f", "type": "force", "inputs": ["brith"]})",
         "f: unknown input \"brith\"; did you mean \"birth\"?"},
        {source + R"({"name": "f", "type": "force", "inputs": ["birth", "birth"]})",
         "f: too many inputs: type \"force\" takes 1, found 2"},
        {source + R"({"name": "f", "type": "force"})",
         "f: missing inputs: type \"force\" needs 1, found none"},
        {R"({"name": "a", "type": "null", "inputs": ["b"]}, {"name": "b", "type": "null", "inputs": ["a"]})",
         "b: the inputs form a cycle: b -> a -> b"},
        {R"({"name": "a", "type": "null", "inputs": ["a"]})", "a: the inputs form a cycle: a -> a"},
        {R"({"name": "a", "type": "null", "inputs": [0]})",
         "a: input 0: numbers stand for the inputs of a sub-network, this is none"},
        {R"({"name": "s", "type": "subnet", "nodes": [{"name": "a", "type": "null", "inputs": [4]}]})",
         "s/a: input 4: the sub-network has inputs 0 to 3"},
        {R"({"name": "a", "type": "null", "inputs": [0.5]})",
         "a: \"inputs\" expects names, null or input numbers, found 0.5"},
    });
    // clang-format on
}

TEST_F(SceneRejects, ParameterValuesAndSpareParameters) {
    const std::string keys = "\"life\": key frames are written {\"keys\": [[time, value], ...]}";
    // clang-format off
    expectErrors([](const std::string& parms) { return birth("\"parms\": {" + parms + "}"); }, "/obj/fx/birth: ", {
        {R"("constantrat": 1)", "unknown parameter \"constantrat\"; did you mean \"constantrate\"?"},
        {R"("life": [1, 2])", "\"life\" has 1 component, found 2"}, {R"("life": [])", "\"life\" has 1 component, found 0"},
        {R"("life": null)", "\"life\" expects a number, an expression or key frames, found null"},
        {R"("life": {"keys": []})", keys}, {R"("life": {"key": [[0, 1]]})", keys},
        {R"("life": {"keys": [[0, 1], [1]]})", "\"life\": a key is [time, value], found [1]"},
        {R"("life": {"keys": [[0, "1"]]})", "\"life\": a key is [time, value], found [0,\"1\"]"},
        {R"("life": [[1]])", "\"life\" expects a number, an expression or key frames, found an array"},
    });
    const auto grid = [&](const std::string& parms) {
        return R"({"flx": 1, "obj": [{"name": "g", "type": "geo", "nodes": [{"name": "n", "type": "grid", "parms": {)" +
               parms + "}}]}]}";
    };
    expectErrors(grid, "/obj/g/n: ", {
        {R"("type": "mash")", "\"type\": unknown menu token \"mash\"; did you mean \"mesh\"?"},
        {R"("type": "prim")", "\"type\": unknown menu token \"prim\""},
        {R"("size": [1, 2, 3])", "\"size\" has 2 components, found 3"},
    });
    expectErrors([](const std::string& row) { return birth("\"spare\": [" + row + "]"); }, "/obj/fx/birth: ", {
        {R"({"type": "float"})", "a spare parameter needs a \"token\""},
        {R"({"token": "a", "type": "flot"})", "spare \"a\": \"type\" is one of float, int, toggle, menu, string"},
        {R"({"token": "a", "type": "float", "size": 0})", "spare \"a\": \"size\" is a number from 1 to 16"},
        {R"({"token": "a", "type": "float", "defalt": 0})",
         "unknown key \"defalt\" in \"spare\"; did you mean \"default\"?"},
        {R"({"token": "life", "type": "float"})", "spare \"life\": the node has this parameter already"},
        {R"({"token": "a", "type": "float", "default": [1, 2]})", "spare \"a\" has 1 components, its default 2"},
    });
    // clang-format on
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
    ASSERT_NE(node("/obj/g/m"), nullptr);
    for (size_t i = 0; i < sound.size(); ++i)
        for (const char c : std::string("\"{}[],:0-e\\ \x01\xff")) {
            std::string damaged = sound;
            damaged[i] = c;
            if (file.loadText(damaged, "scene.json") == SceneFile::Status::LOADED) {
                EXPECT_EQ(file.error(), "");
            } else {
                EXPECT_EQ(file.error().substr(0, 11), "scene.json:") << damaged;
                EXPECT_EQ(OPgetDirector()->objManager()->getNchildren(), 0) << "nothing is half loaded";
                EXPECT_TRUE(OPgetDirector()->variables.empty());
            }
        }
    for (size_t i = 0; i < sound.size(); ++i)
        EXPECT_EQ(file.loadText(sound.substr(0, i), "scene.json"), SceneFile::Status::BAD);
}
