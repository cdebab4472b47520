#include "host/vm/VM_Machine.h"
#include "host/ut/UT_Math.h"
#include "host/vm/VM_Functions.h"
#include <algorithm>

VM_Host::~VM_Host() = default;

#if defined(__GNUC__) && !defined(__clang__)
#define VM_LANE_LOOP _Pragma("GCC ivdep")
#else
#define VM_LANE_LOOP
#endif

namespace {

// The columns of one instruction. A result lies on an operand or apart from it, so a loop over lanes has no dependence.
template <int L> struct Columns {
    double* r;
    const VM_Instruction& i;

    double* dst() const { return r + size_t(i.dst) * L; }
    const double* src(int k) const { return r + size_t(i.src[k]) * L; }

    template <class F> void each1(F f) const {
        double* d = dst();
        const double* a = src(0);
        VM_LANE_LOOP for (int k = 0; k < L; ++k) d[k] = f(a[k]);
    }
    template <class F> void each2(F f) const {
        double* d = dst();
        const double *a = src(0), *b = src(1);
        VM_LANE_LOOP for (int k = 0; k < L; ++k) d[k] = f(a[k], b[k]);
    }
    template <class F> void each3(F f) const {
        double* d = dst();
        const double *a = src(0), *b = src(1), *c = src(2);
        VM_LANE_LOOP for (int k = 0; k < L; ++k) d[k] = f(a[k], b[k], c[k]);
    }
    template <class F> void each4(F f) const {
        double* to = dst();
        const double *a = src(0), *b = src(1), *c = src(2), *d = src(3);
        for (int k = 0; k < L; ++k) to[k] = f(a[k], b[k], c[k], d[k]);
    }

    // Functions that come with a block form of the same bits.
    void block1(double (*one)(double), void (*block)(const double*, double*, int)) const {
        if constexpr (L == 1)
            *dst() = one(*src(0));
        else
            block(src(0), dst(), L);
    }
    void block2(double (*one)(double, double), void (*block)(const double*, const double*, double*, int)) const {
        if constexpr (L == 1)
            *dst() = one(*src(0), *src(1));
        else
            block(src(0), src(1), dst(), L);
    }

    bool any() const {
        return std::any_of(src(0), src(0) + L, [](double a) { return a != 0; });
    }
    bool all() const {
        return std::all_of(src(0), src(0) + L, [](double a) { return a != 0; });
    }
};

template <int L> void compute(const VM_Instruction& i, double* r) {
    const Columns<L> on{r, i};
    // clang-format off
    switch (i.op) {
    case VM_Op::Neg:    on.each1([](double a) { return -a; }); break;
    case VM_Op::Not:    on.each1([](double a) { return a != 0 ? 0.0 : 1.0; }); break;
    case VM_Op::Bool:   on.each1([](double a) { return a != 0 ? 1.0 : 0.0; }); break;
    case VM_Op::Abs:    on.each1([](double a) { return std::fabs(a); }); break;
    case VM_Op::Ceil:   on.each1([](double a) { return std::ceil(a); }); break;
    case VM_Op::Floor:  on.each1([](double a) { return std::floor(a); }); break;
    case VM_Op::Trunc:  on.each1([](double a) { return std::trunc(a); }); break;
    case VM_Op::Round:  on.each1([](double a) { return std::round(a); }); break;
    case VM_Op::Frac:   on.each1([](double a) { return a - std::floor(a); }); break;
    case VM_Op::Sign:   on.each1([](double a) { return (a > 0 ? 1.0 : 0.0) - (a < 0 ? 1.0 : 0.0); }); break;
    case VM_Op::Sqrt:   on.each1([](double a) { return std::sqrt(a); }); break;
    case VM_Op::Deg:    on.each1([](double a) { return UT_Math::degrees(a); }); break;
    case VM_Op::Rad:    on.each1([](double a) { return UT_Math::radians(a); }); break;
    case VM_Op::Rand:   on.each1([](double a) { return VM_rand(a); }); break;
    case VM_Op::Sin:    on.block1(UT_Math::sin, UT_Math::sin); break;
    case VM_Op::Cos:    on.block1(UT_Math::cos, UT_Math::cos); break;
    case VM_Op::Tan:    on.block1(UT_Math::tan, UT_Math::tan); break;
    case VM_Op::Asin:   on.block1(UT_Math::asin, UT_Math::asin); break;
    case VM_Op::Acos:   on.block1(UT_Math::acos, UT_Math::acos); break;
    case VM_Op::Atan:   on.block1(UT_Math::atan, UT_Math::atan); break;
    case VM_Op::Sinh:   on.block1(UT_Math::sinh, UT_Math::sinh); break;
    case VM_Op::Cosh:   on.block1(UT_Math::cosh, UT_Math::cosh); break;
    case VM_Op::Tanh:   on.block1(UT_Math::tanh, UT_Math::tanh); break;
    case VM_Op::Exp:    on.block1(UT_Math::exp, UT_Math::exp); break;
    case VM_Op::Log:    on.block1(UT_Math::log, UT_Math::log); break;
    case VM_Op::Log10:  on.block1(UT_Math::log10, UT_Math::log10); break;
    case VM_Op::Add:    on.each2([](double a, double b) { return a + b; }); break;
    case VM_Op::Sub:    on.each2([](double a, double b) { return a - b; }); break;
    case VM_Op::Mul:    on.each2([](double a, double b) { return a * b; }); break;
    case VM_Op::Div:    on.each2([](double a, double b) { return a / b; }); break;
    case VM_Op::Mod:    on.each2([](double a, double b) { return std::fmod(a, b); }); break;
    case VM_Op::Pow:    on.block2(UT_Math::pow, UT_Math::pow); break;
    case VM_Op::Atan2:  on.block2(UT_Math::atan2, UT_Math::atan2); break;
    case VM_Op::Min:    on.each2([](double a, double b) { return b < a ? b : a; }); break;
    case VM_Op::Max:    on.each2([](double a, double b) { return b > a ? b : a; }); break;
    case VM_Op::Eq:     on.each2([](double a, double b) { return a == b ? 1.0 : 0.0; }); break;
    case VM_Op::Ne:     on.each2([](double a, double b) { return a != b ? 1.0 : 0.0; }); break;
    case VM_Op::Lt:     on.each2([](double a, double b) { return a < b ? 1.0 : 0.0; }); break;
    case VM_Op::Le:     on.each2([](double a, double b) { return a <= b ? 1.0 : 0.0; }); break;
    case VM_Op::Gt:     on.each2([](double a, double b) { return a > b ? 1.0 : 0.0; }); break;
    case VM_Op::Ge:     on.each2([](double a, double b) { return a >= b ? 1.0 : 0.0; }); break;
    case VM_Op::And:    on.each2([](double a, double b) { return (int(a != 0) & int(b != 0)) != 0 ? 1.0 : 0.0; }); break;
    case VM_Op::Or:     on.each2([](double a, double b) { return (int(a != 0) | int(b != 0)) != 0 ? 1.0 : 0.0; }); break;
    case VM_Op::Select: on.each3([](double a, double b, double c) { return a != 0 ? b : c; }); break;
    case VM_Op::Clamp:  on.each3([](double a, double b, double c) { return a < b ? b : a > c ? c : a; }); break;
    case VM_Op::Fit01:  on.each3([](double a, double b, double c) { return VM_fit01(a, b, c); }); break;
    case VM_Op::Lerp:   on.each3([](double a, double b, double c) { return (1 - c) * a + c * b; }); break;
    case VM_Op::Noise:  on.each3([](double a, double b, double c) { return VM_noise(a, b, c); }); break;
    case VM_Op::Turb:   on.each4([](double a, double b, double c, double d) { return VM_turb(a, b, c, d); }); break;
    default: break;
    }
    // clang-format on
}

template <int L> bool run(const VM_Program& program, double* registers, VM_Host& host) {
    const VM_Instruction* const code = program.code.data();
    for (const VM_Instruction* at = code; at->op != VM_Op::End;) {
        const VM_Instruction& i = *at++;
        if (i.op > VM_Op::Host) {
            compute<L>(i, registers);
        } else if (i.op == VM_Op::Host) {
            if (!host.callSite(i, registers, L)) return false;
        } else {
            const Columns<L> condition{registers, i};
            if (i.op == VM_Op::JumpNone ? !condition.any() : condition.all()) at = code + i.target;
        }
    }
    return true;
}

} // namespace

void VM_loadConstants(const VM_Program& program, double* registers, int lanes) {
    for (double constant : program.constants) registers = std::fill_n(registers, lanes, constant);
}

bool VM_run(const VM_Program& program, double* registers, VM_Host& host) { return run<1>(program, registers, host); }

bool VM_runColumns(const VM_Program& program, double* registers, VM_Host& host) {
    return run<VM_LANES>(program, registers, host);
}

double VM_apply(VM_Op op, double a, double b, double c, double d) {
    double registers[5] = {a, b, c, d, 0};
    compute<1>({op, 4, {0, 1, 2, 3}, 0}, registers);
    return registers[4];
}
