// Runs one case of what scripts/instructions counts: "flx_instructions CASE", or the names of all cases without one.
// valgrind collects while flx_measured runs and not before; the output says how many particles were handled meanwhile.
#include <cstdio>
#include <cstring>
#include <functional>

#include "support/Simulation.h"

namespace {

using namespace bench;

constexpr size_t PARTICLES = 20000;
constexpr int STEPS = 4;

/// A network whose location, at its first cook, gives birth to every particle.
struct Scene {
    Simulation simulation{"counted"};
    FLX_Node& birth = addImmortals(simulation, PARTICLES);
    FLX_Node* last = &birth;

    FLX_Node& append(const char* name) { return *(last = &simulation.add("force", name, last)); }
    void appendConstant() { append("pull").setFloat("force", 1, -9.8); }
    void appendVarying() { append("blow").setExpression("force", 0, "2 * $LIFE - 0.1 * $VX"); }
    void appendTurbulence() {
        FLX_Node& wind = append("wind");
        for (int i = 0; i < 3; ++i) wind.setFloat("amp", i, 2);
    }
    void start() { startFull(simulation, birth, *last); }
    void cook(int times) {
        for (int i = 0; i < times; ++i) simulation.cook();
    }
};

} // namespace

/// The name by which valgrind knows where to collect.
extern "C" __attribute__((noinline, used)) void flx_measured(const std::function<void()>& work) { work(); }

namespace {

/// Steps of a chain that lives already; without `stepping` the operators alone.
void countChain(Scene& scene, bool stepping) {
    scene.start();
    scene.simulation.setStepping(stepping);
    scene.cook(2);
    flx_measured([&] { scene.cook(STEPS); });
    std::printf("%zu\n", PARTICLES * STEPS);
}

void countStep() {
    Scene scene;
    scene.start();
    flx_measured([&] {
        for (int i = 0; i < STEPS; ++i) scene.simulation.timeStep();
    });
    std::printf("%zu\n", PARTICLES * STEPS);
}

void countBirths() {
    Scene scene;
    scene.simulation.reset(scene.birth);
    flx_measured([&] { scene.cook(1); });
    std::printf("%zu\n", scene.simulation.particles());
}

void countForce(void (Scene::*append)()) {
    Scene scene;
    (scene.*append)();
    countChain(scene, false);
}

/// A fountain in balance: a tenth is born and reaped at every step.
void countTurnover() {
    constexpr int LIFE = 10;
    Scene scene;
    scene.birth.setFloat("impulserate", 0, double(PARTICLES / LIFE));
    scene.birth.setFloat("life", 0, LIFE / FPS);
    scene.appendConstant();
    scene.appendVarying();
    scene.simulation.start(*scene.last);
    scene.cook(3 * LIFE);
    size_t particles = 0;
    flx_measured([&] {
        for (int i = 0; i < STEPS; ++i) {
            scene.cook(1);
            particles += scene.simulation.particles();
        }
    });
    std::printf("%zu\n", particles);
}

struct Case {
    const char* name;
    void (*run)();
};

const Case cases[] = {
    {"time-step", &countStep},
    {"births", &countBirths},
    {"constant-force", [] { countForce(&Scene::appendConstant); }},
    {"varying-force", [] { countForce(&Scene::appendVarying); }},
    {"turbulent-force", [] { countForce(&Scene::appendTurbulence); }},
    {"chain",
     [] {
         Scene scene;
         scene.appendConstant();
         scene.appendVarying();
         countChain(scene, true);
     }},
    {"four-operators",
     [] {
         Scene scene;
         scene.appendConstant();
         scene.append("rising").setExpression("force", 0, "$AGE * 0.25");
         scene.last = &scene.simulation.add("translation", "trans", scene.last);
         for (int i = 0; i < 3; ++i) scene.last->setFloat("trans", i, 1 + i);
         scene.last = &scene.simulation.add("speedlimit", "limit", scene.last);
         scene.last->setFloat("speedlimit", 0, -1);
         scene.last->setFloat("speedlimit", 1, 50);
         countChain(scene, true);
     }},
    {"turnover", &countTurnover},
};

} // namespace

int main(int argc, char** argv) {
    for (const Case& c : cases) {
        if (argc < 2)
            std::puts(c.name);
        else if (std::strcmp(argv[1], c.name) == 0)
            return c.run(), 0;
    }
    if (argc < 2) return 0;
    std::fprintf(stderr, "flx_instructions: there is no case \"%s\"\n", argv[1]);
    return 2;
}
