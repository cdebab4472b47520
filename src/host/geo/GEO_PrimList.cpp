#include "host/geo/GEO_PrimList.h"

GEO_PrimList::GEO_PrimList() = default;
GEO_PrimList::~GEO_PrimList() = default;

GEO_Primitive* GEO_PrimList::firstFrom(size_t number, unsigned typeMask, const GB_Group* group) const {
    for (; number < myPrims.size(); ++number) {
        GEO_Primitive* prim = myPrims[number].get();
        if ((prim->getPrimitiveId() & typeMask) && (!group || group->containsSlot(prim->slot()))) return prim;
    }
    return nullptr;
}
