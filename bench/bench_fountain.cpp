// A fountain of a million living particles (location, force with one octave of turbulence), everything that a frame
// costs but writing files, against the bare time step of as many particles and the same force in a plain loop.
#include "core/FLX_State.h"
#include "host/ut/UT_Noise.h"
#include "support/Comparison.h"
#include "support/Simulation.h"

namespace {

using namespace bench;

constexpr size_t LIVING = 1000000;
constexpr int FRAMES_OF_LIFE = 48;
constexpr float GRAVITY = -9.8f;

struct Fountain {
    Fountain()
        : simulation("fountain")
        , birth(simulation.add("location", "birth"))
        , force(simulation.add("force", "wind", &birth)) {
        birth.setFloat("constantrate", 0, double(LIVING) / FRAMES_OF_LIFE * FPS);
        birth.setFloat("life", 0, FRAMES_OF_LIFE / FPS);
        birth.setFloat("vel", 1, 10);
        force.setFloat("force", 1, double(GRAVITY));
        for (int i = 0; i < 3; ++i) force.setFloat("amp", i, 2);
        simulation.start(force);
        for (int i = 0; i < 3 * FRAMES_OF_LIFE; ++i) simulation.cook();
    }

    Simulation simulation;
    FLX_Node& birth;
    FLX_Node& force;
};

/// The same force, written for it.
__attribute__((noinline)) void pushAll(const GEO_PrimParticle& prim, GEO_PointAccess access, int accel, int state) {
    const UT_Noise noise(1, UT_Noise::GRADIENT);
    const UT_Vector3 gravity(0, GRAVITY, 0);
    prim.forEachSpan([&](const uint32_t* slots, size_t n) {
        for (size_t i = 0; i < n; ++i) {
            GEO_Point* p = access(slots[i]);
            if (*p->castAttribData<int>(state) & (FLX_DEAD | FLX_STOPPED | FLX_STUCK)) continue;
            const UT_Vector4& at = p->getPos();
            UT_Vector3 turbulence;
            noise.turbulence({at.x(), at.y(), at.z()}, 0, turbulence, 0.05f, 1);
            *p->castAttribData<UT_Vector3>(accel) += turbulence * 2 + gravity;
        }
    });
}

} // namespace

int main() {
    Fountain fountain;
    Simulation bare("bare");
    FLX_Node& birth = addImmortals(bare, fountain.simulation.particles());
    startFull(bare, birth, birth);
    const GEO_PrimParticle& prim = bare.primitive(birth);
    const FLX_ContextData& context = bare.context();
    const auto push = [&] {
        pushAll(prim, bare.detail().points().access(), context.getAccelOffset(), context.getStateOffset());
    };

    const auto n = double(fountain.simulation.particles());
    Comparison table("fountain, " + std::to_string(fountain.simulation.particles()) +
                     " living particles, 2 % born per frame");
    table.add("bare time step", n, [&] { bare.timeStep(); });
    table.add("force with turbulence in a plain loop", n, push);
    const size_t both = table.add("bare time step and plain force", n, [&] {
        bare.timeStep();
        push();
    });
    const size_t frame = table.add("whole frame of the fountain", n, [&] { fountain.simulation.cook(); });
    table.run(31);
    table.print(both);
    table.bar(frame, both, 2);
    std::printf("  records %016llx\n", static_cast<unsigned long long>(fountain.simulation.hash(fountain.birth)));
}
