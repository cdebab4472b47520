#pragma once
#include "host/vm/VM_Kernels.h"
#include "host/vm/VM_Machine.h"

// A program over columns, made ready once for any number of runs: the kernels are chosen, the registers stand,
// constants that a kernel reads as a column are filled. Each lane gets the bits that VM_run gives. Columns have no
// host: a call to it, which can only come first, stands for the inputs.
class VM_ColumnRun {
public:
    VM_ColumnRun() = default;
    explicit VM_ColumnRun(const VM_Program& program);
    VM_ColumnRun(const VM_ColumnRun&) = delete; // the steps point into the memory
    VM_ColumnRun& operator=(const VM_ColumnRun&) = delete;
    VM_ColumnRun(VM_ColumnRun&&) = default;
    VM_ColumnRun& operator=(VM_ColumnRun&&) = default;

    // The lanes of a register. Inputs are written here before a run, which may overwrite them; it leaves the results.
    double* column(uint16_t number) { return myMemory[number * STRIDE].lanes; }
    const double* column(uint16_t number) const { return myMemory[number * STRIDE].lanes; }

    // Runs over the first `lanes` lanes, at most VM_LANES; those behind end up with anything.
    void run(int lanes);

private:
    struct Step {
        VM_Kernel kernel; // null: a jump or the end
        double* to;
        VM_Operand operands[4];
        VM_Instruction instruction;
    };
    struct alignas(64) Line { // vectors that lie across cache lines cost twice
        double lanes[8];
    };

    void place(const VM_Program& program, const VM_Instruction& instruction);

    // Lines from register to register. One more than a power of two: the same lanes of all registers, which an
    // instruction reads together, would otherwise compete for the same few places of the cache.
    static constexpr size_t STRIDE = VM_LANES / 8 + 1;
    std::vector<Line> myMemory;
    std::vector<Step> mySteps;
};
