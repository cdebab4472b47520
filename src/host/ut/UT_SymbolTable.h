#pragma once

#include <map>
#include <string>
#include <string_view>

/// Values by name. A name that is added again stands for the new value.
template <class T> class UT_SymbolTable {
public:
    void add(std::string_view name, T value) { myValues.insert_or_assign(std::string(name), std::move(value)); }
    /// Null when there is no such name.
    const T* find(std::string_view name) const {
        const auto at = myValues.find(name);
        return at == myValues.end() ? nullptr : &at->second;
    }
    /// The value of a name, or `missing`.
    T lookup(std::string_view name, T missing = T()) const {
        const T* found = find(name);
        return found ? *found : missing;
    }
    bool erase(std::string_view name) {
        const auto at = myValues.find(name);
        if (at == myValues.end()) return false;
        myValues.erase(at);
        return true;
    }
    void clear() { myValues.clear(); }
    size_t entries() const { return myValues.size(); }
    /// In the order of the names.
    auto begin() const { return myValues.begin(); }
    auto end() const { return myValues.end(); }

private:
    std::map<std::string, T, std::less<>> myValues;
};
