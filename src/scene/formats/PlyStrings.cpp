#include "scene/formats/PlyStrings.h"

#include <fmt/format.h>

namespace formats {
namespace {

std::string unescape(std::string_view text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            out += text[i];
            continue;
        }
        const char c = text[++i];
        out += c == 'n' ? '\n' : c == 'r' ? '\r' : c;
    }
    return out;
}

} // namespace

std::string plyStringComment(std::string_view property, size_t number, std::string_view text) {
    std::string out = fmt::format("strings {} {} ", property, number);
    for (const char c : text) {
        if (c == '\\' || c == '\n' || c == '\r') out += '\\';
        out += c == '\n' ? 'n' : c == '\r' ? 'r' : c;
    }
    return out;
}

std::vector<std::string> plyStrings(const std::vector<std::string>& comments, std::string_view property) {
    std::vector<std::string> strings;
    for (const std::string& comment : comments) {
        const std::string start = fmt::format("strings {} {} ", property, strings.size());
        if (comment.compare(0, start.size(), start) == 0)
            strings.push_back(unescape(std::string_view(comment).substr(start.size())));
    }
    return strings;
}

} // namespace formats
