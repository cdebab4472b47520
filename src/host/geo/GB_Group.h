#pragma once

#include "host/ut/UT_BitSet.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class GEO_Point;
class GEO_Primitive;

/// How two groups combine; the numbers are those operators pass.
enum class GU_GroupBoolOp : int { COPY = 0, UNION = 1, INTERSECT = 2, XOR = 3, SUBTRACT = 4 };

/// A set of elements of one class of one detail, kept as bits over record slots, so renumbering leaves it alone.
/// Freed records leave every group of their detail. Members are walked in element order through the element lists.
class GB_Group {
public:
    GB_Group(std::string name, bool internal)
        : myName(std::move(name))
        , myInternal(internal) {}

    const std::string& getName() const { return myName; }
    bool getInternal() const { return myInternal; } ///< hidden from users (names that start with "__")
    size_t entries() const { return mySlots.count(); }
    int isEmpty() const { return !mySlots.any(); }
    int getFlags() const { return myFlags; } ///< free for operators and viewers
    void setFlags(int flags) { myFlags = flags; }

    bool containsSlot(uint32_t slot) const { return slot < mySlots.size() && mySlots.test(slot); }
    bool addSlot(uint32_t slot);    ///< true when it was no member yet
    bool removeSlot(uint32_t slot); ///< true when it was a member
    void removeSlots(const UT_BitSet& slots);
    void clear();
    const UT_BitSet& slots() const { return mySlots; }
    void setSlots(const UT_BitSet& slots);
    /// This group becomes (this op other); COPY takes the other as it is.
    void combine(GU_GroupBoolOp op, const UT_BitSet& other);

private:
    template <class Group> friend class GB_GroupListOf;
    std::string myName;
    size_t myPlace = 0; ///< in its list
    bool myInternal;
    int myFlags = 0;
    UT_BitSet mySlots; ///< as large as its highest member so far asked for
};

/// A group of points.
class GB_PointGroup : public GB_Group {
public:
    using GB_Group::GB_Group;
    bool add(const GEO_Point* point);
    bool remove(const GEO_Point* point);
    bool contains(const GEO_Point* point) const;
};

/// A group of primitives.
class GB_PrimitiveGroup : public GB_Group {
public:
    using GB_Group::GB_Group;
    bool add(const GEO_Primitive* prim);
    bool remove(const GEO_Primitive* prim);
    bool contains(const GEO_Primitive* prim) const;
};
