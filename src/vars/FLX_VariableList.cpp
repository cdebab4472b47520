#include "vars/FLX_VariableList.h"

#include "host/node/OP_Director.h"

FLX_VariableList::FLX_VariableList() {
    addDefaultGlobals();
    load("middleware/FLX/varlist.tbl");
}

FLX_VariableList::~FLX_VariableList() = default;

void FLX_VariableList::addDefaultGlobals() {
    const std::string fps = std::to_string(int(OPgetDirector()->fps));
    const FLX_GlobalEntry globals[] = {
        {"F", "lvar.iframe", 0, 1},      {"FF", "lvar.frame", 0, 1},
        {"T", "lvar.time", 0, 1},        {"TSTART", "0.0F", 0, 0},
        {"FSTART", "0", 0, 0},           {"PT", "lvar.ptidx", 1, 0},
        {"TIMEINC", "lvar.tinc", 0, 1},  {"FPS", fps, 0, 1},
        {"SIM", "flx_simulation", 0, 0}, {"STREAM", "flx_data", 0, 0},
        {"AUXSTREAM", "flx_data", 0, 0},
    };
    for (const FLX_GlobalEntry& global : globals) myGlobals.add(global);
}

int FLX_VariableList::addVariable(const char* name, const char* access, const char* expression, int flag) {
    FLX_VariableEntry entry;
    entry.name = name;
    entry.access = access;
    entry.expression = expression;
    entry.flag = flag;
    const FLX_AccessEntry* source = findAccess(access);
    if (source && source->type == "int") entry.type = "int";
    return myVariables.add(std::move(entry));
}

int FLX_VariableList::addAccess(const char* name, const char* type, const char* second, const char* third, int count) {
    FLX_AccessEntry entry;
    entry.name = name;
    entry.type = type;
    entry.secondField = second;
    entry.thirdField = third;
    entry.count = count;
    return myAccesses.add(std::move(entry));
}

int FLX_VariableList::addAttribute(const char* name, const char* method, int size) {
    FLX_AttributeEntry entry;
    entry.name = name;
    entry.method = method;
    entry.size = size;
    return myAttributes.add(std::move(entry));
}

int FLX_VariableList::addGlobal(const char* name, const char* expression, int first, int second) {
    return myGlobals.add({name, expression, first, second});
}

int FLX_VariableList::addParam(const char* name, const char* type) {
    myParams.push_back({name, type});
    return numparam() - 1;
}

int FLX_VariableList::addPreDefine(const char* name) {
    myPreDefines.emplace_back(name);
    return numpredefine() - 1;
}

int FLX_VariableList::addStream(const UT_String& name) {
    if (findStream(name.c_str())) return -1;
    FLX_StreamEntry entry;
    entry.name = name;
    return myStreams.add(std::move(entry));
}

int FLX_VariableList::addFuncXlate(const char* name, const char* translation, const char* arguments) {
    FLX_FuncEntry entry;
    entry.name = name;
    entry.translation = translation;
    for (const std::string& word : UT_String(arguments).words()) {
        if (entry.arguments.isstring()) entry.arguments += ", ";
        entry.arguments += word;
    }
    return myFuncs.add(std::move(entry));
}
