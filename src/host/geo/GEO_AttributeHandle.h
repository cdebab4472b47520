#pragma once

#include "host/geo/GB_AttribType.h"
#include "host/geo/GEO_Point.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

class GEO_Detail;

/// Where a float point attribute, or the position itself ("P", 4 floats), lies in the points of a detail.
class GEO_AttributeHandle {
public:
    GEO_AttributeHandle(std::string name, int size, GB_AttribType type, int offset)
        : myName(std::move(name))
        , mySize(size)
        , myType(type)
        , myOffset(offset) {}
    const std::string& getName() const { return myName; }
    int getSize() const { return mySize; } ///< bytes
    int entries() const { return mySize / 4; }
    GB_AttribType getType() const { return myType; }
    int getOffset() const { return myOffset; } ///< -1 for "P"
    bool isPosition() const { return myOffset < 0; }
    const float* get(const GEO_Point* point) const {
        return isPosition() ? point->getPos().data() : point->castAttribData<float>(myOffset);
    }
    float getF(const GEO_Point* point, int component = 0) const { return get(point)[component]; }

private:
    std::string myName;
    int mySize;
    GB_AttribType myType;
    int myOffset;
};

/// Handles on a detail's float point attributes. Handles keep their address until the next bind or clear.
class GEO_AttributeHandleList {
public:
    GEO_AttributeHandleList() = default;
    GEO_AttributeHandleList(const GEO_AttributeHandleList& src) { *this = src; }
    GEO_AttributeHandleList& operator=(const GEO_AttributeHandleList& src);

    /// Forgets all handles and turns to the detail.
    void bind(const GEO_Detail* detail);
    /// Adds "P" and every float and vector point attribute in dictionary order.
    void addAllFloat();
    /// Adds one by name; null when there is no such float attribute. A name added twice gives the same handle.
    GEO_AttributeHandle* add(std::string_view name);
    GEO_AttributeHandle* find(std::string_view name) const;
    size_t entries() const { return myHandles.size(); }
    GEO_AttributeHandle* operator[](size_t i) const { return myHandles[i].get(); }
    void clear() { myHandles.clear(); }

private:
    const GEO_Detail* myDetail = nullptr;
    std::vector<std::unique_ptr<GEO_AttributeHandle>> myHandles;
};
