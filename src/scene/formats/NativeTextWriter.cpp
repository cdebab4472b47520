#include "scene/formats/AtomicFile.h"
#include "scene/formats/DetailWalk.h"
#include "scene/formats/FormatError.h"
#include "scene/formats/NativeReaders.h"
#include "scene/formats/TextNumbers.h"
#include "scene/formats/Writers.h"

#include <bit>
#include <cmath>
#include <fmt/format.h>

namespace formats {
namespace {

bool isUtf8(std::string_view text) {
    for (size_t i = 0; i < text.size();) {
        const auto byte = [&](size_t k) { return k < text.size() ? static_cast<unsigned char>(text[k]) : 0u; };
        const unsigned first = byte(i);
        const size_t more = first < 0x80 ? 0u : first >= 0xc2 && first < 0xe0 ? 1u : (first & 0xf0u) == 0xe0 ? 2u : 3u;
        if (more == 3 && (first < 0xf0 || first > 0xf4)) return false;
        for (size_t k = 1; k <= more; ++k)
            if ((byte(i + k) & 0xc0u) != 0x80u) return false;
        const unsigned second = byte(i + 1);
        if ((first == 0xe0 && second < 0xa0) || (first == 0xed && second > 0x9f) || (first == 0xf0 && second < 0x90) ||
            (first == 0xf4 && second > 0x8f))
            return false;
        i += more + 1;
    }
    return true;
}

/// Streams JSON: nothing but a buffer is held.
class TextWriter {
public:
    TextWriter(const GU_Detail& detail, AtomicFile& file)
        : myDetail(detail)
        , myFile(file) {}

    void write() {
        myOut =
            fmt::format("{{\n\"flxgeo\": {},\n\"points\": {},\n\"P\": [", NATIVE_VERSION, myDetail.points().entries());
        myDetail.points().forEach(nullptr, [&](const GEO_Point* point) {
            for (int c = 0; c < 4; ++c) item([&] { number(point->getPos()[c]); });
        });
        myOut += "],\n\"prims\": [";
        primitives();
        for (const GB_AttribClass cls : ATTRIB_CLASSES) attributes(cls);
        groups("pointgroups", "points", myDetail.pointGroups());
        groups("primgroups", "prims", myDetail.primitiveGroups());
        myOut += "\n}\n";
        myFile.write(myOut);
    }

private:
    /// One item of the innermost list: a comma unless it is the first.
    template <class Fn> void item(Fn&& fn) {
        if (myOut.back() != '[') myOut += ',';
        if (myOut.size() > CHUNK) {
            myFile.write(std::string_view(myOut).substr(0, myOut.size() - 1));
            myOut.erase(0, myOut.size() - 1);
        }
        fn();
    }

    void number(float value) {
        if (!std::isfinite(value)) {
            myOut += '"';
            appendFloat(myOut, value);
            myOut += '"';
        } else if (value == 0 && std::signbit(value)) {
            myOut += "-0.0"; // readers take -0 for the integer 0
        } else {
            appendFloat(myOut, value);
        }
    }

    void text(std::string_view value, const char* what) {
        if (!isUtf8(value))
            throw FormatError(fmt::format("{} {} is not UTF-8, so no JSON text; write .bflx", what, excerpt(value)));
        myOut += '"';
        for (const char c : value) {
            if (c == '"' || c == '\\') myOut += '\\';
            if (static_cast<unsigned char>(c) < 0x20)
                myOut += fmt::format("\\u{:04x}", static_cast<unsigned>(c));
            else
                myOut += c;
        }
        myOut += '"';
    }

    void hex(const char* bytes, size_t count) {
        for (size_t i = 0; i < count; ++i) {
            const auto byte = static_cast<unsigned char>(bytes[i]);
            myOut += "0123456789abcdef"[byte >> 4];
            myOut += "0123456789abcdef"[byte & 15];
        }
    }

    // Primitives: runs of polygons of one sort make one entry, everything else has its own.

    static bool sameRun(const PrimImage& first, const GEO_Primitive& next) {
        return first.kind == GEOPRIMPOLY && next.getPrimitiveId() == GEOPRIMPOLY && first.flags == next.getFlags() &&
               (first.bits == PrimImage::CLOSED) == next.isClosed();
    }

    void primitives() {
        const GEO_PrimList& prims = myDetail.primitives();
        std::vector<float> shape;
        std::vector<uint32_t> dead;
        for (size_t i = 0; i < prims.entries();) {
            shape.clear();
            dead.clear();
            const PrimImage image = describe(*prims(i), shape, dead);
            size_t end = i + 1;
            while (end < prims.entries() && sameRun(image, *prims(end))) ++end;
            item([&] { primitiveRun(image, i, end, shape, dead); });
            i = end;
        }
        myOut += "]";
    }

