#include "host/node/OP_Node.h"

#include <algorithm>
#include <atomic>
#include <ostream>
#include <unordered_map>

#include "host/node/OBJ_Node.h"
#include "host/node/OP_Network.h"
#include "host/node/OP_Operator.h"
#include "host/node/OP_PreDefRules.h"
#include "host/ut/UT_Lock.h"

namespace {

UT_Lock theIdLock;
int theLastId = 0;

std::unordered_map<int, OP_Node*>& nodesById() {
    static auto& theNodes = *new std::unordered_map<int, OP_Node*>;
    return theNodes;
}

int registerNode(OP_Node* node) {
    UT_AutoLock lock(theIdLock);
    nodesById()[++theLastId] = node;
    return theLastId;
}

const PRM_TemplateTable theNoParms;

unsigned newVisitSerial() {
    static std::atomic<unsigned> theLast{0};
    unsigned serial = 0;
    while (serial == 0) serial = ++theLast;
    return serial;
}

void eraseOne(std::vector<OP_Node*>& list, OP_Node* node) {
    // From the back: what came last usually goes first.
    const auto found = std::find(list.rbegin(), list.rend(), node);
    if (found != list.rend()) list.erase(std::next(found).base());
}

} // namespace

const char* const OP_Node::OP_INFO_SEPARATOR_STRING = "\n\n";

// ---- identity

OP_Node::OP_Node(OP_Network* parent, const char* name, OP_Operator* op)
    : myName(name ? name : "")
    , myParent(parent)
    , myOperator(op) {
    if (isPrototype()) return;
    myUniqueId = registerNode(this);
    initParms(op ? &op->templates() : &theNoParms);
}

OP_Node::~OP_Node() {
    if (myUniqueId == 0) return;
    disconnect();
    UT_AutoLock lock(theIdLock);
    nodesById().erase(myUniqueId);
}

OP_Node* OP_Node::lookupNode(int uniqueId) {
    UT_AutoLock lock(theIdLock);
    const auto found = nodesById().find(uniqueId);
    return found == nodesById().end() ? nullptr : found->second;
}

std::string OP_Node::getFullPath() const {
    if (!myParent) return "/" + myName;
    const std::string above = myParent->getFullPath();
    return above == "/" ? above + myName : above + '/' + myName;
}

OBJ_Node* OP_Node::getCreator() const {
    for (auto node = const_cast<OP_Node*>(this); node; node = node->myParent)
        if (OBJ_Node* object = node->castToOBJNode()) return object;
    return nullptr;
}

const OP_VariablePair* OP_Node::variablePair() const { return myOperator ? myOperator->variablePair() : nullptr; }

// ---- inputs

void OP_Node::setInput(int i, OP_Node* node) { wire(i, {node, -1}); }
void OP_Node::setIndirectInput(int i, int networkInput) { wire(i, {nullptr, networkInput}); }

void OP_Node::wire(int i, Input input) {
    if (i < 0 || i >= maxInputs) return;
    if (size_t(i) >= myInputs.size()) myInputs.resize(size_t(i) + 1);
    Input& slot = myInputs[size_t(i)];
    if (slot.node) eraseOne(slot.node->myOutputs, this);
    slot = input;
    if (slot.node) slot.node->myOutputs.push_back(this);
    while (!myInputs.empty() && !myInputs.back().node && myInputs.back().indirect < 0) myInputs.pop_back();
    modified(OP_INPUT_CHANGED, i);
}

OP_Node* OP_Node::getInput(int i) const {
    const OP_Node* node = this;
    while (node && i >= 0 && size_t(i) < node->myInputs.size()) {
        const Input& input = node->myInputs[size_t(i)];
        if (input.node) return input.node;
        i = input.indirect;
        node = node->myParent;
    }
    return nullptr;
}

int OP_Node::nInputs() const {
    int n = int(myInputs.size());
    while (n > 0 && !getInput(n - 1)) --n;
    return n;
}

UT_String OP_Node::inputLabel(int i) const { return "Input #" + std::to_string(i + 1); }
bool OP_Node::isRefInput(unsigned) const { return false; }

void OP_Node::disconnect() {
    std::vector<OP_Node*> dependents = myOutputs;
    dependents.insert(dependents.end(), myExtraOutputs.begin(), myExtraOutputs.end());
    for (OP_Node* node : dependents) node->dropReferencesTo(this);
    myOutputs.clear();
    myExtraOutputs.clear();
    for (const Input& input : myInputs)
        if (input.node) eraseOne(input.node->myOutputs, this);
    myInputs.clear();
    clearExtraInputs();
    for (OP_Node* node : dependents)
        if (node != this) node->modified(OP_INPUT_CHANGED);
}

