#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The name most like a mistyped word, for "did you mean ...?": fewest edits (insert, delete, change, swap neighbours),
/// then fewest differences in case, then one that starts with the word, then the first. Empty when nothing comes within
/// a third of the word's length or one edit.
std::string nearestName(std::string_view word, const std::vector<std::string>& names);
