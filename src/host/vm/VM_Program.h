#pragma once
#include "host/vm/VM_Op.h"
#include <cstdint>
#include <vector>

// One step of a program. Operands and result are register numbers; a result may lie on an operand.
struct VM_Instruction {
    VM_Op op = VM_Op::End;
    uint16_t dst = 0;
    uint16_t src[4] = {0, 0, 0, 0};
    uint32_t target =
        0; // jumps: an index into the code, always forward; Host: the site; dst is the first register it writes
};

// The registers that a call to the host reads and writes, in the host's own order.
struct VM_Site {
    std::vector<uint16_t> reads;
    std::vector<uint16_t> writes;
};

// Straight-line code with forward jumps over columns: register r holds one double per lane. Registers 0 to
// constants.size() - 1 hold the constants and are never written. Jumps only skip work: a program may run all lanes
// through both sides of a condition, Select then takes the right one.
struct VM_Program {
    std::vector<double> constants;
    std::vector<VM_Instruction> code; // ends with End
    std::vector<VM_Site> sites;
    std::vector<uint16_t> results;
    int numRegisters = 0;
};
