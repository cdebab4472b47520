#pragma once
#include "host/vm/VM_Kernels.h"
#include "host/vm/VM_Machine.h"

// A program over columns, made ready once for any number of runs: the kernels are chosen, the registers stand,
// constants that a kernel reads as a column are filled. Each lane gets the bits that VM_run gives.
class VM_ColumnRun {
public:
    VM_ColumnRun() = default;
    // With `callsHost`, every constant is there as a column, for the host to read.
    explicit VM_ColumnRun(const VM_Program& program, bool callsHost = false);
    VM_ColumnRun(const VM_ColumnRun&) = delete; // the steps point into the memory
    VM_ColumnRun& operator=(const VM_ColumnRun&) = delete;
    VM_ColumnRun(VM_ColumnRun&&) = default;
    VM_ColumnRun& operator=(VM_ColumnRun&&) = default;

    // The lanes of a register. Inputs are written here before a run, which may overwrite them; it leaves the results.
    double* column(uint16_t number) { return registers() + size_t(number) * myStride; }
    const double* column(uint16_t number) const { return registers() + size_t(number) * myStride; }
    // All registers, as the host gets them.
    double* registers() { return myMemory.empty() ? nullptr : myMemory.front().lanes; }
    const double* registers() const { return myMemory.empty() ? nullptr : myMemory.front().lanes; }

    // Runs over the first `lanes` lanes, at most VM_LANES; those behind end up with anything. False when the host
    // stopped it.
    bool run(VM_Host& host, int lanes = VM_LANES);
    // The same for a program without calls to a host.
    void run(int lanes);

private:
    struct Step {
        VM_Kernel kernel; // null: a jump, a call or the end
        double* to;
        VM_Operand operands[4];
        VM_Instruction instruction;
    };
    struct alignas(64) Line { // vectors that lie across cache lines cost twice
        double lanes[8];
    };

    void place(const VM_Program& program, const VM_Instruction& instruction);

    // Lanes from register to register. Where no host sees it, a line more than a power of two: the same lanes of all
    // registers, which an instruction reads together, would otherwise compete for the same few places of the cache.
    size_t myStride = VM_LANES;
    std::vector<Line> myMemory;
    std::vector<Step> mySteps;
};
