#include "host/vm/VM_ColumnRun.h"
#include <algorithm>
#include <cassert>

namespace {

class NoHost final : public VM_Host {
    bool callSite(const VM_Instruction&, double*, int) override { return false; }
};

bool isTrue(double value) { return value != 0; }

} // namespace

void VM_ColumnRun::place(const VM_Program& program, const VM_Instruction& i) {
    Step step{nullptr, column(i.dst), {}, i};
    unsigned numbers = 0; // bit k: operand k is a constant
    for (int k = 0; k < VM_arity(i.op); ++k) {
        const bool isNumber = i.src[k] < program.constants.size();
        if (isNumber) numbers |= 1u << k;
        step.operands[k] = {column(i.src[k]), isNumber ? program.constants[i.src[k]] : 0};
    }
    if (i.op > VM_Op::Host) step.kernel = VM_kernel(i.op, numbers);
    if (i.op > VM_Op::Host && !step.kernel) {
        step.kernel = VM_kernel(i.op, 0);
        for (int k = 0; k < VM_arity(i.op); ++k)
            if (numbers >> k & 1) std::fill_n(column(i.src[k]), VM_LANES, step.operands[k].number);
    }
    mySteps.push_back(step);
}

VM_ColumnRun::VM_ColumnRun(const VM_Program& program, bool callsHost)
    : myStride(callsHost ? VM_LANES : VM_LANES + sizeof(Line) / sizeof(double))
    , myMemory(size_t(program.numRegisters) * (myStride / 8)) {
    static_assert(VM_LANES % 8 == 0 && VM_LANES % VM_LANE_GROUP == 0);
    for (size_t i = 0; callsHost && i < program.constants.size(); ++i)
        std::fill_n(column(uint16_t(i)), VM_LANES, program.constants[i]);
    mySteps.reserve(program.code.size());
    for (const VM_Instruction& i : program.code) place(program, i);
}

bool VM_ColumnRun::run(VM_Host& host, int lanes) {
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
        case VM_Op::Host:
            assert(myStride == VM_LANES); // made for a host
            if (!host.callSite(i, registers(), VM_LANES)) return false;
            break;
        case VM_Op::JumpNone:
            if (std::none_of(condition, condition + lanes, isTrue)) at = mySteps.data() + i.target;
            break;
        case VM_Op::JumpAll:
            if (std::all_of(condition, condition + lanes, isTrue)) at = mySteps.data() + i.target;
            break;
        default: return true;
        }
    }
}

void VM_ColumnRun::run(int lanes) {
    NoHost none;
    if (!mySteps.empty()) run(none, lanes);
}
