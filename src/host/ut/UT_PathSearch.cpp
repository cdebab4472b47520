#include "host/ut/UT_PathSearch.h"

#include <cstdlib>
#include <filesystem>

namespace {

bool isFile(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored);
}

std::string besideExecutable() {
    std::error_code failed;
    const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", failed);
    return failed ? std::string() : (executable.parent_path().parent_path() / "share" / "flx").string();
}

} // namespace

std::vector<std::string> UT_PathSearch::directories() {
    std::vector<std::string> out;
    if (const char* path = std::getenv("FLX_PATH"))
        for (std::string_view part : UTsplit(path, ":")) out.emplace_back(part);
    out.emplace_back(".");
    if (const std::string beside = besideExecutable(); !beside.empty()) out.push_back(beside);
    out.emplace_back(FLX_DATA_DIR);
    return out;
}

bool UT_PathSearch::kestrelFindFile(UT_String& result, const char* name) {
    if (!name || !*name) return false;
    std::vector<std::string> candidates;
    if (*name == '/')
        candidates.emplace_back(name);
    else
        for (const std::string& directory : directories())
            candidates.push_back(directory == "." ? name : directory + '/' + name);
    for (const std::string& path : candidates) {
        if (!isFile(path)) continue;
        result = UT_String(path);
        return true;
    }
    return false;
}
