#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace formats {

/// String tables travel in PLY comments, one string each: `strings PROPERTY NUMBER TEXT`, with backslash, line feed and
/// carriage return of the text written as \\, \n and \r.
std::string plyStringComment(std::string_view property, size_t number, std::string_view text);

/// The tables that the comments of a header hold.
class PlyStrings {
public:
    explicit PlyStrings(const std::vector<std::string>& comments);
    /// The table of a property; empty when there is none. Strings count while their numbers run from 0 without gaps.
    std::vector<std::string> of(const std::string& property) const;

private:
    void add(std::string_view comment);
    std::unordered_map<std::string, std::vector<std::string>> myTables; ///< only asked, never walked
};

} // namespace formats
