#pragma once

#include "host/geo/GB_Group.h"
#include "host/geo/GEO_Point.h"
#include "host/ut/UT_SegmentedArray.h"

#include <cstdint>
#include <span>
#include <vector>

/// The points of a detail in order: numbers are positions in an array of slots.
///
/// Removing points closes the gaps and keeps the order. The reverse table (slot to number) is brought up to date when
/// it is asked for, so `number` is not for several threads at once unless `updateNumbers` ran before.
class GEO_PointList {
public:
    explicit GEO_PointList(GB_RecordPool& pool)
        : myPool(pool) {}

    size_t entries() const { return myOrder.size(); }
    GEO_Point* operator()(size_t number) const { return bySlot(myOrder[number]); }
    GEO_Point* operator[](size_t number) const { return bySlot(myOrder[number]); }
    uint32_t slotAt(size_t number) const { return myOrder[number]; }
    GEO_Point* bySlot(uint32_t slot) const { return reinterpret_cast<GEO_Point*>(myPool.record(slot)); }
    /// For hot loops: slot to point without touching this list.
    GEO_PointAccess access() const { return GEO_PointAccess(myPool.view()); }
    const UT_SegmentedArray<uint32_t>& order() const { return myOrder; }
    /// One past the highest slot in use: the size of a table over slots.
    uint32_t slotEnd() const { return myPool.slotEnd(); }

    uint32_t number(const GEO_Point* point) const { return numberOfSlot(point->slot()); }
    uint32_t numberOfSlot(uint32_t slot) const {
        updateNumbers();
        return myNumbers[slot];
    }
    void updateNumbers() const;

    /// First point, or first member of the group, in point order; null when there is none.
    GEO_Point* rawHead(const GB_Group* group = nullptr) const { return firstFrom(0, group); }
    GEO_Point* rawNext(const GEO_Point* point, const GB_Group* group = nullptr) const {
        return firstFrom(size_t{number(point)} + 1, group);
    }
    /// Calls fn(GEO_Point*) for the members of the group (all points when null) in point order. fn may birth points,
    /// which are not visited, but must not remove points, append attributes or add to the group.
    template <class Fn> void forEach(const GB_Group* group, Fn&& fn) const {
        const size_t end = entries();
        size_t left = group ? group->entries() : end;
        for (size_t i = 0; i < end && left; ++i) {
            const uint32_t slot = myOrder[i];
            if (group && !group->containsSlot(slot)) continue;
            --left;
            fn(bySlot(slot));
        }
    }

    /// Calls fn(first slot, bits) for every 256 slots with points, in the order of memory; see GB_RecordPool.
    template <class Fn> void forEachWindow(Fn&& fn) const { myPool.forEachWindow(fn); }

private:
    friend class GB_Detail;
    friend class GEO_Detail;
    GEO_Point* firstFrom(size_t number, const GB_Group* group) const;
    void append(uint32_t slot) { myOrder.push_back(slot); }
    void append(std::span<const uint32_t> slots) { myOrder.append(slots); }
    size_t removeSlots(const UT_BitSet& slots);
    void clear();

    GB_RecordPool& myPool;
    UT_SegmentedArray<uint32_t> myOrder;
    mutable std::vector<uint32_t> myNumbers; ///< by slot, right for the first myNumbered points
    mutable size_t myNumbered = 0;
};
