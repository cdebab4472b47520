#include "host/vm/VM_ColumnRun.h"
#include <algorithm>
#include <cassert>

namespace {

bool isTrue(double value) { return value != 0; }

} // namespace

void VM_ColumnRun::place(const VM_Program& program, const VM_Instruction& i) {
    assert(i.op != VM_Op::Host || mySteps.empty());
    Step step{nullptr, nullptr, {}, i};
    unsigned numbers = 0; // bit k: operand k is a constant
    for (int k = 0; k < VM_arity(i.op); ++k) {
        const bool isNumber = i.src[k] < program.constants.size();
        if (isNumber) numbers |= 1u << k;
        step.operands[k] = {column(i.src[k]), isNumber ? program.constants[i.src[k]] : 0};
    }
    if (i.op > VM_Op::Host) {
        step.to = column(i.dst);
        step.kernel = VM_kernel(i.op, numbers);
        if (!step.kernel) {
            step.kernel = VM_kernel(i.op, 0);
            for (int k = 0; k < VM_arity(i.op); ++k)
                if (numbers >> k & 1) std::fill_n(column(i.src[k]), VM_LANES, step.operands[k].number);
        }
    }
    mySteps.push_back(step);
}

VM_ColumnRun::VM_ColumnRun(const VM_Program& program)
    : myMemory(size_t(program.numRegisters) * STRIDE) {
    static_assert(VM_LANES % 8 == 0 && VM_LANES % VM_LANE_GROUP == 0);
    mySteps.reserve(program.code.size());
    for (const VM_Instruction& i : program.code) place(program, i);
}

void VM_ColumnRun::run(int lanes) {
    if (mySteps.empty()) return;
    const int whole = (lanes + VM_LANE_GROUP - 1) & ~(VM_LANE_GROUP - 1);
    for (const Step* at = mySteps.data();;) {
        const Step& step = *at++;
        if (step.kernel) {
            step.kernel(step.to, step.operands, whole);
            continue;
        }
        const VM_Instruction& i = step.instruction;
        const double* condition = step.operands[0].column;
        switch (i.op) {
        case VM_Op::Host: break; // the inputs are there
        case VM_Op::JumpNone:
            if (std::none_of(condition, condition + lanes, isTrue)) at = mySteps.data() + i.target;
            break;
        case VM_Op::JumpAll:
            if (std::all_of(condition, condition + lanes, isTrue)) at = mySteps.data() + i.target;
            break;
        default: return;
        }
    }
}
