#include "ToolFixture.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace {

const std::string TABLE = FLX_SOURCE_DIR "/tests/app/golden.json";

class Examples : public ToolTest {
protected:
    nlohmann::json dump(const std::string& name, int frame) {
        const ToolResult result = flx({"dump", example(name + ".json"), "--frame", std::to_string(frame)});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.err, "");
        return nlohmann::json::parse(result.out);
    }
};

double length(const nlohmann::json& v) {
    return std::hypot(v[0].get<double>(), v[1].get<double>(), v[2].get<double>());
}

} // namespace

// The table is what the tool said when it was frozen; a change of it is a change of every user's results. To write it
// anew: FLX_WRITE_GOLDEN=1 build/release/bin/test_app --gtest_filter='Examples.Golden*'
TEST_F(Examples, GoldenHashes) {
    nlohmann::ordered_json table;
    for (const std::string name : {"fountain", "inside", "mesh_sparks", "metaballs", "rain"}) {
        const nlohmann::json state = dump(name, 24);
        table[name] = {{"frame", 24}, {"particles", state["particles"]}, {"hash", state["hash"]}};
    }
    if (std::getenv("FLX_WRITE_GOLDEN")) std::ofstream(TABLE) << table.dump(1) << '\n';
    EXPECT_EQ(table, nlohmann::ordered_json::parse(std::ifstream(TABLE)));
}

// Frame by frame: counts, hashes, severities; and at the end everything there is to print, messages and info texts too.
TEST_F(Examples, TheOrderOfTheWorkDoesNotShow) {
    for (const auto& entry : std::filesystem::directory_iterator(FLX_SOURCE_DIR "/examples")) {
        if (entry.path().extension() != ".json") continue;
        const std::string scene = entry.path().string();
        const auto said = [&](const std::string& order) {
            const ToolResult run = flx({"run", scene, "--json", "--frames", "1-14", "--cook-order", order});
            const ToolResult dump = flx({"dump", scene, "--frame", "14", "--cook-order", order});
            return run.out + run.err + dump.out + dump.err;
        };
        const std::string chunked = said("chunk");
        EXPECT_NE(chunked, "");
        EXPECT_EQ(chunked, said("operator")) << scene;
    }
    EXPECT_EQ(flx({"run", example("rain.json"), "--cook-order", "any"}).status, 2);
}

TEST_F(Examples, FountainFallsUnderGravity) {
    // Without gusts, after k steps of h: each moves by the speed before it, then the speed falls.
    const ToolResult result = flx({"dump", example("fountain.json"), "--frame", "24", "--set",
                                   "/obj/fx/gusts.amp=[0,0,0]", "--set", "/obj/fx/nozzle.var=[0,0,0]"});
    const nlohmann::json state = nlohmann::json::parse(result.out);
    const double h = 1.0 / 24;
    const auto& points = state["points"];
    for (size_t i = 0; i < points["P"].size(); ++i) {
        const double age = points["life"][i][0];
        const double k = std::round(age / h);
        ASSERT_NEAR(points["v"][i][1], 8 - 9.8 * h * k, 1e-4);
        ASSERT_NEAR(points["P"][i][1], 8 * h * k - 9.8 * h * h * k * (k - 1) / 2, 1e-3) << k;
    }
}

TEST_F(Examples, RainTurnsFromDrizzleToDownpour) {
    const ToolResult result = flx({"run", example("rain.json"), "--json"});
    ASSERT_EQ(result.status, 0) << result.err;
    const std::vector<nlohmann::json> lines = result.lines();
    ASSERT_EQ(lines.size(), 96u);
    // 600 and 60 a second, then 6000 and 60.
    long long before = 0, after = 0;
    for (int i = 24; i < 48; ++i) before += lines[size_t(i)]["born"].get<int>();
    for (int i = 60; i < 84; ++i) after += lines[size_t(i)]["born"].get<int>();
    EXPECT_NEAR(double(before), 660, 2);
    EXPECT_NEAR(double(after), 6060, 2);
    const nlohmann::json state = dump("rain", 40);
    for (const nlohmann::json& p : state["points"]["P"]) {
        EXPECT_LE(p[1].get<double>(), 9);
        EXPECT_GT(p[1].get<double>(), -2);
    }
}

TEST_F(Examples, SparksLeaveAlongTheNormals) {
    const nlohmann::json state = dump("mesh_sparks", 1);
    const auto& points = state["points"];
    ASSERT_EQ(state["particles"], 2000); // 48000 a second
    double along = 0;
    for (size_t i = 0; i < points["N"].size(); ++i) {
        const auto &n = points["N"][i], &v = points["v"][i], &colour = points["Cd"][i];
        // The spread is at most 0.08 in length; interpolated normals are a little shorter than 1.
        for (size_t c = 0; c < 3; ++c) EXPECT_NEAR(v[c].get<double>(), 0.25 * n[c].get<double>(), 0.0801);
        along += length(n);
        EXPECT_GE(colour[0].get<double>(), 0.6 - 1e-5);
        EXPECT_GE(colour[0].get<double>(), colour[1].get<double>());
    }
    EXPECT_GT(along / double(points["N"].size()), 0.95);
    EXPECT_LE(along / double(points["N"].size()), 1.001);
    for (const nlohmann::json& p : points["P"]) {
        EXPECT_LE(std::abs(p[0].get<double>()), 0.2564);
        EXPECT_LE(std::abs(p[1].get<double>()), 0.8420);
        EXPECT_LE(std::abs(p[2].get<double>()), 1.0001);
    }
}

TEST_F(Examples, TheBearIsFilledAndStandsStill) {
    const nlohmann::json state = dump("inside", 24);
    EXPECT_NEAR(state["particles"].get<double>(), 20000, 1);
    double low[3] = {9, 9, 9}, high[3] = {-9, -9, -9};
    for (const nlohmann::json& p : state["points"]["P"])
        for (size_t c = 0; c < 3; ++c) {
            low[c] = std::min(low[c], p[c].get<double>());
            high[c] = std::max(high[c], p[c].get<double>());
        }
    const double size[3] = {2.0, 1.94, 1.31};
    for (size_t c = 0; c < 3; ++c) {
        EXPECT_LE(high[c] - low[c], size[c] + 0.01);
        EXPECT_GE(high[c] - low[c], size[c] * 0.9);
    }
    for (const nlohmann::json& v : state["points"]["v"]) EXPECT_EQ(length(v), 0);
    EXPECT_GT(length(dump("inside", 72)["points"]["v"][0]), 0.1);
}

TEST_F(Examples, PuffsBlendTheirColours) {
    const nlohmann::json state = dump("metaballs", 12);
    const auto& points = state["points"];
    ASSERT_GT(points["Cd"].size(), 1000u);
    const double colours[3][3] = {{1, 0.25, 0.2}, {0.3, 0.95, 0.35}, {0.3, 0.45, 1}};
    int pure = 0, mixed = 0;
    for (const nlohmann::json& c : points["Cd"]) {
        double nearest = 9;
        for (const auto& of : colours)
            nearest = std::min(nearest, std::hypot(c[0].get<double>() - of[0], c[1].get<double>() - of[1],
                                                   c[2].get<double>() - of[2]));
        (nearest < 1e-5 ? pure : mixed)++;
        // A weighted mean of the three stays between them.
        EXPECT_GE(c[0].get<double>(), 0.3 - 1e-5);
        EXPECT_LE(c[2].get<double>(), 1 + 1e-5);
    }
    EXPECT_GT(pure, 100);
    EXPECT_GT(mixed, 100);
}
