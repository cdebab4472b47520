#include "ToolFixture.h"

#include <array>
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

// Scenes whose particles have met something by frame 40 and not much earlier.
bool collides(const std::string& name) { return name == "sliding" || name == "bouncing_sparks"; }

// The value at t of keys with straight lines between them.
double between(const std::vector<std::pair<double, double>>& keys, double t) {
    for (size_t i = 1; i < keys.size(); ++i)
        if (t < keys[i].first) {
            const double share = (t - keys[i - 1].first) / (keys[i].first - keys[i - 1].first);
            return keys[i - 1].second + share * (keys[i].second - keys[i - 1].second);
        }
    return keys.back().second;
}

// v turned by a unit quaternion (x, y, z, w): the vector part of q v q*.
std::array<double, 3> turned(const nlohmann::json& q, const std::array<double, 3>& v) {
    const double x = q[0], y = q[1], z = q[2], w = q[3];
    const double s = -(x * v[0] + y * v[1] + z * v[2]);
    const double a = w * v[0] + y * v[2] - z * v[1], b = w * v[1] + z * v[0] - x * v[2],
                 c = w * v[2] + x * v[1] - y * v[0];
    return {-s * x + w * a - b * z + c * y, -s * y + w * b - c * x + a * z, -s * z + w * c - a * y + b * x};
}

std::array<double, 3> unit(double x, double y, double z) {
    const double l = std::hypot(x, y, z);
    return {x / l, y / l, z / l};
}

double length(const nlohmann::json& v) {
    return std::hypot(v[0].get<double>(), v[1].get<double>(), v[2].get<double>());
}

} // namespace

// The table is what the tool said when it was frozen; a change of it is a change of every user's results. To write it
// anew: FLX_WRITE_GOLDEN=1 build/release/bin/test_app --gtest_filter='Examples.Golden*'
TEST_F(Examples, GoldenHashes) {
    nlohmann::ordered_json table;
    // At frames at which what they are about has happened.
    const std::pair<const char*, int> frames[] = {
        {"flock", 96}, {"fountain", 24},        {"inside", 72},     {"mesh_sparks", 24},   {"metaballs", 24},
        {"rain", 96},  {"bouncing_sparks", 60}, {"moving_box", 60}, {"rain_on_waves", 40}, {"sliding", 96}};
    for (const auto& [name, frame] : frames) {
        const nlohmann::json state = dump(name, frame);
        table[name] = {{"frame", frame}, {"particles", state["particles"]}, {"hash", state["hash"]}};
    }
    std::string text = "{";
    for (const auto& [name, row] : table.items())
        text += (text.size() > 1 ? ",\n \"" : "\n \"") + name + "\": " + row.dump();
    if (std::getenv("FLX_WRITE_GOLDEN")) std::ofstream(TABLE) << text << "\n}\n";
    EXPECT_EQ(table, nlohmann::ordered_json::parse(std::ifstream(TABLE)));
}

