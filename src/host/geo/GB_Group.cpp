#include "host/geo/GB_Group.h"

#include "host/geo/GEO_Point.h"
#include "host/geo/GEO_Primitive.h"

#include <algorithm>

bool GB_Group::addSlot(uint32_t slot) {
    if (slot >= mySlots.size()) mySlots.resize(std::max<size_t>({64, size_t{slot} + 1, mySlots.size() * 2}));
    return mySlots.set(slot);
}

bool GB_Group::removeSlot(uint32_t slot) { return slot < mySlots.size() && mySlots.clear(slot); }

void GB_Group::removeSlots(const UT_BitSet& slots) {
    if (isEmpty()) return;
    if (slots.count() * 16 < mySlots.size() / 64)
        slots.forEach([&](size_t slot) { removeSlot(static_cast<uint32_t>(slot)); });
    else
        mySlots -= slots;
}

void GB_Group::clear() { mySlots.clearAll(); }

void GB_Group::setSlots(const UT_BitSet& slots) { mySlots = slots; }

void GB_Group::combine(GU_GroupBoolOp op, const UT_BitSet& other) {
    switch (op) {
    case GU_GroupBoolOp::UNION: mySlots |= other; return;
    case GU_GroupBoolOp::INTERSECT: mySlots &= other; return;
    case GU_GroupBoolOp::SUBTRACT: mySlots -= other; return;
    case GU_GroupBoolOp::XOR: {
        UT_BitSet both = mySlots;
        both &= other;
        mySlots |= other;
        mySlots -= both;
        return;
    }
    case GU_GroupBoolOp::COPY: break;
    }
    mySlots = other;
}

bool GB_PointGroup::add(const GEO_Point* point) { return addSlot(point->slot()); }
bool GB_PointGroup::remove(const GEO_Point* point) { return removeSlot(point->slot()); }
bool GB_PointGroup::contains(const GEO_Point* point) const { return containsSlot(point->slot()); }
bool GB_PrimitiveGroup::add(const GEO_Primitive* prim) { return addSlot(prim->slot()); }
bool GB_PrimitiveGroup::remove(const GEO_Primitive* prim) { return removeSlot(prim->slot()); }
bool GB_PrimitiveGroup::contains(const GEO_Primitive* prim) const { return containsSlot(prim->slot()); }
