#include "host/node/OP_Parameters.h"

namespace {
thread_local PRM_Recorder* theCurrent = nullptr;
}

PRM_Recorder::PRM_Recorder(PRM_TemplateTable& table)
    : myTable(table)
    , myOuter(theCurrent) {
    theCurrent = this;
}

PRM_Recorder::~PRM_Recorder() { theCurrent = myOuter; }

PRM_Recorder* PRM_Recorder::current() { return theCurrent; }

void PRM_Recorder::claim(const OP_Parameters* node) {
    if (!myPrototype) myPrototype = node;
}

PRM_Template& PRM_Recorder::append(int& index) {
    index = int(myTable.rows.size());
    return myTable.rows.emplace_back();
}
