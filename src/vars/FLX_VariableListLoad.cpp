#include <cstdlib>
#include <fstream>
#include <sstream>

#include "host/ut/UT_PathSearch.h"
#include "vars/FLX_VariableList.h"

namespace {

constexpr size_t MAX_TOKENS = 256;
constexpr const char* BLANKS = " \t\n";

/// A line of a table file, split at blanks.
struct Line {
    explicit Line(const std::string& text) {
        size_t at = text.find_first_not_of(BLANKS);
        while (at != text.npos && tokens.size() < MAX_TOKENS) {
            const size_t end = std::min(text.find_first_of(BLANKS, at), text.size());
            tokens.push_back(text.substr(at, end - at));
            if (tokens.size() == 4) rest = text.substr(at);
            at = text.find_first_not_of(BLANKS, end);
        }
    }
    const char* operator[](size_t i) const { return i < tokens.size() ? tokens[i].c_str() : nullptr; }
    int number(size_t i) const { return i < tokens.size() ? std::atoi(tokens[i].c_str()) : 1; }
    const char* restOrNull() const { return tokens.size() < 4 ? nullptr : rest.c_str(); }

    std::vector<std::string> tokens;
    std::string rest; // from the fourth token on, blanks included
};

bool readWhole(const char* file, std::string& text) {
    UT_String path;
    if (!UT_PathSearch::kestrelFindFile(path, file)) return false;
    std::ifstream in(path.c_str(), std::ios::binary);
    std::ostringstream whole;
    if (!in || !(whole << in.rdbuf())) return false;
    text = whole.str();
    return !text.empty();
}

} // namespace

int FLX_VariableList::load(const char* file) {
    std::string text;
    if (!readWhole(file, text)) return -1;
    for (const std::string_view line : UTsplit(text, "\r\n"))
        if (line.front() != '#') loadLine(std::string(line));
    return 0;
}

void FLX_VariableList::loadLine(const std::string& text) {
    const Line line(text);
    if (line.tokens.size() < 2) return;
    const std::string& keyword = line.tokens[0];
    if (keyword == "attribute")
        addAttribute(line[1], line[2], line.number(3));
    else if (keyword == "access")
        addAccess(line[1], line[2], line[3], line[4], line.number(5));
    else if (keyword == "variable")
        addVariable(line[1], line[2], line.restOrNull(), 1);
    else if (keyword == "func")
        addFuncXlate(line[1], line[2], line.restOrNull());
}
