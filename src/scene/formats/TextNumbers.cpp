#include "scene/formats/TextNumbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace formats {
namespace {

std::string_view withoutPlus(std::string_view text) {
    const bool plus = text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+';
    return plus ? text.substr(1) : text;
}

/// What a number too large or too small for its type becomes.
template <class T> T beyondRange(std::string_view text) {
    const bool negative = text.front() == '-';
    const size_t e = text.find_first_of("eE");
    const bool tiny = e == std::string_view::npos ? text.find('.') <= 2 : text.find('-', e) != std::string_view::npos;
    const T size = tiny ? T(0) : std::numeric_limits<T>::infinity();
    return negative ? -size : size;
}

template <class T> bool parseReal(std::string_view text, T& value) {
    text = withoutPlus(text);
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (end != text.data() + text.size() || code == std::errc::invalid_argument) return false;
    if (code == std::errc::result_out_of_range) value = beyondRange<T>(text);
    return true;
}

} // namespace

bool parseFloat(std::string_view text, float& value) { return parseReal(text, value); }
bool parseDouble(std::string_view text, double& value) { return parseReal(text, value); }

bool parseInteger(std::string_view text, int64_t& value) {
    text = withoutPlus(text);
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), value);
    return code == std::errc() && end == text.data() + text.size();
}

void appendFloat(std::string& out, float value) {
    if (std::isnan(value)) {
        out += "nan";
        return;
    }
    char digits[32];
    out.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

void appendInteger(std::string& out, int64_t value) {
    char digits[24];
    out.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

size_t lineOf(std::string_view text, size_t offset) {
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(offset, text.size()));
    return 1 + static_cast<size_t>(std::count(text.begin(), end, '\n'));
}

std::string excerpt(std::string_view text) {
    constexpr size_t LONGEST = 40;
    std::string out = "\"";
    for (const char c : text.substr(0, LONGEST))
        out += static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) >= 0x7f ? '?' : c;
    return out + (text.size() > LONGEST ? "...\"" : "\"");
}

} // namespace formats
