#include "core/FLX_Attributes.h"

#include <algorithm>
#include <bit>

namespace {

constexpr uint32_t bitsOf(double v) { return std::bit_cast<uint32_t>(float(v)); }

constexpr FLX_AttribDefault NONE{};
constexpr FLX_AttribDefault F1(double a) { return {true, {bitsOf(a)}}; }
constexpr FLX_AttribDefault F2(double a, double b) { return {true, {bitsOf(a), bitsOf(b)}}; }
constexpr FLX_AttribDefault F3(double a, double b, double c) { return {true, {bitsOf(a), bitsOf(b), bitsOf(c)}}; }
constexpr FLX_AttribDefault F4(double a, double b, double c, double d) {
    return {true, {bitsOf(a), bitsOf(b), bitsOf(c), bitsOf(d)}};
}
constexpr FLX_AttribDefault I1(int a) { return {true, {uint32_t(a)}}; }

} // namespace

#define FLX_ATTRIBUTE_ROW(stem, name, type, components, def)                                                           \
    FLX_AttribRow{#stem, name, GB_AttribType::type, 4 * components, def},
const std::array<FLX_AttribRow, size_t(FLX_NUM_ATTRIBS)> FLX_AttribRows{{FLX_ATTRIBUTES(FLX_ATTRIBUTE_ROW)}};
#undef FLX_ATTRIBUTE_ROW

// clang-format off
const std::array<FLX_CoreRow, 5> FLX_CoreRows{{
    {&FLX_CoreOffsets::velocity,  "v",         GB_ATTRIB_VECTOR, 12, NONE},
    {&FLX_CoreOffsets::accel,     "accel",     GB_ATTRIB_VECTOR, 12, NONE},
    {&FLX_CoreOffsets::life,      "life",      GB_ATTRIB_FLOAT,   8, NONE},
    {&FLX_CoreOffsets::state,     "pstate",    GB_ATTRIB_INT,     4, NONE},
    {&FLX_CoreOffsets::backtrack, "backtrack", GB_ATTRIB_RAW,    16, F4(0, 0, 0, -1)},
}};
// clang-format on

bool FLXisStandardAttrib(std::string_view name) {
    const auto isNamed = [name](const auto& row) { return name == row.name; };
    return name == "P" || std::any_of(FLX_CoreRows.begin(), FLX_CoreRows.end(), isNamed) ||
           std::any_of(FLX_AttribRows.begin(), FLX_AttribRows.end(), isNamed);
}
