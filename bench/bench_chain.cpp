// Operators in a row over a million particles below a birth operator, everything that a frame costs included: against
// one loop written by hand for all of them, against each operator on all particles before the next, and what one more
// operator costs.
#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>

#include "support/Comparison.h"
#include "support/ContiguousParticles.h"
#include "support/Simulation.h"

namespace {

using namespace bench;

constexpr size_t N = 1000000;
constexpr float GRAVITY = -9.8f;

/// What a particle of the chain holds.
struct ChainParticle {
    PlainParticle plain;
    float trans[3];
    float speedlimit[2];
};

/// location, acceleration, force, force with a varying component, translation, speedlimit.
struct Chain {
    Chain(const char* name, FLX_CookOrder order)
        : simulation(name)
        , birth(addImmortals(simulation, N)) {
        FLX_Node& still = simulation.add("acceleration", "still", &birth);
        for (int i = 0; i < 3; ++i) still.setFloat("a", i, 0.5 * i);
        FLX_Node& gravity = simulation.add("force", "gravity", &still);
        gravity.setFloat("force", 1, double(GRAVITY));
        FLX_Node& rising = simulation.add("force", "rising", &gravity);
        rising.setExpression("force", 0, "$AGE * 0.25");
        FLX_Node& trans = simulation.add("translation", "trans", &rising);
        for (int i = 0; i < 3; ++i) trans.setFloat("trans", i, 1 + i);
        FLX_Node& limit = simulation.add("speedlimit", "limit", &trans);
        limit.setFloat("speedlimit", 0, -1);
        limit.setFloat("speedlimit", 1, 50);
        simulation.context().setCookOrder(order);
        startFull(simulation, birth, limit);
        simulation.context().infoEnabled = 1;
        for (FLX_Node* node : {&still, &gravity, &rising, &trans, &limit})
            if (node->error() > UT_ERROR_NONE) throw std::logic_error("an operator of the chain has a message");
    }

    Simulation simulation;
    FLX_Node& birth;
};

/// All of it in one pass over an array of structures.
__attribute__((noinline)) void fused(std::vector<ChainParticle>& particles, float dt) {
    for (ChainParticle& c : particles) {
        PlainParticle& p = c.plain;
        if (p.state & FLX_DEAD) continue;
        for (int k = 0; k < 3; ++k) p.backtrack[k] = p.v[k], p.P[k] += p.v[k] * dt, p.v[k] += p.accel[k] * dt;
        p.backtrack[3] = dt;
        const float speed = std::sqrt(p.v[0] * p.v[0] + p.v[1] * p.v[1] + p.v[2] * p.v[2]);
        if (c.speedlimit[0] >= 0 && speed < c.speedlimit[0])
            for (float& v : p.v) v *= c.speedlimit[0] / speed;
        else if (c.speedlimit[1] >= 0 && speed > c.speedlimit[1])
            for (float& v : p.v) v *= c.speedlimit[1] / speed;
        p.life[0] += dt;
        int bits = p.state;
        if (p.life[1] >= 0 && p.life[0] >= p.life[1]) bits |= FLX_DEAD;
        p.state = bits & ~FLX_CLEARED_EACH_STEP;
        p.accel[0] = 0.0f + p.life[0] * 0.25f;
        p.accel[1] = 0.5f + GRAVITY;
        p.accel[2] = 1;
        for (int k = 0; k < 3; ++k) c.trans[k] = float(1 + k);
        c.speedlimit[0] = -1;
        c.speedlimit[1] = 50;
    }
}

std::vector<ChainParticle> copied(Chain& chain) {
    const GEO_PrimParticle& prim = chain.simulation.primitive(chain.birth);
    if (size_t(chain.simulation.detail().pointAttribs().recordSize()) + sizeof(GEO_Point) != sizeof(ChainParticle))
        throw std::logic_error("the reference has another layout");
    std::vector<ChainParticle> particles(prim.particleCount());
    for (size_t i = 0; i < particles.size(); ++i)
        __builtin_memcpy(&particles[i], static_cast<const void*>(prim.particle(i)), sizeof(ChainParticle));
    return particles;
}

void compareChain() {
    auto chunked = std::make_unique<Chain>("chunked", FLX_CookOrder::Chunk);
    auto plain = std::make_unique<Chain>("plain", FLX_CookOrder::Operator);
    std::vector<ChainParticle> particles = copied(*chunked);
    Comparison table("step and five operators, 1M particles of 100 bytes");
    const size_t hand = table.add("one pass written by hand", double(N), [&] { fused(particles, STEP); });
    const size_t ours = table.add("frame, chunk by chunk", double(N), [&] { chunked->simulation.cook(); });
    const size_t slow = table.add("frame, operator by operator", double(N), [&] { plain->simulation.cook(); });
    table.run(31);
    table.print(hand);
    table.bar(ours, hand, 1.6);
    table.bar(ours, slow, 0.45);
    std::printf("  the records of both orders %s\n",
                chunked->simulation.hash(chunked->birth) == plain->simulation.hash(plain->birth) ? "are equal"
                                                                                                 : "DIFFER");
}

/// A birth operator and so many constant forces.
struct Forces {
    Forces(const char* name, int forces, double amplitude, FLX_CookOrder order = FLX_CookOrder::Chunk)
        : simulation(name)
        , birth(addImmortals(simulation, N)) {
        FLX_Node* last = &birth;
        for (int i = 0; i < forces; ++i) {
            last = &simulation.add("force", ("force" + std::to_string(i)).c_str(), last);
            last->setFloat("force", 1, double(GRAVITY));
            for (int k = 0; k < 3; ++k) last->setFloat("amp", k, amplitude);
        }
        simulation.context().setCookOrder(order);
        startFull(simulation, birth, *last);
        simulation.context().infoEnabled = 1;
    }
    Simulation simulation;
    FLX_Node& birth;
};

void compareForces() {
    auto step = std::make_unique<Forces>("stepped", 0, 0);
    ContiguousParticles reference(step->simulation.primitive(step->birth));
    auto one = std::make_unique<Forces>("one", 1, 0), five = std::make_unique<Forces>("five", 5, 0);
    auto noisy = std::make_unique<Forces>("noisy", 1, 2);
    Comparison table("frames, 1M particles of 80 bytes");
    const size_t hand = table.add("array of structures, one pass", double(N), [&] { reference.step(STEP, 0); });
    table.add("location", double(N), [&] { step->simulation.cook(); });
    const size_t gravity = table.add("location, force", double(N), [&] { one->simulation.cook(); });
    const size_t more = table.add("location, five forces", double(N), [&] { five->simulation.cook(); });
    const size_t turbulent =
        table.add("location, force with one octave of turbulence", double(N), [&] { noisy->simulation.cook(); });
    table.run(31);
    table.print(hand);
    table.bar(gravity, hand, 1.45);
    table.bar(turbulent, hand, 4.1);
    const double each = (table.ratio(more, hand) - table.ratio(gravity, hand)) / 4;
    bar("frames, 1M particles of 80 bytes", "each further constant force / array of structures, one pass", each, 0.14);
}

} // namespace

int main() {
    compareForces();
    compareChain();
}
