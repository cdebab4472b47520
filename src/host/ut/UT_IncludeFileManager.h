#pragma once

#include <iosfwd>
#include <string>
#include <vector>

/// The files that generated code includes: each once, in the order they were asked for.
class UT_IncludeFileManager {
public:
    /// A name in angle brackets (`<math.h>`) is written as it is, another one in quotes. False when it was there
    /// already, or is empty.
    bool addInclude(const char* name);
    bool isIncluded(const char* name) const;
    size_t entries() const { return myNames.size(); }
    const std::string& operator[](size_t i) const { return myNames[i]; }
    void clear() { myNames.clear(); }
    /// One `#include` line each.
    void write(std::ostream& os) const;

private:
    std::vector<std::string> myNames;
};
