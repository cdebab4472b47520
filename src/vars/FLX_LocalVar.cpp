#include "vars/FLX_LocalVar.h"

#include <bit>
#include <utility>

#include "host/expr/EV_Number.h"

const OP_VariablePair FLX_LocalVar::myVariablePair{FLX_ParticleVariables::names.data(), nullptr};

FLX_LocalVar::FLX_LocalVar(OP_Network* parent, const char* name, OP_Operator* op)
    : FLX_Node(parent, name, op) {}

void FLX_LocalVar::setupVars(FLX_ContextData* context, const GB_PointGroup* group) {
    myReader.setup(*context, group);
    myWarned.reset();
}

void FLX_LocalVar::setupDynamicVars(FLX_ContextData* context) {
    getCollection()->setExtraVariables(context->getUserVariables());
    myVarContext = context;
    myDynamicVars = true;
}

void FLX_LocalVar::cleanupDynamicVars() {
    getCollection()->setExtraVariables(nullptr);
    myDynamicVars = false;
}

int FLX_LocalVar::addUserVariable(FLX_ContextData* context, const char* name, int size, GB_AttribType type,
                                  const void* def, const char* varname) {
    const int offset = FLX_Node::addUserVariable(context, name, size, type, def, varname);
    if (myDynamicVars && context == myVarContext) setupDynamicVars(context);
    return offset;
}

GU_Detail* FLX_LocalVar::curGdp() const {
    const FLX_ContextData* context = getPrevContextData();
    return context ? context->getDetail() : nullptr;
}

const CH_LocalVariable* FLX_LocalVar::resolveExtraVariableForSyntaxHighlight(const char* name) {
    const FLX_ContextData* context = getPrevContextData();
    const CH_LocalVariable* variable = context ? context->getUserVariables() : nullptr;
    for (; variable && variable->name; ++variable)
        if (std::string_view(variable->name) == name) return variable;
    return nullptr;
}

// ---- values

float FLX_LocalVar::getVariableValue(int index, int thread) {
    if (myTest.deny(thread)) return 0;
    if (myTest.running()) return testValue(index, thread);
    if (!point()) return 0;
    if (FLX_ContextData::isUserVariable(index))
        return myVarContext ? myVarContext->getUserVariableValue(myCurPoint, index, thread) : 0;
    const FLX_ParticleVariable* variable = FLX_ParticleVariables::find(index);
    if (!variable) return 0;
    return myReader.isPresent(*variable) ? myReader.value(*variable, myCurPoint, myIteration) : missingValue(*variable);
}

float FLX_LocalVar::testValue(int index, int thread) {
    const FLX_ParticleVariable* variable = FLX_ParticleVariables::find(index);
    if (!FLX_ContextData::isUserVariable(index)) {
        if (!variable || variable->test == FLX_VarTest::Constant) return 1;
        if (variable->test == FLX_VarTest::Attribute && !myReader.isPresent(*variable))
            EV_errNo(thread) = EV_ERR_VARIABLE;
    }
    myTest.setDependent();
    return 1;
}

// What the attribute would hold if an operator had just added it, said once per cook.
float FLX_LocalVar::missingValue(const FLX_ParticleVariable& variable) {
    float value = 0;
    if (variable.attrib != FLX_Attrib::Count && variable.read == FLX_VarRead::Attribute) {
        const FLX_AttribRow& row = FLXattribRow(variable.attrib);
        const uint32_t bits = row.def.bits[size_t(variable.component)];
        value = row.type == GB_ATTRIB_INT ? float(int(bits)) : std::bit_cast<float>(bits);
    }
    const auto index = size_t(&variable - FLX_ParticleVariables::rows.data());
    if (!myWarned.test(index)) {
        myWarned.set(index);
        const std::string text = std::string("$") + variable.name + " = " + EV_numberText(value);
        addWarning(FLX_ERR_VAR_UNAVAILABLE, text.c_str());
    }
    return value;
}

// Without a running pass there may be passes that change what a variable reads, or take the point away.
const GEO_Point* FLX_LocalVar::point() {
    flushPasses();
    if (const GU_Detail* detail = std::exchange(myFirstPointOf, nullptr))
        myCurPoint = detail->points().entries() > 0 ? detail->points()(0) : nullptr;
    return myCurPoint;
}

// ---- the dependency test

void FLX_LocalVar::beginTest(GU_Detail* detail) {
    myCurPoint = nullptr;
    myFirstPointOf = detail;
}

int FLX_LocalVar::isVarDependent(GU_Detail* detail, EV_EXPRESSION* expression, int thread) {
    beginTest(detail);
    return myTest.decide(*this, thread, [&] {
        float x, y, z;
        evalVector(expression, x, y, z, thread);
    });
}

int FLX_LocalVar::isVarDependent(GU_Detail* detail, const FLX_ParmRef& parm, float t, int thread) {
    beginTest(detail);
    return myTest.decide(*this, thread, [&] { FLX_VariableTest::evaluate(*this, parm, t, thread); });
}