    void primitiveRun(const PrimImage& image, size_t first, size_t end, const std::vector<float>& shape,
                      const std::vector<uint32_t>& dead) {
        myOut += fmt::format("\n{{\"type\": \"{}\"", primKindName(image.kind));
        if (image.flags) myOut += fmt::format(", \"flags\": {}", image.flags);
        if (image.kind == GEOPRIMPOLY) {
            myOut += fmt::format(", \"closed\": {}, \"counts\": [", bool(image.bits & PrimImage::CLOSED));
            for (size_t i = first; i < end; ++i)
                item([&] { appendInteger(myOut, myDetail.primitives()(i)->getVertexCount()); });
            myOut += ']';
        }
        if (image.kind == GEOPRIMMESH)
            myOut += fmt::format(", \"rows\": {}, \"cols\": {}, \"wrapu\": {}, \"wrapv\": {}", image.rows, image.cols,
                                 bool(image.bits & PrimImage::WRAP_U), bool(image.bits & PrimImage::WRAP_V));
        if (image.kind == GEOPRIMMETABALL) myOut += fmt::format(", \"kernel\": {}", static_cast<int>(image.rows));
        if (!shape.empty()) {
            myOut += ", \"shape\": [";
            for (const float value : shape) item([&] { number(value); });
            myOut += ']';
        }
        if (!dead.empty()) integers("dead", dead);
        myOut += ", \"points\": [";
        for (size_t i = first; i < end; ++i)
            forEachVertexPoint(myDetail, *myDetail.primitives()(i),
                               [&](uint32_t point) { item([&] { appendInteger(myOut, point); }); });
        myOut += "]}";
    }

    void integers(const char* key, const std::vector<uint32_t>& values) {
        myOut += fmt::format(", \"{}\": [", key);
        for (const uint32_t value : values) item([&] { appendInteger(myOut, value); });
        myOut += ']';
    }

    void attributes(GB_AttribClass cls) {
        myOut += fmt::format(",\n\"{}attribs\": [", attribClassName(cls));
        for (const auto& attribute : myDetail.attribs(cls)) item([&] { this->attribute(*attribute, cls); });
        myOut += ']';
    }

    void attribute(const GB_Attribute& attribute, GB_AttribClass cls) {
        const bool raw = attribute.getType() == GB_ATTRIB_RAW;
        myOut += "\n{\"name\": ";
        text(attribute.getName(), "attribute name");
        myOut += fmt::format(", \"type\": \"{}\", \"size\": {}, \"default\": {}", attribTypeName(attribute.getType()),
                             raw ? attribute.getSize() : attribute.components(), raw ? '"' : '[');
        value(attribute, attribute.getDefault());
        myOut += raw ? '"' : ']';
        if (attribute.getType() == GB_ATTRIB_INDEX) {
            myOut += ", \"strings\": [";
            for (const std::string& string : attribute.indexStrings()) item([&] { text(string, "attribute string"); });
            myOut += ']';
        }
        myOut += ", \"values\": [";
        forEachRecord(myDetail, cls,
                      [&](const char* record) { value(attribute, record + attribute.getOffset(), raw); });
        myOut += "]}";
    }

    /// The components of a value as list items; raw bytes as hexadecimal digits, as one item when `listed`.
    void value(const GB_Attribute& attribute, const char* bytes, bool listed = false) {
        if (attribute.getType() == GB_ATTRIB_RAW) {
            const auto size = static_cast<size_t>(attribute.getSize());
            if (!listed) return hex(bytes, size);
            item([&] {
                myOut += '"';
                hex(bytes, size);
                myOut += '"';
            });
            return;
        }
        for (int c = 0; c < attribute.components(); ++c)
            item([&] {
                const uint32_t word = storedWord(attribute, bytes, c);
                if (GBisFloatType(attribute.getType()))
                    number(std::bit_cast<float>(word));
                else
                    appendInteger(myOut, static_cast<int32_t>(word));
            });
    }

    template <class List> void groups(const char* key, const char* membersKey, const List& list) {
        myOut += fmt::format(",\n\"{}\": [", key);
        for (size_t g = 0; g < list.entries(); ++g)
            item([&] {
                myOut += "\n{\"name\": ";
                text(list[g]->getName(), "group name");
                if (list[g]->getInternal()) myOut += ", \"internal\": true";
                if (list[g]->getFlags()) myOut += fmt::format(", \"flags\": {}", list[g]->getFlags());
                myOut += fmt::format(", \"{}\": [", membersKey);
                forEachMember(myDetail, *list[g], [&](uint32_t n) { item([&] { appendInteger(myOut, n); }); });
                myOut += "]}";
            });
        myOut += ']';
    }

    static constexpr size_t CHUNK = 1 << 16;
    const GU_Detail& myDetail;
    AtomicFile& myFile;
    std::string myOut;
};

} // namespace

void writeNativeText(const GU_Detail& detail, AtomicFile& file) { TextWriter(detail, file).write(); }

} // namespace formats
