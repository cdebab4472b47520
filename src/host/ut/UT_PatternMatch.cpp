#include "host/ut/UT_PatternMatch.h"

namespace {

char folded(char c, bool caseSensitive) { return !caseSensitive && c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

// End of the set that starts at pattern[at] == '[' (one past its ']'), or `at` when it is never closed.
size_t setEnd(std::string_view pattern, size_t at) {
    size_t i = at + 1;
    if (i < pattern.size() && (pattern[i] == '!' || pattern[i] == '^')) ++i;
    const size_t close = pattern.find(']', i + 1); // a ']' in first place is a member
    return close == std::string_view::npos ? at : close + 1;
}

// `set` is the text between the brackets.
bool inSet(std::string_view set, char c, bool caseSensitive) {
    const bool negated = set[0] == '!' || set[0] == '^';
    bool found = false;
    for (size_t i = negated; i < set.size(); ++i) {
        const char first = folded(set[i], caseSensitive);
        char last = first;
        if (i + 2 < set.size() && set[i + 1] == '-') last = folded(set[i += 2], caseSensitive);
        found |= first <= c && c <= last;
    }
    return found != negated;
}

// Length of the pattern's element at `at` (not a star) if it matches c, else 0.
size_t matchOne(std::string_view pattern, size_t at, char c, bool caseSensitive) {
    if (pattern[at] == '?') return 1;
    const char folding = folded(c, caseSensitive);
    if (pattern[at] == '[')
        if (const size_t end = setEnd(pattern, at); end != at)
            return inSet(pattern.substr(at + 1, end - at - 2), folding, caseSensitive) ? end - at : 0;
    return folded(pattern[at], caseSensitive) == folding;
}

} // namespace

// Only the last star can still take more text: a later star matches whatever an earlier one could have reached.
bool UTglobMatch(std::string_view pattern, std::string_view text, bool caseSensitive) {
    size_t p = 0, t = 0, afterStar = std::string_view::npos, starText = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            afterStar = ++p, starText = t;
            continue;
        }
        const size_t used = p < pattern.size() ? matchOne(pattern, p, text[t], caseSensitive) : 0;
        if (used) {
            p += used, ++t;
        } else {
            if (afterStar == std::string_view::npos) return false;
            p = afterStar, t = ++starText;
        }
    }
    return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

bool UThasWildcard(std::string_view text) { return text.find_first_of("*?[") != std::string_view::npos; }
