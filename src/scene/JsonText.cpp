#include "scene/JsonText.h"

#include <cmath>
#include <cstdint>
#include <fmt/format.h>
#include <iterator>

namespace {

template <class T> void writeNumber(std::string& out, T value) {
    if (std::isnan(value))
        out += "\"nan\"";
    else if (std::isinf(value))
        out += value > 0 ? "\"inf\"" : "\"-inf\"";
    else if (value == 0)
        out += std::signbit(value) ? "-0.0" : "0";
    else
        fmt::format_to(std::back_inserter(out), "{}", value);
}

/// Bytes of the well-formed UTF-8 sequence at the start of text, 0 when there is none.
size_t utf8Length(std::string_view text) {
    const auto byte = [&](size_t i) { return i < text.size() ? static_cast<uint8_t>(text[i]) : uint8_t(0); };
    const auto more = [&](size_t n) {
        for (size_t i = 1; i <= n; ++i)
            if ((byte(i) & 0xc0) != 0x80) return false;
        return true;
    };
    const uint8_t lead = byte(0), next = byte(1);
    if (lead < 0x80) return 1;
    if (lead >= 0xc2 && lead <= 0xdf) return more(1) ? 2 : 0;
    if ((lead & 0xf0) == 0xe0) {
        const bool overlong = lead == 0xe0 && next < 0xa0, surrogate = lead == 0xed && next > 0x9f;
        return more(2) && !overlong && !surrogate ? 3 : 0;
    }
    if (lead >= 0xf0 && lead <= 0xf4) {
        const bool outside = (lead == 0xf0 && next < 0x90) || (lead == 0xf4 && next > 0x8f);
        return more(3) && !outside ? 4 : 0;
    }
    return 0;
}

void escape(std::string& out, char c) {
    switch (c) {
    case '"': out += "\\\""; break;
    case '\\': out += "\\\\"; break;
    case '\n': out += "\\n"; break;
    case '\r': out += "\\r"; break;
    case '\t': out += "\\t"; break;
    default: fmt::format_to(std::back_inserter(out), "\\u{:04x}", static_cast<uint8_t>(c));
    }
}

} // namespace

void JsonText::number(std::string& out, double value) { writeNumber(out, value); }
void JsonText::number(std::string& out, float value) { writeNumber(out, value); }
void JsonText::integer(std::string& out, long long value) { fmt::format_to(std::back_inserter(out), "{}", value); }

void JsonText::string(std::string& out, std::string_view text) {
    out += '"';
    while (!text.empty()) {
        const size_t length = utf8Length(text);
        const char c = text.front();
        if (length == 0)
            out += "\\ufffd";
        else if (length == 1 && (static_cast<uint8_t>(c) < 0x20 || c == '"' || c == '\\' || c == 0x7f))
            escape(out, c);
        else
            out += text.substr(0, length);
        text.remove_prefix(length ? length : 1);
    }
    out += '"';
}
