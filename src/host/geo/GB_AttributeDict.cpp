#include "host/geo/GB_AttributeDict.h"

#include "host/geo/GB_RecordPool.h"

#include <cstring>
#include <string>

namespace {

constexpr int MAX_ATTRIB_BYTES = 1 << 16;
constexpr int MAX_RECORD_BYTES = 1 << 20;

bool isAttribute(std::string_view name, int size, GB_AttribType type) {
    if (name.empty() || size < 1 || size > MAX_ATTRIB_BYTES) return false;
    switch (type) {
    case GB_AttribType::FLOAT:
    case GB_AttribType::INT: return size % 4 == 0;
    case GB_AttribType::RAW: return true;
    case GB_AttribType::INDEX: return size == 4;
    case GB_AttribType::VECTOR: return size % 12 == 0;
    }
    return false;
}

// Calls fn on each value of an index attribute.
struct IndexVisitor {
    int offset;
    std::vector<int>* map;
    bool mark; // first pass: note which strings are used; second: renumber

    static void visit(void* self, char* data) {
        const IndexVisitor& v = *static_cast<IndexVisitor*>(self);
        int value;
        std::memcpy(&value, data + v.offset, sizeof value);
        if (value < 0 || static_cast<size_t>(value) >= v.map->size()) return;
        int& entry = (*v.map)[static_cast<size_t>(value)];
        if (v.mark)
            entry = 1;
        else
            std::memcpy(data + v.offset, &entry, sizeof entry);
    }
};

} // namespace

GB_AttributeDict::GB_AttributeDict() = default;
GB_AttributeDict::~GB_AttributeDict() = default;

int GB_AttributeDict::append(std::string_view name, int size, GB_AttribType type, const void* defaults) {
    if (GB_Attribute* existing = find(name)) return existing->is(name, size, type) ? existing->getOffset() : -1;
    const int padded = (size + 3) & ~3;
    if (!isAttribute(name, size, type) || mySize + padded > MAX_RECORD_BYTES) return -1;

    auto attrib = std::make_unique<GB_Attribute>(std::string(name), size, type, mySize, defaults);
    std::vector<char> bytes(static_cast<size_t>(padded), 0);
    std::memcpy(bytes.data(), attrib->getDefault(), static_cast<size_t>(size));
    grow(bytes.data(), bytes.size());
    myDefaults.insert(myDefaults.end(), bytes.begin(), bytes.end());
    mySize += padded;
    ++mySerial;
    myAttributes.push_back(std::move(attrib));
    return myAttributes.back()->getOffset();
}

int GB_AttributeDict::getOffset(std::string_view name, int size, GB_AttribType type) const {
    const GB_Attribute* attrib = find(name, size, type);
    return attrib ? attrib->getOffset() : -1;
}

GB_Attribute* GB_AttributeDict::find(std::string_view name) const {
    for (const auto& attrib : myAttributes)
        if (attrib->getName() == name) return attrib.get();
    return nullptr;
}

GB_Attribute* GB_AttributeDict::find(std::string_view name, int size, GB_AttribType type) const {
    GB_Attribute* attrib = find(name);
    return attrib && attrib->is(name, size, type) ? attrib : nullptr;
}

int GB_AttributeDict::addIndex(std::string_view name, std::string_view text) {
    GB_Attribute* attrib = find(name, 4, GB_AttribType::INDEX);
    return attrib ? attrib->addIndex(text) : -1;
}

void GB_AttributeDict::cleanIndex(std::string_view name) {
    GB_Attribute* attrib = find(name, 4, GB_AttribType::INDEX);
    if (!attrib) return;
    std::vector<int> map(static_cast<size_t>(attrib->entries()), 0);
    IndexVisitor visitor{attrib->getOffset(), &map, true};
    visitRecords(&IndexVisitor::visit, &visitor);
    // The default is a number too, and is not rewritten: the strings up to it stay where they are.
    int standard;
    std::memcpy(&standard, attrib->getDefault(), sizeof standard);
    for (size_t i = 0; i < map.size() && static_cast<int>(i) <= standard; ++i) map[i] = 1;

    std::vector<std::string> kept;
    for (size_t i = 0; i < map.size(); ++i) {
        if (!map[i]) continue;
        map[i] = static_cast<int>(kept.size());
        kept.push_back(attrib->indexStrings()[i]);
    }
    if (kept.size() == map.size()) return;
    visitor.mark = false;
    visitRecords(&IndexVisitor::visit, &visitor);
    attrib->setIndexStrings(std::move(kept));
}

void GB_AttributeDict::clearAttributes() {
    myAttributes.clear();
    myDefaults.clear();
    mySize = 0;
    ++mySerial;
}

void GB_AttributeDict::copyAttributes(const GB_AttributeDict& src) {
    clearAttributes();
    for (const auto& attrib : src.myAttributes) myAttributes.push_back(std::make_unique<GB_Attribute>(*attrib));
    myDefaults = src.myDefaults;
    mySize = src.mySize;
}

void GB_RecordAttribDict::grow(const char* newBytes, size_t count) { myPool.grow(newBytes, count); }

void GB_RecordAttribDict::visitRecords(void (*fn)(void*, char*), void* context) {
    myPool.forEachLive([&](uint32_t slot) { fn(context, myPool.attribData(slot)); });
}
