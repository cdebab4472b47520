#pragma once

#include <cstddef>
#include <cstring>
#include <vector>

class GEO_Point;

/// Byte offsets of float components inside a record.
class GB_FloatOffsets {
public:
    void append(int offset) { myOffsets.push_back(offset); }
    void clear() { myOffsets.clear(); }
    int entries() const { return static_cast<int>(myOffsets.size()); }
    int operator()(int i) const { return myOffsets[static_cast<size_t>(i)]; }
    auto begin() const { return myOffsets.begin(); }
    auto end() const { return myOffsets.end(); }

private:
    std::vector<int> myOffsets;
};

/// A record of attribute data of its own, laid out like that of some element class.
class GB_AttributeData {
public:
    GB_AttributeData() = default;
    explicit GB_AttributeData(int size) { resize(size); }

    /// Sets the size in bytes; bytes that come new are zero.
    void resize(int size) { myBytes.resize(static_cast<size_t>(size), 0); }
    int size() const { return static_cast<int>(myBytes.size()); }
    void clear() { myBytes.assign(myBytes.size(), 0); } ///< zeros, same size
    char* data() { return myBytes.data(); }
    const char* data() const { return myBytes.data(); }
    template <class T> T* castAttribData(int offset) { return reinterpret_cast<T*>(data() + offset); }
    template <class T> const T* castAttribData(int offset) const { return reinterpret_cast<const T*>(data() + offset); }

    /// Takes size() bytes from another record's attribute data.
    void copy(const char* src) {
        if (!myBytes.empty()) std::memcpy(data(), src, myBytes.size());
    }
    void copy(const GB_AttributeData& src) { myBytes = src.myBytes; }
    /// Adds scale * src to the listed floats.
    void addScaleData(const GB_FloatOffsets& offsets, const char* src, float scale);
    void addScaleData(const GB_FloatOffsets& offsets, const GB_AttributeData& src, float scale) {
        addScaleData(offsets, src.data(), scale);
    }
    /// Multiplies the listed floats.
    void mulf(const GB_FloatOffsets& offsets, float factor);

private:
    std::vector<char> myBytes;
};
