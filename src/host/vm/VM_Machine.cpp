#include "host/vm/VM_Machine.h"
#include "host/vm/VM_Formulas.h"
#include "host/vm/VM_Kernels.h"
#include <algorithm>
#include <set>

VM_Host::~VM_Host() = default;

namespace {

// ---- one lane

double computeOne(VM_Op op, double a, double b, double c, double d) {
    // clang-format off
#define VM_FORMULA_CASE(NAME, FORMULA) case VM_Op::NAME: return FORMULA;
#define VM_BLOCK_CASE_1(NAME, FUNCTION) case VM_Op::NAME: return UT_Math::FUNCTION(a);
#define VM_BLOCK_CASE_2(NAME, FUNCTION) case VM_Op::NAME: return UT_Math::FUNCTION(a, b);
    switch (op) {
    VM_FORMULAS_1(VM_FORMULA_CASE)
    VM_FORMULAS_2(VM_FORMULA_CASE)
    VM_FORMULAS_3(VM_FORMULA_CASE)
    VM_BLOCKS_1(VM_BLOCK_CASE_1)
    VM_BLOCKS_2(VM_BLOCK_CASE_2)
    case VM_Op::Noise: return VM_noise(a, b, c);
    case VM_Op::Turb: return VM_turb(a, b, c, d);
    default: return 0;
    }
    // clang-format on
}

struct OneLane {
    double* r;

    static constexpr int LANES = 1;
    bool any(const VM_Instruction& i) const { return r[i.src[0]] != 0; }
    bool all(const VM_Instruction& i) const { return r[i.src[0]] != 0; }
    void compute(const VM_Instruction& i) const {
        r[i.dst] = computeOne(i.op, r[i.src[0]], r[i.src[1]], r[i.src[2]], r[i.src[3]]);
    }
};

// ---- columns

// Bit k: operand k is a constant.
unsigned numbersAmong(const VM_Program& program, const VM_Instruction& i) {
    unsigned numbers = 0;
    for (int k = 0; k < VM_arity(i.op); ++k) numbers |= i.src[k] < program.constants.size() ? 1u << k : 0u;
    return numbers;
}

struct Columns {
    const VM_Program& program;
    double* r;
    int lanes;

    static constexpr int LANES = VM_LANES;
    double* column(uint16_t number) const { return r + size_t(number) * VM_LANES; }
    bool any(const VM_Instruction& i) const {
        const double* a = column(i.src[0]);
        return std::any_of(a, a + lanes, [](double value) { return value != 0; });
    }
    bool all(const VM_Instruction& i) const {
        const double* a = column(i.src[0]);
        return std::all_of(a, a + lanes, [](double value) { return value != 0; });
    }
    void compute(const VM_Instruction& i) const {
        VM_Operand operands[4];
        const unsigned numbers = numbersAmong(program, i);
        for (int k = 0; k < VM_arity(i.op); ++k)
            operands[k] = {column(i.src[k]), numbers >> k & 1 ? program.constants[i.src[k]] : 0};
        const int whole = (lanes + VM_LANE_GROUP - 1) & ~(VM_LANE_GROUP - 1);
        VM_Kernel kernel = VM_kernel(i.op, numbers);
        (kernel ? kernel : VM_kernel(i.op, 0))(column(i.dst), operands, whole);
    }
};

template <class Machine> bool run(const Machine& machine, const VM_Program& program, double* registers, VM_Host& host) {
    const VM_Instruction* const code = program.code.data();
    for (const VM_Instruction* at = code; at->op != VM_Op::End;) {
        const VM_Instruction& i = *at++;
        if (i.op > VM_Op::Host) {
            machine.compute(i);
        } else if (i.op == VM_Op::Host) {
            if (!host.callSite(i, registers, Machine::LANES)) return false;
        } else {
            if (i.op == VM_Op::JumpNone ? !machine.any(i) : machine.all(i)) at = code + i.target;
        }
    }
    return true;
}

} // namespace

void VM_loadConstants(const VM_Program& program, double* registers, int lanes) {
    for (double constant : program.constants) registers = std::fill_n(registers, lanes, constant);
}

std::vector<uint16_t> VM_constantColumns(const VM_Program& program) {
    std::set<uint16_t> out;
    for (const VM_Instruction& i : program.code) {
        if (i.op <= VM_Op::Host || VM_kernel(i.op, numbersAmong(program, i))) continue;
        for (int k = 0; k < VM_arity(i.op); ++k)
            if (i.src[k] < program.constants.size()) out.insert(i.src[k]);
    }
    return {out.begin(), out.end()};
}

bool VM_run(const VM_Program& program, double* registers, VM_Host& host) {
    return run(OneLane{registers}, program, registers, host);
}

bool VM_runColumns(const VM_Program& program, double* registers, VM_Host& host, int lanes) {
    return run(Columns{program, registers, lanes}, program, registers, host);
}

double VM_apply(VM_Op op, double a, double b, double c, double d) { return computeOne(op, a, b, c, d); }
