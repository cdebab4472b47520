#pragma once

#include <string>
#include <utility>
#include <vector>

/// A named set of predefined rules: expressions that a menu offers by name. The sets stand in the file
/// "predefined.rules" of the search path; a set that the file does not have, or all when there is no such file, is the
/// built-in one. The file is text: `[set]` starts a set, `name: expression` is a rule, `#` starts a comment line.
class OP_PreDefRules {
public:
    /// An unknown set is empty. A line that cannot be read is skipped with a warning in the thread's global list.
    explicit OP_PreDefRules(const char* set);

    int entries() const { return int(myRules.size()); }
    /// Lives as long as the process.
    const char* getName(int i) const { return myRules[size_t(i)].first; }
    const std::string& getString(int i) const { return myRules[size_t(i)].second; }

private:
    std::vector<std::pair<const char*, std::string>> myRules;
};
