#pragma once

#include "host/geo/GB_Attribute.h"

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

class GB_RecordPool;

/// The attributes of one element class, in order of their creation, and the layout of its records.
///
/// Offsets are bytes, multiples of 4, and never change once given out. Appending an attribute lays out every record
/// anew: pointers into records (`GEO_Point*` among them) die, slot numbers and offsets stay.
class GB_AttributeDict {
public:
    virtual ~GB_AttributeDict();
    GB_AttributeDict(const GB_AttributeDict&) = delete;
    GB_AttributeDict& operator=(const GB_AttributeDict&) = delete;

    /// Offset of the attribute: of the existing one when name, size and type agree; -1, nothing appended, when the
    /// name exists with another size or type, or when the request is no attribute (empty name, size not in
    /// 1 ... 65536, numbers whose size is no multiple of 4, an index of other than 4 bytes, a vector of no triples).
    int append(std::string_view name, int size, GB_AttribType type, const void* defaults = nullptr);
    /// Offset of the attribute with exactly this name, size and type, or -1.
    int getOffset(std::string_view name, int size, GB_AttribType type) const;
    GB_Attribute* find(std::string_view name) const;
    GB_Attribute* find(std::string_view name, int size, GB_AttribType type) const;
    int addIndex(std::string_view name, std::string_view text); ///< -1 when there is no such index attribute

    /// Attributes in order of creation.
    size_t entries() const { return myAttributes.size(); }
    GB_Attribute* operator[](size_t i) const { return myAttributes[i].get(); }
    auto begin() const { return myAttributes.begin(); }
    auto end() const { return myAttributes.end(); }

    int recordSize() const { return mySize; }                  ///< bytes of attribute data per element
    const char* defaults() const { return myDefaults.data(); } ///< a record of defaults
    uint64_t layoutSerial() const { return mySerial; }         ///< raised whenever the layout changes
    /// Drops the strings that no element refers to and renumbers the others; the elements' ints follow.
    void cleanIndex(std::string_view name);

protected:
    GB_AttributeDict();
    friend class GB_Detail;
    /// Makes every record grow by these bytes at its end.
    virtual void grow(const char* newBytes, size_t count) = 0;
    /// Calls fn(context, pointer to the attribute data) for every living record.
    virtual void visitRecords(void (*fn)(void*, char*), void* context) = 0;
    void clearAttributes();                           ///< the records are the caller's business
    void copyAttributes(const GB_AttributeDict& src); ///< likewise

private:
    std::vector<std::unique_ptr<GB_Attribute>> myAttributes;
    std::vector<char> myDefaults;
    int mySize = 0;
    uint64_t mySerial = 0;
};

/// Attributes whose records live in a pool (points, vertices, primitives).
class GB_RecordAttribDict : public GB_AttributeDict {
public:
    explicit GB_RecordAttribDict(GB_RecordPool& pool)
        : myPool(pool) {}

private:
    void grow(const char* newBytes, size_t count) override;
    void visitRecords(void (*fn)(void*, char*), void* context) override;
    GB_RecordPool& myPool;
};

using GEO_PointAttribDict = GB_RecordAttribDict;
using GEO_VertexAttribDict = GB_RecordAttribDict;
using GEO_PrimAttribDict = GB_RecordAttribDict;

/// The attributes of a detail itself: one record, owned here.
class GB_AttributeTable : public GB_AttributeDict {
public:
    using GB_AttributeDict::append;
    /// `info` is kept for callers that pass one and means nothing.
    int append(std::string_view name, int size, GB_AttribType type, const void* info, const void* defaults) {
        static_cast<void>(info);
        return append(name, size, type, defaults);
    }
    char* attribData() { return myRecord.data(); }
    const char* attribData() const { return myRecord.data(); }
    template <class T> T* castAttribData(int offset) { return reinterpret_cast<T*>(attribData() + offset); }
    template <class T> const T* castAttribData(int offset) const {
        return reinterpret_cast<const T*>(attribData() + offset);
    }

private:
    friend class GB_Detail;
    void grow(const char* newBytes, size_t count) override {
        myRecord.insert(myRecord.end(), newBytes, newBytes + count);
    }
    void visitRecords(void (*fn)(void*, char*), void* context) override { fn(context, myRecord.data()); }
    std::vector<char> myRecord;
};
