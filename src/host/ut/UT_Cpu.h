#pragma once

/// Which instruction sets the library's own wide loops may use. They give the same bits as the baseline's; an
/// environment variable FLX_CPU with the value "baseline" switches them off, for what has to run the same instructions
/// everywhere; "avx2" the wider ones only.
namespace UT_Cpu {
bool hasAvx();
bool hasAvx2();
/// The foundation and its extensions VL, DQ and BW.
bool hasAvx512();
/// What the processor has, whatever FLX_CPU says.
bool supportsAvx2();
bool supportsAvx512();
} // namespace UT_Cpu
