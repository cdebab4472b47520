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

bool FLXisStandardAttrib(std::string_view name) {
    for (const std::string_view core : {"P", "v", "accel", "life", "pstate", "backtrack"})
        if (name == core) return true;
    return std::any_of(FLX_AttribRows.begin(), FLX_AttribRows.end(), [&](const auto& row) { return name == row.name; });
}
