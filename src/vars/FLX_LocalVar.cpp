#include "vars/FLX_LocalVar.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

#include "host/expr/EV_Number.h"
#include "host/ut/UT_Math.h"

const OP_VariablePair FLX_LocalVar::myVariablePair{FLX_ParticleVariables::names.data(), nullptr};

FLX_LocalVar::FLX_LocalVar(OP_Network* parent, const char* name, OP_Operator* op)
    : FLX_Node(parent, name, op) {
    myOffsets.fill(-1);
}

void FLX_LocalVar::setupVars(FLX_ContextData* context, const GB_PointGroup* group) {
    myVarDetail = context->peekDetail();
    myBox.pend(myVarDetail);
    myPointsCounted = false;
    myGroupCount = group ? int(group->entries()) : 0;
    myTimeIncrement = context->timeStep;
    myWarned.reset();
    myCore = context->core();
    for (int i = 0; i < FLX_NUM_ATTRIBS; ++i) {
        const auto attrib = FLX_Attrib(i);
        const FLX_AttribRow& row = FLXattribRow(attrib);
        const int known = context->offset(attrib);
        myOffsets[size_t(i)] = known >= 0 ? known : myVarDetail->pointAttribs().getOffset(row.name, row.size, row.type);
    }
}

void FLX_LocalVar::setupDynamicVars(FLX_ContextData* context) {
    getCollection()->setExtraVariables(context->getUserVariables());
    myVarContext = context;
}

void FLX_LocalVar::cleanupDynamicVars() { getCollection()->setExtraVariables(nullptr); }

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
    return variable ? particleValue(*variable) : 0;
}

float FLX_LocalVar::testValue(int index, int thread) {
    const FLX_ParticleVariable* variable = FLX_ParticleVariables::find(index);
    if (!FLX_ContextData::isUserVariable(index)) {
        if (!variable || variable->test == FLX_VarTest::Constant) return 1;
        if (variable->test == FLX_VarTest::Attribute && !isPresent(*variable)) EV_errNo(thread) = EV_ERR_VARIABLE;
    }
    myTest.setDependent();
    return 1;
}

bool FLX_LocalVar::isPresent(const FLX_ParticleVariable& variable) const {
    switch (variable.read) {
    case FLX_VarRead::Life:
    case FLX_VarRead::LifeRatio: return myCore.life >= 0;
    case FLX_VarRead::Accel: return myCore.accel >= 0;
    case FLX_VarRead::Velocity: return myCore.velocity >= 0;
    case FLX_VarRead::StateBit: return myCore.state >= 0;
    case FLX_VarRead::Speed: return offset(FLX_Attrib::Speed) >= 0 || myCore.velocity >= 0;
    default: return variable.attrib == FLX_Attrib::Count || offset(variable.attrib) >= 0;
    }
}

namespace {

// Twice the arc cosine of the quaternion's real part, and the scale from radians, in the precision of the attributes.
constexpr float HALF_ANGLE_TO_DEGREES = std::bit_cast<float>(0x42E52EE0u);
constexpr float RADIANS_TO_DEGREES = std::bit_cast<float>(0x42652EE0u);

float halfAngle(float w) { return UT_Math::acos(std::clamp(w, -1.0f, 1.0f)); }

float lifeRatio(float age, float span) {
    if (-0.00001f <= span && span <= 0.00001f) return 0;
    return std::min(age / span, 1.0f);
}

float length3(const float* v) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); }

} // namespace

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

float FLX_LocalVar::particleValue(const FLX_ParticleVariable& variable) {
    if (!isPresent(variable)) return missingValue(variable);
    const int i = variable.component;
    const int at = variable.attrib == FLX_Attrib::Count ? -1 : offset(variable.attrib);
    switch (variable.read) {
    case FLX_VarRead::Attribute:
        if (FLXattribRow(variable.attrib).type == GB_ATTRIB_INT) return float(myCurPoint->castAttribData<int>(at)[i]);
        return component(at, i);
    case FLX_VarRead::Life: return component(myCore.life, i);
    case FLX_VarRead::LifeRatio: return lifeRatio(component(myCore.life, 0), component(myCore.life, 1));
    case FLX_VarRead::Accel: return component(myCore.accel, i);
    case FLX_VarRead::Velocity: return component(myCore.velocity, i);
    case FLX_VarRead::StateBit: return *myCurPoint->castAttribData<int>(myCore.state) & i ? 1.0f : 0.0f;
    case FLX_VarRead::Position: return myCurPoint->getPos()[i];
    case FLX_VarRead::BoundingBox:
        if (myBox.isPending()) flushPasses();
        return myBox.relative(myCurPoint->getPos()[i], i);
    case FLX_VarRead::Iteration: return float(myIteration);
    case FLX_VarRead::PointNumber: return float(myVarDetail->points().number(myCurPoint));
    case FLX_VarRead::PointCount: return pointCount();
    case FLX_VarRead::GroupCount: return float(myGroupCount);
    case FLX_VarRead::TimeIncrement: return myTimeIncrement;
    case FLX_VarRead::RotationAngle: return halfAngle(component(at, 3)) * HALF_ANGLE_TO_DEGREES;
    case FLX_VarRead::RotationAxis: {
        const float sine = UT_Math::sin(halfAngle(component(at, 3)));
        return -0.00001f <= sine && sine <= 0.00001f ? 0 : component(at, i) / sine;
    }
    case FLX_VarRead::Speed:
        return at >= 0 ? component(at, 0) : length3(myCurPoint->castAttribData<float>(myCore.velocity));
    case FLX_VarRead::AngularSpeed: return length3(myCurPoint->castAttribData<float>(at)) * RADIANS_TO_DEGREES;
    }
    return 0;
}

// Without a running pass there may be passes that change what a variable reads, or take the point away.
const GEO_Point* FLX_LocalVar::point() {
    flushPasses();
    if (const GU_Detail* detail = std::exchange(myFirstPointOf, nullptr))
        myCurPoint = detail->points().entries() > 0 ? detail->points()(0) : nullptr;
    return myCurPoint;
}

float FLX_LocalVar::pointCount() {
    if (!std::exchange(myPointsCounted, true)) myPointCount = int(myVarDetail->points().entries());
    return float(myPointCount);
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
