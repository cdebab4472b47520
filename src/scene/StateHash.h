#pragma once

#include <cstdint>
#include <string>

class FLX_ContextData;
class GU_Detail;

/// 64 bits over a detail: attributes by name, type, size and value (index attributes by their strings), points and
/// primitives in order, groups. It does not depend on slot numbers, on the order in which attributes and groups were
/// made, on compiler or CPU. Floats count by their bits.
uint64_t hashDetail(const GU_Detail& detail);

/// The same over a whole simulation: its particles, events, seed, next id and time.
uint64_t hashState(const FLX_ContextData& context);

/// 16 hexadecimal digits.
std::string hashText(uint64_t hash);
