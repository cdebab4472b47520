// Births through a "location" with its defaults, in a set that grows and in one whose dead make room, against the time
// step of an array of structures; and how often they allocate.
#include <atomic>
#include <cstdlib>
#include <new>

#include "support/Comparison.h"
#include "support/ContiguousParticles.h"
#include "support/Simulation.h"

namespace {

std::atomic<size_t> theAllocations{0};

void* counted(size_t bytes) {
    theAllocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(bytes ? bytes : 1)) return p;
    throw std::bad_alloc();
}

} // namespace

void* operator new(size_t bytes) { return counted(bytes); }
void* operator new[](size_t bytes) { return counted(bytes); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }

namespace {

using namespace bench;

/// Kills every k-th particle, all older than the newest births alike, and reaps.
void thinOut(Simulation& simulation, FLX_Node& birth, size_t k) {
    const GEO_PrimParticle& prim = simulation.primitive(birth);
    for (size_t i = 0; i < prim.particleCount(); i += k) simulation.context().state(prim.particle(i)) |= FLX_DEAD;
    simulation.timeStep();
}

} // namespace

int main() {
    constexpr size_t n = 1000000, part = 50;
    Simulation growing("growing"), steady("steady");
    FLX_Node &growingBirth = growing.add("location", "birth"), &steadyBirth = steady.add("location", "birth");
    for (FLX_Node* birth : {&growingBirth, &steadyBirth}) {
        birth->setFloat("constantrate", 0, 0);
        birth->setFloat("impulserate", 0, double(n));
    }
    growing.start(growingBirth);
    steady.start(steadyBirth);
    steadyBirth.setFloat("impulserate", 0, double(n / part));
    steady.setStepping(true);
    ContiguousParticles reference(growing.primitive(growingBirth));

    size_t allocations = 0;
    Comparison table("births of a default location, per particle born");
    const size_t plain = table.add("time step of an array of structures", double(n), [&] { reference.step(STEP, 0); });
    const size_t grow = table.add(
        "1M births in an empty detail", double(n),
        [&] {
            const size_t before = theAllocations;
            growing.cook();
            allocations = theAllocations - before;
        },
        [&] { growing.reset(growingBirth); });
    size_t steadyAllocations = 0;
    const size_t reuse = table.add(
        "20k births in a set of 1M, in the places of the dead", double(n / part),
        [&] {
            const size_t before = theAllocations;
            steady.setStepping(false);
            steady.cook();
            steadyAllocations = theAllocations - before;
        },
        [&] {
            steady.setStepping(true);
            thinOut(steady, steadyBirth, part);
        });
    table.run(21);
    table.print(plain);
    table.bar(grow, plain, 12);
    table.bar(reuse, plain, 12);
    for (const auto& [count, births] : {std::pair{allocations, n}, std::pair{steadyAllocations, n / part}})
        bar("births do not allocate", "allocations / " + std::to_string(births) + " births",
            double(count) / double(births), 0.01);
    std::printf("  records %016llx %016llx\n", static_cast<unsigned long long>(growing.hash(growingBirth)),
                static_cast<unsigned long long>(steady.hash(steadyBirth)));
}
