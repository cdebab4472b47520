// What a cook costs before the first particle: ten operators over none and over a few.
#include "support/Comparison.h"
#include "support/Simulation.h"

namespace {

using namespace bench;

constexpr int OPERATORS = 10;

struct Row {
    Row(const char* name, const char* expression, size_t particles, int info)
        : simulation(name)
        , birth(addImmortals(simulation, particles)) {
        FLX_Node* last = &birth;
        for (int i = 0; i < OPERATORS; ++i) {
            last = &simulation.add("force", ("force" + std::to_string(i)).c_str(), last);
            last->setFloat("force", 1, 1);
            if (expression) last->setExpression("force", 0, expression);
        }
        simulation.reset(*last);
        simulation.context().infoEnabled = info;
        simulation.cook();
        birth.setFloat("impulserate", 0, 0);
    }
    Simulation simulation;
    FLX_Node& birth;
};

} // namespace

int main() {
    Row off("off", nullptr, 0, 0), on("on", nullptr, 0, 1), few("few", nullptr, 100, 1),
        varying("varying", "$AGE * 2", 0, 1);
    constexpr int COOKS = 200; // one is too short to measure
    const auto repeated = [](Row& row) {
        return [&row] {
            for (int i = 0; i < COOKS; ++i) row.simulation.cook();
        };
    };
    Comparison table("a cook of a birth operator and ten forces");
    const size_t plain = table.add("info off, no particles", COOKS, repeated(off));
    const size_t full = table.add("info on, no particles", COOKS, repeated(on));
    table.add("info on, 100 particles", COOKS, repeated(few));
    table.add("info on, an expression in each, no particles", COOKS, repeated(varying));
    table.run(31);
    table.print(plain);
    bench::bar("a cook of a birth operator and ten forces", "info on, no particles, microseconds",
               table.nanoseconds(full) / 1000, 50);
}
