#include "host/ut/UT_IncludeFileManager.h"

#include <algorithm>
#include <ostream>

bool UT_IncludeFileManager::isIncluded(const char* name) const {
    return name && std::find(myNames.begin(), myNames.end(), name) != myNames.end();
}

bool UT_IncludeFileManager::addInclude(const char* name) {
    if (!name || !*name || isIncluded(name)) return false;
    myNames.emplace_back(name);
    return true;
}

void UT_IncludeFileManager::write(std::ostream& os) const {
    for (const std::string& name : myNames) {
        const char* quote = name.front() == '<' ? "" : "\"";
        os << "#include " << quote << name << quote << '\n';
    }
}
