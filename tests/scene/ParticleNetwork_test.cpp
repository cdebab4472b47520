#include "SceneFixture.h"
#include "core/FLX_ContextData.h"
#include "scene/DumpJson.h"
#include "scene/StateHash.h"

#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <tuple>
#include <unistd.h>

namespace {

/// One particle per cook at the origin; its velocity is (0, the time of that cook, 0).
constexpr const char* clockNode = R"({"name": "clock", "type": "location", "parms": {
    "constantrate": 0, "impulserate": 1, "vel": [0, "$T", 0], "var": [0, 0, 0]}})";

/// 10 particles per frame that live for 4 frames and a half.
constexpr const char* fountain = R"({"name": "birth", "type": "location", "parms": {
    "constantrate": 240, "life": "4.5 / 24", "vel": [0, 2, 0]}})";

std::vector<float> velocities(const GU_Detail& gdp) {
    std::vector<float> out;
    const int v = gdp.pointAttribs().getOffset("v", 12, GB_ATTRIB_VECTOR);
    gdp.points().forEach(nullptr, [&](const GEO_Point* p) { out.push_back(p->castAttribData<float>(v)[1]); });
    return out;
}

} // namespace

class ParticleNetworks : public SceneTest {
protected:
    nlohmann::json dump(bool guides = false) {
        std::ostringstream out;
        dumpJson(network(), guides, out);
        return nlohmann::json::parse(out.str());
    }
};

TEST_F(ParticleNetworks, CooksAtTheTimesOfFramesAndSubstepsFromTheStartFrame) {
    loadNet(clockNode, R"("substeps": 3)", R"("fps": 25, "frames": [7, 20],)");
    ASSERT_TRUE(network().cookFrame(6));
    EXPECT_EQ(network().displayDetail()->points().entries(), 0u);
    ASSERT_TRUE(network().cookFrame(9));
    std::vector<float> expected = {float(6.0 / 25)};
    for (const int frame : {8, 9})
        for (int s = 1; s <= 3; ++s) expected.push_back(float((frame - 2 + s / 3.0) / 25));
    EXPECT_EQ(velocities(*network().particleDetail()), expected);
    EXPECT_EQ(network().context()->timeStep, float(1.0 / 75));
    EXPECT_EQ(network().born(), 3);
    ASSERT_TRUE(network().cookFrame(3));
    EXPECT_EQ(network().particleCount(), 0);
}

TEST_F(ParticleNetworks, ContextGeometriesAreLookedForFromTheNetwork) {
    const auto cook = [&](const std::string& path) {
        loadObjects(R"j({"name": "g", "type": "geo", "nodes": [{"name": "l", "type": "line"}]},
            {"name": "fx", "type": "flxnet", "parms": {"input2": ")j" +
                    path + R"j("}, "nodes": [
                {"name": "birth", "type": "source", "parms": {"usecontextgeo": "second", "constantrate": 0, "impulserate": 3}},
                {"name": "s", "type": "subnet", "inputs": ["birth"], "nodes": [{"name": "hit", "type": "collision",
                 "inputs": [0], "parms": {"soppath": "`flxcontextgeo(1)`"}}]}]})j");
        ASSERT_TRUE(network().cookFrame(2));
    };
    for (const char* path : {"../g/l", "/obj/g/l", "../g", "./../../obj/g/l"}) {
        cook(path);
        EXPECT_EQ(network().particleCount(), 6) << path;
        EXPECT_EQ(message("/obj/fx/birth") + message("/obj/fx/s/hit"), "") << path;
    }
    cook("../no");
    EXPECT_EQ(network().particleCount(), 0);
    UT_String kept;
    network().context()->getInputGeo(kept, 1);
    EXPECT_EQ(kept, "../no");
}

// A rewind makes the operators anew, with their wires, flags, animated and spare parameters.
TEST_F(ParticleNetworks, ARewindGivesTheSameStates) {
    loadNet(fountain + std::string(R"j(, {"name": "s", "type": "subnet", "inputs": ["birth"], "flags": ["display"],
        "spare": [{"token": "power", "type": "float", "size": 2, "default": 1, "value": ["3 - $T", 1]}], "nodes": [
        {"name": "idle", "type": "force", "inputs": [0], "parms": {"force": [0, 9, 0]}, "flags": ["bypass"]},
        {"name": "pull", "type": "force", "inputs": ["idle"], "comment": "mine", "parms": {"source": "0-`10 + 9`",
         "force": ["ch('../power')", "-9.8 + $ID % 3", {"keys": [[0, 1], [0.2, 5]]}]},
         "flags": ["render", "display"]}]})j"),
            R"("seed": 5)");
    std::vector<uint64_t> hashes;
    for (int frame = 1; frame <= 8; ++frame) {
        ASSERT_TRUE(network().cookFrame(frame));
        hashes.push_back(network().stateHash());
    }
    EXPECT_NE(hashes[6], hashes[7]);
    EXPECT_EQ(message("/obj/fx/s/pull"), "");
    for (const int frame : {3, 8, 1, 5}) {
        ASSERT_TRUE(network().cookFrame(frame));
        EXPECT_EQ(network().stateHash(), hashes[size_t(frame - 1)]) << frame;
    }
    ASSERT_TRUE(file.assign("/obj/fx.seed=6"));
    network().cookFrame(1);
    EXPECT_NE(network().stateHash(), hashes[0]);
    EXPECT_EQ(network().getDisplayNodePtr(), node("/obj/fx/s"));
    EXPECT_EQ(node("/obj/fx/s/pull")->comment, "mine");
}

