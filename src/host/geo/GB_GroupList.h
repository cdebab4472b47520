#pragma once

#include "host/geo/GB_Group.h"

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// True for names a group may have: not empty, no blanks, none of `*?[]!`, not a number.
bool GBisGroupName(std::string_view name);

/// The groups of one element class of a detail, in order of creation.
template <class Group> class GB_GroupListOf {
public:
    /// The group of that name, or null.
    Group* find(std::string_view name) const {
        const auto it = myByName.find(std::string(name));
        return it == myByName.end() ? nullptr : it->second;
    }
    /// A new empty group; an existing one of that name is emptied and returned. Null for a name no group may have.
    /// Names that start with "__" are internal whatever is asked.
    Group* newGroup(std::string_view name, int internal = 0);
    void destroy(Group* group);
    void clear();

    /// Walks the groups in order of creation; null at the end.
    Group* head() const { return myGroups.empty() ? nullptr : myGroups.front().get(); }
    Group* next(const Group* group) const;
    size_t entries() const { return myGroups.size(); }
    Group* operator[](size_t i) const { return myGroups[i].get(); }

    /// A nameless group that follows removals of elements like the others as long as somebody holds it.
    std::shared_ptr<Group> newAdhoc() const;

    /// Takes freed slots out of every group.
    void removeSlot(uint32_t slot);
    void removeSlots(const UT_BitSet& slots);
    void clearMembers();
    void copyFrom(const GB_GroupListOf& src);

private:
    template <class Fn> void forEachGroup(Fn&& fn);
    std::vector<std::unique_ptr<Group>> myGroups;
    std::unordered_map<std::string, Group*> myByName;
    /// Nameless groups belong to who asked for them, who may parse strings on a detail that several contexts share.
    mutable std::vector<std::weak_ptr<Group>> myAdhoc;
    mutable std::mutex myAdhocLock;
};

using GB_PointGroupList = GB_GroupListOf<GB_PointGroup>;
using GB_PrimitiveGroupList = GB_GroupListOf<GB_PrimitiveGroup>;

extern template class GB_GroupListOf<GB_PointGroup>;
extern template class GB_GroupListOf<GB_PrimitiveGroup>;
