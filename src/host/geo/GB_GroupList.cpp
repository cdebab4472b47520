#include "host/geo/GB_GroupList.h"

#include <algorithm>

bool GBisGroupName(std::string_view name) {
    if (name.empty() || name.find_first_of(" \t\r\n*?[]!") != std::string_view::npos) return false;
    return !std::all_of(name.begin(), name.end(),
                        [](char c) { return (c >= '0' && c <= '9') || c == '-' || c == ':'; });
}

template <class Group> Group* GB_GroupListOf<Group>::newGroup(std::string_view name, int internal) {
    if (Group* existing = find(name)) {
        existing->clear();
        return existing;
    }
    if (!GBisGroupName(name)) return nullptr;
    myGroups.push_back(std::make_unique<Group>(std::string(name), internal || name.starts_with("__")));
    Group* group = myGroups.back().get();
    group->myPlace = myGroups.size() - 1;
    myByName.emplace(group->getName(), group);
    return group;
}

template <class Group> void GB_GroupListOf<Group>::destroy(Group* group) {
    const size_t place = group->myPlace;
    myByName.erase(group->getName());
    myGroups.erase(myGroups.begin() + static_cast<std::ptrdiff_t>(place));
    for (size_t i = place; i < myGroups.size(); ++i) myGroups[i]->myPlace = i;
}

template <class Group> void GB_GroupListOf<Group>::clear() {
    clearMembers();
    myByName.clear();
    myGroups.clear();
}

template <class Group> Group* GB_GroupListOf<Group>::next(const Group* group) const {
    const size_t place = group->myPlace + 1;
    return place < myGroups.size() ? myGroups[place].get() : nullptr;
}

template <class Group> std::shared_ptr<Group> GB_GroupListOf<Group>::newAdhoc() const {
    auto group = std::make_shared<Group>(std::string(), true);
    const std::lock_guard lock(myAdhocLock);
    std::erase_if(myAdhoc, [](const auto& old) { return old.expired(); });
    myAdhoc.push_back(group);
    return group;
}

template <class Group> template <class Fn> void GB_GroupListOf<Group>::forEachGroup(Fn&& fn) {
    for (auto& group : myGroups) fn(*group);
    const std::lock_guard lock(myAdhocLock);
    for (auto& weak : myAdhoc)
        if (const auto group = weak.lock()) fn(*group);
}

template <class Group> void GB_GroupListOf<Group>::removeSlot(uint32_t slot) {
    forEachGroup([&](Group& group) { group.removeSlot(slot); });
}

template <class Group> void GB_GroupListOf<Group>::removeSlots(const UT_BitSet& slots) {
    forEachGroup([&](Group& group) { group.removeSlots(slots); });
}

template <class Group> void GB_GroupListOf<Group>::clearMembers() {
    forEachGroup([](Group& group) { group.clear(); });
}

template <class Group> void GB_GroupListOf<Group>::copyFrom(const GB_GroupListOf& src) {
    clear();
    for (const auto& group : src.myGroups) {
        Group* copy = newGroup(group->getName(), group->getInternal());
        copy->setSlots(group->slots());
        copy->setFlags(group->getFlags());
    }
}

template class GB_GroupListOf<GB_PointGroup>;
template class GB_GroupListOf<GB_PrimitiveGroup>;
