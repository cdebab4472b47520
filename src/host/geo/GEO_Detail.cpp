#include "host/geo/GEO_Detail.h"

#include "host/geo/GEO_AttribMerge.h"
#include "host/geo/GEO_PrimMesh.h"
#include "host/geo/GEO_PrimMetaball.h"
#include "host/geo/GEO_PrimParticle.h"
#include "host/geo/GEO_PrimPoly.h"
#include "host/geo/GEO_PrimQuadric.h"

void GEO_Detail::stashAll() {
    clearGeometry();
    clearAttributes();
    myPointGroups.clear();
    myPrimGroups.clear();
}

void GEO_Detail::clearGeometry() { clearElements(); }

namespace {

std::unique_ptr<GEO_Primitive> makePrimitive(GEO_Detail* detail, unsigned typeId) {
    switch (typeId) {
    case GEOPRIMPART: return std::make_unique<GEO_PrimParticle>(detail);
    case GEOPRIMPOLY: return std::make_unique<GEO_PrimPoly>(detail);
    case GEOPRIMMESH: return std::make_unique<GEO_PrimMesh>(detail);
    case GEOPRIMCIRCLE: return std::make_unique<GEO_PrimCircle>(detail);
    case GEOPRIMSPHERE: return std::make_unique<GEO_PrimSphere>(detail);
    case GEOPRIMTUBE: return std::make_unique<GEO_PrimTube>(detail);
    case GEOPRIMMETABALL: return std::make_unique<GEO_PrimMetaball>(detail);
    default: return nullptr;
    }
}

} // namespace

GEO_Primitive* GEO_Detail::insertPrimitive(unsigned typeId) {
    std::unique_ptr<GEO_Primitive> prim = makePrimitive(this, typeId);
    return prim ? adoptPrimitive(std::move(prim)) : nullptr;
}

GEO_Primitive* GEO_Detail::adoptPrimitive(std::unique_ptr<GEO_Primitive> prim) {
    prim->mySlot = myPrimPool.allocate();
    prim->myNumber = static_cast<uint32_t>(myPrims.entries());
    myPrims.myPrims.push_back(std::move(prim));
    noteGrowth();
    return myPrims.myPrims.back().get();
}

void GEO_Detail::deletePrimitive(GEO_Primitive* prim, bool andPoints) {
    UT_BitSet dead(myPrims.entries());
    dead.set(prim->myNumber);
    eraseDeadPrimitives(dead, andPoints);
}

size_t GEO_Detail::deletePrimitives(const GB_PrimitiveGroup& group, bool andPoints) {
    return deletePrimitives([&](const GEO_Primitive& prim) { return group.contains(&prim); }, andPoints);
}

size_t GEO_Detail::deletePrimitives(const std::function<bool(const GEO_Primitive&)>& dead, bool andPoints) {
    UT_BitSet numbers(myPrims.entries());
    for (size_t i = 0; i < myPrims.entries(); ++i)
        if (dead(*myPrims[i])) numbers.set(i);
    eraseDeadPrimitives(numbers, andPoints);
    return numbers.count();
}

void GEO_Detail::eraseDeadPrimitives(const UT_BitSet& dead, bool andPoints) {
    if (!dead.any()) return;
    UT_BitSet loose(myPointPool.slotEnd()), records(myPrimPool.slotEnd());
    dead.forEach([&](size_t number) {
        GEO_Primitive* prim = myPrims[number];
        for (int i = 0, n = andPoints ? prim->getVertexCount() : 0; i < n; ++i) loose.set(prim->getVertexPointSlot(i));
        prim->releaseRecords();
        records.set(prim->mySlot);
    });
    std::erase_if(myPrims.myPrims, [&](const auto& prim) { return dead.test(prim->myNumber); });
    for (size_t i = 0; i < myPrims.entries(); ++i) myPrims[i]->myNumber = static_cast<uint32_t>(i);
    myPrimGroups.removeSlots(records);
    myPrimPool.release(records);
    bumpTopology();
    if (!loose.any()) return;
    loose -= usedPoints();
    removePoints(loose);
}

size_t GEO_Detail::destroyPoints(const UT_BitSet& slots) {
    const auto doomed = [&](uint32_t slot) { return slot < slots.size() && slots.test(slot); };
    UT_BitSet dead(myPrims.entries());
    for (size_t number = 0; number < myPrims.entries(); ++number) {
        GEO_Primitive* prim = myPrims[number];
        if (prim->getPrimitiveId() == GEOPRIMPART) {
            auto* particles = static_cast<GEO_PrimParticle*>(prim);
            particles->dropParticles(slots);
            continue;
        }
        bool hit = false;
        for (int i = 0, n = prim->getVertexCount(); i < n && !hit; ++i) hit = doomed(prim->getVertexPointSlot(i));
        if (!hit) continue;
        if (prim->getPrimitiveId() == GEOPRIMPOLY) static_cast<GEO_PrimPoly*>(prim)->dropVertices(slots);
        if (prim->getPrimitiveId() != GEOPRIMPOLY || !prim->getVertexCount()) dead.set(number);
    }
    eraseDeadPrimitives(dead, false);
    return removePoints(slots);
}

namespace {

// Groups of `src` go into the groups of the same names in `dest`, members translated by map(slot).
template <class Groups, class Map> void mergeGroups(const Groups& src, Groups& dest, Map&& map) {
    for (auto* from = src.head(); from; from = src.next(from)) {
        auto* to = dest.find(from->getName());
        if (!to) to = dest.newGroup(from->getName(), from->getInternal());
        from->slots().forEach([&](size_t slot) {
            const uint32_t there = map(slot);
            if (there != GB_RecordPool::NO_SLOT) to->addSlot(there);
        });
    }
}

} // namespace

