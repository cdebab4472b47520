#include "host/geo/GB_Group.h"
#include "host/geo/GU_Detail.h"
#include "host/geo/GU_RayIntersect.h"
#include "host/ut/UT_Lock.h"

#include <algorithm>
#include <list>

// Structures that GU_RayIntersect::shared hands out, the most recently used first.

namespace {

constexpr size_t MOST_ENTRIES = 8;

struct Entry {
    uint64_t dataId;
    bool grouped;
    UT_BitSet members;
    std::shared_ptr<const GU_RayIntersect> structure;
};

UT_Lock theLock;
std::list<Entry>& cachedEntries() {
    static std::list<Entry> list;
    return list;
}

bool isFor(const Entry& entry, const GU_Detail& detail, const GB_PrimitiveGroup* group) {
    return entry.dataId == detail.dataId() && entry.grouped == (group != nullptr) &&
           (!group || entry.members == group->slots());
}

std::shared_ptr<const GU_RayIntersect> lookUp(const GU_Detail& detail, const GB_PrimitiveGroup* group) {
    std::list<Entry>& list = cachedEntries();
    const auto found = std::find_if(list.begin(), list.end(), [&](const Entry& e) { return isFor(e, detail, group); });
    if (found == list.end() || !found->structure->validForDetail(&detail)) return nullptr;
    list.splice(list.begin(), list, found);
    return found->structure;
}

} // namespace

std::shared_ptr<const GU_RayIntersect> GU_RayIntersect::shared(const GU_Detail* detail,
                                                               const GB_PrimitiveGroup* group) {
    if (!detail) return std::make_shared<const GU_RayIntersect>(nullptr);
    {
        const UT_AutoLock lock(theLock);
        if (auto structure = lookUp(*detail, group)) return structure;
    }
    // Built outside the lock; when two threads build the same one, the later one's stays.
    auto structure = std::make_shared<const GU_RayIntersect>(detail, group);
    const UT_AutoLock lock(theLock);
    std::list<Entry>& list = cachedEntries();
    // What was built for the detail as it used to be is never asked for again.
    list.remove_if([&](const Entry& e) {
        return isFor(e, *detail, group) || (e.dataId == detail->dataId() && !e.structure->validForDetail(detail));
    });
    list.push_front({detail->dataId(), group != nullptr, group ? group->slots() : UT_BitSet(), structure});
    if (list.size() > MOST_ENTRIES) list.pop_back();
    return structure;
}
