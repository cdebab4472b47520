#include "host/geo/GU_Detail.h"
#include "scene/formats/ByteReader.h"
#include "scene/formats/Checksum.h"
#include "scene/formats/GeoImage.h"
#include "scene/formats/NativeReaders.h"
#include "scene/formats/TextNumbers.h"

#include <fmt/format.h>

namespace formats {
namespace {

template <class T> std::vector<T> numbers(std::string_view bytes) {
    std::vector<T> out(bytes.size() / sizeof(T));
    for (size_t i = 0; i < out.size(); ++i) out[i] = readLittle<T>(bytes.data() + i * sizeof(T));
    return out;
}

class BinaryReader {
public:
    explicit BinaryReader(std::string_view bytes)
        : myReader(bytes)
        , myWhole(bytes) {}

    GeoImage read() {
        if (myReader.left() < BINARY_MAGIC.size() || myReader.take(BINARY_MAGIC.size()) != BINARY_MAGIC)
            throw FormatError("byte 0: is no .bflx file, or a transfer as text has damaged it");
        myImage.fileBytes = myWhole.size();
        head();
        myImage.positions = section("POSN").take(myImage.points * 16);
        primitives();
        for (size_t cls = 0; cls < 4; ++cls)
            for (uint32_t i = 0; i < myAttribCounts[cls]; ++i) myImage.attribs[cls].push_back(attribute());
        for (uint32_t i = 0; i < myPointGroups; ++i) myImage.pointGroups.push_back(group());
        for (uint32_t i = 0; i < myPrimGroups; ++i) myImage.primGroups.push_back(group());
        section("TAIL");
        if (myReader.left()) myReader.fail(fmt::format("{} bytes behind the end", myReader.left()));
        return std::move(myImage);
    }

private:
    /// The payload of the next section, its tag and checksum found right.
    ByteReader section(std::string_view tag) {
        const size_t start = myReader.offset();
        const std::string_view found = myReader.take(4);
        if (found != tag)
            throw FormatError(
                fmt::format("byte {}: section {} expected, {} found; the file is damaged", start, tag, excerpt(found)));
        const uint64_t bytes = myReader.get<uint64_t>();
        const size_t payloadStart = myReader.offset();
        const std::string_view payload = myReader.take(bytes);
        const uint32_t actual = crc32(0, myWhole.substr(start, myReader.offset() - start));
        const uint32_t promised = myReader.get<uint32_t>();
        if (actual != promised)
            throw FormatError(
                fmt::format("byte {}: section {} has checksum {:08x} instead of {:08x}; the file is damaged", start,
                            tag, actual, promised));
        return ByteReader(payload, payloadStart);
    }

    void head() {
        ByteReader in = section("HEAD");
        const uint32_t version = in.get<uint32_t>();
        if (version != NATIVE_VERSION)
            throw FormatError(fmt::format("format version {}; this program reads version {}", version, NATIVE_VERSION));
        myImage.points = in.get<uint64_t>();
        if (myImage.points > myReader.left() / 16)
            in.fail(fmt::format("{} points do not fit the {} bytes that follow", myImage.points, myReader.left()));
        for (uint32_t& count : myAttribCounts) count = in.get<uint32_t>();
        myPointGroups = in.get<uint32_t>();
        myPrimGroups = in.get<uint32_t>();
    }

    void primitives() {
        ByteReader in = section("PRIM");
        myImage.prims.resize(in.left() / 24);
        for (PrimImage& prim : myImage.prims) {
            prim.kind = in.get<uint32_t>();
            prim.flags = in.get<int32_t>();
            for (uint32_t* field : {&prim.vertices, &prim.bits, &prim.rows, &prim.cols}) *field = in.get<uint32_t>();
        }
        ByteReader vertices = section("VTXP");
        myImage.vertices = numbers<uint32_t>(vertices.take(vertices.left()));
        ByteReader shapes = section("SHAP");
        myImage.shapes = numbers<float>(shapes.take(shapes.left()));
        ByteReader dead = section("DEAD");
        myImage.dead = numbers<uint32_t>(dead.take(dead.left()));
    }

    AttribImage attribute() {
        ByteReader in = section("ATTR");
        AttribImage out;
        out.name = in.text();
        out.type = static_cast<GB_AttribType>(in.get<uint32_t>());
        if (!attribTypeName(out.type)) in.fail(fmt::format("unknown attribute type {}", static_cast<int>(out.type)));
        out.size = in.get<uint32_t>();
        if (out.size == 0) in.fail(fmt::format("attribute {} has no size", excerpt(out.name)));
        out.defaults = in.take(out.size);
        const uint64_t strings = in.count(4);
        for (uint64_t i = 0; i < strings; ++i) out.strings.push_back(in.text());
        ByteReader values = section("VALS");
        out.column = values.take(values.left());
        return out;
    }

    GroupImage group() {
        ByteReader in = section("GRUP");
        GroupImage out;
        out.name = in.text();
        out.internal = in.get<uint32_t>() != 0;
        out.flags = in.get<int32_t>();
        out.members = numbers<uint32_t>(in.take(in.left()));
        return out;
    }

    ByteReader myReader;
    std::string_view myWhole;
    GeoImage myImage;
    uint32_t myAttribCounts[4] = {0, 0, 0, 0};
    uint32_t myPointGroups = 0;
    uint32_t myPrimGroups = 0;
};

} // namespace

void readNativeBinary(GU_Detail& detail, std::string_view bytes) { buildDetail(detail, BinaryReader(bytes).read()); }

} // namespace formats