std::vector<uint32_t> GEO_Detail::mergePoints(const GEO_Detail& src, const GB_PrimitiveGroup* group) {
    const GEO_AttribMerge attribs(src.pointAttribs(), pointAttribs());
    UT_BitSet wanted(src.points().slotEnd());
    if (group)
        src.primitives().forEach(group, [&](const GEO_Primitive* prim) {
            for (int i = 0, n = prim->getVertexCount(); i < n; ++i) wanted.set(prim->getVertexPointSlot(i));
        });
    std::vector<uint32_t> map(src.points().slotEnd(), GB_RecordPool::NO_SLOT);
    src.points().forEach(nullptr, [&](const GEO_Point* from) {
        if (group && !wanted.test(from->slot())) return;
        GEO_Point* to = appendPoint();
        to->setPos(from->getPos());
        attribs.copy(from->data(), to->data());
        map[from->slot()] = to->slot();
    });
    return map;
}

std::vector<uint32_t> GEO_Detail::mergePrimitives(const GEO_Detail& src, const GB_PrimitiveGroup* group,
                                                  const uint32_t* pointMap) {
    const GEO_AttribMerge attribs(src.primitiveAttribs(), primitiveAttribs());
    const GEO_AttribMerge vertexAttribs(src.vertexAttribs(), this->vertexAttribs());
    std::vector<uint32_t> map(src.primitiveRecords().slotEnd(), GB_RecordPool::NO_SLOT);
    src.primitives().forEach(group, [&](const GEO_Primitive* from) {
        std::unique_ptr<GEO_Primitive> copy = from->clone();
        copy->myDetail = this;
        GEO_Primitive* to = adoptPrimitive(std::move(copy));
        to->adoptVertices(*from, pointMap);
        attribs.copy(from->data(), to->data());
        for (int i = 0, n = from->getVertexCount(); i < n && from->getVertex(i); ++i)
            vertexAttribs.copy(from->getVertex(i)->data(), to->getVertex(i)->data());
        map[from->slot()] = to->slot();
    });
    return map;
}

void GEO_Detail::merge(const GEO_Detail& src, const GB_PrimitiveGroup* group, bool groups) {
    if (&src == this) {
        GEO_Detail other;
        other.copy(src);
        return merge(other, group, groups); // slots agree, so the group fits
    }
    const std::vector<uint32_t> points = mergePoints(src, group);
    const std::vector<uint32_t> prims = mergePrimitives(src, group, points.data());
    const GEO_AttribMerge attribs = GEO_AttribMerge::missing(src.attribs(), this->attribs());
    attribs.copy(src.attribData(), attribData());
    if (groups) {
        mergeGroups(src.pointGroups(), myPointGroups, [&](size_t slot) { return points[slot]; });
        mergeGroups(src.primitiveGroups(), myPrimGroups, [&](size_t slot) { return prims[slot]; });
    }
    bumpChange();
}

void GEO_Detail::copyWhole(const GEO_Detail& src, bool groups) {
    if (&src == this) return;
    copyElements(src, groups);
    myPrims.myPrims.reserve(src.primitives().entries());
    for (const auto& prim : src.myPrims.myPrims) {
        myPrims.myPrims.push_back(prim->clone());
        myPrims.myPrims.back()->myDetail = this;
    }
    bumpChange();
}

namespace {

// Turns the VECTOR attributes of every record that `visit` hands out.
template <class Visit>
void transformVectors(const GB_AttributeDict& dict, const UT_Matrix3& m, const UT_Matrix3& normals, Visit&& visit) {
    struct Place {
        int offset;
        const UT_Matrix3* m;
    };
    std::vector<Place> places;
    for (const auto& attrib : dict) {
        if (attrib->getType() != GB_AttribType::VECTOR) continue;
        for (int k = 0; k < attrib->getSize(); k += 12)
            places.push_back({attrib->getOffset() + k, attrib->getName() == "N" ? &normals : &m});
    }
    if (places.empty()) return;
    visit([&](char* data) {
        for (const Place& place : places) {
            auto* v = reinterpret_cast<UT_Vector3*>(data + place.offset);
            *v = *v * *place.m;
        }
    });
}

} // namespace

void GEO_Detail::transform(const UT_Matrix4& m) {
    const UT_Matrix3 turn = m.upper3();
    UT_Matrix3 normals = turn;
    if (normals.invert())
        normals.transpose();
    else
        normals.identity();

    myPointPool.forEachLive([&](uint32_t slot) {
        UT_Vector4& pos = myPoints.bySlot(slot)->getPos();
        pos = UT_Vector4(UT_Vector3(pos) * m, pos.w());
    });
    const auto records = [](const GB_RecordPool& pool) {
        return [&pool](auto&& fn) { pool.forEachLive([&](uint32_t slot) { fn(pool.attribData(slot)); }); };
    };
    transformVectors(myPointAttribs, turn, normals, records(myPointPool));
    transformVectors(myVertexAttribs, turn, normals, records(myVertexPool));
    transformVectors(myPrimAttribs, turn, normals, records(myPrimPool));
    for (const auto& prim : myPrims.myPrims) prim->transformShape(m);
    bumpChange();
}

const char* GEO_Detail::getStdAttributeName(GEO_AttribName name) {
    static constexpr const char* NAMES[] = {"P", "N", "uv", "Cd", "Alpha", "v", "up", "pscale", "mass", "drag"};
    return NAMES[name];
}