TEST_F(ParticleNetworks, RenderThenDisplayThenLastNodeIsCooked) {
    const std::tuple<const char*, const char*, int> cases[] = {
        {"", "", 2}, {R"("display")", "", 1}, {R"("display")", R"("render")", 2}};
    for (const auto& [a, b, particles] : cases) {
        loadNet(fmt::format(R"({{"name": "a", "type": "location", "parms": {{"constantrate": 24}}, "flags": [{}]}},
                               {{"name": "b", "type": "location", "parms": {{"constantrate": 48}}, "flags": [{}]}})",
                            a, b));
        network().cookFrame(1);
        EXPECT_EQ(network().particleCount(), particles) << a << b;
    }
}

TEST_F(ParticleNetworks, MaximumAndInitialState) {
    const std::string path = testing::TempDir() + "/three" + std::to_string(getpid()) + ".obj";
    std::ofstream(path) << "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
    loadNet(fountain, "\"maxparticles\": 15, \"initialstate\": \"" + path + "\"");
    network().cookFrame(1);
    std::filesystem::remove(path);
    const nlohmann::json first = dump();
    EXPECT_EQ(first["prims"][0]["generator"], "");
    EXPECT_EQ(first["prims"][0]["points"], nlohmann::json({0, 1, 2}));
    EXPECT_EQ(first["prims"][1]["generator"], "/obj/fx/birth");
    EXPECT_EQ(first["particles"], 13);
    EXPECT_EQ(network().born(), 10);

    loadNet(fountain, R"("initialstate": "/nowhere/x.obj")");
    network().cookFrame(1);
    EXPECT_EQ(network().severity(), UT_ERROR_ABORT);
    EXPECT_EQ(network().particleCount(), 10);
    loadNet("");
    network().cookFrame(2);
    EXPECT_EQ(dump()["particles"], 0);
}

TEST_F(ParticleNetworks, DumpTellsTheState) {
    loadNet(fountain, R"("seed": 9)");
    ASSERT_TRUE(network().cookFrame(3));
    const nlohmann::json json = dump();
    const GU_Detail& gdp = *network().particleDetail();
    for (size_t c = 0; c < 4; ++c)
        EXPECT_EQ(json["points"]["P"][29][c].get<float>(), gdp.points()[29]->getPos()[int(c)]);
    EXPECT_FALSE(json["points"].contains("backtrack")) << "raw data stays out";
    EXPECT_EQ(json["attributes"]["v"], nlohmann::json({{"type", "vector"}, {"size", 3}, {"default", {0, 0, 0}}}));
    EXPECT_EQ(json["detail"]["seed"], network().context()->getRandomSeed());
    EXPECT_NE(json["nodes"]["/obj/fx/birth"]["info"].get<std::string>().find("30 points"), std::string::npos);
    EXPECT_FALSE(json.contains("guides"));
    EXPECT_TRUE(dump(true).contains("guides"));
}

TEST_F(ParticleNetworks, OnesOwnParticlesAreNoGeometryForOneself) {
    loadObjects(
        R"({"name": "g", "type": "geo", "nodes": [{"name": "p", "type": "particles", "parms": {"path": "/obj/fx"}},
                                               {"name": "bad", "type": "particles", "parms": {"path": "/obj/g"}}]},
        {"name": "fx", "type": "flxnet", "nodes": [
            {"name": "birth", "type": "source", "parms": {"soppath": "/obj/g/p", "usecontextgeo": 0}}]})");
    ASSERT_TRUE(network().cookFrame(3));
    EXPECT_EQ(message("/obj/g/p"), "error OP 2: /obj/fx");
    cooked("bad");
    EXPECT_EQ(message("/obj/g/bad"), "error OP 5: path: \"/obj/g\" is no particle network");
}

// What a network holds can change without notice: geometry that asks for it is made anew for every cook, also where
// nothing depends on the time.
TEST_F(ParticleNetworks, GeometryThatAsksTheNetworkIsNeverStale) {
    loadObjects(R"j({"name": "g", "type": "geo", "nodes": [
        {"name": "dot", "type": "points", "parms": {"P": [0, 0, 0]}},
        {"name": "moved", "type": "xform", "inputs": ["dot"], "parms": {"t": ["flxpoint(1e9, 'id', 0)", 0, 0]}}]},
      {"name": "fx", "type": "flxnet", "nodes": [
        {"name": "birth", "type": "source", "parms": {"emittype": "point", "initvel": "set", "var": [0, 0, 0], "soppath": "/obj/g/moved", "usecontextgeo": "none", 
          "constantrate": 10, "life": 100}}]})j",
                R"("fps": 10, )");
    std::vector<float> x;
    for (int frame = 1; frame <= 5; ++frame) {
        network().cookFrame(frame);
        const GU_Detail& detail = *network().context()->getDetail();
        x.clear();
        for (size_t i = 0; i < detail.points().entries(); ++i) x.push_back(detail.points()(i)->getPos().x());
    }
    EXPECT_EQ(x, (std::vector<float>{0, 1, 2, 3, 4}));
}
