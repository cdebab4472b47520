#include "host/vm/VM_Machine.h"
#include "host/vm/VM_Formulas.h"
#include <algorithm>

VM_Host::~VM_Host() = default;

namespace {

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

} // namespace

void VM_loadConstants(const VM_Program& program, double* registers) {
    std::copy(program.constants.begin(), program.constants.end(), registers);
}

bool VM_run(const VM_Program& program, double* r, VM_Host& host) {
    const VM_Instruction* const code = program.code.data();
    for (const VM_Instruction* at = code; at->op != VM_Op::End;) {
        const VM_Instruction& i = *at++;
        if (i.op > VM_Op::Host) {
            r[i.dst] = computeOne(i.op, r[i.src[0]], r[i.src[1]], r[i.src[2]], r[i.src[3]]);
        } else if (i.op == VM_Op::Host) {
            if (!host.callSite(i, r)) return false;
        } else {
            const bool isTrue = r[i.src[0]] != 0;
            if (isTrue == (i.op == VM_Op::JumpAll)) at = code + i.target;
        }
    }
    return true;
}

double VM_apply(VM_Op op, double a, double b, double c, double d) { return computeOne(op, a, b, c, d); }
