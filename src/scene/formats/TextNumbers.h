#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace formats {

/// The whole text as a number, independent of the locale; a leading plus, "nan" and "inf" are fine. Values beyond the
/// range of float become infinite or 0. False when the text is no number.
bool parseFloat(std::string_view text, float& value);
bool parseDouble(std::string_view text, double& value);
bool parseInteger(std::string_view text, int64_t& value);

/// Appends the shortest digits that read back as the same float; "nan", "inf" and "-inf" for the others.
void appendFloat(std::string& out, float value);
void appendInteger(std::string& out, int64_t value);

/// 1-based line that the byte at `offset` lies in.
size_t lineOf(std::string_view text, size_t offset);
/// A short piece of foreign text for an error line: cut, quoted, without control characters.
std::string excerpt(std::string_view text);

} // namespace formats
