#include "host/vm/VM_Kernels.h"
#include "host/ut/UT_Cpu.h"
#include "host/ut/UT_Noise.h"
#include "host/vm/VM_Formulas.h"
#include "host/vm/VM_Machine.h"
#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

// A result lies on an operand or apart from it, so a loop over lanes has no dependence.
#if defined(__GNUC__) && !defined(__clang__)
#define VM_UNROLL _Pragma("GCC unroll 2")
#define VM_INDEPENDENT _Pragma("GCC ivdep")
#else
#define VM_UNROLL
#define VM_INDEPENDENT
#endif
#define VM_LANE_LOOP(K, N) VM_INDEPENDENT VM_UNROLL for (int K = 0, end = (N) & -VM_LANE_GROUP; K < end; ++K)

namespace {

// The kernels of an operation by which operands are numbers; null where there is none.
using VM_Forms = std::array<VM_Kernel, 8>;

constexpr float PLAIN_NAN = std::numeric_limits<float>::quiet_NaN();

#define VM_SPACE baseline
#define VM_TARGET
#define VM_WIDE 0
#include "host/vm/VM_Kernels.inl"
#undef VM_SPACE
#undef VM_TARGET
#undef VM_WIDE

#if defined(__x86_64__)
#define VM_WIDE 1
#define VM_SPACE avx2
#define VM_TARGET __attribute__((target("avx2")))
#include "host/vm/VM_Kernels.inl"
#undef VM_SPACE
#undef VM_TARGET

#define VM_SPACE avx512
#define VM_TARGET __attribute__((target("avx2,avx512f,avx512dq,avx512vl,avx512bw")))
#include "host/vm/VM_Kernels.inl"
#undef VM_SPACE
#undef VM_TARGET
#undef VM_WIDE
#endif

// ---- operations whose functions have block forms of their own, for every path

#define VM_BLOCK_1(NAME, FUNCTION)                                                                                     \
    void NAME##_0(double* to, const VM_Operand* operands, int n) { UT_Math::FUNCTION(operands[0].column, to, n); }
#define VM_BLOCK_2(NAME, FUNCTION)                                                                                     \
    void NAME##_0(double* to, const VM_Operand* operands, int n) {                                                     \
        UT_Math::FUNCTION(operands[0].column, operands[1].column, to, n);                                              \
    }
VM_BLOCKS_1(VM_BLOCK_1)
VM_BLOCKS_2(VM_BLOCK_2)

void turbulence(double* to, const VM_Operand* operands, int n, int depth) {
    static const UT_Noise theNoise;
    float at[3][VM_LANES];
    for (int a = 0; a < 3; ++a)
        for (int k = 0; k < n; ++k) at[a][k] = float(operands[a].column[k]);
    theNoise.turbulence(at[0], at[1], at[2], n, depth, at[0], 0.5f, 1.0f);
    for (int k = 0; k < n; ++k) to[k] = double(at[0][k]);
}

void Noise_0(double* to, const VM_Operand* operands, int n) { turbulence(to, operands, n, 0); }

void Turb_0(double* to, const VM_Operand* operands, int n) {
    const double *x = operands[0].column, *y = operands[1].column, *z = operands[2].column, *d = operands[3].column;
    for (int k = 0; k < n; ++k) to[k] = VM_turb(x[k], y[k], z[k], d[k]);
}

// A depth for all lanes, as it nearly always is.
void Turb_8(double* to, const VM_Operand* operands, int n) {
    turbulence(to, operands, n, VM_turbDepth(operands[3].number));
}

VM_Kernel blockKernel(VM_Op op, unsigned numbers) {
    if (op == VM_Op::Turb && numbers == 8) return Turb_8;
    if (numbers != 0) return nullptr;
    switch (op) {
#define VM_BLOCK_CASE(NAME, FUNCTION)                                                                                  \
    case VM_Op::NAME: return NAME##_0;
        VM_BLOCKS_1(VM_BLOCK_CASE)
        VM_BLOCKS_2(VM_BLOCK_CASE)
    case VM_Op::Noise: return Noise_0;
    case VM_Op::Turb: return Turb_0;
    default: return nullptr;
    }
}

// ---- the tables

struct Kernels {
    std::array<VM_Forms, size_t(VM_Op::NumOps)> forms;
    int (*fetchGroups)(const VM_Records&, const VM_Field*, size_t, int, int, bool);
    void (*round)(const double*, float*, int);

