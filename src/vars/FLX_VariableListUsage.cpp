// What generated code uses, and which nodes of which network have been written.
#include <algorithm>

#include "core/FLX_Node.h"
#include "vars/FLX_VariableList.h"

template <class Fn> void FLX_VariableList::forEachFlag(Fn&& fn) {
    for (const auto& entry : myVariables) {
        fn(entry->used);
        fn(entry->usedAtAll);
    }
    for (const auto& entry : myAccesses) fn(entry->usedAtAll);
    for (const auto& entry : myAttributes) fn(entry->used);
}

void FLX_VariableList::useVariable(const char* name) {
    FLX_VariableEntry* entry = findVariable(name);
    if (!entry) return;
    entry->used.set();
    entry->usedAtAll.set();
    useAccess(entry->access.c_str());
}

void FLX_VariableList::useAccess(const char* name) {
    if (FLX_AccessEntry* entry = findAccess(name)) entry->usedAtAll.set();
}

void FLX_VariableList::useAttribute(const char* name) {
    if (FLX_AttributeEntry* entry = findAttribute(name)) entry->used.set();
}

bool FLX_VariableList::isAccessTypeUsedAtAll(const char* type) const {
    return std::any_of(myAccesses.begin(), myAccesses.end(),
                       [&](const auto& entry) { return entry->usedAtAll.isSet() && entry->type == type; });
}

void FLX_VariableList::resetUsed() {
    for (const auto& entry : myVariables) entry->used.clear();
    for (const auto& entry : myAttributes) entry->used.clear();
}

void FLX_VariableList::pushVariableState() {
    forEachFlag([](FLX_FlagStack& flag) { flag.push(); });
}

void FLX_VariableList::restoreVariableState() {
    forEachFlag([](FLX_FlagStack& flag) { flag.pop(); });
}

void FLX_VariableList::resetAll() {
    forEachFlag([](FLX_FlagStack& flag) { flag.clearAll(); });
    myFuncs.clear();
    myPreDefines.clear();
    myManager.clear();
    myGlobals.clear();
    addDefaultGlobals();
}

// ---- node frames

static std::string keyOf(const FLX_Node* node) { return std::to_string(node->getUniqueId()); }

void FLX_VariableList::pushNodeFrame() {
    myNodeFrames.emplace_back();
    myDeferred.emplace_back();
}

void FLX_VariableList::dropNodeFrame() {
    if (myNodeFrames.empty()) return;
    myNodeFrames.pop_back();
    myDeferred.pop_back();
}

void FLX_VariableList::markNodeWritten(const char* streamName, const FLX_Node* node) {
    if (myNodeFrames.empty() || !node) return;
    myNodeFrames.back().add(keyOf(node), streamName ? streamName : "");
}

const std::string* FLX_VariableList::writtenName(const FLX_Node* node) const {
    if (!node) return nullptr;
    for (auto frame = myNodeFrames.rbegin(); frame != myNodeFrames.rend(); ++frame)
        if (const std::string* name = frame->find(keyOf(node))) return name;
    return nullptr;
}

bool FLX_VariableList::hasNodeBeenWritten(const FLX_Node* node) const { return writtenName(node) != nullptr; }

bool FLX_VariableList::getNodeStreamName(UT_String& name, const FLX_Node* node) const {
    const std::string* found = writtenName(node);
    if (found) name = *found;
    return found != nullptr;
}

void FLX_VariableList::deferNode(FLX_Node* node) {
    if (!myDeferred.empty()) myDeferred.back().push_back(node);
}

FLX_Node* FLX_VariableList::takeDeferredNode() {
    if (myDeferred.empty() || myDeferred.back().empty()) return nullptr;
    FLX_Node* first = myDeferred.back().front();
    myDeferred.back().pop_front();
    return first;
}
