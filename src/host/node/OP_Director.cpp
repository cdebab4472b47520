#include "host/node/OP_Director.h"

#include <atomic>
#include <mutex>

#include "host/node/OP_ExprFunctions.h"
#include "host/node/OP_Manager.h"
#include "host/node/OP_UndoManager.h"
#include "host/ut/UT_Lock.h"

namespace {

std::atomic<OP_Director*> theDirector{nullptr};
UT_Lock theDirectorLock;

unsigned newVariableSerial() {
    static std::atomic<unsigned> theLast{0};
    return ++theLast;
}

} // namespace

OP_OperatorTable* OP_Manager::childTable() const { return &OP_Director::operatorTable(myChildFamily); }

OP_Director::OP_Director()
    : OP_Network(nullptr, "", nullptr)
    , myVariableSerial(newVariableSerial()) {
    auto obj = std::make_unique<OP_Manager>(this, "obj", "OBJ", OBJ_OPTYPE_ID);
    auto shop = std::make_unique<OP_Manager>(this, "shop", "SHOP", SHOP_OPTYPE_ID);
    myObj = obj.get();
    myShop = shop.get();
    addChild(std::move(obj));
    addChild(std::move(shop));
}

OP_Director::~OP_Director() {
    ourTearDown = true;
    destroyNode(myObj);
    destroyNode(myShop);
    ourTearDown = false;
}

void OP_Director::variablesChanged() { myVariableSerial = newVariableSerial(); }

OP_OperatorTable& OP_Director::operatorTable(const char* family) {
    static UT_Lock theLock;
    static auto& theTables = *new std::map<std::string, OP_OperatorTable>;
    UT_AutoLock lock(theLock);
    return theTables.try_emplace(family, family).first->second;
}

OP_Director* OPgetDirector() {
    if (OP_Director* director = theDirector.load(std::memory_order_acquire)) return director;
    static std::once_flag theFunctions;
    std::call_once(theFunctions, OPaddExpressionFunctions);
    UT_AutoLock lock(theDirectorLock);
    // The last director stays at exit: what its nodes refer to may be gone by then.
    if (!theDirector.load()) theDirector.store(new OP_Director, std::memory_order_release);
    return theDirector.load();
}

void OPresetDirector() {
    OP_UndoManager::instance().clear();
    UT_AutoLock lock(theDirectorLock);
    // Nodes may still ask for the director while they go.
    delete theDirector.load();
    theDirector.store(nullptr, std::memory_order_release);
}
