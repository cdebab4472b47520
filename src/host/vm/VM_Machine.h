#pragma once
#include "host/vm/VM_Program.h"
#include <cstddef>

constexpr int VM_LANES = 256; // lanes of a full column

// What a program cannot compute itself: variables, strings, functions of the application.
class VM_Host {
public:
    virtual ~VM_Host();

    // Reads and writes the registers of site call.target; call.dst is the first that it writes. False stops the
    // program.
    virtual bool callSite(const VM_Instruction& call, double* registers) = 0;
};

// Writes the constants into the numRegisters registers of a single lane. Needed once for any number of runs.
void VM_loadConstants(const VM_Program& program, double* registers);

// Runs a program over one lane; see VM_ColumnRun for many. False when the host stopped it. Registers that are not
// constants may hold anything before, but must be initialised memory.
bool VM_run(const VM_Program& program, double* registers, VM_Host& host);

// One operation on single values, by the same code as in a program.
double VM_apply(VM_Op op, double a, double b = 0, double c = 0, double d = 0);
