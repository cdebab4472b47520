#include "host/geo/GU_Detail.h"
#include "scene/formats/AtomicFile.h"
#include "scene/formats/FormatError.h"
#include "scene/formats/LittleEndian.h"
#include "scene/formats/TextNumbers.h"
#include "scene/formats/Writers.h"
#include "scene/formats/ZipWriter.h"

#include <fmt/format.h>
#include <unordered_set>

namespace formats {
namespace {

constexpr uint64_t MAX_NAMES = uint64_t{1} << 30; ///< bytes of one array of strings, all as wide as the longest

/// Header of a .npy file, version 1.0, as in NumPy's format description: a Python dictionary padded to 64 bytes.
std::string npyHeader(const std::string& type, size_t rows, int columns) {
    const std::string shape = columns == 1 ? fmt::format("({},)", rows) : fmt::format("({}, {})", rows, columns);
    std::string text = fmt::format("{{'descr': '{}', 'fortran_order': False, 'shape': {}, }}", type, shape);
    text.append(63 - (10 + text.size()) % 64, ' ').push_back('\n');
    std::string out("\x93NUMPY\1\0", 8);
    appendLittle(out, static_cast<uint16_t>(text.size()));
    return out + text;
}

/// Bytes that follow the first one of a UTF-8 sequence; -1 for a byte that starts none.
int followers(unsigned char first) {
    if (first < 0x80) return 0;
    if (first < 0xc2 || first > 0xf4) return -1;
    return first < 0xe0 ? 1 : first < 0xf0 ? 2 : 3;
}

/// The code point whose sequence starts at `at`, which moves behind it. Anything that is no valid UTF-8 gives U+FFFD
/// and moves by one byte.
char32_t nextCodePoint(const std::string& text, size_t& at) {
    constexpr uint32_t LEAST[] = {0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<unsigned char>(text[at++]);
    const int more = followers(first);
    if (more == 0) return first;
    if (more < 0 || text.size() - at < static_cast<size_t>(more)) return U'\ufffd';
    uint32_t code = first & (0x3fu >> static_cast<unsigned>(more));
    for (int k = 0; k < more; ++k) {
        const auto next = static_cast<unsigned char>(text[at + static_cast<size_t>(k)]);
        if ((next & 0xc0u) != 0x80u) return U'\ufffd';
        code = code << 6 | (next & 0x3fu);
    }
    if (code < LEAST[more] || code > 0x10ffff || (code >= 0xd800 && code < 0xe000)) return U'\ufffd';
    at += static_cast<size_t>(more);
    return static_cast<char32_t>(code);
}

std::u32string codePoints(const std::string& text) {
    std::u32string out;
    for (size_t at = 0; at < text.size();) out += nextCodePoint(text, at);
    return out;
}

class NpzWriter {
public:
    NpzWriter(const GU_Detail& detail, AtomicFile& file)
        : myDetail(detail)
        , myZip(file)
        , myFile(file) {}

    void write() {
        std::string body;
        myDetail.points().forEach(nullptr, [&](const GEO_Point* point) {
            for (int c = 0; c < 3; ++c) appendLittle(body, point->getPos()[c]);
        });
        add("P", "<f4", 3, body);
        for (const auto& attribute : myDetail.pointAttribs())
            if (attribute->getType() != GB_ATTRIB_RAW && !myFile.failed()) writeAttribute(*attribute);
        myZip.finish();
    }

private:
    void add(std::string name, const std::string& type, int columns, const std::string& body) {
        addRows(std::move(name), type, myDetail.points().entries(), columns, body);
    }
    void addRows(std::string name, const std::string& type, size_t rows, int columns, const std::string& body) {
        for (char& c : name)
            if (c == '/' || c == '\\' || static_cast<unsigned char>(c) < 0x20) c = '_';
        if (name.size() > 0xff00) throw FormatError("an attribute's name is too long for an NPZ file");
        while (!myNames.insert(name).second) name += '_';
        myZip.add(name + ".npy", npyHeader(type, rows, columns), body);
    }

    void writeAttribute(const GB_Attribute& attribute) {
        const int n = attribute.components();
        const bool real = GBisFloatType(attribute.getType());
        const bool index = attribute.getType() == GB_ATTRIB_INDEX;
        std::string body;
        body.reserve(myDetail.points().entries() * static_cast<size_t>(attribute.getSize()));
        myDetail.points().forEach(nullptr, [&](const GEO_Point* point) {
            const float* reals = point->castAttribData<float>(attribute.getOffset());
            const int* ints = point->castAttribData<int>(attribute.getOffset());
            for (int c = 0; c < n; ++c)
                if (real)
                    appendLittle(body, reals[c]);
                else
                    appendLittle(body, index && !attribute.getIndex(ints[c]) ? -1 : ints[c]);
        });
        add(attribute.getName(), real ? "<f4" : "<i4", n, body);
        if (index) writeNames(attribute);
    }

    void writeNames(const GB_Attribute& attribute) {
        std::vector<std::u32string> names;
        size_t longest = 1;
        for (const std::string& text : attribute.indexStrings()) {
            names.push_back(codePoints(text));
            longest = std::max(longest, names.back().size());
        }
        if (names.size() * longest * 4 > MAX_NAMES)
            throw FormatError(fmt::format("the {} strings of attribute {} are too long for an NPZ file; write .bflx",
                                          names.size(), excerpt(attribute.getName())));
        std::string body;
        for (std::u32string& name : names) {
            name.resize(longest);
            for (const char32_t c : name) appendLittle(body, static_cast<uint32_t>(c));
        }
        addRows(attribute.getName() + "_names", fmt::format("<U{}", longest), names.size(), 1, body);
    }

    const GU_Detail& myDetail;
    ZipWriter myZip;
    AtomicFile& myFile;
    std::unordered_set<std::string> myNames; ///< only asked, never walked
};

} // namespace

void writeNpz(const GU_Detail& detail, AtomicFile& file) { NpzWriter(detail, file).write(); }

} // namespace formats
