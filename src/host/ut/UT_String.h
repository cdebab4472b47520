#pragma once

#include <compare>
#include <string>
#include <string_view>
#include <vector>

/// A string that a null `const char*` turns into an empty one. Converts from all text types; read it through
/// c_str() or str().
class UT_String {
public:
    UT_String() = default;
    UT_String(const char* text)
        : myText(text ? text : "") {}
    UT_String(std::string text)
        : myText(std::move(text)) {}
    UT_String(std::string_view text)
        : myText(text) {}

    const char* c_str() const { return myText.c_str(); }
    const std::string& str() const { return myText; }
    operator std::string_view() const { return myText; }
    size_t length() const { return myText.size(); }
    /// True when not empty.
    bool isstring() const { return !myText.empty(); }
    void clear() { myText.clear(); }

    char& operator[](size_t i) { return myText[i]; }
    char operator[](size_t i) const { return myText[i]; }
    UT_String& operator+=(std::string_view text) { return myText += text, *this; }
    UT_String& operator+=(char c) { return myText += c, *this; }
    friend UT_String operator+(UT_String a, std::string_view b) { return a += b; }
    friend bool operator==(const UT_String& a, const UT_String& b) { return a.myText == b.myText; }
    friend bool operator==(const UT_String& a, const char* b) { return a.myText == (b ? b : ""); }
    friend auto operator<=>(const UT_String& a, const UT_String& b) { return a.myText <=> b.myText; }

    /// ASCII letters only, whatever the locale.
    void toUpper();

    /// This text as a whole against one glob (see UTglobMatch).
    bool match(std::string_view glob, bool caseSensitive = true) const;
    /// This text against a list of globs separated by any of `separators`: applied left to right, a match selects, a
    /// match of a pattern with a leading `^` or `!` deselects. An empty list selects nothing.
    bool multiMatch(std::string_view patterns, bool caseSensitive = true, std::string_view separators = " ") const;
    bool multiMatch(std::string_view patterns, bool caseSensitive, char separator) const {
        return multiMatch(patterns, caseSensitive, std::string_view(&separator, 1));
    }

    /// The blank-separated words (space, tab, line ends); past `maxWords` the rest is dropped, negative means all.
    std::vector<std::string> words(int maxWords = -1) const;

private:
    std::string myText;
};

/// The pieces of `text` between any of `separators`, empty pieces left out; the views point into `text`.
std::vector<std::string_view> UTsplit(std::string_view text, std::string_view separators = " \t\r\n");
