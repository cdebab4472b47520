#include "host/node/OP_UndoManager.h"

#include "host/node/OP_Node.h"

OP_UndoManager& OP_UndoManager::instance() {
    static OP_UndoManager theManager;
    return theManager;
}

void OP_UndoManager::setEnabled(bool on) {
    myEnabled = on;
    if (!on) clear();
}

void OP_UndoManager::clear() {
    mySteps.clear();
    myOpenStep.changes.clear();
    myPosition = 0;
}

void OP_UndoManager::begin(const char* name) {
    if (myOpen++ == 0) myOpenStep = {name ? name : "", {}};
}

void OP_UndoManager::end() {
    if (myOpen == 0 || --myOpen > 0) return;
    if (!myOpenStep.changes.empty()) push(std::move(myOpenStep));
    myOpenStep = {};
}

void OP_UndoManager::add(Change change) {
    if (myOpen > 0)
        myOpenStep.changes.push_back(std::move(change));
    else
        push({change.token, {std::move(change)}});
}

void OP_UndoManager::push(Step step) {
    mySteps.resize(size_t(myPosition));
    if (myPosition == maxSteps) mySteps.erase(mySteps.begin());
    mySteps.push_back(std::move(step));
    myPosition = int(mySteps.size());
}

void OP_UndoManager::apply(const Change& change, const PRM_ParmValue& value) {
    OP_Node* node = OP_Node::lookupNode(change.node);
    PRM_Parm* parm = node ? node->parms().find(change.token) : nullptr;
    if (!parm) return;
    parm->setValue(value);
    node->parmChanged(*parm);
}

bool OP_UndoManager::undo() {
    if (myOpen > 0 || myPosition == 0) return false;
    const Step& step = mySteps[size_t(--myPosition)];
    for (auto change = step.changes.rbegin(); change != step.changes.rend(); ++change) apply(*change, change->before);
    return true;
}

bool OP_UndoManager::redo() {
    if (myOpen > 0 || redoSteps() == 0) return false;
    for (const Change& change : mySteps[size_t(myPosition++)].changes) apply(change, change.after);
    return true;
}

OP_UndoManager::Recording::Recording(OP_Parameters& node, const PRM_Parm& parm) {
    const OP_Node* owner = instance().myEnabled ? node.castToNode() : nullptr;
    if (!owner) return;
    myParm = &parm;
    myNode = owner->getUniqueId();
    myBefore = parm.value();
}

OP_UndoManager::Recording::~Recording() {
    if (myParm) instance().add({myNode, myParm->row().token, std::move(myBefore), myParm->value()});
}

void UTbeginUndoBlock(const char* name) { OP_UndoManager::instance().begin(name); }
void UTendUndoBlock() { OP_UndoManager::instance().end(); }
