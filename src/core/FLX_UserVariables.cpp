#include "core/FLX_UserVariables.h"

#include <mutex>

#include "host/ut/UT_String.h"

FLX_UserVariables& FLX_UserVariables::operator=(const FLX_UserVariables& src) {
    if (this == &src) return *this;
    clear();
    std::map<const Record*, const Record*> copies;
    for (const auto& [name, record] : src.myRecords) {
        auto copy = std::make_unique<Record>(*record);
        copies[record.get()] = copy.get();
        myRecords.emplace(name, std::move(copy));
    }
    for (const CH_LocalVariable* variable = src.table(); variable && variable->name; ++variable) {
        const Component& component = src.myComponents[size_t(variable->id - FIRST_ID)];
        registerNames({{variable->name, component.index}}, *copies[component.record]);
    }
    return *this;
}

void FLX_UserVariables::clear() {
    myRecords.clear();
    myComponents.clear();
    myTables.clear();
    myNames.clear();
}

// Ids are given out once per process: an expression bound to an id keeps its meaning from context to context.
int FLX_UserVariables::idOf(const std::string& name) {
    static std::mutex lock;
    static std::map<std::string, int> ids;
    const std::lock_guard guard(lock);
    return ids.emplace(name, FIRST_ID + int(ids.size())).first->second;
}

std::vector<FLX_UserVariables::Name> FLX_UserVariables::namesOf(const std::string& variable, int size,
                                                                GB_AttribType type) {
    if (type == GB_ATTRIB_VECTOR) return {{variable + "X", 0}, {variable + "Y", 1}, {variable + "Z", 2}};
    std::vector<Name> names;
    if (size == 4) names.push_back({variable, 0});
    for (int i = 0; i < size / 4; ++i) names.push_back({variable + std::to_string(i + 1), i});
    return names;
}

void FLX_UserVariables::registerNames(const std::vector<Name>& names, const Record& record) {
    std::vector<CH_LocalVariable> table;
    if (!myTables.empty()) table.assign(myTables.back().begin(), myTables.back().end() - 1);
    for (const Name& name : names) {
        const int id = idOf(name.text);
        const auto slot = size_t(id - FIRST_ID);
        if (slot >= myComponents.size()) myComponents.resize(slot + 1, {nullptr, 0});
        myComponents[slot] = {&record, name.component};
        myNames.push_back(std::make_unique<std::string>(name.text));
        table.push_back({myNames.back()->c_str(), id, 0});
    }
    table.push_back({});
    myTables.push_back(std::move(table));
}

int FLX_UserVariables::add(GB_AttributeDict& attribs, const char* name, int size, GB_AttribType type, const void* def,
                           const char* varname) {
    if (type != GB_ATTRIB_FLOAT && type != GB_ATTRIB_INT && type != GB_ATTRIB_VECTOR) return -1;
    UT_String upper(varname && *varname ? varname : name);
    upper.toUpper();
    const std::string variable = upper.str();

    if (const auto found = myRecords.find(variable); found != myRecords.end()) {
        const Record& record = *found->second;
        return record.size == size && record.type == type && record.attrib == name ? record.offset : -1;
    }
    const int offset = attribs.append(name, size, type, def);
    if (offset < 0) return -1;
    auto owned = std::make_unique<Record>(Record{name, size, type, offset});
    const Record& record = *owned;
    myRecords.emplace(variable, std::move(owned));

    registerNames(namesOf(variable, size, type), record);
    return offset;
}

void FLX_UserVariables::recache(const GB_AttributeDict& attribs) {
    for (auto& [name, record] : myRecords)
        record->offset = attribs.getOffset(record->attrib, record->size, record->type);
}

bool FLX_UserVariables::place(int id, int& offset, bool& isInt) const {
    const auto slot = size_t(id - FIRST_ID);
    if (id < FIRST_ID || slot >= myComponents.size() || !myComponents[slot].record) return false;
    const auto [record, component] = myComponents[slot];
    if (record->offset < 0) return false;
    offset = record->offset + 4 * component;
    isInt = record->type == GB_ATTRIB_INT;
    return true;
}

bool FLX_UserVariables::value(const GEO_Point* point, int id, float& out) const {
    int offset = 0;
    bool isInt = false;
    if (!place(id, offset, isInt)) return false;
    out = isInt ? float(*point->castAttribData<int>(offset)) : *point->castAttribData<float>(offset);
    return true;
}
