#include "host/geo/GB_Detail.h"
#include "host/geo/GEO_Detail.h"

#include <set>
#include <string>

namespace {

// Layout of one class: ranges apart and inside the record, names unique, defaults in step.
std::string checkDict(const GB_AttributeDict& dict, const char* cls) {
    std::set<std::string> names;
    int end = 0;
    for (const auto& attrib : dict) {
        const std::string what = std::string(cls) + " attribute " + attrib->getName();
        if (!names.insert(attrib->getName()).second) return what + " exists twice";
        if (attrib->getOffset() < end || attrib->getOffset() % 4) return what + " overlaps or is not aligned";
        end = attrib->getOffset() + attrib->getSize();
        for (int i = 0; i < attrib->getSize(); ++i)
            if (dict.defaults()[attrib->getOffset() + i] != attrib->getDefault()[i])
                return what + " has two different defaults";
    }
    return end > dict.recordSize() ? std::string(cls) + " attributes reach past the record" : std::string();
}

template <class Groups> std::string checkGroups(const Groups& groups, const GB_RecordPool& pool, const char* cls) {
    for (auto* group = groups.head(); group; group = groups.next(group)) {
        const std::string what = std::string(cls) + " group " + group->getName();
        if (groups.find(group->getName()) != group) return what + " is not found by its name";
        std::string bad;
        group->slots().forEach([&](size_t slot) {
            if (!pool.isLive(static_cast<uint32_t>(slot))) bad = what + " holds free slot " + std::to_string(slot);
        });
        if (!bad.empty()) return bad;
    }
    return {};
}

} // namespace

std::string GB_Detail::validateAttributes() const {
    const struct {
        const GB_AttributeDict& dict;
        size_t record;
        const char* cls;
    } classes[] = {
        {myPointAttribs, myPointPool.stride() - myPointPool.headerSize(), "point"},
        {myVertexAttribs, myVertexPool.stride() - myVertexPool.headerSize(), "vertex"},
        {myPrimAttribs, myPrimPool.stride() - myPrimPool.headerSize(), "primitive"},
        {myAttribs, myAttribs.myRecord.size(), "detail"},
    };
    for (const auto& c : classes) {
        if (c.record != static_cast<size_t>(c.dict.recordSize()))
            return std::string(c.cls) + " records have another size than their attributes";
        std::string bad = checkDict(c.dict, c.cls);
        if (!bad.empty()) return bad;
    }
    return {};
}

std::string GB_Detail::validatePoints() const {
    if (myPoints.entries() != myPointPool.live())
        return std::to_string(myPoints.entries()) + " points in order, " + std::to_string(myPointPool.live()) +
               " alive";
    UT_BitSet seen(myPointPool.slotEnd());
    for (size_t i = 0; i < myPoints.entries(); ++i) {
        const uint32_t slot = myPoints.slotAt(i);
        const std::string what = "point " + std::to_string(i);
        if (!myPointPool.isLive(slot)) return what + " has a free slot";
        if (!seen.set(slot)) return what + " shares its slot";
        if (myPoints(i)->slot() != slot) return what + " has a wrong slot in its record";
        if (myPoints.number(myPoints(i)) != i) return what + " has a wrong number";
    }
    return {};
}

std::string GB_Detail::validatePrimitives() const {
    UT_BitSet seen(myPrimPool.slotEnd());
    size_t vertices = 0;
    for (size_t i = 0; i < myPrims.entries(); ++i) {
        const GEO_Primitive* prim = myPrims[i];
        const std::string what = "primitive " + std::to_string(i);
        if (static_cast<size_t>(prim->getNum()) != i) return what + " has number " + std::to_string(prim->getNum());
        if (prim->getParent() != this) return what + " belongs to another detail";
        if (!myPrimPool.isLive(prim->slot()) || !seen.set(prim->slot())) return what + " has no record of its own";
        const std::string bad = prim->validate();
        if (!bad.empty()) return what + ": " + bad;
        if (prim->getPrimitiveId() != GEOPRIMPART) vertices += static_cast<size_t>(prim->getVertexCount());
    }
    if (myPrims.entries() != myPrimPool.live()) return "primitive records without primitive";
    if (vertices != myVertexPool.live()) return "vertex records without primitive";
    return {};
}

std::string GB_Detail::validateGroups() const {
    std::string bad = checkGroups(myPointGroups, myPointPool, "point");
    return bad.empty() ? checkGroups(myPrimGroups, myPrimPool, "primitive") : bad;
}

std::string GB_Detail::validate() const {
    for (auto check : {&GB_Detail::validateAttributes, &GB_Detail::validatePoints, &GB_Detail::validatePrimitives,
                       &GB_Detail::validateGroups}) {
        std::string bad = (this->*check)();
        if (!bad.empty()) return bad;
    }
    if (myUseUnknown) return {};
    bool shared;
    const UT_BitSet used = usedPoints(&shared);
    if (shared) return "a particle shares its point unnoticed";
    for (size_t i = 0; i < myPoints.entries(); ++i) {
        const uint32_t slot = myPoints.slotAt(i);
        const bool orphan = slot < myOrphans.size() && myOrphans.test(slot);
        if (used.test(slot) == orphan)
            return "point " + std::to_string(i) + (orphan ? " is used but noted as unused" : " is unused unnoticed");
    }
    return {};
}
