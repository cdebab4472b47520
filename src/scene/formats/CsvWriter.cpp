#include "host/geo/GU_Detail.h"
#include "scene/formats/AtomicFile.h"
#include "scene/formats/PointColumns.h"
#include "scene/formats/TextNumbers.h"
#include "scene/formats/Writers.h"

namespace formats {
namespace {

constexpr size_t FLUSH = 1 << 16;

/// Quoted as in RFC 4180 when it has to be.
void appendField(std::string& out, std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
        out += text;
        return;
    }
    out += '"';
    for (const char c : text) {
        if (c == '"') out += '"';
        out += c;
    }
    out += '"';
}

void appendValue(std::string& out, const PointColumn& column, const GEO_Point& point) {
    switch (column.kind) {
    case PointColumn::FLOAT:
    case PointColumn::COLOUR: appendFloat(out, column.floatAt(point)); break;
    case PointColumn::INT: appendInteger(out, column.intAt(point)); break;
    case PointColumn::STRING:
        if (const char* text = column.stringAt(point)) appendField(out, text);
        break;
    }
}

} // namespace

void writeCsv(const GU_Detail& detail, AtomicFile& file) {
    const std::vector<PointColumn> columns = pointColumns(detail, false);
    std::string out;
    for (size_t i = 0; i < columns.size(); ++i) {
        if (i) out += ',';
        appendField(out, columns[i].name);
    }
    out += '\n';
    detail.points().forEach(nullptr, [&](const GEO_Point* point) {
        for (size_t i = 0; i < columns.size(); ++i) {
            if (i) out += ',';
            appendValue(out, columns[i], *point);
        }
        out += '\n';
        if (out.size() < FLUSH) return;
        file.write(out);
        out.clear();
    });
    file.write(out);
}

} // namespace formats
