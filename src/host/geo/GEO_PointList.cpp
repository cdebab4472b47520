#include "host/geo/GEO_PointList.h"

void GEO_PointList::updateNumbers() const {
    if (myNumbered == myOrder.size()) return;
    myNumbers.resize(myPool.slotEnd());
    for (; myNumbered < myOrder.size(); ++myNumbered)
        myNumbers[myOrder[myNumbered]] = static_cast<uint32_t>(myNumbered);
}

GEO_Point* GEO_PointList::firstFrom(size_t number, const GB_Group* group) const {
    for (const size_t end = entries(); number < end; ++number)
        if (!group || group->containsSlot(myOrder[number])) return bySlot(myOrder[number]);
    return nullptr;
}

size_t GEO_PointList::removeSlots(const UT_BitSet& slots) {
    // Numbers before the first removal stay right.
    size_t at = 0, first = myOrder.size();
    const size_t removed = myOrder.keepIf([&](uint32_t slot) {
        const bool keep = slot >= slots.size() || !slots.test(slot);
        if (!keep && at < first) first = at;
        ++at;
        return keep;
    });
    if (myNumbered > first) myNumbered = first;
    return removed;
}

void GEO_PointList::clear() {
    myOrder.clear();
    myNumbers.clear();
    myNumbered = 0;
}
