#include "host/node/OP_PreDefRules.h"

#include <fstream>
#include <sstream>

#include "host/node/PRM_Template.h"
#include "host/ut/UT_ErrorTable.h"
#include "host/ut/UT_PathSearch.h"

namespace {

constexpr const char* theFileName = "predefined.rules";

// theBuiltIn: the text of predefined.rules beside this file, which is installed too.
#include "host/node/OP_BuiltInRules.inl"

std::string_view trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

using Rules = std::vector<std::pair<const char*, std::string>>;

/// Reads one set out of a rules text.
class Reader {
public:
    Reader(std::string_view set, std::string source)
        : mySet(set)
        , mySource(std::move(source)) {}

    /// False when the text does not have the set.
    bool read(std::istream& in, Rules& rules) {
        std::string line;
        for (int number = 1; std::getline(in, line); ++number) take(trimmed(line), number, rules);
        return myFound;
    }

private:
    void take(std::string_view line, int number, Rules& rules) {
        if (line.empty() || line[0] == '#') return;
        if (line.front() == '[' && line.back() == ']') {
            myInside = line.substr(1, line.size() - 2) == mySet;
            myFound |= myInside;
            return;
        }
        if (!myInside) return;
        const size_t colon = line.find(':');
        const std::string_view name = trimmed(line.substr(0, colon));
        const std::string_view rule = colon == std::string_view::npos ? "" : trimmed(line.substr(colon + 1));
        if (name.empty() || rule.empty())
            warn(number);
        else
            rules.emplace_back(PRMpermanentText(name), rule);
    }
    void warn(int number) const {
        const std::string text = mySource + ":" + std::to_string(number) + ": expected \"name: expression\"";
        UTaddWarning("OP", OP_ERR_FILE, text.c_str());
    }

    std::string_view mySet;
    std::string mySource;
    bool myInside = false;
    bool myFound = false;
};

bool readFile(const char* set, Rules& rules) {
    UT_String path;
    if (!UT_PathSearch::kestrelFindFile(path, theFileName)) return false;
    std::ifstream in(path.c_str());
    return in && Reader(set, path.str()).read(in, rules);
}

} // namespace

OP_PreDefRules::OP_PreDefRules(const char* set) {
    if (!set || readFile(set, myRules)) return;
    std::istringstream in(theBuiltIn);
    Reader(set, theFileName).read(in, myRules);
}
