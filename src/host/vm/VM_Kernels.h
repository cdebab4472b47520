#pragma once
#include "host/vm/VM_Op.h"
#include <cstddef>

// One operand of an operation over lanes: a column, or one number for all lanes.
struct VM_Operand {
    const double* column;
    double number;
};

// to[k] = operation of the operands' lane k, for k < lanes, a multiple of VM_LANE_GROUP; `to` may be one of the
// columns.
using VM_Kernel = void (*)(double* to, const VM_Operand* operands, int lanes);

constexpr int VM_LANE_GROUP = 8;

// The code for an operation of which the operands in `numbers` (bit i: operand i) are numbers, the others columns. Null
// where there is none for that combination: with `numbers` = 0 there always is one for an operation with operands.
VM_Kernel VM_kernel(VM_Op op, unsigned numbers);

// Where records lie: at `pointers`, or, when that is null, `stride` bytes apart from `first` on.
struct VM_Records {
    const char* const* pointers;
    const char* first;
    size_t stride;
    int count;
    bool fromMemory = false; // they hardly lie in a cache
};

// A 4-byte field of a record as a column of doubles.
struct VM_Field {
    enum Kind : int { Float, Int, Bit }; // Int: as float; Bit: 1 when a bit of `mask` is set, else 0
    ptrdiff_t offset = 0;                // from the record's start
    Kind kind = Float;
    uint32_t mask = 0;
    double* to = nullptr;
};

// Fetches fields from all records.
void VM_fetch(const VM_Records& records, const VM_Field* fields, size_t numFields);

// Values rounded to float, NaN to the one without sign and payload.
void VM_roundToFloats(const double* from, float* to, int n);

// The sets of instructions that kernels are compiled for; all give the same bits. The best one that the processor has
// (and UT_Cpu allows) is used, unless the environment variable FLX_VECTORS ("baseline", "avx2") names a lesser one.
enum class VM_Path { Baseline, Avx2, Avx512 };
VM_Path VM_path();
// Uses another one from now on, for tests. False, and nothing changed, when the processor does not have it.
bool VM_setPath(VM_Path path);