// Frame by frame: counts, hashes, severities; and at the end everything there is to print, messages and info texts too.
TEST_F(Examples, TheOrderOfTheWorkDoesNotShow) {
    for (const auto& entry : std::filesystem::directory_iterator(FLX_SOURCE_DIR "/examples")) {
        if (entry.path().extension() != ".json") continue;
        const std::string scene = entry.path().string();
        const std::string last = std::to_string(collides(entry.path().stem()) ? 40 : 14);
        const auto said = [&](const std::string& order) {
            const ToolResult run = flx({"run", scene, "--json", "--frames", "1-" + last, "--cook-order", order});
            const ToolResult dump = flx({"dump", scene, "--frame", last, "--cook-order", order});
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

TEST_F(Examples, TheFlockLooksAtTheBeacon) {
    for (const int frame : {2, 24, 61, 96}) {
        const nlohmann::json state = dump("flock", frame);
        const double t = (frame - 1) / 24.0;
        const double beacon[3] = {between({{0, -6}, {2, 6}, {4, -6}}, t), 3,
                                  between({{0, 0}, {1, 5}, {3, -5}, {4, 0}}, t)};
        const auto& points = state["points"];
        const auto& birds = state["prims"][0]["points"];
        ASSERT_EQ(state["prims"][0]["generator"], "/obj/fx/birds");
        ASSERT_NEAR(double(birds.size()), 60 * (t + 1.0 / 24), 2);
        for (const size_t i : birds) {
            const auto &p = points["P"][i], &v = points["v"][i];
            const auto facing = turned(points["rot"][i], unit(v[0], v[1], v[2]));
            const auto want =
                unit(beacon[0] - p[0].get<double>(), beacon[1] - p[1].get<double>(), beacon[2] - p[2].get<double>());
            for (size_t c = 0; c < 3; ++c) ASSERT_NEAR(facing[c], want[c], 1e-5) << frame << " " << i;
            const double age = points["life"][i][0];
            if (age > 0) { // once its first step has limited it
                ASSERT_GE(length(v), 1 - 1e-5);
                ASSERT_LE(length(v), 1.8 + 1e-5);
            }
        }
    }
}

TEST_F(Examples, SparksBounceAndTakeTheBearsColours) {
    const nlohmann::json state = dump("bouncing_sparks", 60);
    const auto& points = state["points"];
    const auto& onBear = state["groups"]["onbear"];
    size_t hits = 0;
    double most = 0;
    for (size_t i = 0; i < points["P"].size(); ++i) {
        const double y = points["P"][i][1], v = length(points["v"][i]);
        EXPECT_GE(y, -0.97 - 1e-5) << "above the ground";
        most = std::max(most, v * v / 2 + 4 * y);
        if (points["numhit"][i] == 0) continue;
        if (points["hitpos"][i][1].get<double>() < -0.9699) continue; // on the ground, which has no colour
        ++hits;
        // The colour is linear in the height, and so is what the triangles make of it.
        const double height = (points["hitpos"][i][1].get<double>() + 0.97) / 1.94;
        EXPECT_NEAR(points["hitCd"][i][0].get<double>(), 0.2 + 0.8 * height, 2e-3);
        EXPECT_NEAR(points["hitCd"][i][2].get<double>(), 1 - 0.9 * height, 2e-3);
    }
    EXPECT_GT(hits, 1000u);
    EXPECT_GT(onBear.size(), 0u);
    for (const nlohmann::json& i : onBear) EXPECT_GT(points["numhit"][i.get<size_t>()], 0);
    // The start's energy, (1.7^2 + 1.2^2 + 1.2^2) / 2 + 4 * 1.7 at most, plus what the steps add: g^2 h^2 / 2 each.
    EXPECT_LT(most, 2.9 + 6.8 + 59 * 8.0 / 576);
    EXPECT_GT(most, 5);
}

TEST_F(Examples, TheBoxTakesItsBallsAlong) {
    const nlohmann::json state = dump("moving_box", 60);
    const double t = state["time"], centre = 1.5 * std::sin(0.5 * 3.14159265358979 * t);
    const auto& points = state["points"];
    ASSERT_EQ(state["particles"], 4000);
    int inside = 0;
    double hits = 0;
    for (size_t i = 0; i < points["P"].size(); ++i) {
        const auto& p = points["P"][i];
        inside += std::abs(p[0].get<double>() - centre) < 1.001 && std::abs(p[1].get<double>()) < 1.001 &&
                  std::abs(p[2].get<double>()) < 1.001;
        hits += points["numhit"][i].get<double>();
    }
    EXPECT_GT(std::abs(centre), 0.9) << "it went";
    EXPECT_GT(inside, 3800) << "and nearly all with it; a few slip out along the edges";
    EXPECT_GT(hits, 4000);
}

TEST_F(Examples, RainHitsTheWavesWhereTheyAreAtThatTime) {
    const nlohmann::json state = dump("rain_on_waves", 40);
    const auto& points = state["points"];
    const auto wave = [](double x, double z, double t) { return 0.25 * std::sin(2 * x + 3 * t) * std::cos(1.5 * z); };
    int hits = 0;
    for (size_t i = 0; i < points["P"].size(); ++i) {
        const double x = points["P"][i][0], y = points["P"][i][1], z = points["P"][i][2];
        const bool alive = !(points["pstate"][i].get<int>() & 2);
        if (alive && std::abs(x) < 2.9 && std::abs(z) < 2.9) {
            EXPECT_GT(y, wave(x, z, state["time"]) - 0.003) << "nobody is under water";
        }
        if (points["numhit"][i] == 0) continue;
        ++hits;
        const auto& at = points["hitpos"][i];
        // Faces of 0.1 and steps of 1/24 follow the waves to within h^2 / 8 times their curvature.
        EXPECT_NEAR(at[1].get<double>(), wave(at[0], at[2], points["hittime"][i]), 0.003);
        EXPECT_NEAR(length(points["hitN"][i]), 1, 1e-5);
    }
    EXPECT_GT(hits, 1000);
}

TEST_F(Examples, DustSlidesOffTheHorseAndSticks) {
    const nlohmann::json half = dump("sliding", 40), end = dump("sliding", 96);
    const auto count = [](const nlohmann::json& state, int bit) {
        int n = 0;
        for (const nlohmann::json& bits : state["points"]["pstate"]) n += (bits.get<int>() & bit) != 0;
        return n;
    };
    constexpr int STUCK = 0x10, SLIDING = 0x8000;
    EXPECT_GT(count(half, SLIDING), 500);
    EXPECT_EQ(count(end, SLIDING), 0);
    EXPECT_EQ(end["particles"], 6000);
    EXPECT_GT(count(end, STUCK), 5950);
    for (size_t i = 0; i < 6000; ++i)
        if (end["points"]["pstate"][i].get<int>() & STUCK) {
            EXPECT_NEAR(end["points"]["P"][i][1].get<double>(), -1.2, 1e-5);
        }
}
