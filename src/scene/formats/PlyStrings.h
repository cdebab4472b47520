#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace formats {

/// String tables travel in PLY comments, one string each: `strings PROPERTY NUMBER TEXT`, with backslash, line feed and
/// carriage return of the text written as \\, \n and \r.
std::string plyStringComment(std::string_view property, size_t number, std::string_view text);

/// The table of a property; empty when the comments have none (numbers must run from 0 without gaps).
std::vector<std::string> plyStrings(const std::vector<std::string>& comments, std::string_view property);

} // namespace formats
