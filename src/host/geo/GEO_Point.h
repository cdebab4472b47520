#pragma once

#include "host/geo/GB_RecordPool.h"
#include "host/ut/UT_Vector4.h"

#include <cstdint>

/// A point: the header of its record in the detail's point pool, with the attribute data right behind it.
///
/// Points are made by a detail, never constructed. The address dies when an attribute is appended; the slot does not.
class GEO_Point {
public:
    GEO_Point() = delete;
    GEO_Point(const GEO_Point&) = delete;
    GEO_Point& operator=(const GEO_Point&) = delete;

    UT_Vector4& getPos() { return myPos; }
    const UT_Vector4& getPos() const { return myPos; }
    void setPos(const UT_Vector4& pos) { myPos = pos; }
    uint32_t slot() const { return mySlot; }

    char* data() { return reinterpret_cast<char*>(this) + sizeof(GEO_Point); }
    const char* data() const { return reinterpret_cast<const char*>(this) + sizeof(GEO_Point); }
    /// The attribute at a byte offset that the point attribute dictionary gave (never negative).
    template <class T> T* castAttribData(int offset) { return reinterpret_cast<T*>(data() + offset); }
    template <class T> const T* castAttribData(int offset) const { return reinterpret_cast<const T*>(data() + offset); }

private:
    friend class GB_Detail;
    friend class GEO_WorkVertexBuffer;
    UT_Vector4 myPos;
    uint32_t mySlot;
};

static_assert(sizeof(GEO_Point) == 20 && alignof(GEO_Point) == 4, "the point header is part of the record layout");

/// The record of a point that is none: what births of many points alike are copied from. It starts as a new point.
class GEO_PointModel {
public:
    explicit GEO_PointModel(const GB_RecordPool& pool)
        : myRecord(pool.newRecord()) {
        point()->setPos({0, 0, 0, 1});
    }
    GEO_Point* point() { return reinterpret_cast<GEO_Point*>(myRecord.data()); }
    const char* record() const { return myRecord.data(); }

private:
    std::vector<char> myRecord;
};

/// Slot to point for hot loops; see GB_RecordView for how long it is valid.
class GEO_PointAccess {
public:
    GEO_PointAccess()
        : myView{nullptr, 0} {}
    explicit GEO_PointAccess(GB_RecordView view)
        : myView(view) {}
    GEO_Point* operator()(uint32_t slot) const { return reinterpret_cast<GEO_Point*>(myView(slot)); }
    /// Bytes from a record to the next one of its slab.
    size_t stride() const { return myView.stride; }

private:
    GB_RecordView myView;
};

/// A vertex of a polygon, mesh or quadric: which point it uses, and its attribute data right behind.
class GEO_Vertex {
public:
    GEO_Vertex() = delete;
    GEO_Vertex(const GEO_Vertex&) = delete;
    GEO_Vertex& operator=(const GEO_Vertex&) = delete;

    uint32_t pointSlot() const { return myPoint; }
    uint32_t slot() const { return mySlot; }
    char* data() { return reinterpret_cast<char*>(this) + sizeof(GEO_Vertex); }
    const char* data() const { return reinterpret_cast<const char*>(this) + sizeof(GEO_Vertex); }
    template <class T> T* castAttribData(int offset) { return reinterpret_cast<T*>(data() + offset); }
    template <class T> const T* castAttribData(int offset) const { return reinterpret_cast<const T*>(data() + offset); }

private:
    friend class GB_Detail;
    friend class GEO_VertexPrimitive;
    uint32_t myPoint;
    uint32_t mySlot;
};

static_assert(sizeof(GEO_Vertex) == 8);
