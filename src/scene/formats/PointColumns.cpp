#include "scene/formats/PointColumns.h"

#include "host/geo/GU_Detail.h"

#include <fmt/format.h>
#include <unordered_set>

namespace formats {
namespace {

struct Renamed {
    const char* attribute;
    int components; ///< of the attribute that the names are for
    bool colour;
    std::vector<const char*> columns;
};

// clang-format off
const std::vector<Renamed>& renamed() {
    static const std::vector<Renamed> table = {
        {"v",     3, false, {"vx", "vy", "vz"}},
        {"accel", 3, false, {"ax", "ay", "az"}},
        {"N",     3, false, {"nx", "ny", "nz"}},
        {"Cd",    3, true,  {"red", "green", "blue"}},
        {"Alpha", 1, true,  {"alpha"}},
        {"uv",    3, false, {"s", "t"}},
        {"life",  2, false, {"age", "lifespan"}},
    };
    return table;
}
// clang-format on

class ColumnList {
public:
    explicit ColumnList(bool singleWord)
        : mySingleWord(singleWord) {}

    void add(std::string name, PointColumn::Kind kind, const GB_Attribute* attribute, int offset) {
        if (mySingleWord)
            for (char& c : name)
                if (static_cast<unsigned char>(c) <= 0x20) c = '_';
        while (!myNames.insert(name).second) name += '_';
        myColumns.push_back({std::move(name), kind, attribute, offset});
    }
    void add(const GB_Attribute& attribute) {
        if (attribute.getType() == GB_ATTRIB_RAW) return;
        if (GBisFloatType(attribute.getType()))
            for (const Renamed& entry : renamed())
                if (attribute.getName() == entry.attribute && attribute.components() == entry.components)
                    return addRenamed(attribute, entry);
        addPlain(attribute);
    }
    std::vector<PointColumn> take() { return std::move(myColumns); }

private:
    void addRenamed(const GB_Attribute& attribute, const Renamed& entry) {
        int offset = attribute.getOffset();
        for (const char* name : entry.columns) {
            add(name, entry.colour ? PointColumn::COLOUR : PointColumn::FLOAT, &attribute, offset);
            offset += 4;
        }
    }
    void addPlain(const GB_Attribute& attribute) {
        const int n = attribute.components();
        const PointColumn::Kind kind = attribute.getType() == GB_ATTRIB_INDEX ? PointColumn::STRING
                                       : attribute.getType() == GB_ATTRIB_INT ? PointColumn::INT
                                                                              : PointColumn::FLOAT;
        for (int c = 0; c < n; ++c) {
            std::string name = attribute.getName();
            if (n == 3)
                name += fmt::format("_{}", "xyz"[c]);
            else if (n > 1)
                name += fmt::format("_{}", c);
            add(std::move(name), kind, &attribute, attribute.getOffset() + 4 * c);
        }
    }

    bool mySingleWord;
    std::vector<PointColumn> myColumns;
    std::unordered_set<std::string> myNames; ///< only asked, never walked
};

} // namespace

float PointColumn::floatAt(const GEO_Point& point) const {
    return attribute ? *point.castAttribData<float>(offset) : point.getPos()[offset / 4];
}

int PointColumn::intAt(const GEO_Point& point) const { return *point.castAttribData<int>(offset); }

const char* PointColumn::stringAt(const GEO_Point& point) const { return attribute->getIndex(intAt(point)); }

std::vector<PointColumn> pointColumns(const GU_Detail& detail, bool singleWord) {
    ColumnList list(singleWord);
    for (int c = 0; c < 3; ++c) list.add(std::string(1, "xyz"[c]), PointColumn::FLOAT, nullptr, 4 * c);
    for (const auto& attribute : detail.pointAttribs()) list.add(*attribute);
    return list.take();
}

} // namespace formats