void OP_Node::dropReferencesTo(OP_Node* node) {
    for (Input& input : myInputs)
        if (input.node == node) input.node = nullptr;
    for (size_t i = myExtraInputs.size(); i-- > 0;)
        if (myExtraInputs[i] == node) eraseExtraInput(i);
}

// ---- flags

void OP_Node::setDisplay(bool on) {
    if (myParent && on) myParent->setOnlyFlag(this, &OP_NodeFlags::display);
    myFlags.display = on;
    flagChanged(OP_FLAG_CHANGED);
}

void OP_Node::setRender(bool on) {
    if (myParent && on) myParent->setOnlyFlag(this, &OP_NodeFlags::render);
    myFlags.render = on;
    flagChanged(OP_FLAG_CHANGED);
}

void OP_Node::setBypass(bool on) {
    myFlags.bypass = on;
    flagChanged(OP_OUTPUT_CHANGED);
}

void OP_Node::setTemplate(bool on) {
    myFlags.templateFlag = on;
    flagChanged(OP_OUTPUT_CHANGED);
}

void OP_Node::flagChanged(OP_EventType event) {
    modified(event);
    if (myParent) myParent->childFlagChange(this);
}

// ---- change

void OP_Node::opChanged(int event, void*) { modified(OP_EventType(event)); }

void OP_Node::modified(OP_EventType event, int index) {
    if (event == OP_ERROR_CHANGED || ourTearDown) return;
    OP_PropagateData data{newVisitSerial(), event, index, {{this, this}}};
    for (size_t next = 0; next < data.pending.size(); ++next) {
        const OP_PropagateData::Visit visit = data.pending[next];
        visit.node->propagateModification(visit.by, data);
    }
}

void OP_Node::propagateModification(OP_Node* by, OP_PropagateData& data) {
    if (myVisitSerial == data.serial) return;
    myVisitSerial = data.serial;
    const bool flag = by == this && data.event == OP_FLAG_CHANGED;
    if (!flag) {
        myFlags.changed = true;
        ++myChangeSerial;
    }
    pushDependents(data, flag);
}

void OP_Node::pushDependents(OP_PropagateData& data, bool flag) {
    if (!flag)
        for (OP_Node* output : myOutputs) data.pending.push_back({output, this});
    const int wanted = flag ? OP_INTEREST_FLAG : OP_INTEREST_DATA;
    for (OP_Node* output : myExtraOutputs) {
        const auto found = std::find(output->myExtraInputs.begin(), output->myExtraInputs.end(), this);
        const size_t i = size_t(found - output->myExtraInputs.begin());
        if (output->myInterests[i].type & wanted) data.pending.push_back({output, this});
    }
}

void OP_Node::parmChanged(PRM_Parm&) { modified(OP_PARM_CHANGED); }

void OP_Node::addExtraInput(OP_Node* node, OP_InterestType interest) {
    if (!node || node == this) return;
    const auto found = std::find(myExtraInputs.begin(), myExtraInputs.end(), node);
    if (found != myExtraInputs.end()) {
        Interest& known = myInterests[size_t(found - myExtraInputs.begin())];
        known = {known.type | interest, true};
        return;
    }
    myExtraInputs.push_back(node);
    myInterests.push_back({interest, true});
    node->myExtraOutputs.push_back(this);
    // While it cooks, a node learns what it depends on; what it makes of it is its result.
    if (!myCooking) modified(OP_INPUT_CHANGED);
}

void OP_Node::eraseExtraInput(size_t i) {
    eraseOne(myExtraInputs[i]->myExtraOutputs, this);
    myExtraInputs.erase(myExtraInputs.begin() + std::ptrdiff_t(i));
    myInterests.erase(myInterests.begin() + std::ptrdiff_t(i));
}

void OP_Node::clearExtraInputs() {
    while (!myExtraInputs.empty()) eraseExtraInput(myExtraInputs.size() - 1);
}

// ---- text and tiles

void OP_Node::getNodeSpecificInfoText(OP_Context&, int, std::string&) {}

void OP_Node::writeIndent(std::ostream& os, int steps) {
    for (int i = 0; i < steps; ++i) os << "    ";
}

int OP_Node::buildOpMenu(OP_Network* parent, PRM_Name* names, int size, bool (*filter)(OP_Node*)) {
    int count = 0;
    for (int i = 0; parent && i < parent->getNchildren() && count < size; ++i) {
        OP_Node* child = parent->getChild(i);
        if (!filter || filter(child)) names[count++] = {child->getName().c_str(), child->getName().c_str()};
    }
    return count;
}

void OP_Node::buildPreDefRulesMenu(PRM_Name* names, int size, const OP_PreDefRules& rules) {
    if (size <= 0) return;
    const int count = std::min(rules.entries(), size - 1);
    for (int i = 0; i < count; ++i) names[i] = {rules.getName(i), rules.getName(i)};
    names[count] = {};
}
