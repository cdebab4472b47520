#pragma once

/// Which instruction sets the library's own wide loops may use. They give the same bits as the baseline's; an
/// environment variable FLX_CPU with the value "baseline" switches them off, for what has to run the same instructions
/// everywhere.
namespace UT_Cpu {
bool hasAvx();
bool hasAvx2();
/// The foundation and its extensions VL, DQ and BW.
bool hasAvx512();
} // namespace UT_Cpu
