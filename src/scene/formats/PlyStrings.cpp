#include "scene/formats/PlyStrings.h"

#include "scene/formats/TextNumbers.h"

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

/// Cuts the word before the next blank off the front; false when there is no blank.
bool cutWord(std::string_view& rest, std::string_view& word) {
    const size_t blank = rest.find(' ');
    if (blank == std::string_view::npos) return false;
    word = rest.substr(0, blank);
    rest.remove_prefix(blank + 1);
    return true;
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

PlyStrings::PlyStrings(const std::vector<std::string>& comments) {
    for (const std::string& comment : comments) add(comment);
}

void PlyStrings::add(std::string_view rest) {
    std::string_view key, property, number;
    if (!cutWord(rest, key) || key != "strings" || !cutWord(rest, property) || !cutWord(rest, number)) return;
    int64_t n = -1;
    if (!parseInteger(number, n) || n < 0) return;
    std::vector<std::string>& table = myTables[std::string(property)];
    if (static_cast<size_t>(n) == table.size()) table.push_back(unescape(rest));
}

std::vector<std::string> PlyStrings::of(const std::string& property) const {
    const auto it = myTables.find(property);
    return it == myTables.end() ? std::vector<std::string>() : it->second;
}

} // namespace formats
