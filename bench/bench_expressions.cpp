// Expressions over particles, fetch from the records and rounding to float included, against loops in C++ written for
// just one expression; then a force with one parameter that varies. Values go where an operator's loop reads them: into
// a block of FLX_Chunk::SIZE, on both sides.
#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "host/expr/EV_Expression.h"
#include "ops/motion/FLX_Force.h"
#include "support/Comparison.h"
#include "support/Simulation.h"
#include "vars/FLX_ParticleColumns.h"

#ifdef FLX_BENCH_MUPARSER
#include <muParser.h>
#endif

namespace {

using namespace bench;

struct Offsets {
    int v, life, id;
};

struct Reader {
    const GEO_Point* p;
    Offsets at;

    double vx() const { return double(p->castAttribData<float>(at.v)[0]); }
    double vy() const { return double(p->castAttribData<float>(at.v)[1]); }
    double vz() const { return double(p->castAttribData<float>(at.v)[2]); }
    double tx() const { return double(p->getPos().x()); }
    double ty() const { return double(p->getPos().y()); }
    double age() const { return double(p->castAttribData<float>(at.life)[0]); }
    double id() const { return double(float(*p->castAttribData<int>(at.id))); }
};

/// Calls work(slots, count, slots that follow, number of the first) for blocks of particles.
template <class Work> void forEachBlock(const GEO_PrimParticle& prim, const Work& work) {
    prim.forEachSpan([&](const uint32_t* slots, size_t n) {
        for (size_t first = 0; first < n; first += FLX_Chunk::SIZE) {
            const size_t size = std::min(FLX_Chunk::SIZE, n - first);
            work(slots + first, size, n - first - size, int(first));
        }
    });
}

/// The values of all particles; null where nobody wants to see them.
using Kept = std::vector<float>*;

/// The loop that someone writes who knows the expression.
template <class F>
__attribute__((noinline)) void native(const GEO_PrimParticle& prim, GEO_PointAccess access, Offsets at, float* block,
                                      Kept kept, F f) {
    forEachBlock(prim, [&](const uint32_t* slots, size_t n, size_t, int) {
        for (size_t k = 0; k < n; ++k) block[k] = float(f(Reader{access(slots[k]), at}));
        if (kept) kept->insert(kept->end(), block, block + n);
    });
}

struct Expression {
    const char* text;
    void (*run)(const GEO_PrimParticle&, GEO_PointAccess, Offsets, float* block, Kept);
};

const Expression expressions[] = {
    {"$VX*2 + $TY",
     [](const GEO_PrimParticle& prim, GEO_PointAccess a, Offsets o, float* block, Kept kept) {
         native(prim, a, o, block, kept, [](const Reader& r) { return r.vx() * 2 + r.ty(); });
     }},
    {"$AGE > 1 && $TY < 0",
     [](const GEO_PrimParticle& prim, GEO_PointAccess a, Offsets o, float* block, Kept kept) {
         native(prim, a, o, block, kept, [](const Reader& r) { return r.age() > 1 && r.ty() < 0 ? 1.0 : 0.0; });
     }},
    {"sin($ID*0.1) * length(vector3($VX,$VY,$VZ))",
     [](const GEO_PrimParticle& prim, GEO_PointAccess a, Offsets o, float* block, Kept kept) {
         native(prim, a, o, block, kept, [](const Reader& r) {
             return std::sin(r.id() * 0.1) * std::sqrt(r.vx() * r.vx() + r.vy() * r.vy() + r.vz() * r.vz());
         });
     }},
    {"($VX*$VX + $VY*$VY)*0.5 - $TY*9.8 + $AGE/($ID + 1) - $TX",
     [](const GEO_PrimParticle& prim, GEO_PointAccess a, Offsets o, float* block, Kept kept) {
         native(prim, a, o, block, kept, [](const Reader& r) {
             return (r.vx() * r.vx() + r.vy() * r.vy()) * 0.5 - r.ty() * 9.8 + r.age() / (r.id() + 1) - r.tx();
         });
     }},
};

/// Particles of a location, spread out, and a force on them.
struct Setting {
    explicit Setting(const char* name, size_t n)
        : simulation(name)
        , birth(addImmortals(simulation, n))
        , force(dynamic_cast<FLX_Force&>(simulation.add("force", "pull", &birth)))
        , count(n) {
        startFull(simulation, birth, force);
        simulation.setStepping(false);
        FLX_ContextData& context = simulation.context();
        at = {context.getVelocityOffset(), context.getLifeOffset(), context.offset(FLX_Attrib::ID)};
        size_t i = 0;
        simulation.detail().points().forEach(nullptr, [&](GEO_Point* p) {
            const auto wave = [&](double step) { return float(4 * std::sin(double(i) * step)); };
            for (int k = 0; k < 3; ++k) p->castAttribData<float>(at.v)[k] = wave(0.1 + k);
            p->setPos({wave(0.3), wave(0.7), wave(0.9), 1});
            p->castAttribData<float>(at.life)[0] = 2 + wave(0.21);
            ++i;
        });
        force.setupVars(&context, nullptr);
    }
    GEO_PointAccess access() { return simulation.detail().points().access(); }
    const GEO_PrimParticle& prim() { return simulation.primitive(birth); }
    void bind(const char* text) { force.setExpression("scale", 0, text); }
    int parm() { return force.SCALE.index(); }

