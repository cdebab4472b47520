#include "host/ut/UT_Cpu.h"

#include <cstdlib>
#include <string_view>

namespace {

bool wanted() {
    const char* cpu = std::getenv("FLX_CPU");
    return !cpu || std::string_view(cpu) != "baseline";
}

} // namespace

#if defined(__x86_64__)
bool UT_Cpu::hasAvx() { return wanted() && __builtin_cpu_supports("avx"); }
bool UT_Cpu::hasAvx2() { return wanted() && __builtin_cpu_supports("avx2"); }
bool UT_Cpu::hasAvx512() {
    return hasAvx2() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
           __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw");
}
#else
bool UT_Cpu::hasAvx() { return false; }
bool UT_Cpu::hasAvx2() { return false; }
bool UT_Cpu::hasAvx512() { return false; }
#endif
