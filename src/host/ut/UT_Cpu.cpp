#include "host/ut/UT_Cpu.h"

#include <cstdlib>
#include <string_view>

namespace {

[[maybe_unused]] bool limitedTo(std::string_view name) {
    const char* cpu = std::getenv("FLX_CPU");
    return cpu && cpu == name;
}

} // namespace

#if defined(__x86_64__)
bool UT_Cpu::supportsAvx2() { return __builtin_cpu_supports("avx2"); }
bool UT_Cpu::supportsAvx512() {
    return supportsAvx2() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
           __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw");
}
bool UT_Cpu::hasAvx() { return !limitedTo("baseline") && __builtin_cpu_supports("avx"); }
#else
bool UT_Cpu::supportsAvx2() { return false; }
bool UT_Cpu::supportsAvx512() { return false; }
bool UT_Cpu::hasAvx() { return false; }
#endif

bool UT_Cpu::hasAvx2() { return !limitedTo("baseline") && supportsAvx2(); }
bool UT_Cpu::hasAvx512() { return hasAvx2() && !limitedTo("avx2") && supportsAvx512(); }