    void native(const Expression& e, Kept kept = nullptr) { e.run(prim(), access(), at, block, kept); }
    /// What a pass does before its formula.
    void columns(Kept kept = nullptr) {
        FLX_ParticleColumns values(force);
        const int number = values.add(parm(), 0, 0, false);
        if (number < 0) throw std::logic_error("not in columns");
        values.finish();
        forEachBlock(prim(), [&](const uint32_t* slots, size_t n, size_t following, int first) {
            FLX_Chunk rest{access(), slots, n, following, first};
            rest.lookForRow();
            while (rest.count > 0) {
                const FLX_Chunk part = values.evaluate(rest);
                if (kept) kept->insert(kept->end(), values.floats(number), values.floats(number) + part.count);
                rest = rest.from(part.count);
            }
        });
    }
    void oneByOne() {
        forEachBlock(prim(), [&](const uint32_t* slots, size_t n, size_t, int) {
            for (size_t k = 0; k < n; ++k) {
                force.setCurPoint(access()(slots[k]));
                block[k] = force.evalFloat(parm(), 0, 0);
            }
        });
        force.setCurPoint(nullptr);
    }

    Simulation simulation;
    FLX_Node& birth;
    FLX_Force& force;
    size_t count;
    float block[FLX_Chunk::SIZE] = {};
    Offsets at{};
};

#ifdef FLX_BENCH_MUPARSER
class Packaged {
public:
    explicit Packaged(const std::string& text) {
        std::string plain;
        for (const char c : text)
            if (c != '$') plain += c;
        if (const size_t length = plain.find("length(vector3(VX,VY,VZ))"); length != std::string::npos)
            plain = plain.substr(0, length) + "sqrt(VX*VX + VY*VY + VZ*VZ)";
        const char* const names[] = {"VX", "VY", "VZ", "TX", "TY", "AGE", "ID"};
        for (size_t i = 0; i < 7; ++i) myParser.DefineVar(names[i], &myValues[i]);
        myParser.SetExpr(plain);
        myParser.Eval();
    }
    double operator()(const Reader& r) {
        const double values[] = {r.vx(), r.vy(), r.vz(), r.tx(), r.ty(), r.age(), r.id()};
        std::copy_n(values, 7, myValues);
        return myParser.Eval();
    }

private:
    double myValues[7] = {};
    mu::Parser myParser;
};
#endif

/// Nearly, because the C library's sine is another one.
bool agree(float a, float b) {
    const bool close = std::isfinite(a) && std::fabs(a - b) <= 1e-5f * (1 + std::fabs(a));
    return a == b || close || (std::isnan(a) && std::isnan(b));
}

void compare(Setting& s, const Expression& e, const char* where, double limit, int rounds) {
    s.bind(e.text);
    std::vector<float> expected, found;
    s.native(e, &expected);
    s.columns(&found);
    if (expected.size() != s.count || !std::equal(expected.begin(), expected.end(), found.begin(), found.end(), agree))
        throw std::logic_error(std::string(e.text) + ", " + where + ": RESULTS DIFFER");
    Comparison table(std::string(e.text) + ", " + where);
    const double n = double(s.count);
    const size_t plain = table.add("native loop", n, [&] { s.native(e); });
    const size_t ours = table.add("columns", n, [&] { s.columns(); });
    if (s.count < 100000) table.add("one particle after the other", n, [&] { s.oneByOne(); });
#ifdef FLX_BENCH_MUPARSER
    auto packaged = std::make_shared<Packaged>(e.text);
    table.add("muparser", n, [&s, packaged] {
        native(s.prim(), s.access(), s.at, s.block, nullptr, [&](const Reader& r) { return (*packaged)(r); });
    });
#endif
    table.run(rounds);
    table.print(plain);
    table.bar(ours, plain, limit);
}

void compileTimes(Setting& s) {
    for (const Expression& e : expressions) {
        constexpr int TIMES = 200;
        Comparison table(std::string("compiling ") + e.text);
        table.add("text to columns, ns", TIMES, [&] {
            for (int i = 0; i < TIMES; ++i) {
                s.bind(e.text);
                FLX_ParticleColumns values(s.force);
                values.add(s.parm(), 0, 0, false);
                values.finish();
            }
        });
        table.run(21);
        table.print(0);
        bar(std::string("compiling ") + e.text, "text to columns, nanoseconds", table.nanoseconds(0), 20000);
    }
}

/// Constant and varying scale side by side on the same particles; the text is compiled once.
void forces(const Expression& e, const char* name) {
    Setting s(name, 8192);
    s.force.setFloat("force", 1, -9.8);
    FLX_Node& varying = s.simulation.add("force", "varying", &s.birth);
    varying.setFloat("force", 1, -9.8);
    varying.setExpression("scale", 0, e.text);
    const auto cook = [&](FLX_Node& node) {
        s.simulation.context().cookNode = s.simulation.context().displayNode = &node;
        s.simulation.cook();
    };
    Comparison table(std::string("force, 8192 records, scale = ") + e.text);
    const double n = double(s.count);
    const size_t constant = table.add("constant scale", n, [&] { cook(s.force); });
    const size_t ours = table.add("varying scale", n, [&] { cook(varying); });
    const size_t plain = table.add("the native loop of the expression", n, [&] { s.native(e); });
    table.run(101);
    table.print(constant);
    bar(std::string("force with scale = ") + e.text + ", 8192 records",
        "what it adds to a constant scale / native loop", table.ratio(ours, plain) - table.ratio(constant, plain), 1.5);
}

} // namespace

int main() {
    Setting small("small", 8192), large("large", 1000000);
    for (const Expression& e : expressions) compare(small, e, "8192 records", 1.5, 101);
    for (const Expression& e : expressions) compare(large, e, "1M records", 1.25, 11);
    compileTimes(small);
    const char* const names[] = {"first", "second", "third", "fourth"};
    for (size_t i = 0; i < std::size(expressions); ++i) forces(expressions[i], names[i]);
}
