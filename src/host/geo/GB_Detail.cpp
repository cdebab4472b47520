#include "host/geo/GB_Detail.h"

#include "host/geo/GEO_Primitive.h"

#include <atomic>

namespace {

uint64_t nextDataId() {
    static std::atomic<uint64_t> last{0};
    return ++last;
}

} // namespace

GB_Detail::GB_Detail()
    : myDataId(nextDataId())
    , myTopology{myDataId, 0} {}
GB_Detail::~GB_Detail() = default;

GB_AttributeDict& GB_Detail::attribs(GB_AttribClass cls) {
    switch (cls) {
    case GB_AttribClass::POINT: return myPointAttribs;
    case GB_AttribClass::VERTEX: return myVertexAttribs;
    case GB_AttribClass::PRIMITIVE: return myPrimAttribs;
    case GB_AttribClass::DETAIL: break;
    }
    return myAttribs;
}

uint64_t GB_Detail::layoutSerial() const {
    return myPointAttribs.layoutSerial() + myVertexAttribs.layoutSerial() + myPrimAttribs.layoutSerial() +
           myAttribs.layoutSerial();
}

uint32_t GB_Detail::birthPointSlot() {
    const uint32_t slot = myPointPool.allocate();
    GEO_Point* point = myPoints.bySlot(slot);
    point->myPos = UT_Vector4(0, 0, 0, 1);
    point->mySlot = slot;
    myPoints.append(slot);
    noteGrowth();
    return slot;
}

size_t GB_Detail::birthPointSlots(const GEO_PointModel& model, uint32_t* slots, size_t n) {
    n = myPointPool.allocate(model.record(), slots, n);
    for (size_t i = 0; i < n; ++i) myPoints.bySlot(slots[i])->mySlot = slots[i];
    myPoints.append({slots, n});
    noteGrowth();
    return n;
}

GEO_Point* GB_Detail::appendPoint() {
    noteUnknownUse();
    return myPoints.bySlot(birthPointSlot());
}

uint32_t GB_Detail::newVertex(uint32_t pointSlot) {
    const uint32_t slot = myVertexPool.allocate();
    GEO_Vertex* vertex = vertexBySlot(slot);
    vertex->myPoint = pointSlot;
    vertex->mySlot = slot;
    return slot;
}

UT_BitSet GB_Detail::usedPoints(bool* shared) const {
    UT_BitSet byParticles(myPointPool.slotEnd());
    bool anyShared = false;
    for (GEO_Primitive* prim = myPrims.head(GEOPRIMPART); prim; prim = myPrims.next(prim, GEOPRIMPART))
        for (int i = 0, n = prim->getVertexCount(); i < n; ++i)
            anyShared |= !byParticles.set(prim->getVertexPointSlot(i));
    UT_BitSet used = byParticles;
    for (GEO_Primitive* prim = myPrims.head(~GEOPRIMPART); prim; prim = myPrims.next(prim, ~GEOPRIMPART))
        for (int i = 0, n = prim->getVertexCount(); i < n; ++i) {
            const uint32_t slot = prim->getVertexPointSlot(i);
            used.set(slot);
            anyShared |= byParticles.test(slot);
        }
    if (shared) *shared = anyShared;
    return used;
}

size_t GB_Detail::sweepUnusedPoints() {
    bool shared;
    const UT_BitSet used = usedPoints(&shared);
    UT_BitSet unused(myPointPool.slotEnd());
    myPointPool.forEachLive([&](uint32_t slot) {
        if (!used.test(slot)) unused.set(slot);
    });
    const size_t removed = removePoints(unused);
    myUseUnknown = shared;
    return removed;
}

size_t GB_Detail::removeUnusedPoints() {
    size_t removed = 0;
    if (myUseUnknown)
        removed = sweepUnusedPoints();
    else if (myOrphans.any())
        removed = removePoints(UT_BitSet(myOrphans));
    myOrphans = UT_BitSet();
    return removed;
}

size_t GB_Detail::removePoints(const UT_BitSet& slots) {
    if (!slots.any()) return 0;
    const size_t removed = myPoints.removeSlots(slots);
    if (!removed) return 0;
    myPointGroups.removeSlots(slots);
    myPointPool.release(slots);
    myOrphans -= slots;
    bumpTopology();
    return removed;
}

int GB_Detail::getBBox(UT_BoundingBox& box, const GB_PointGroup* group) const {
    box.initBounds();
    if (group)
        myPoints.forEach(group, [&](const GEO_Point* point) { box.enlargeBounds(point->getPos()); });
    else // in memory order
        myPointPool.forEachLive([&](uint32_t slot) { box.enlargeBounds(myPoints.bySlot(slot)->getPos()); });
    bool any = group ? !group->isEmpty() : myPoints.entries() > 0;
    for (GEO_Primitive* prim = group ? nullptr : myPrims.head(~GEOPRIMPART); prim;
         prim = myPrims.next(prim, ~GEOPRIMPART))
        if (prim->hasOwnExtent()) any |= prim->enlargeBBox(box);
    return any;
}

int GB_Detail::getBBox(UT_BoundingBox& box, const GB_PrimitiveGroup* group) const {
    box.initBounds();
    bool any = false;
    myPrims.forEach(group, [&](const GEO_Primitive* prim) { any |= prim->enlargeBBox(box); });
    return any;
}

void GB_Detail::clearElements() {
    myPrims.myPrims.clear();
    myPoints.clear();
    myPointPool.clear();
    myVertexPool.clear();
    myPrimPool.clear();
    myPointGroups.clearMembers();
    myPrimGroups.clearMembers();
    myOrphans = UT_BitSet();
    myUseUnknown = false;
    bumpTopology();
}

void GB_Detail::clearAttributes() {
    for (const GB_AttribClass cls :
         {GB_AttribClass::POINT, GB_AttribClass::VERTEX, GB_AttribClass::PRIMITIVE, GB_AttribClass::DETAIL})
        attribs(cls).clearAttributes();
    myPointPool.reset();
    myVertexPool.reset();
    myPrimPool.reset();
    myAttribs.myRecord.clear();
}

void GB_Detail::copyElements(const GB_Detail& src, bool groups) {
    clearElements();
    for (const GB_AttribClass cls :
         {GB_AttribClass::POINT, GB_AttribClass::VERTEX, GB_AttribClass::PRIMITIVE, GB_AttribClass::DETAIL})
        attribs(cls).copyAttributes(src.attribs(cls));
    myPointPool.copyFrom(src.myPointPool);
    myVertexPool.copyFrom(src.myVertexPool);
    myPrimPool.copyFrom(src.myPrimPool);
    myAttribs.myRecord = src.myAttribs.myRecord;
    myPoints.myOrder = src.myPoints.myOrder;
    myPointGroups.clear();
    myPrimGroups.clear();
    if (groups) {
        myPointGroups.copyFrom(src.myPointGroups);
        myPrimGroups.copyFrom(src.myPrimGroups);
    }
    myOrphans = src.myOrphans;
    myUseUnknown = src.myUseUnknown;
    myTopology = src.myTopology;
}
