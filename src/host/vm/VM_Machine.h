#pragma once
#include "host/vm/VM_Program.h"
#include <cstddef>

constexpr int VM_LANES = 256; // lanes of a full column

// What a program cannot compute itself: variables, strings, functions of the application.
class VM_Host {
public:
    virtual ~VM_Host();

    // Reads and writes the registers of site call.target; call.dst is the first that it writes. Lane i of register r is
    // registers[r * lanes + i]. False stops the program.
    virtual bool callSite(const VM_Instruction& call, double* registers, int lanes) = 0;
};

// Writes the constants into a register file of numRegisters * lanes doubles. Needed once for any number of runs.
void VM_loadConstants(const VM_Program& program, double* registers, int lanes);

// The constants that an operation over columns reads as columns; all others it takes as numbers, so that those need not
// be loaded for runs over columns of a program without calls to its host.
std::vector<uint16_t> VM_constantColumns(const VM_Program& program);

// Runs a program over one lane, or over the first `lanes` of columns of VM_LANES; both give the same bits. False when
// the host stopped it. Registers that are not constants may hold anything before, but must be initialised memory. Lanes
// past `lanes` end up with anything.
bool VM_run(const VM_Program& program, double* registers, VM_Host& host);
bool VM_runColumns(const VM_Program& program, double* registers, VM_Host& host, int lanes = VM_LANES);

// One operation on single values, by the same code as in a program.
double VM_apply(VM_Op op, double a, double b = 0, double c = 0, double d = 0);
