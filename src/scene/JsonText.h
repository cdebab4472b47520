#pragma once

#include <string>
#include <string_view>

/// Pieces of JSON text, appended to a string.
namespace JsonText {

/// The shortest decimal that reads back to the same number; NaN and the infinities become the texts "nan", "inf" and
/// "-inf", minus zero -0.0.
void number(std::string& out, double value);
void number(std::string& out, float value);
void integer(std::string& out, long long value);
/// With quotes; control characters and what is no UTF-8 are escaped, so the result is always valid JSON.
void string(std::string& out, std::string_view text);

} // namespace JsonText
