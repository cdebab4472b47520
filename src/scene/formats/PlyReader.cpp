#include "scene/formats/PlyReader.h"

#include "host/geo/GU_Detail.h"
#include "scene/formats/FormatError.h"
#include "scene/formats/PlyValues.h"
#include "scene/formats/PlyVertexLayout.h"

#include <cstring>
#include <fmt/format.h>

namespace formats {
namespace {

constexpr uint64_t MAX_POINTS = 0xffff0000u; ///< slots are 32-bit numbers

/// Corners of all faces: `corners` point numbers, `ends` one past the last corner of each face.
struct Faces {
    std::vector<uint32_t> corners;
    std::vector<size_t> ends;
};

int toInt32(double value) { return static_cast<int>(static_cast<uint32_t>(static_cast<int64_t>(value))); }

void store(PlyValues& values, const PlyTarget& target, double value, GEO_Point& point) {
    switch (target.kind) {
    case PlyTarget::POSITION: point.getPos()[target.offset] = static_cast<float>(value); break;
    case PlyTarget::FLOAT:
        *point.castAttribData<float>(target.offset) = static_cast<float>(value / target.divisor);
        break;
    case PlyTarget::INT: *point.castAttribData<int>(target.offset) = toInt32(value); break;
    case PlyTarget::INDEX:
        if (value >= target.strings)
            values.fail(fmt::format("string number {}, but the comments name only {}", value, target.strings));
        *point.castAttribData<int>(target.offset) = value < 0 ? -1 : toInt32(value);
        break;
    case PlyTarget::SKIP: break;
    }
}

void readVertices(GU_Detail& detail, const PlyHeader& header, const PlyElement& vertex, PlyValues& values) {
    if (vertex.count > MAX_POINTS)
        throw FormatError(fmt::format("{} vertices; the limit is {}", vertex.count, MAX_POINTS));
    const std::vector<PlyTarget> targets = layOutPlyVertex(detail, header, vertex);
    for (uint64_t row = 0; row < vertex.count; ++row) {
        values.startRow(row);
        GEO_Point* point = detail.appendPoint();
        for (size_t i = 0; i < targets.size(); ++i) {
            const PlyProperty& property = vertex.properties[i];
            if (targets[i].kind == PlyTarget::SKIP)
                values.skip(property);
            else
                store(values, targets[i], values.next(property.type), *point);
        }
    }
}

size_t cornerList(const PlyElement& face) {
    int list = face.find("vertex_indices");
    if (list < 0) list = face.find("vertex_index");
    if (list < 0 || !face.properties[static_cast<size_t>(list)].isList)
        throw FormatError("element \"face\" has no list \"vertex_indices\" or \"vertex_index\"");
    if (plyIsReal(face.properties[static_cast<size_t>(list)].type))
        throw FormatError("the vertex list of element \"face\" must be of an integer type");
    return static_cast<size_t>(list);
}

void readCorners(PlyValues& values, const PlyProperty& list, uint64_t pointCount, Faces& faces) {
    const size_t corners = values.listLength(list);
    for (size_t c = 0; c < corners; ++c) {
        const double index = values.next(list.type);
        if (index < 0 || index >= static_cast<double>(pointCount))
            values.fail(fmt::format("vertex number {}, but the file has only {} (counted from 0)", index, pointCount));
        faces.corners.push_back(static_cast<uint32_t>(index));
    }
    if (corners) faces.ends.push_back(faces.corners.size());
}

void readFaces(const PlyElement& face, uint64_t pointCount, PlyValues& values, Faces& faces) {
    if (face.count == 0) return;
    const size_t list = cornerList(face);
    for (uint64_t row = 0; row < face.count; ++row) {
        values.startRow(row);
        for (size_t i = 0; i < face.properties.size(); ++i)
            if (i == list)
                readCorners(values, face.properties[i], pointCount, faces);
            else
                values.skip(face.properties[i]);
    }
}

void skipElement(const PlyElement& element, PlyValues& values) {
    if (element.properties.empty()) return;
    for (uint64_t row = 0; row < element.count; ++row) {
        values.startRow(row);
        for (const PlyProperty& property : element.properties) values.skip(property);
    }
}

void buildFaces(GU_Detail& detail, const Faces& faces) {
    size_t corner = 0;
    for (const size_t end : faces.ends) {
        auto* poly = static_cast<GEO_PrimPoly*>(detail.insertPrimitive(GEOPRIMPOLY));
        for (; corner < end; ++corner) poly->appendVertex(detail.points()(faces.corners[corner]));
    }
}

} // namespace

void readPly(GU_Detail& detail, std::string_view bytes) {
    const PlyHeader header = PlyHeader::parse(bytes);
    const PlyElement* vertex = header.find("vertex");
    if (!vertex) throw FormatError("has no element \"vertex\", so no points");
    PlyValues values(bytes, header);
    Faces faces;
    for (const PlyElement& element : header.elements) {
        values.startElement(element);
        if (&element == vertex)
            readVertices(detail, header, element, values);
        else if (element.name == "face")
            readFaces(element, vertex->count, values, faces);
        else
            skipElement(element, values);
    }
    buildFaces(detail, faces);
}

} // namespace formats
