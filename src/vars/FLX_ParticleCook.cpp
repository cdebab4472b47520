#include "vars/FLX_ParticleCook.h"

FLX_ParticleOperator::FLX_ParticleOperator(OP_Network* parent, const char* name, OP_Operator* op)
    : FLX_LocalVar(parent, name, op) {}

bool FLX_ParticleOperator::select(OP_Context&, FLX_ContextData& context, const GB_PointGroup*& group) {
    if (!checkActivation(&context, ACTIVATE)) return false;
    if (!parseSource(context, group)) return false;
    setupVars(&context, group);
    return true;
}

bool FLX_ParticleOperator::parseSource(FLX_ContextData& context, const GB_PointGroup*& group) {
    group = nullptr;
    const UT_String text = SOURCE();
    if (!text.isstring()) return true;
    group = parsePointGroups(text.c_str(), context.getDetail(), 1);
    if (!group) addError(FLX_ERR_BADGROUP, text.c_str());
    return group && !group->isEmpty();
}
