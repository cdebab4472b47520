#include "host/geo/GU_Detail.h"
#include "scene/formats/AtomicFile.h"
#include "scene/formats/FormatError.h"
#include "scene/formats/LittleEndian.h"
#include "scene/formats/PlyHeader.h"
#include "scene/formats/PlyStrings.h"
#include "scene/formats/PointColumns.h"
#include "scene/formats/Writers.h"

#include <cmath>
#include <fmt/format.h>

namespace formats {
namespace {

constexpr size_t FLUSH = 1 << 16;

/// Calls fn(const uint32_t* slots, size_t count) for each face: closed polygons with corners, and the cells of meshes.
template <class Fn> void forEachFace(const GU_Detail& detail, Fn&& fn) {
    std::vector<uint32_t> slots;
    detail.primitives().forEach(nullptr, [&](const GEO_Primitive* prim) {
        if (prim->getPrimitiveId() == GEOPRIMPOLY && prim->isClosed() && prim->getVertexCount() > 0) {
            slots.clear();
            for (int i = 0; i < prim->getVertexCount(); ++i) slots.push_back(prim->getVertexPointSlot(i));
            fn(slots.data(), slots.size());
        } else if (prim->getPrimitiveId() == GEOPRIMMESH) {
            const auto* mesh = static_cast<const GEO_PrimMesh*>(prim);
            for (int r = 0; r < mesh->cellRows(); ++r)
                for (int c = 0; c < mesh->cellCols(); ++c) {
                    const int corners[] = {mesh->vertexIndex(r, c), mesh->vertexIndex(r, c + 1),
                                           mesh->vertexIndex(r + 1, c + 1), mesh->vertexIndex(r + 1, c)};
                    slots.clear();
                    for (const int corner : corners) slots.push_back(mesh->getVertexPointSlot(corner));
                    fn(slots.data(), slots.size());
                }
        }
    });
}

struct FaceCount {
    size_t faces = 0;
    size_t mostCorners = 0;
    bool wide() const { return mostCorners > 255; } ///< too many corners for a length in one byte
};

FaceCount countFaces(const GU_Detail& detail) {
    FaceCount out;
    forEachFace(detail, [&](const uint32_t*, size_t corners) {
        ++out.faces;
        out.mostCorners = std::max(out.mostCorners, corners);
    });
    return out;
}

const char* typeName(PointColumn::Kind kind) {
    return kind == PointColumn::COLOUR ? "uchar" : kind == PointColumn::FLOAT ? "float" : "int";
}

void writeHeader(const GU_Detail& detail, const std::vector<PointColumn>& columns, const FaceCount& count,
                 AtomicFile& file) {
    file.write("ply\nformat binary_little_endian 1.0\n");
    for (const PointColumn& column : columns) {
        if (column.kind != PointColumn::STRING) continue;
        const std::vector<std::string>& strings = column.attribute->indexStrings();
        for (size_t i = 0; i < strings.size(); ++i)
            file.write("comment " + plyStringComment(column.name, i, strings[i]) + "\n");
    }
    file.write(fmt::format("element vertex {}\n", detail.points().entries()));
    for (const PointColumn& column : columns)
        file.write(fmt::format("property {} {}\n", typeName(column.kind), column.name));
    if (count.faces)
        file.write(fmt::format("element face {}\nproperty list {} int vertex_indices\n", count.faces,
                               count.wide() ? "uint" : "uchar"));
    file.write("end_header\n");
    if (file.position() > PLY_MAX_HEADER)
        throw FormatError("its strings make a header of more than 16 MiB, which no reader expects; write .bflx");
}

uint8_t colourByte(float value) {
    if (!(value > 0)) return 0;
    return value >= 1 ? uint8_t{255} : static_cast<uint8_t>(std::floor(value * 255 + 0.5f));
}

void appendValue(std::string& out, const PointColumn& column, const GEO_Point& point) {
    switch (column.kind) {
    case PointColumn::FLOAT: appendLittle(out, column.floatAt(point)); break;
    case PointColumn::COLOUR: appendLittle(out, colourByte(column.floatAt(point))); break;
    case PointColumn::INT: appendLittle(out, column.intAt(point)); break;
    case PointColumn::STRING: appendLittle(out, column.stringAt(point) ? column.intAt(point) : -1); break;
    }
}

void flushLarge(std::string& out, AtomicFile& file) {
    if (out.size() < FLUSH) return;
    file.write(out);
    out.clear();
}

} // namespace

void writePly(const GU_Detail& detail, AtomicFile& file) {
    const std::vector<PointColumn> columns = pointColumns(detail, true);
    const FaceCount count = countFaces(detail);
    writeHeader(detail, columns, count, file);
    std::string out;
    detail.points().forEach(nullptr, [&](const GEO_Point* point) {
        for (const PointColumn& column : columns) appendValue(out, column, *point);
        flushLarge(out, file);
    });
    detail.points().updateNumbers();
    forEachFace(detail, [&](const uint32_t* slots, size_t corners) {
        if (count.wide())
            appendLittle(out, static_cast<uint32_t>(corners));
        else
            appendLittle(out, static_cast<uint8_t>(corners));
        for (size_t i = 0; i < corners; ++i) appendLittle(out, detail.points().numberOfSlot(slots[i]));
        flushLarge(out, file);
    });
    file.write(out);
}

} // namespace formats
