// The time step (reap, default rules, preparation) against one pass over an array of structures, and after births and
// deaths have mixed the records' places.
#include <cstring>
#include <memory>

#include "support/Comparison.h"
#include "support/ContiguousParticles.h"
#include "support/Simulation.h"

namespace {

using namespace bench;

/// A full simulation, and the same particles as an array of structures.
struct Pair {
    explicit Pair(const char* name, size_t n)
        : simulation(name)
        , birth(addImmortals(simulation, n)) {
        startFull(simulation, birth, birth);
        if (simulation.detail().pointAttribs().recordSize() + sizeof(GEO_Point) != sizeof(PlainParticle))
            throw std::logic_error("the reference has another layout");
        reference = std::make_unique<ContiguousParticles>(simulation.primitive(birth));
    }
    /// Both do the same work: after as many steps of each the records are the same.
    bool agree() {
        const GEO_PrimParticle& prim = simulation.primitive(birth);
        for (size_t i = 0; i < reference->size(); ++i)
            if (std::memcmp(&(*reference)[i], static_cast<const void*>(prim.particle(i)), sizeof(PlainParticle)) != 0)
                return false;
        return true;
    }
    void stepReference() { reference->step(STEP, simulation.context().getRuleSuppression()); }

    Simulation simulation;
    FLX_Node& birth;
    std::unique_ptr<ContiguousParticles> reference;
};

/// Replaces a fiftieth of the particles, chosen at random, in each of so many frames.
void turnOver(Simulation& simulation, FLX_Node& birth, int frames) {
    uint32_t random = 1;
    const size_t n = simulation.particles(), part = n / 50;
    for (int frame = 0; frame < frames; ++frame) {
        const GEO_PrimParticle& prim = simulation.primitive(birth);
        size_t killed = 0;
        while (killed < part) {
            random = random * 1664525u + 1013904223u;
            int& state = simulation.context().state(prim.particle((uint64_t(random) * n) >> 32));
            killed += !(state & FLX_DEAD);
            state |= FLX_DEAD;
        }
        birth.setFloat("impulserate", 0, double(part));
        simulation.cook();
    }
    birth.setFloat("impulserate", 0, 0);
}

void compareSteps(size_t n, int rounds) {
    Pair pair(n < 5000000 ? "few" : "many", n);
    Comparison table("time step, " + std::to_string(n) + " particles of 80 bytes");
    const size_t plain = table.add("array of structures, one pass", double(n), [&] { pair.stepReference(); });
    const size_t ours = table.add("time step", double(n), [&] { pair.simulation.timeStep(); });
    table.run(rounds);
    table.print(plain);
    table.bar(ours, plain, 1.0);
    std::printf("  the records of both %s\n", pair.agree() ? "are equal" : "DIFFER");
}

void compareTurnover(size_t n, int rounds) {
    Simulation fresh("fresh"), used("used");
    FLX_Node &freshBirth = addImmortals(fresh, n), &usedBirth = addImmortals(used, n);
    startFull(fresh, freshBirth, freshBirth);
    startFull(used, usedBirth, usedBirth);
    turnOver(used, usedBirth, 100);

    Comparison table("time step after 100 frames of 2 % random turnover, " + std::to_string(n) + " particles");
    const size_t reference = table.add("fresh set", double(fresh.particles()), [&] { fresh.timeStep(); });
    const size_t churned = table.add("after turnover", double(used.particles()), [&] { used.timeStep(); });
    table.run(rounds);
    table.print(reference);
    table.bar(churned, reference, 1.5);
    std::printf("  %zu and %zu particles; records %016llx\n", fresh.particles(), used.particles(),
                static_cast<unsigned long long>(used.hash(usedBirth)));
}

} // namespace

int main() {
    compareSteps(1000000, 31);
    compareSteps(10000000, 11);
    compareTurnover(1000000, 31);
}
