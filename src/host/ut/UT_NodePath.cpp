#include "host/ut/UT_NodePath.h"

#include <algorithm>

#include "host/ut/UT_String.h"

namespace {

using Steps = std::vector<std::string_view>;

// Resolves "." and ".."; false when an absolute path climbs above the root.
bool walk(Steps& at, std::string_view path, bool absolute) {
    for (std::string_view step : UTsplit(path, "/")) {
        if (step == ".") continue;
        if (step != "..")
            at.push_back(step);
        else if (!at.empty() && at.back() != "..")
            at.pop_back();
        else if (absolute)
            return false;
        else
            at.push_back(step);
    }
    return true;
}

std::string assemble(const Steps& steps, bool absolute) {
    std::string out;
    for (std::string_view step : steps) {
        if (absolute || !out.empty()) out += '/';
        out += step;
    }
    return !out.empty() ? out : absolute ? "/" : ".";
}

} // namespace

namespace UT_NodePath {

bool isAbsolute(std::string_view path) { return path.starts_with('/'); }

std::string collapse(std::string_view path) {
    Steps steps;
    const bool absolute = isAbsolute(path);
    return !path.empty() && walk(steps, path, absolute) ? assemble(steps, absolute) : "";
}

std::string join(std::string_view base, std::string_view path) {
    if (path.empty() || isAbsolute(path)) return collapse(path);
    Steps steps;
    const bool absolute = isAbsolute(base);
    return walk(steps, base, absolute) && walk(steps, path, absolute) ? assemble(steps, absolute) : "";
}

std::string parent(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
    const size_t slash = path.rfind('/');
    if (slash == std::string_view::npos || path == "/") return "";
    return std::string(path.substr(0, std::max<size_t>(slash, 1)));
}

std::string_view name(std::string_view path) {
    while (path.ends_with('/')) path.remove_suffix(1);
    return path.substr(path.rfind('/') + 1);
}

std::string getRelativePath(std::string_view from, std::string_view to) {
    Steps a, b;
    if (!isAbsolute(from) || !isAbsolute(to) || !walk(a, from, true) || !walk(b, to, true)) return "";
    const auto [restA, restB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    Steps steps(size_t(a.end() - restA), "..");
    steps.insert(steps.end(), restB, b.end());
    return assemble(steps, false);
}

bool isValidName(std::string_view name) {
    const auto letter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_'; };
    const auto digit = [](char c) { return c >= '0' && c <= '9'; };
    return !name.empty() && letter(name[0]) &&
           std::all_of(name.begin(), name.end(), [&](char c) { return letter(c) || digit(c); });
}

} // namespace UT_NodePath
