#include "host/sim/DOP_FullPathData.h"

#include "host/node/OBJ_Node.h"
#include "host/node/OP_Director.h"
#include "host/sim/SIM_Position.h"
#include "host/ut/UT_Lock.h"
#include "host/ut/UT_NodePath.h"

namespace {

using Objects = std::map<std::string, std::shared_ptr<SIM_Object>>;

UT_Lock theLock;

// The objects of the current director's scene; hold the lock.
Objects& objects() {
    static auto& theObjects = *new Objects;
    static int theScene = 0;
    const int scene = OPgetDirector()->getUniqueId();
    if (scene != theScene) theObjects.clear();
    theScene = scene;
    return theObjects;
}

std::shared_ptr<SIM_Object> objectAt(const std::string& path) {
    const UT_AutoLock lock(theLock);
    const auto found = objects().find(path);
    return found == objects().end() ? nullptr : found->second;
}

} // namespace

OP_Node* DOP_FullPathData::getObjectNode() const { return myObject ? myObject->getObjectNode() : nullptr; }
const SIM_Position* DOP_FullPathData::getBestPosition() const { return myObject ? myObject->getPosition() : nullptr; }

bool DOPaddObject(const std::string& path, std::shared_ptr<SIM_Object> object) {
    if (!object || !UT_NodePath::isAbsolute(path)) return false;
    const UT_AutoLock lock(theLock);
    return objects().emplace(UT_NodePath::collapse(path), std::move(object)).second;
}

bool DOPremoveObject(const std::string& path) {
    const UT_AutoLock lock(theLock);
    return objects().erase(UT_NodePath::collapse(path)) > 0;
}

bool DOPfindDataFromPath(const char* path, DOP_FullPathData& result, float, OP_Node* from, int) {
    result = {};
    if (!path || !*path) return false;
    const std::string full = UT_NodePath::join(from ? from->getFullPath() : "/", path);
    result.myObject = objectAt(full);
    result.myData = result.myObject.get();
    if (result.myObject) return true;
    result.myObject = objectAt(UT_NodePath::parent(full));
    if (result.myObject) result.myData = result.myObject->getData(UT_NodePath::name(full));
    if (!result.myData) result = {};
    return result.myData != nullptr;
}
