#include "scene/StateHash.h"

#include "core/FLX_ContextData.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <fmt/format.h>
#include <map>

namespace {

/// Folds 32-bit words; each step is a bijection of the state for a given word (multiply by an odd number, xor-shift),
/// so no word is lost. Constants from Steele, Lea, Flood, "Fast splittable pseudorandom number generators", 2014.
class Hasher {
public:
    void word(uint32_t w) {
        myState = (myState ^ w) * 0x9e3779b97f4a7c15ull;
        myState ^= myState >> 29;
    }
    void words(const char* data, size_t bytes) {
        for (size_t i = 0; i + 4 <= bytes; i += 4) {
            uint32_t w;
            std::memcpy(&w, data + i, 4);
            word(w);
        }
        for (size_t i = bytes & ~size_t(3); i < bytes; ++i) word(static_cast<uint8_t>(data[i]));
    }
    void number(uint64_t n) {
        word(static_cast<uint32_t>(n));
        word(static_cast<uint32_t>(n >> 32));
    }
    void real(float f) { word(std::bit_cast<uint32_t>(f)); }
    void text(const std::string& text) {
        number(text.size());
        for (const char c : text) word(static_cast<uint8_t>(c));
    }
    uint64_t value() const {
        uint64_t h = myState;
        h = (h ^ (h >> 30)) * 0xbf58476d1ce4e5b9ull;
        h = (h ^ (h >> 27)) * 0x94d049bb133111ebull;
        return h ^ (h >> 31);
    }

private:
    uint64_t myState = 0x243f6a8885a308d3ull;
};

uint64_t hashOf(const std::string& text) {
    Hasher h;
    h.text(text);
    return h.value();
}

/// The attributes of one class by name, ready to fold element after element.
class AttributeColumns {
public:
    explicit AttributeColumns(const GB_AttributeDict& dict) {
        for (const auto& attribute : dict) myColumns.push_back({attribute.get(), {}});
        std::sort(myColumns.begin(), myColumns.end(),
                  [](const Column& a, const Column& b) { return a.attribute->getName() < b.attribute->getName(); });
        for (Column& column : myColumns)
            if (column.attribute->getType() == GB_ATTRIB_INDEX)
                for (const std::string& text : column.attribute->indexStrings()) column.strings.push_back(hashOf(text));
    }
    void foldNames(Hasher& h) const {
        h.number(myColumns.size());
        for (const Column& column : myColumns) {
            h.text(column.attribute->getName());
            h.word(uint32_t(column.attribute->getType()));
            h.word(uint32_t(column.attribute->getSize()));
            if (column.attribute->getType() != GB_ATTRIB_INDEX)
                h.words(column.attribute->getDefault(), size_t(column.attribute->getSize()));
        }
    }
    void foldElement(Hasher& h, const char* data) const {
        for (const Column& column : myColumns) {
            const char* at = data + column.attribute->getOffset();
            if (column.attribute->getType() == GB_ATTRIB_INDEX)
                foldIndex(h, column, at);
            else
                h.words(at, size_t(column.attribute->getSize()));
        }
    }

private:
    struct Column {
        const GB_Attribute* attribute;
        std::vector<uint64_t> strings;
    };
    static void foldIndex(Hasher& h, const Column& column, const char* at) {
        uint32_t index;
        std::memcpy(&index, at, 4);
        h.number(index < column.strings.size() ? column.strings[index] : 0);
    }
    std::vector<Column> myColumns;
};

void foldShape(Hasher& h, const GEO_Primitive& prim) {
    if (const auto* mesh = dynamic_cast<const GEO_PrimMesh*>(&prim)) {
        h.word(uint32_t(mesh->getNumRows()));
        h.word(uint32_t(mesh->getNumCols()));
        h.word(uint32_t(mesh->isWrappedU()) + 2 * uint32_t(mesh->isWrappedV()));
    }
    if (const auto* quadric = dynamic_cast<const GEO_PrimQuadric*>(&prim)) {
        const UT_Matrix3 m = quadric->getXform();
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) h.real(m(i, j));
    }
    if (const auto* tube = dynamic_cast<const GEO_PrimTube*>(&prim)) h.real(tube->getTaper());
    if (const auto* ball = dynamic_cast<const GEO_PrimMetaball*>(&prim)) {
        h.real(ball->getWeight());
        h.word(uint32_t(ball->getKernel()));
    }
}

void foldPoints(Hasher& h, const GU_Detail& detail) {
    const AttributeColumns columns(detail.pointAttribs());
    columns.foldNames(h);
    h.number(detail.points().entries());
    detail.points().forEach(nullptr, [&](const GEO_Point* point) {
        for (int i = 0; i < 4; ++i) h.real(point->getPos()[i]);
        columns.foldElement(h, point->data());
    });
}

void foldPrimitives(Hasher& h, const GU_Detail& detail) {
    const AttributeColumns columns(detail.primitiveAttribs()), vertexColumns(detail.vertexAttribs());
    columns.foldNames(h);
    vertexColumns.foldNames(h);
    detail.points().updateNumbers();
    h.number(detail.primitives().entries());
    for (size_t i = 0; i < detail.primitives().entries(); ++i) {
        const GEO_Primitive& prim = *detail.primitives()[i];
        h.word(prim.getPrimitiveId());
        h.word(prim.isClosed());
        foldShape(h, prim);
        columns.foldElement(h, prim.data());
        h.number(uint64_t(prim.getVertexCount()));
        for (int v = 0; v < prim.getVertexCount(); ++v) {
            h.word(detail.points().numberOfSlot(prim.getVertexPointSlot(v)));
            if (const GEO_Vertex* vertex = prim.getVertex(v)) vertexColumns.foldElement(h, vertex->data());
        }
    }
}

template <class List, class Fold> void foldGroups(Hasher& h, const List& groups, Fold foldMembers) {
    std::map<std::string, const GB_Group*> byName;
    for (size_t i = 0; i < groups.entries(); ++i) byName[groups[i]->getName()] = groups[i];
    h.number(byName.size());
    for (const auto& [name, group] : byName) {
        h.text(name);
        h.number(group->entries());
        foldMembers(group);
    }
}

void foldDetail(Hasher& h, const GU_Detail& detail) {
    foldPoints(h, detail);
    foldPrimitives(h, detail);
    foldGroups(h, detail.pointGroups(), [&](const GB_Group* group) {
        detail.points().forEach(group, [&](const GEO_Point* point) { h.word(detail.points().number(point)); });
    });
    foldGroups(h, detail.primitiveGroups(), [&](const GB_Group* group) {
        detail.primitives().forEach(group, [&](const GEO_Primitive* prim) { h.word(uint32_t(prim->getNum())); });
    });
    const AttributeColumns columns(detail.attribs());
    columns.foldNames(h);
    columns.foldElement(h, detail.attribData());
}

} // namespace

uint64_t hashDetail(const GU_Detail& detail) {
    Hasher h;
    foldDetail(h, detail);
    return h.value();
}

uint64_t hashState(const FLX_ContextData& context) {
    Hasher h;
    h.real(context.time);
    h.word(context.getRandomSeed());
    if (!context.getDetail()) return h.value();
    const GU_Detail& detail = *context.getDetail();
    foldDetail(h, detail);
    // The next id is among the detail's attributes; events are the strings of one that no element refers to.
    if (const GB_Attribute* events = context.getEventAttr())
        for (const std::string& event : events->indexStrings()) h.text(event);
    return h.value();
}

std::string hashText(uint64_t hash) { return fmt::format("{:016x}", hash); }
