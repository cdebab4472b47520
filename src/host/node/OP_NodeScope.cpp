#include "host/node/OP_NodeScope.h"

#include <cmath>

#include "host/node/OP_Director.h"
#include "host/node/OP_Parameters.h"
#include "host/ut/UT_Math.h"

namespace {

enum GlobalId { FRAME, FLOAT_FRAME, TIME, FPS, TIME_START, TIME_END, FRAME_START, FRAME_END };

struct Global {
    std::string_view name;
    EV_Variable variable;
};

const Global theGlobals[] = {
    {"F", {EV_Variable::Global, FRAME, 0}},
    {"FF", {EV_Variable::Global, FLOAT_FRAME, 0}},
    {"T", {EV_Variable::Global, TIME, 0}},
    {"FPS", {EV_Variable::Global, FPS, 0}},
    {"TSTART", {EV_Variable::Global, TIME_START, 0}},
    {"TEND", {EV_Variable::Global, TIME_END, 0}},
    {"FSTART", {EV_Variable::Global, FRAME_START, 0}},
    {"FEND", {EV_Variable::Global, FRAME_END, 0}},
    {"PI", {EV_Variable::Value, 0, UT_Math::pi}},
    {"E", {EV_Variable::Value, 0, 2.71828182845904523536}},
};

const CH_LocalVariable* findIn(const CH_LocalVariable* table, std::string_view name) {
    if (name.empty()) return nullptr;
    for (; table && table->name; ++table)
        if (table->name[0] == name[0] && name == table->name) return table; // most differ there
    return nullptr;
}

const CH_LocalVariable* findLocal(const OP_Parameters& node, const CH_Collection& collection, std::string_view name) {
    for (const OP_VariablePair* pair = node.variablePair(); pair; pair = pair->base)
        if (const CH_LocalVariable* found = findIn(pair->variables, name)) return found;
    return findIn(collection.extraVariables(), name);
}

void appendNames(const CH_LocalVariable* table, std::vector<std::string>& out) {
    for (; table && table->name; ++table) out.emplace_back(table->name);
}

} // namespace

bool OP_NodeScope::findVariable(std::string_view name, EV_Variable& out) const {
    if (const CH_LocalVariable* local = findLocal(myOwner, myOwner.myCollection, name)) {
        out = {EV_Variable::Local, local->id, 0};
        return true;
    }
    const OP_Director& director = *OPgetDirector();
    if (const auto found = director.variables.find(name); found != director.variables.end()) {
        out = {EV_Variable::Value, 0, found->second};
        return true;
    }
    for (const Global& global : theGlobals) {
        if (global.name != name) continue;
        out = global.variable;
        return true;
    }
    return false;
}

unsigned OP_NodeScope::variableSerial() const {
    const unsigned collection = myOwner.myCollection.variableSerial(), scene = OPgetDirector()->variableSerial();
    if (collection != myCollectionSerial || scene != mySceneSerial) {
        myCollectionSerial = collection;
        mySceneSerial = scene;
        ++mySerial;
    }
    return mySerial;
}

float OP_NodeScope::localValue(int id, int thread) { return myOwner.getVariableValue(id, thread); }

double OP_NodeScope::globalValue(int id, double t) {
    const OP_Director& director = *OPgetDirector();
    if (id <= TIME) myOwner.noteTimeRead();
    switch (GlobalId(id)) {
    case FRAME: return std::floor(t * director.fps + 1.5);
    case FLOAT_FRAME: return t * director.fps + 1;
    case TIME: return t;
    case FPS: return director.fps;
    case TIME_START: return (director.startFrame - 1) / director.fps;
    case TIME_END: return (director.endFrame - 1) / director.fps;
    case FRAME_START: return director.startFrame;
    case FRAME_END: break;
    }
    return director.endFrame;
}

void OP_NodeScope::variableNames(std::vector<std::string>& out) const {
    for (const OP_VariablePair* pair = myOwner.variablePair(); pair; pair = pair->base)
        appendNames(pair->variables, out);
    appendNames(myOwner.myCollection.extraVariables(), out);
    for (const auto& [name, value] : OPgetDirector()->variables) out.push_back(name);
    for (const Global& global : theGlobals) out.emplace_back(global.name);
}
