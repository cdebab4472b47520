#pragma once

#include <string_view>

/// Matches a whole text against a glob: `*` any run, `?` any one character, `[a-z]` one of a set, `[!a-z]` or `[^a-z]`
/// none of it; `]` first in a set is a member; a `[` that is never closed stands for itself. Never recursive: time is
/// at most text length × pattern length.
bool UTglobMatch(std::string_view pattern, std::string_view text, bool caseSensitive = true);

/// True if the text holds one of `*?[`, so that it selects by pattern instead of by name.
bool UThasWildcard(std::string_view text);
