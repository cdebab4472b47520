#include "scene/formats/AtomicFile.h"
#include "scene/formats/Checksum.h"
#include "scene/formats/DetailWalk.h"
#include "scene/formats/LittleEndian.h"
#include "scene/formats/NativeReaders.h"
#include "scene/formats/Writers.h"

#include <cassert>

namespace formats {
namespace {

/// A section: tag of 4 letters, 64-bit length, payload, CRC-32 over all three. Payloads stream, so their length is
/// told in advance.
class SectionWriter {
public:
    explicit SectionWriter(AtomicFile& file)
        : myFile(file) {}

    void begin(std::string_view tag, uint64_t bytes) {
        myCrc = 0;
        put(tag);
        std::string length;
        appendLittle(length, bytes);
        put(length);
        myEnd = myFile.position() + bytes;
    }
    template <class T> void number(T value) {
        appendLittle(myPending, value);
        if (myPending.size() >= CHUNK) flush();
    }
    void bytes(std::string_view text) {
        myPending += text;
        if (myPending.size() >= CHUNK) flush();
    }
    void end() {
        flush();
        assert(myFile.position() == myEnd);
        std::string crc;
        appendLittle(crc, myCrc);
        myFile.write(crc);
    }
    void whole(std::string_view tag, std::string_view payload) {
        begin(tag, payload.size());
        put(payload);
        end();
    }

private:
    static constexpr size_t CHUNK = 1 << 16;
    void put(std::string_view text) {
        myCrc = crc32(myCrc, text);
        myFile.write(text);
    }
    void flush() {
        put(myPending);
        myPending.clear();
    }

    AtomicFile& myFile;
    std::string myPending;
    uint32_t myCrc = 0;
    uint64_t myEnd = 0;
};

void appendText(std::string& out, std::string_view text) {
    appendLittle(out, static_cast<uint32_t>(text.size()));
    out += text;
}

/// The bytes of one value as the file has them.
void appendValue(std::string& out, const GB_Attribute& attribute, const char* value) {
    if (attribute.getType() == GB_ATTRIB_RAW) {
        out.append(value, static_cast<size_t>(attribute.getSize()));
        return;
    }
    for (int c = 0; c < attribute.components(); ++c) appendLittle(out, storedWord(attribute, value, c));
}

void writeAttributes(SectionWriter& out, const GU_Detail& detail, GB_AttribClass cls) {
    std::string value;
    for (const auto& attribute : detail.attribs(cls)) {
        std::string head;
        appendText(head, attribute->getName());
        appendLittle(head, static_cast<uint32_t>(attribute->getType()));
        appendLittle(head, static_cast<uint32_t>(attribute->getSize()));
        appendValue(head, *attribute, attribute->getDefault());
        appendLittle(head, static_cast<uint64_t>(attribute->indexStrings().size()));
        for (const std::string& text : attribute->indexStrings()) appendText(head, text);
        out.whole("ATTR", head);
        out.begin("VALS", elementCount(detail, cls) * static_cast<uint64_t>(attribute->getSize()));
        forEachRecord(detail, cls, [&](const char* record) {
            value.clear();
            appendValue(value, *attribute, record + attribute->getOffset());
            out.bytes(value);
        });
        out.end();
    }
}

void writePrimitives(SectionWriter& out, const GU_Detail& detail) {
    out.begin("PRIM", uint64_t{24} * detail.primitives().entries());
    uint64_t vertices = 0;
    std::vector<float> shapes;
    std::vector<uint32_t> dead;
    detail.primitives().forEach(nullptr, [&](const GEO_Primitive* prim) {
        const PrimImage image = describe(*prim, shapes, dead);
        out.number(image.kind);
        out.number(image.flags);
        out.number(image.vertices);
        out.number(image.bits);
        out.number(image.rows);
        out.number(image.cols);
        vertices += image.vertices;
    });
    out.end();
    out.begin("VTXP", vertices * 4);
    forEachVertexPoint(detail, [&](uint32_t point) { out.number(point); });
    out.end();
    out.begin("SHAP", shapes.size() * 4);
    for (const float number : shapes) out.number(number);
    out.end();
    out.begin("DEAD", dead.size() * 4);
    for (const uint32_t place : dead) out.number(place);
    out.end();
}

template <class List, class Members> void writeGroups(SectionWriter& out, const List& list, Members&& members) {
    for (size_t g = 0; g < list.entries(); ++g) {
        std::string payload;
        appendText(payload, list[g]->getName());
        appendLittle(payload, static_cast<uint32_t>(list[g]->getInternal()));
        appendLittle(payload, static_cast<int32_t>(list[g]->getFlags()));
        members(*list[g], [&](uint32_t number) { appendLittle(payload, number); });
        out.whole("GRUP", payload);
    }
}

} // namespace

void writeNativeBinary(const GU_Detail& detail, AtomicFile& file) {
    file.write(BINARY_MAGIC);
    SectionWriter out(file);
    std::string head;
    appendLittle(head, uint32_t{NATIVE_VERSION});
    appendLittle(head, static_cast<uint64_t>(detail.points().entries()));
    for (const GB_AttribClass cls : ATTRIB_CLASSES)
        appendLittle(head, static_cast<uint32_t>(detail.attribs(cls).entries()));
    appendLittle(head, static_cast<uint32_t>(detail.pointGroups().entries()));
    appendLittle(head, static_cast<uint32_t>(detail.primitiveGroups().entries()));
    out.whole("HEAD", head);
    out.begin("POSN", uint64_t{16} * detail.points().entries());
    detail.points().forEach(nullptr, [&](const GEO_Point* point) {
        for (int c = 0; c < 4; ++c) out.number(point->getPos()[c]);
    });
    out.end();
    writePrimitives(out, detail);
    for (const GB_AttribClass cls : ATTRIB_CLASSES) writeAttributes(out, detail, cls);
    writeGroups(out, detail.pointGroups(),
                [&](const GB_PointGroup& group, auto&& fn) { forEachMember(detail, group, fn); });
    writeGroups(out, detail.primitiveGroups(),
                [&](const GB_PrimitiveGroup& group, auto&& fn) { forEachMember(detail, group, fn); });
    out.whole("TAIL", "");
}

} // namespace formats
