#include "host/ut/UT_String.h"

#include <algorithm>

#include "host/ut/UT_PatternMatch.h"

void UT_String::toUpper() {
    for (char& c : myText)
        if (c >= 'a' && c <= 'z') c = char(c - 'a' + 'A');
}

bool UT_String::match(std::string_view glob, bool caseSensitive) const {
    return UTglobMatch(glob, myText, caseSensitive);
}

bool UT_String::multiMatch(std::string_view patterns, bool caseSensitive, std::string_view separators) const {
    bool selected = false;
    for (std::string_view pattern : UTsplit(patterns, separators)) {
        const bool removes = pattern[0] == '^' || pattern[0] == '!';
        if (selected == removes && UTglobMatch(pattern.substr(removes), myText, caseSensitive)) selected = !removes;
    }
    return selected;
}

std::vector<std::string> UT_String::words(int maxWords) const {
    std::vector<std::string> out;
    for (std::string_view word : UTsplit(myText)) {
        if (maxWords >= 0 && out.size() >= size_t(maxWords)) break;
        out.emplace_back(word);
    }
    return out;
}

std::vector<std::string_view> UTsplit(std::string_view text, std::string_view separators) {
    std::vector<std::string_view> out;
    for (size_t at = text.find_first_not_of(separators); at != std::string_view::npos;) {
        const size_t end = std::min(text.find_first_of(separators, at), text.size());
        out.push_back(text.substr(at, end - at));
        at = text.find_first_not_of(separators, end);
    }
    return out;
}
