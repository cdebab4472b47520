#include "host/geo/GU_Detail.h"
#include "scene/formats/FormatError.h"
#include "scene/formats/GeoImage.h"
#include "scene/formats/JsonTree.h"
#include "scene/formats/LittleEndian.h"
#include "scene/formats/NativeReaders.h"
#include "scene/formats/TextNumbers.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <initializer_list>

namespace formats {
namespace {

/// Members of an object by key and kind; errors carry the object's place.
class Fields {
public:
    Fields(const JsonObject& object, std::string place, std::initializer_list<std::string_view> known)
        : myObject(object)
        , myPlace(std::move(place)) {
        for (const JsonMember& member : object.members)
            if (std::find(known.begin(), known.end(), member.key) == known.end())
                fail(fmt::format("unknown key {}", excerpt(member.key)));
    }
    [[noreturn]] void fail(const std::string& text) const {
        throw FormatError(myPlace.empty() ? text : myPlace + ": " + text);
    }
    bool has(const char* key) const { return myObject.find(key) != nullptr; }
    const JsonValue& get(const char* key, JsonValue::Kind kind, const char* what) const {
        const JsonValue* value = myObject.find(key);
        if (!value) fail(fmt::format("\"{}\" is missing", key));
        const bool list = kind == JsonValue::NUMBERS || kind == JsonValue::STRINGS || kind == JsonValue::OBJECTS;
        if (value->kind != kind && !(list && value->kind == JsonValue::EMPTY_LIST))
            fail(fmt::format("\"{}\" must be {}", key, what));
        return *value;
    }
    const std::string& string(const char* key) const { return get(key, JsonValue::STRING, "a string").string; }
    bool boolean(const char* key, bool missing) const {
        return has(key) ? get(key, JsonValue::BOOLEAN, "true or false").number != 0 : missing;
    }
    int64_t integer(const char* key, int64_t low, int64_t high) const {
        return integerFrom(get(key, JsonValue::NUMBER, "a number").number, key, low, high);
    }
    int64_t integer(const char* key, int64_t low, int64_t high, int64_t missing) const {
        return has(key) ? integer(key, low, high) : missing;
    }
    const std::vector<double>& numbers(const char* key) const {
        return get(key, JsonValue::NUMBERS, "a list of numbers").numbers;
    }
    const std::vector<JsonObject>& objects(const char* key) const {
        static const std::vector<JsonObject> none;
        return has(key) ? get(key, JsonValue::OBJECTS, "a list of objects").objects : none;
    }
    /// Appends a list of numbers from 0 to 2^32 - 1.
    void appendUnsigned(const char* key, std::vector<uint32_t>& out) const {
        for (const double number : numbers(key))
            out.push_back(static_cast<uint32_t>(integerFrom(number, key, 0, UINT32_MAX)));
    }
    int64_t integerFrom(double value, const char* key, int64_t low, int64_t high) const {
        if (!(value >= static_cast<double>(low) && value <= static_cast<double>(high)) || value != std::floor(value))
            fail(fmt::format("\"{}\": {} is no integer from {} to {}", key, value, low, high));
        return static_cast<int64_t>(value);
    }

private:
    const JsonObject& myObject;
    std::string myPlace;
};

float toFloat(double value) { return static_cast<float>(value); }

std::string fromHex(const std::string& digits, const Fields& fields) {
    std::string bytes;
    if (digits.size() % 2) fields.fail("raw values have two hexadecimal digits per byte");
    for (size_t i = 0; i < digits.size(); i += 2) {
        int byte = 0;
        for (size_t k = 0; k < 2; ++k) {
            const size_t digit = std::string_view("0123456789abcdef").find(digits[i + k]);
            if (digit == std::string_view::npos)
                fields.fail(fmt::format("{} is no hexadecimal digit", excerpt(digits.substr(i + k, 1))));
            byte = byte * 16 + static_cast<int>(digit);
        }
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

/// The stored bytes of a list of numbers.
std::string packed(const std::vector<double>& numbers, GB_AttribType type, const char* key, const Fields& fields) {
    std::string bytes;
    bytes.reserve(numbers.size() * 4);
    for (const double number : numbers)
        if (GBisFloatType(type))
            appendLittle(bytes, toFloat(number));
        else
            appendLittle(bytes, static_cast<int32_t>(fields.integerFrom(number, key, INT32_MIN, INT32_MAX)));
    return bytes;
}

AttribImage readAttribute(const JsonObject& object, const std::string& place) {
    const Fields fields(object, place, {"name", "type", "size", "default", "strings", "values"});
    AttribImage out;
    out.name = fields.string("name");
    if (!attribType(fields.string("type"), out.type))
        fields.fail(fmt::format("unknown type {}; known are float, int, vector, string and raw",
                                excerpt(fields.string("type"))));
    const bool raw = out.type == GB_ATTRIB_RAW;
    out.size = static_cast<uint32_t>(fields.integer("size", 1, 65536) * (raw ? 1 : 4));
    if (fields.has("strings")) out.strings = fields.get("strings", JsonValue::STRINGS, "a list of strings").strings;
    std::string values;
    if (raw) {
        out.defaults = fromHex(fields.string("default"), fields);
        for (const std::string& digits : fields.get("values", JsonValue::STRINGS, "a list of strings").strings) {
            values += fromHex(digits, fields);
            if (digits.size() != size_t{out.size} * 2)
                fields.fail(fmt::format("a raw value is not {} bytes long", out.size));
        }
    } else {
        out.defaults = packed(fields.numbers("default"), out.type, "default", fields);
        values = packed(fields.numbers("values"), out.type, "values", fields);
    }
    out.owned.assign(values.begin(), values.end());
    return out;
}

class TextReader {
public:
    explicit TextReader(std::string_view text)
        : myRoot(parseJson(text)) {
        myImage.fileBytes = text.size();
    }

    GeoImage read() {
        const JsonValue* version = myRoot.find("flxgeo");
        if (!version || version->kind != JsonValue::NUMBER)
            throw FormatError("has no \"flxgeo\" version; is it a geometry file?");
        if (version->number != NATIVE_VERSION)
            throw FormatError(
                fmt::format("format version {}; this program reads version {}", version->number, NATIVE_VERSION));
        const Fields fields(myRoot, "",
                            {"flxgeo", "points", "P", "prims", "pointattribs", "vertexattribs", "primitiveattribs",
                             "detailattribs", "pointgroups", "primgroups"});
        positions(fields);
        size_t number = 0;
        for (const JsonObject& object : fields.objects("prims")) primitive(object, fmt::format("prims[{}]", number++));
        const char* const attribKeys[] = {"pointattribs", "vertexattribs", "primitiveattribs", "detailattribs"};
        for (size_t cls = 0; cls < 4; ++cls)
            for (const JsonObject& object : fields.objects(attribKeys[cls]))
                myImage.attribs[cls].push_back(
                    readAttribute(object, fmt::format("{}[{}]", attribKeys[cls], myImage.attribs[cls].size())));
        groups(fields, "pointgroups", "points", myImage.pointGroups);
        groups(fields, "primgroups", "prims", myImage.primGroups);
        return std::move(myImage);
    }

private:
    void positions(const Fields& fields) {
        const std::vector<double>& numbers = fields.numbers("P");
        myImage.points = static_cast<uint64_t>(fields.integer("points", 0, UINT32_MAX));
        if (numbers.size() != myImage.points * 4)
            fields.fail(fmt::format("\"P\" has {} numbers; {} points need {}", numbers.size(), myImage.points,
                                    myImage.points * 4));
        const std::string bytes = packed(numbers, GB_ATTRIB_FLOAT, "P", fields);
        myImage.ownedPositions.assign(bytes.begin(), bytes.end());
        myImage.positions = {myImage.ownedPositions.data(), myImage.ownedPositions.size()};
    }

    void primitive(const JsonObject& object, const std::string& place) {
        const Fields fields(object, place,
                            {"type", "flags", "closed", "counts", "rows", "cols", "wrapu", "wrapv", "kernel", "shape",
                             "dead", "points"});
        PrimImage prim;
        prim.kind = primKind(fields.string("type"));
        if (!prim.kind)
            fields.fail(
                fmt::format("unknown type {}; known are poly, mesh, circle, sphere, tube, particle and metaball",
                            excerpt(fields.string("type"))));
        prim.flags = static_cast<int32_t>(fields.integer("flags", INT32_MIN, INT32_MAX, 0));
        const size_t before = myImage.vertices.size();
        fields.appendUnsigned("points", myImage.vertices);
        const size_t vertices = myImage.vertices.size() - before;
        if (prim.kind == GEOPRIMPOLY) return polygons(fields, prim, vertices);
        prim.vertices = static_cast<uint32_t>(vertices);
        if (prim.kind == GEOPRIMMESH) mesh(fields, prim);
        if (prim.kind == GEOPRIMMETABALL)
            prim.rows = static_cast<uint32_t>(fields.integer("kernel", INT32_MIN, INT32_MAX, 0));
        if (fields.has("dead")) {
            if (prim.kind != GEOPRIMPART) fields.fail("\"dead\" belongs to particle primitives");
            fields.appendUnsigned("dead", myImage.dead);
            prim.cols = static_cast<uint32_t>(fields.numbers("dead").size());
        }
        if (shapeSize(prim.kind)) shape(fields, shapeSize(prim.kind));
        myImage.prims.push_back(prim);
    }

    void polygons(const Fields& fields, PrimImage prim, size_t vertices) {
        if (fields.boolean("closed", true)) prim.bits = PrimImage::CLOSED;
        uint64_t total = 0;
        for (const double count : fields.numbers("counts")) {
            prim.vertices = static_cast<uint32_t>(fields.integerFrom(count, "counts", 0, INT32_MAX));
            total += prim.vertices;
            myImage.prims.push_back(prim);
        }
        if (total != vertices)
            fields.fail(fmt::format("\"counts\" add up to {}, but \"points\" has {}", total, vertices));
    }

    static void mesh(const Fields& fields, PrimImage& prim) {
        prim.rows = static_cast<uint32_t>(fields.integer("rows", 0, INT32_MAX));
        prim.cols = static_cast<uint32_t>(fields.integer("cols", 0, INT32_MAX));
        prim.bits = (fields.boolean("wrapu", false) ? PrimImage::WRAP_U : 0u) |
                    (fields.boolean("wrapv", false) ? PrimImage::WRAP_V : 0u);
    }

    void shape(const Fields& fields, size_t size) {
        const std::vector<double>& numbers = fields.numbers("shape");
        if (numbers.size() != size)
            fields.fail(fmt::format("\"shape\" has {} numbers; it takes {}", numbers.size(), size));
        for (const double number : numbers) myImage.shapes.push_back(toFloat(number));
    }

    static void groups(const Fields& fields, const char* key, const char* membersKey, std::vector<GroupImage>& out) {
        for (const JsonObject& object : fields.objects(key)) {
            const Fields group(object, fmt::format("{}[{}]", key, out.size()),
                               {"name", "internal", "flags", membersKey});
            GroupImage image;
            image.name = group.string("name");
            image.internal = group.boolean("internal", false);
            image.flags = static_cast<int32_t>(group.integer("flags", INT32_MIN, INT32_MAX, 0));
            group.appendUnsigned(membersKey, image.members);
            out.push_back(std::move(image));
        }
    }

    JsonObject myRoot;
    GeoImage myImage;
};

} // namespace

void readNativeText(GU_Detail& detail, std::string_view text) { buildDetail(detail, TextReader(text).read()); }

} // namespace formats
