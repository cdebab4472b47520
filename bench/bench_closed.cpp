// Particles that bounce inside a closed ball: how many get out, with and without what keeps them on their side, for
// geometry that stands still, moves, or deforms. usage: bench_closed [PARTICLES [STEPS [CASE]]]
#include <cstdlib>

#include "support/Geometry.h"
#include "support/Simulation.h"

namespace {

using namespace bench;

struct Case {
    const char* name;
    int hint;
    bool enforced, corrected;
    float sway, swell;
    int bounces = 10; ///< most in a step
};

constexpr Case cases[] = {
    {"static, sides kept, corrections", 0, true, true, 0, 0, 1000},
    // A grazing path may need more than ten bounces in one step; the rest of the step is then not tested.
    {"the same, at most ten bounces a step", 0, true, true, 0, 0},
    {"static, sides kept within a step", 0, true, false, 0, 0},
    {"static, sides not kept", 0, false, false, 0, 0},
    {"translating", 1, false, false, 0.4f, 0},
    {"deforming", 2, false, false, 0.2f, 0.1f},
};

UT_Vector3 centre(const Case& c, float t) { return {c.sway * std::sin(3 * t), 0, 0}; }
float radius(const Case& c, float t) { return 1 + c.swell * std::sin(5 * t); }

void run(const Case& c, size_t count, int steps, float gains, const std::string& name) {
    Simulation simulation(name.c_str());
    const std::string path = addGeometry(
        (name + "ball").c_str(),
        [c](GU_Detail& detail, float t) { fillBall(detail, 40, 80, centre(c, t), radius(c, t)); }, c.hint != 0);
    FLX_Node& birth = addImmortals(simulation, count);
    FLX_Node& hit = simulation.add("collision", "hit", &birth);
    hit.setString("soppath", path);
    for (const auto& [parm, value] :
         std::initializer_list<std::pair<const char*, double>>{{"behavior", 1},
                                                               {"geohint", c.hint},
                                                               {"enforceorient", c.enforced},
                                                               {"dohittest", c.corrected},
                                                               {"donormalstep", c.corrected},
                                                               {"bounce", c.bounces},
                                                               {"gainnml", gains},
                                                               {"gaintan", gains}})
        hit.setFloat(parm, 0, value);
    birth.setFloat("impulserate", 0, double(count));
    startFull(simulation, birth, hit);
    const GEO_PrimParticle& prim = simulation.primitive(birth);
    uint32_t state = 1;
    const auto number = [&] { return float(int32_t(state = state * 1664525u + 1013904223u)) / 2147483648.0f; };
    for (size_t i = 0; i < prim.particleCount(); ++i) {
        UT_Vector3 p, v;
        do
            for (int k = 0; k < 3; ++k) p[k] = number(), v[k] = number();
        while (p.length() > 0.9f);
        prim.particle(i)->setPos(UT_Vector4(p, 1));
        simulation.context().velocity(prim.particle(i)) = v * 20;
    }
    for (int i = 0; i < steps; ++i) simulation.cook();
    const float t = simulation.context().time;
    size_t lost = 0;
    for (size_t i = 0; i < prim.particleCount(); ++i)
        lost += (UT_Vector3(prim.particle(i)->getPos()) - centre(c, t)).length() > radius(c, t) + 1e-4f;
    std::printf("%-40s gains %.1f: %zu of %zu lost in %d steps\n", c.name, double(gains), lost, prim.particleCount(),
                steps);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    const size_t count = argc > 1 ? size_t(std::atoll(argv[1])) : 20000;
    const int steps = argc > 2 ? std::atoi(argv[2]) : 200, only = argc > 3 ? std::atoi(argv[3]) : -1;
    int number = 0;
    for (const Case& c : cases)
        for (const float gains : {1.0f, 0.3f}) {
            if (only < 0 || only == number / 2) run(c, count, steps, gains, "closed" + std::to_string(number));
            ++number;
        }
}
