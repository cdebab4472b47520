#include "host/geo/GB_Attribute.h"

#include <cstring>
#include <utility>

GB_Attribute::GB_Attribute(std::string name, int size, GB_AttribType type, int offset, const void* defaults)
    : myName(std::move(name))
    , mySize(size)
    , myType(type)
    , myOffset(offset)
    , myDefault(static_cast<size_t>(size), type == GB_AttribType::INDEX ? '\xff' : '\0') {
    if (defaults) std::memcpy(myDefault.data(), defaults, myDefault.size());
}

void GB_Attribute::buildLookup() const {
    myLookup.clear();
    for (size_t i = 0; i < myStrings.size(); ++i) myLookup.try_emplace(myStrings[i], static_cast<int>(i));
    myLookupValid = true;
}

int GB_Attribute::findIndex(std::string_view text) const {
    if (!myLookupValid) buildLookup();
    const auto it = myLookup.find(text);
    return it == myLookup.end() ? -1 : it->second;
}

int GB_Attribute::addIndex(std::string_view text) {
    const int found = findIndex(text);
    if (found >= 0) return found;
    myStrings.emplace_back(text);
    myLookup.emplace(myStrings.back(), entries() - 1);
    return entries() - 1;
}

const char* GB_Attribute::getIndex(int i) const {
    return i >= 0 && i < entries() ? myStrings[static_cast<size_t>(i)].c_str() : nullptr;
}

void GB_Attribute::destroyIndex(int i) {
    if (i < 0 || i >= entries()) return;
    myStrings.erase(myStrings.begin() + i);
    myLookupValid = false;
}

void GB_Attribute::clearIndex() { setIndexStrings({}); }

void GB_Attribute::mergeIndexByAppending(const GB_Attribute& other) {
    const std::vector<std::string> added = other.myStrings; // other may be this
    myStrings.insert(myStrings.end(), added.begin(), added.end());
    myLookupValid = false;
}

void GB_Attribute::setIndexStrings(std::vector<std::string> strings) {
    myStrings = std::move(strings);
    myLookupValid = false;
}
