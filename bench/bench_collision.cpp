// Particles that bounce off a hundred thousand triangles: the whole network against one pass over an array of
// structures, and what the sweep alone costs.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "support/Comparison.h"
#include "support/ContiguousParticles.h"
#include "support/Geometry.h"
#include "support/Simulation.h"

namespace {

using namespace bench;

constexpr int CELLS = 224, FRAMES = 100; // 100352 triangles
constexpr size_t COUNT = 100000;

class Random {
public:
    float between(float low, float high) { return low + (high - low) * float(next() >> 8) / 16777216.0f; }

private:
    uint32_t next() { return myState = myState * 1664525u + 1013904223u; }
    uint32_t myState = 1;
};

/// Particles over hills, pulled down, in a network of location, force and collision.
struct Rain {
    Rain(const char* name, const std::string& hills, bool distance, bool inOrder = false)
        : ordered(inOrder)
        , simulation(name)
        , birth(addImmortals(simulation, COUNT))
        , pull(simulation.add("force", "pull", &birth))
        , hit(simulation.add("collision", "hit", &pull)) {
        pull.setFloat("force", 1, -9.8);
        hit.setString("soppath", hills);
        hit.setFloat("behavior", 0, 1);
        hit.setFloat("gainnml", 0, 0.8);
        hit.setFloat("dodistance", 0, distance);
    }
    /// The start: anywhere above the hills, slowly aside.
    void start() {
        birth.setFloat("impulserate", 0, double(COUNT));
        startFull(simulation, birth, hit);
        Random random;
        std::vector<std::pair<UT_Vector3, UT_Vector3>> starts;
        for (size_t i = 0; i < COUNT; ++i) {
            UT_Vector3 p, v(0, 0, 0);
            p.x() = random.between(-4.5f, 4.5f), p.y() = random.between(0.5f, 5), p.z() = random.between(-4.5f, 4.5f);
            v.x() = random.between(-0.2f, 0.2f), v.z() = random.between(-0.2f, 0.2f);
            starts.emplace_back(p, v);
        }
        const auto cell = [](const UT_Vector3& p) { return std::pair(std::floor(p.x() * 8), std::floor(p.z() * 8)); };
        if (ordered)
            std::stable_sort(starts.begin(), starts.end(),
                             [&](const auto& a, const auto& b) { return cell(a.first) < cell(b.first); });
        const GEO_PrimParticle& prim = simulation.primitive(birth);
        for (size_t i = 0; i < prim.particleCount(); ++i) {
            prim.particle(i)->setPos(UT_Vector4(starts[i].first, 1));
            simulation.context().velocity(prim.particle(i)) = starts[i].second;
        }
    }
    void run(int frames) {
        for (int i = 0; i < frames; ++i) simulation.cook();
    }

    bool ordered; ///< neighbours in space are neighbours in memory
    Simulation simulation;
    FLX_Node &birth, &pull, &hit;
};

/// The network's cook alone, on the same particles again and again.
struct Moment {
    Moment(const char* name, const std::string& hills, bool distance, bool ordered, int after)
        : rain(name, hills, distance, ordered) {
        rain.start();
        rain.run(after);
        rain.simulation.timeStep();
        rain.simulation.setStepping(false);
        forEach([&](GEO_Point* p) { records.insert(records.end(), bytes(p), bytes(p) + size()); });
        rain.simulation.context().timeStep = STEP;
    }
    void restore() {
        const char* from = records.data();
        forEach([&](GEO_Point* p) {
            std::memcpy(bytes(p), from, size());
            from += size();
        });
    }
    void cook() { rain.simulation.cook(); }

    Rain rain;
    std::vector<char> records;

private:
    template <class Work> void forEach(Work&& work) {
        const GEO_PrimParticle& prim = rain.simulation.primitive(rain.birth);
        for (size_t i = 0; i < prim.particleCount(); ++i) work(prim.particle(i));
    }
    static char* bytes(GEO_Point* p) { return reinterpret_cast<char*>(p); }
    size_t size() { return sizeof(GEO_Point) + size_t(rain.simulation.detail().pointAttribs().recordSize()); }
};

void compareNetwork(const std::string& hills) {
    Simulation plain("plain");
    FLX_Node& birth = addImmortals(plain, 1000000);
    startFull(plain, birth, birth);
    ContiguousParticles reference(plain.primitive(birth));
    Rain rain("rain", hills, false);
    Comparison table("100 frames, 100 000 particles on 100 352 triangles, ns per particle and frame");
    const size_t one = table.add("array of structures, one pass, 1M particles", double(reference.size()) * 10, [&] {
        for (int i = 0; i < 10; ++i) reference.step(STEP, 0);
    });
    const size_t all = table.add(
        "location, force, collision", double(COUNT) * FRAMES, [&] { rain.run(FRAMES); }, [&] { rain.start(); });
    table.run(3);
    table.print(one);
    table.bar(all, one, 15);
    std::printf("  records %016llx\n", static_cast<unsigned long long>(rain.simulation.hash(rain.birth)));
}

void compareCasts(const std::string& hills) {
    Comparison table("one cook of location, force and collision, 100 000 particles, ns per particle");
    std::vector<std::unique_ptr<Moment>> moments;
    const auto add = [&](int after, bool distance, bool ordered) {
        const std::string name = std::to_string(after) + (distance ? "dist" : "") + (ordered ? "ordered" : "");
        moments.push_back(std::make_unique<Moment>(("after" + name).c_str(), hills, distance, ordered, after));
        Moment& moment = *moments.back();
        table.add(
            "frame " + std::to_string(after) + (distance ? ", with \"dist\"" : "") +
                (ordered ? ", particles in order of place" : ""),
            double(COUNT), [&] { moment.cook(); }, [&] { moment.restore(); });
    };
    for (const int after : {4, 40, 90}) {
        add(after, false, false);
        add(after, true, false);
    }
    add(40, false, true);
    add(90, false, true);
    table.run(9);
    table.print(0);
}

} // namespace

int main() {
    Simulation host("host");
    const std::string hills = addGeometry("hills", [](GU_Detail& detail, float) { fillHills(detail, CELLS); });
    compareNetwork(hills);
    compareCasts(hills);
}
