#include "host/expr/EV_Number.h"
#include <charconv>
#include <cmath>
#include <limits>

int EV_toInt(double value) {
    using Limits = std::numeric_limits<int>;
    if (std::isnan(value)) return 0;
    if (value >= double(Limits::max())) return Limits::max();
    if (value <= double(Limits::min())) return Limits::min();
    return int(value);
}

template <class T> static std::string shortest(T value) {
    char buffer[64];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    return std::string(buffer, end);
}

std::string EV_numberText(double value) {
    constexpr double WHOLE = 1e15; // below, every whole number is exact
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    if (value == std::trunc(value) && std::fabs(value) < WHOLE) return shortest((long long)(value));
    if (std::fabs(value) <= double(std::numeric_limits<float>::max()) && double(float(value)) == value)
        return shortest(float(value));
    return shortest(value);
}

static bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Of a number that no double can hold: is it too large rather than too small? True if its first digit stands for a
// power of ten above zero.
static bool isHuge(std::string_view text) {
    const size_t mantissa = text.find_first_of("eE");
    const std::string_view digits = text.substr(0, mantissa);
    const size_t first = digits.find_first_of("123456789");
    if (first == digits.npos) return false;
    const size_t point = std::min(digits.find('.'), digits.size());
    double power = double(point) - double(first);
    if (mantissa != text.npos) {
        std::string_view exponent = text.substr(mantissa + 1);
        const bool negative = exponent[0] == '-';
        if (negative || exponent[0] == '+') exponent.remove_prefix(1);
        double size = 0;
        for (char c : exponent) size = size * 10 + (c - '0');
        power += negative ? -size : size;
    }
    return power > 0;
}

size_t EV_parseNumber(std::string_view text, double& value) {
    const bool starts = !text.empty() && (isDigit(text[0]) || (text.size() > 1 && text[0] == '.' && isDigit(text[1])));
    if (!starts) return 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const size_t length = size_t(end - text.data());
    if (error == std::errc::result_out_of_range)
        value = isHuge(text.substr(0, length)) ? std::numeric_limits<double>::infinity() : 0;
    return length;
}
