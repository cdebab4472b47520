// A force without turbulence, all parameters constant: the whole cook of the network against a loop written for just
// this.
#include "core/FLX_State.h"
#include "support/Comparison.h"
#include "support/Simulation.h"

namespace {

using namespace bench;

/// The loop that someone writes who knows that the force, the scale and the mass are constants. AHEAD as in
/// prefetching.
template <size_t AHEAD>
__attribute__((noinline)) void pushAll(const GEO_PrimParticle& prim, GEO_PointAccess access, int accel, int state,
                                       UT_Vector3 f) {
    prim.forEachSpan([&](const uint32_t* slots, size_t n) {
        for (size_t i = 0; i < n; ++i) {
            if (AHEAD && i + AHEAD < n) __builtin_prefetch(access(slots[i + AHEAD]), 1);
            GEO_Point* p = access(slots[i]);
            if (*p->castAttribData<int>(state) & (FLX_DEAD | FLX_STOPPED | FLX_STUCK)) continue;
            *p->castAttribData<UT_Vector3>(accel) += f;
        }
    });
}

} // namespace

int main() {
    constexpr size_t n = 1000000;
    Simulation simulation("pushed");
    FLX_Node& birth = addImmortals(simulation, n);
    FLX_Node& force = simulation.add("force", "pull", &birth);
    force.setFloat("force", 1, -9.8);
    startFull(simulation, birth, force);
    simulation.setStepping(false);

    const GEO_PrimParticle& prim = simulation.primitive(birth);
    const GEO_PointAccess access = simulation.detail().points().access();
    const int accel = simulation.context().getAccelOffset(), state = simulation.context().getStateOffset();
    const UT_Vector3 f(0, -9.8f, 0);

    Comparison table("constant force, 1M particles");
    const size_t plain = table.add("specialised loop", double(n), [&] { pushAll<0>(prim, access, accel, state, f); });
    table.add("specialised loop, prefetching", double(n), [&] { pushAll<24>(prim, access, accel, state, f); });
    const size_t ours = table.add("cook of location and force", double(n), [&] { simulation.cook(); });
    table.run(31);
    table.print(plain);
    table.bar(ours, plain, 1.25);
    std::printf("  records %016llx\n", static_cast<unsigned long long>(simulation.hash(birth)));
}
