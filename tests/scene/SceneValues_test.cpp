#include "SceneFixture.h"

class SceneValues : public SceneTest {
protected:
    const std::string head = R"("fps": 25, "frames": [5, 60], "variables": {"GUST": 2.5},)";
    void loadNet(const std::string& nodes) { SceneTest::loadNet(nodes, "", head); }
    std::string text(const char* path, const char* token) {
        UT_String value;
        node(path)->evalString(value, token, 0, 0);
        return value.str();
    }
    float value(const char* path, const char* token, int component = 0, float t = 0) {
        return node(path)->evalFloat(token, component, t);
    }
};

TEST_F(SceneValues, EveryFormOfAValue) {
    loadObjects(R"j({"name": "a", "type": "geo", "parms": {"t": [1, "$T * 2", {"keys": [[2, 30], [1, 10]]}], "s": 4,
            "scale": true, "r": ["ch(\"tx\")", 0, 0]}},
        {"name": "b", "type": "geo", "parms": {"parent": "/obj/`\"a\"`", "scale": [3]}},
        {"name": "fx", "type": "flxnet", "nodes": [
            {"name": "a", "type": "location", "flags": ["display", "bypass"],
             "parms": {"life": "$GUST * $FSTART + $FF / 100", "method": "polar"}},
            {"name": "b", "type": "location", "flags": ["render", "template", "!bypass"]},
            {"name": "c", "type": "location", "flags": ["template", "!template"], "parms": {"method": "1 + ($T > 2)"}},
            {"name": "d", "type": "location", "parms": {"life": "ch(\"power\") + ch(\"mode\")"}, "spare": [
                {"token": "power", "label": "Power", "type": "float", "default": 2, "range": [0, 5],
                 "rangekind": ["hard", "hard"], "value": 9},
                {"token": "mode", "type": "menu", "menu": [["soft", "Soft"], ["hard", "Hard"]], "value": "hard"},
                {"token": "axis", "type": "float", "size": 3, "default": [0, "$GUST", 1]},
                {"token": "note", "type": "string", "default": "none"}]}]})j",
                head);
    // clang-format off
    const struct { const char *path, *token; int component; float t, value; } values[] = {
        {"/obj/a", "t", 0, 3, 1}, {"/obj/a", "t", 1, 3, 6}, {"/obj/a", "t", 2, 0, 10} /* held before the first key */,
        {"/obj/a", "t", 2, 1.25f, 15}, {"/obj/a", "t", 2, 9, 30}, {"/obj/a", "s", 0, 0, 4} /* the first component */,
        {"/obj/a", "s", 1, 0, 1}, {"/obj/a", "r", 0, 0, 1}, {"/obj/a", "scale", 0, 0, 1}, {"/obj/b", "scale", 0, 0, 3},
        {"/obj/fx/a", "life", 0, 2, 2.5f * 5 + 0.51f}, {"/obj/fx/a", "method", 0, 0, 2},
        {"/obj/fx/c", "method", 0, 3, 2}, {"/obj/fx/d", "life", 0, 0, 5 + 1} /* the hard range clamps */,
        {"/obj/fx/d", "axis", 1, 0, 2.5f}};
    // clang-format on
    for (const auto& v : values)
        EXPECT_FLOAT_EQ(value(v.path, v.token, v.component, v.t), v.value) << v.path << v.token << v.component;
    EXPECT_EQ(text("/obj/b", "parent"), "/obj/a");
    EXPECT_EQ(text("/obj/fx/d", "note"), "none");
    EXPECT_EQ(OPgetDirector()->endFrame, 60);
    EXPECT_EQ(network().STARTFRAME(0), 5) << "by default the scene's first frame";
    const OP_Node &a = *node("/obj/fx/a"), &b = *node("/obj/fx/b"), &c = *node("/obj/fx/c");
    EXPECT_EQ(network().getDisplayNodePtr(), &a);
    EXPECT_EQ(network().getRenderNodePtr(), &b);
    EXPECT_TRUE(a.getBypass() && !b.getBypass() && b.getTemplate() && !c.getTemplate());
}

TEST_F(SceneValues, SubNetworkInputsThroughTwoLevels) {
    loadNet(R"({"name": "x", "type": "location"}, {"name": "y", "type": "location"},
        {"name": "outer", "type": "subnet", "inputs": ["x", "y"], "nodes": [
            {"name": "inner", "type": "subnet", "inputs": [1, 0], "nodes": [
                {"name": "first", "type": "null", "inputs": [0]},
                {"name": "second", "type": "null", "inputs": [1]},
                {"name": "unwired", "type": "null", "inputs": [3]}]},
            {"name": "gap", "type": "collect", "inputs": [null, "inner"]}]})");
    EXPECT_EQ(node("/obj/fx/outer/inner/first")->getInput(0), node("/obj/fx/y"));
    EXPECT_EQ(node("/obj/fx/outer/inner/second")->getInput(0), node("/obj/fx/x"));
    EXPECT_EQ(node("/obj/fx/outer/inner/unwired")->getInput(0), nullptr);
    EXPECT_EQ(node("/obj/fx/outer/gap")->getInput(0), nullptr);
    EXPECT_EQ(node("/obj/fx/outer/gap")->getInput(1), node("/obj/fx/outer/inner"));
}

TEST_F(SceneValues, Assignments) {
    loadNet(R"({"name": "a", "type": "location"}, {"name": "f", "type": "force", "inputs": ["a"]})");
    const auto set = [&](const std::string& text) { return file.assign(text) ? "" : file.error(); };
    // clang-format off
    struct Case { const char *assignment, *node, *token; int component; float value; };
    const Case cases[] = {
        {"/obj/fx/f.force.y=-3", "/obj/fx/f", "force", 1, -3}, {"/obj/fx/f.force.2=$GUST * 2", "/obj/fx/f", "force", 2, 5},
        {"/obj/fx.seed=3", "/obj/fx", "seed", 0, 3}, {"/obj/fx/f.force=[1, 2, 3]", "/obj/fx/f", "force", 0, 1},
        {"/obj/fx/a.life={\"keys\": [[0, 1], [1, 2]]}", "/obj/fx/a", "life", 0, 1.5f},
        {"/obj/fx/a.method=polar", "/obj/fx/a", "method", 0, 2}};
    // clang-format on
    for (const Case& c : cases) {
        EXPECT_EQ(set(c.assignment), "");
        EXPECT_EQ(value(c.node, c.token, c.component, 0.5f), c.value) << c.assignment;
    }
    EXPECT_EQ(set("/obj/fx/f.source=[x"), "");
    EXPECT_EQ(text("/obj/fx/f", "source"), "[x") << "taken verbatim";
    const std::string form = ": expects NODE.PARM=VALUE, for example /obj/fx.seed=3";
    const std::pair<const char*, std::string> wrong[] = {
        {"seed", "\"seed\"" + form},
        {"/obj/fx=3", "\"/obj/fx=3\"" + form},
        {"/obj/fx/g.x=1", "there is no node \"/obj/fx/g\"; did you mean \"/obj/fx/a\"?"},
        {"/obj/nothing/here.life=3", "there is no node \"/obj/nothing/here\""},
        {"/obj/fx/f.force.3=1", "/obj/fx/f: \"force\" has no component \"3\""},
        {"/obj/fx/f.force.w=1", "/obj/fx/f: \"force\" has no component \"w\""},
        {"/obj/fx/a.method=ploar +", "/obj/fx/a: \"method\": unknown menu token \"ploar +\""},
    };
    for (const auto& [assignment, error] : wrong) EXPECT_EQ(set(assignment), error);
}
