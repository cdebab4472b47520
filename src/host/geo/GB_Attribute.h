#pragma once

#include "host/geo/GB_AttribType.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// One attribute of one element class: its name, its place in the element's record, its default, and for index
/// attributes the table of strings that the elements' ints number.
class GB_Attribute {
public:
    /// `defaults` is `size` bytes, or null for zeros (for INDEX: -1, no string).
    GB_Attribute(std::string name, int size, GB_AttribType type, int offset, const void* defaults);

    const std::string& getName() const { return myName; }
    int getSize() const { return mySize; } ///< bytes
    GB_AttribType getType() const { return myType; }
    int getOffset() const { return myOffset; } ///< bytes from the start of an element's attribute data
    const char* getDefault() const { return myDefault.data(); }
    bool is(std::string_view name, int size, GB_AttribType type) const {
        return size == mySize && type == myType && name == myName;
    }
    /// Number of 4-byte components (0 for raw data).
    int components() const { return myType == GB_AttribType::RAW ? 0 : mySize / 4; }

    /// Number of the string, added at the end when the table has it not yet.
    int addIndex(std::string_view text);
    /// First number of the string, or -1.
    int findIndex(std::string_view text) const;
    /// The string of that number, null when out of range.
    const char* getIndex(int i) const;
    const std::vector<std::string>& indexStrings() const { return myStrings; }
    int entries() const { return static_cast<int>(myStrings.size()); }
    /// Removes one string; later ones move down by one. The ints of the elements are the caller's business.
    void destroyIndex(int i);
    void clearIndex();
    /// Appends all strings of the other table in its order, also those this table already has.
    void mergeIndexByAppending(const GB_Attribute& other);
    /// Replaces the whole table.
    void setIndexStrings(std::vector<std::string> strings);

private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const {
            const std::hash<std::string_view> hash{}; // lint-ok: looked up, never walked
            return hash(text);
        }
    };
    void buildLookup() const;

    std::string myName;
    int mySize;
    GB_AttribType myType;
    int myOffset;
    std::vector<char> myDefault;
    std::vector<std::string> myStrings;
    /// First number of each string; only ever asked, never walked. Built on demand after a removal.
    mutable std::unordered_map<std::string, int, Hash, std::equal_to<>> myLookup;
    mutable bool myLookupValid = true;
};
