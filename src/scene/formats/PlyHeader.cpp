#include "scene/formats/PlyHeader.h"

#include "scene/formats/FormatError.h"
#include "scene/formats/TextNumbers.h"

#include <algorithm>
#include <fmt/format.h>

namespace formats {
namespace {

constexpr size_t MAX_ELEMENTS = 256;
constexpr size_t MAX_PROPERTIES = 1024;

// clang-format off
constexpr struct { const char* name; PlyType type; } TYPES[] = {
    {"char", PlyType::INT8},     {"int8", PlyType::INT8},       {"uchar", PlyType::UINT8},    {"uint8", PlyType::UINT8},
    {"short", PlyType::INT16},   {"int16", PlyType::INT16},     {"ushort", PlyType::UINT16},  {"uint16", PlyType::UINT16},
    {"int", PlyType::INT32},     {"int32", PlyType::INT32},     {"uint", PlyType::UINT32},    {"uint32", PlyType::UINT32},
    {"float", PlyType::FLOAT32}, {"float32", PlyType::FLOAT32}, {"double", PlyType::FLOAT64}, {"float64", PlyType::FLOAT64},
};
// clang-format on

class HeaderParser {
public:
    explicit HeaderParser(std::string_view bytes)
        : myBytes(bytes) {}

    PlyHeader parse() {
        if (nextLine() != "ply") fail("a PLY file starts with the line \"ply\"");
        bool formatSeen = false;
        for (;;) {
            const std::string_view line = nextLine();
            const std::vector<std::string_view> words = split(line);
            if (words.empty()) continue;
            if (words[0] == "end_header") break;
            if (words[0] == "format") {
                format(words);
                formatSeen = true;
            } else if (words[0] == "comment")
                myHeader.comments.emplace_back(line.substr(std::min(line.size(), line.find("comment") + 8)));
            else if (words[0] == "element")
                element(words);
            else if (words[0] == "property")
                property(words);
            else if (words[0] != "obj_info")
                fail(fmt::format("{} is no header line of a PLY file", excerpt(words[0])));
        }
        if (!formatSeen) fail("the header has no format line");
        myHeader.dataOffset = myAt;
        checkCounts();
        return std::move(myHeader);
    }

private:
    [[noreturn]] void fail(const std::string& text) const {
        throw FormatError(fmt::format("line {}: {}", myLine, text));
    }

    std::string_view nextLine() {
        ++myLine;
        const size_t end = myBytes.substr(0, PLY_MAX_HEADER).find('\n', myAt);
        if (end == std::string_view::npos)
            fail(myAt < myBytes.size() && myBytes.size() > PLY_MAX_HEADER ? "the header has no end within 16 MiB"
                                                                          : "the file ends inside the header");
        std::string_view line = myBytes.substr(myAt, end - myAt);
        myAt = end + 1;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        return line;
    }

    static std::vector<std::string_view> split(std::string_view line) {
        std::vector<std::string_view> words;
        for (size_t at = 0; (at = line.find_first_not_of(" \t", at)) != std::string_view::npos;) {
            const size_t end = std::min(line.find_first_of(" \t", at), line.size());
            words.push_back(line.substr(at, end - at));
            at = end;
        }
        return words;
    }

    void format(const std::vector<std::string_view>& words) {
        if (words.size() != 3 || words[2] != "1.0") fail("expected \"format ENCODING 1.0\"");
        if (words[1] == "ascii")
            myHeader.encoding = PlyEncoding::ASCII;
        else if (words[1] == "binary_little_endian")
            myHeader.encoding = PlyEncoding::LITTLE;
        else if (words[1] == "binary_big_endian")
            myHeader.encoding = PlyEncoding::BIG;
        else
            fail(fmt::format("unknown encoding {}; known are ascii, binary_little_endian and binary_big_endian",
                             excerpt(words[1])));
    }

    void element(const std::vector<std::string_view>& words) {
        int64_t count = -1;
        if (words.size() != 3 || !parseInteger(words[2], count) || count < 0)
            fail("expected \"element NAME COUNT\" with a count from 0");
        if (myHeader.find(words[1])) fail(fmt::format("element {} stands there twice", excerpt(words[1])));
        if (myHeader.elements.size() == MAX_ELEMENTS) fail(fmt::format("more than {} elements", MAX_ELEMENTS));
        myHeader.elements.push_back({std::string(words[1]), static_cast<uint64_t>(count), {}});
    }

    void property(const std::vector<std::string_view>& words) {
        if (myHeader.elements.empty()) fail("a property before the first element");
        const bool isList = words.size() > 1 && words[1] == "list";
        if (words.size() != (isList ? 5u : 3u))
            fail("expected \"property TYPE NAME\" or \"property list TYPE TYPE NAME\"");
        PlyElement& element = myHeader.elements.back();
        PlyProperty added{std::string(words.back()), type(words[words.size() - 2]), isList, PlyType::UINT8};
        if (isList) added.countType = type(words[2]);
        if (plyIsReal(added.countType)) fail("the length of a list must be of an integer type");
        if (element.find(added.name) >= 0) fail(fmt::format("property {} stands there twice", excerpt(added.name)));
        if (element.properties.size() == MAX_PROPERTIES) fail(fmt::format("more than {} properties", MAX_PROPERTIES));
        element.properties.push_back(std::move(added));
    }

    PlyType type(std::string_view word) const {
        for (const auto& entry : TYPES)
            if (word == entry.name) return entry.type;
        fail(fmt::format("{} is no type; known are char uchar short ushort int uint float double", excerpt(word)));
    }

    void checkCounts() const {
        uint64_t left = myBytes.size() - myAt;
        if (myHeader.encoding == PlyEncoding::ASCII) ++left; // the last value needs no separator
        for (const PlyElement& e : myHeader.elements) {
            const uint64_t row = e.leastRowBytes(myHeader.encoding);
            if (row && e.count > left / row)
                throw FormatError(fmt::format("the header claims {} of element {}, at least {} bytes each, but only {} "
                                              "bytes follow; the file is truncated or damaged",
                                              e.count, excerpt(e.name), row, left));
            left -= row * e.count;
        }
    }

    std::string_view myBytes;
    size_t myAt = 0;
    size_t myLine = 0;
    PlyHeader myHeader;
};

} // namespace

size_t plySize(PlyType type) {
    constexpr size_t SIZES[] = {1, 1, 2, 2, 4, 4, 4, 8};
    return SIZES[static_cast<size_t>(type)];
}

int PlyElement::find(std::string_view property) const {
    for (size_t i = 0; i < properties.size(); ++i)
        if (properties[i].name == property) return static_cast<int>(i);
    return -1;
}

size_t PlyElement::leastRowBytes(PlyEncoding encoding) const {
    size_t bytes = 0;
    for (const PlyProperty& p : properties)
        bytes += encoding == PlyEncoding::ASCII ? 2 : plySize(p.isList ? p.countType : p.type);
    return bytes;
}

const PlyElement* PlyHeader::find(std::string_view element) const {
    for (const PlyElement& e : elements)
        if (e.name == element) return &e;
    return nullptr;
}

PlyHeader PlyHeader::parse(std::string_view bytes) { return HeaderParser(bytes).parse(); }

} // namespace formats