    Kernels(VM_Forms (*formsOf)(VM_Op), int (*fetch)(const VM_Records&, const VM_Field*, size_t, int, int, bool),
            void (*roundLanes)(const double*, float*, int))
        : forms()
        , fetchGroups(fetch)
        , round(roundLanes) {
        for (size_t i = 0; i < forms.size(); ++i) forms[i] = formsOf(VM_Op(i));
    }
};

const Kernels& kernelsOf(VM_Path path) {
    static const Kernels theBaseline(baseline::formsOf, baseline::fetchGroups, baseline::roundLanes);
#if defined(__x86_64__)
    static const Kernels theAvx2(avx2::formsOf, avx2::fetchGroups, avx2::roundLanes),
        theAvx512(avx512::formsOf, avx512::fetchGroups, avx512::roundLanes);
    if (path == VM_Path::Avx2) return theAvx2;
    if (path == VM_Path::Avx512) return theAvx512;
#endif
    return theBaseline;
}

bool hasPath(VM_Path path) {
    if (path == VM_Path::Avx2) return UT_Cpu::supportsAvx2();
    if (path == VM_Path::Avx512) return UT_Cpu::supportsAvx512();
    return true;
}

VM_Path firstPath() {
    const char* text = std::getenv("FLX_VECTORS");
    const std::string_view wanted = text ? text : "";
    if (wanted == "baseline") return VM_Path::Baseline;
    if (wanted != "avx2" && UT_Cpu::hasAvx512()) return VM_Path::Avx512;
    return UT_Cpu::hasAvx2() ? VM_Path::Avx2 : VM_Path::Baseline;
}

std::atomic<VM_Path>& currentPath() {
    static std::atomic<VM_Path> thePath{firstPath()};
    return thePath;
}

std::atomic<const Kernels*>& currentKernels() {
    static std::atomic<const Kernels*> theKernels{&kernelsOf(currentPath())};
    return theKernels;
}

// Reads each cache line of records in a row once, in order: what fetches from memory ahead of time recognises that,
// while a few reads here and there, each with a step of its own, take up to twice as long.
void touchLines(const VM_Records& records, int from, int to) {
    const volatile char* const end = records.first + size_t(to) * records.stride;
    for (const volatile char* at = records.first + size_t(from) * records.stride; at < end; at += 64)
        static_cast<void>(*at);
}

void fetchOne(const char* record, const VM_Field& field, int k) {
    uint32_t bits;
    std::memcpy(&bits, record + field.offset, sizeof bits);
    if (field.kind == VM_Field::Float)
        field.to[k] = double(std::bit_cast<float>(bits));
    else if (field.kind == VM_Field::Int)
        field.to[k] = double(float(int32_t(bits)));
    else
        field.to[k] = bits & field.mask ? 1 : 0;
}

} // namespace

VM_Path VM_path() { return currentPath(); }

bool VM_setPath(VM_Path path) {
    if (!hasPath(path)) return false;
    currentPath() = path;
    currentKernels() = &kernelsOf(path);
    return true;
}

VM_Kernel VM_kernel(VM_Op op, unsigned numbers) {
    if (numbers < 8)
        if (VM_Kernel kernel = currentKernels().load(std::memory_order_relaxed)->forms[size_t(op)][numbers])
            return kernel;
    return blockKernel(op, numbers);
}

void VM_fetch(const VM_Records& records, const VM_Field* fields, size_t numFields) {
    const auto fetchGroups = currentKernels().load(std::memory_order_relaxed)->fetchGroups;
    // Many fields read most lines themselves, and their operations last longer: where it was measured, from four on.
    const bool row = records.fromMemory && !records.pointers, touches = row && records.stride >= 24 * numFields;
    const int slice = touches ? 32 : records.count;
    for (int from = 0; from < records.count; from += slice) {
        const int to = std::min(from + slice, records.count);
        if (touches) touchLines(records, from, to);
        for (int k = fetchGroups(records, fields, numFields, from, to, row && !touches); k < to; ++k) {
            const char* record = records.pointers ? records.pointers[k] : records.first + size_t(k) * records.stride;
            for (size_t i = 0; i < numFields; ++i) fetchOne(record, fields[i], k);
        }
    }
}

void VM_roundToFloats(const double* from, float* to, int n) {
    currentKernels().load(std::memory_order_relaxed)->round(from, to, n);
}
