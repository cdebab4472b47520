#include "scene/formats/ObjParser.h"

#include "scene/formats/FormatError.h"
#include "scene/formats/GroupNames.h"
#include "scene/formats/TextNumbers.h"

#include <algorithm>
#include <fmt/format.h>

namespace formats {
namespace {

constexpr size_t MAX_GROUPS_PER_LINE = 64; ///< keeps a short line from putting every later face into countless groups

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

void split(std::string_view line, std::vector<std::string_view>& words) {
    words.clear();
    size_t at = 0;
    while (at < line.size()) {
        if (isBlank(line[at])) {
            ++at;
            continue;
        }
        const size_t first = at;
        while (at < line.size() && !isBlank(line[at])) ++at;
        words.push_back(line.substr(first, at - first));
    }
}

bool isKeyword(std::string_view word) {
    return std::all_of(word.begin(), word.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
    });
}

} // namespace

void ObjParser::fail(const std::string& text) const { throw FormatError(fmt::format("line {}: {}", myLine, text)); }

ObjData ObjParser::parse() {
    myData.groupSets.emplace_back();
    std::string_view line;
    Words words;
    while (nextLine(line)) {
        split(line.substr(0, line.find('#')), words);
        if (!words.empty()) statement(words);
    }
    if (myData.points.empty()) throw FormatError("holds no v lines, so no points; is it an OBJ file?");
    return std::move(myData);
}

/// A line that ends with a backslash goes on in the next one.
bool ObjParser::nextLine(std::string_view& line) {
    if (myAt >= myText.size()) return false;
    myLine = myLinesRead + 1;
    myJoined.clear();
    for (;;) {
        const size_t end = std::min(myText.find('\n', myAt), myText.size());
        line = myText.substr(myAt, end - myAt);
        myAt = end + 1;
        ++myLinesRead;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        const bool goesOn = !line.empty() && line.back() == '\\';
        if (!goesOn && myJoined.empty()) return true;
        myJoined.append(line.substr(0, line.size() - goesOn)).push_back(' ');
        if (!goesOn || myAt >= myText.size()) break;
    }
    line = myJoined;
    return true;
}

void ObjParser::statement(const Words& words) {
    const std::string_view key = words[0];
    if (key == "v")
        position(words);
    else if (key == "vt")
        myData.uvs.push_back(triple(words, 1));
    else if (key == "vn")
        myData.normals.push_back(triple(words, 3));
    else if (key == "f" || key == "fo")
        element(words, true);
    else if (key == "l")
        element(words, false);
    else if (key == "p")
        for (size_t i = 1; i < words.size(); ++i) corner(words[i]);
    else if (key == "g")
        setGroups(words, myNamed);
    else if (key == "o")
        setGroups(words, myObject);
    else if (!isKeyword(key))
        fail(fmt::format("{} is no OBJ statement", excerpt(key)));
}

void ObjParser::position(const Words& words) {
    // A fourth number is the weight of rational curves and means nothing for points and faces.
    const size_t n = words.size() - 1;
    if (n != 3 && n != 4 && n != 6 && n != 7) fail(fmt::format("v with {} numbers; it takes 3, or 6 with a colour", n));
    myData.points.push_back(triple(words, 3));
    if (n < 6) {
        if (!myData.colours.empty()) myData.colours.emplace_back(1.0f, 1.0f, 1.0f);
        return;
    }
    myData.colours.resize(myData.points.size() - 1, UT_Vector3(1, 1, 1));
    myData.colours.emplace_back(number(words[4]), number(words[5]), number(words[6]));
}

void ObjParser::element(const Words& words, bool closed) {
    if (words.size() < 2) fail(fmt::format("{} without corners", words[0]));
    const size_t first = myData.corners.size();
    for (size_t i = 1; i < words.size(); ++i) myData.corners.push_back(corner(words[i]));
    myData.elements.push_back({first, words.size() - 1, myLine, currentGroupSet(), closed});
}

ObjCorner ObjParser::corner(std::string_view word) const {
    const size_t slash = word.find('/');
    const std::string_view rest = slash == std::string_view::npos ? std::string_view() : word.substr(slash + 1);
    const size_t second = rest.find('/');
    const std::string_view uv = rest.substr(0, second);
    const std::string_view normal = second == std::string_view::npos ? std::string_view() : rest.substr(second + 1);
    ObjCorner out;
    out.point = reference(word.substr(0, slash), myData.points.size(), "v");
    if (!uv.empty()) out.uv = reference(uv, myData.uvs.size(), "vt");
    if (!normal.empty()) out.normal = reference(normal, myData.normals.size(), "vn");
    return out;
}

/// Negative numbers count back from the latest line of that kind.
int64_t ObjParser::reference(std::string_view word, size_t count, const char* what) const {
    int64_t n = 0;
    if (!parseInteger(word, n)) fail(fmt::format("{} is no number of a {} line", excerpt(word), what));
    if (n == 0) fail(fmt::format("{} number 0; they start at 1", what));
    if (n > 0) return n - 1;
    if (n < -static_cast<int64_t>(count)) fail(fmt::format("{} number {}, but only {} come before it", what, n, count));
    return static_cast<int64_t>(count) + n;
}

float ObjParser::number(std::string_view word) const {
    float value = 0;
    if (!parseFloat(word, value)) fail(fmt::format("{} is no number", excerpt(word)));
    return value;
}

UT_Vector3 ObjParser::triple(const Words& words, size_t least) const {
    if (words.size() <= least) fail(fmt::format("{} with {} numbers; it takes {}", words[0], words.size() - 1, least));
    UT_Vector3 value(0, 0, 0);
    for (size_t i = 0; i < 3 && i + 1 < words.size(); ++i) value[static_cast<int>(i)] = number(words[i + 1]);
    return value;
}

void ObjParser::setGroups(const Words& words, std::vector<size_t>& kind) {
    if (words.size() > MAX_GROUPS_PER_LINE)
        fail(fmt::format("{} groups on one line; the limit is {}", words.size() - 1, MAX_GROUPS_PER_LINE));
    kind.clear();
    for (size_t i = 1; i < words.size(); ++i) kind.push_back(groupNumber(words[i]));
    myGroupsChanged = true;
}

size_t ObjParser::groupNumber(std::string_view name) {
    const auto [it, fresh] = myGroupNumbers.try_emplace(groupNameFrom(name), myData.groups.size());
    if (fresh) myData.groups.push_back(it->first);
    return it->second;
}

size_t ObjParser::currentGroupSet() {
    if (myGroupsChanged) {
        std::vector<size_t> all = myNamed;
        all.insert(all.end(), myObject.begin(), myObject.end());
        myData.groupSets.push_back(std::move(all));
        myGroupsChanged = false;
    }
    return myData.groupSets.size() - 1;
}

} // namespace formats
