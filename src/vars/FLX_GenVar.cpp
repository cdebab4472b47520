#include "vars/FLX_GenVar.h"

#include <algorithm>
#include <cmath>

const OP_VariablePair FLX_GenVar::myVariablePair{FLX_GeneratorVariables::names.data(), nullptr};

FLX_GenVar::FLX_GenVar(OP_Network* parent, const char* name, OP_Operator* op)
    : FLX_Node(parent, name, op) {
    mySourceOffsets.fill(-1);
}

void FLX_GenVar::setupVars(FLX_ContextData* context, const GU_Detail* source, const GB_Group* group) {
    myBox.pend(source);
    myUncounted.set(context);
    myBornBefore = context->getNumBorn();
    myPointCount = source ? int(source->points().entries()) : 0;
    myPrimitiveCount = source ? int(source->primitives().entries()) : 0;
    myGroupCount = group ? int(group->entries()) : 0;
    myTimeIncrement = context->timeStep;
    refreshSourceAttributeVars(source);
}

void FLX_GenVar::refreshSourceAttributeVars(const GU_Detail* source) {
    if (!source) return;
    for (size_t i = 0; i < FLX_SourceAttribRows.size(); ++i) {
        const FLX_SourceAttribRow& row = FLX_SourceAttribRows[i];
        mySourceOffsets[i] = source->pointAttribs().getOffset(row.name, row.size, row.type);
    }
}

bool FLX_GenVar::hasSourceAttributeVars() const {
    return std::any_of(mySourceOffsets.begin(), mySourceOffsets.end(), [](int offset) { return offset != -1; });
}

void FLX_GenVar::buildVectorTransform(UT_Matrix3& out, const UT_Matrix4& transform) {
    out = transform.upper3();
    const bool mirrors = out.determinant() < 0;
    out.invert();
    out.transpose();
    if (mirrors) out.scale(UT_Vector3(-1, -1, -1));
}

FLX_ChosenVector FLX_GenVar::chooseVector(const Floats<3>& p, float t, int thread) {
    FLX_ChosenVector chosen(p, t);
    for (int i = 0; i < 3; ++i) chosen.decide(i, isVarDependent(myDetail, FLX_ParmRef(p[i]), t, thread) != 0);
    return chosen;
}

// ---- values

float FLX_GenVar::getVariableValue(int index, int thread) {
    if (myTest.deny(thread)) return 0;
    const FLX_GeneratorVariable* variable = FLX_GeneratorVariables::find(index);
    if (myTest.running()) return testValue(variable, thread);
    return variable ? sampleValue(*variable) : 0;
}

float FLX_GenVar::testValue(const FLX_GeneratorVariable* variable, int thread) {
    if (!variable || variable->test == FLX_VarTest::Constant) return 1;
    if (variable->test == FLX_VarTest::Attribute && mySourceOffsets[size_t(variable->attrib)] == -1)
        EV_errNo(thread) = EV_ERR_VARIABLE;
    myTest.setDependent();
    return 1;
}

const float* FLX_GenVar::sourceFloats(FLX_SourceAttrib attrib) const {
    const int offset = mySourceOffsets[size_t(attrib)];
    return mySample.attribs && offset >= 0 ? mySample.attribs->castAttribData<float>(offset) : nullptr;
}

float FLX_GenVar::particleCount() {
    if (const FLX_ContextData* context = myUncounted.get()) {
        const long long bornSince = context->getNumBorn() - myBornBefore;
        myParticleCount = int((long long)(context->getDetail()->points().entries()) - bornSince);
        myUncounted.set(nullptr);
    }
    return float(myParticleCount);
}

float FLX_GenVar::missing(const FLX_GeneratorVariable& variable) {
    const std::string text = std::string("$") + variable.name + " = " + std::to_string(variable.missing);
    addWarning(FLX_ERR_VAR_UNAVAILABLE, text.c_str());
    return float(variable.missing);
}

float FLX_GenVar::sampleValue(const FLX_GeneratorVariable& variable) {
    const int i = variable.component;
    switch (variable.read) {
    case FLX_GenRead::Attribute: {
        const float* values = sourceFloats(variable.attrib);
        return values ? values[i] : missing(variable);
    }
    case FLX_GenRead::Normal: {
        const float* values = sourceFloats(variable.attrib);
        if (!values && mySample.normal) values = mySample.normal->data();
        return values ? values[i] : missing(variable);
    }
    case FLX_GenRead::Speed: {
        const float* v = sourceFloats(variable.attrib);
        return v ? std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]) : missing(variable);
    }
    case FLX_GenRead::Position: return mySample.position ? (*mySample.position)[i] : missing(variable);
    case FLX_GenRead::BoundingBox:
        return mySample.position ? myBox.relative((*mySample.position)[i], i) : missing(variable);
    case FLX_GenRead::Iteration: return float(myIteration);
    case FLX_GenRead::SourceNumber:
        return mySample.sourceNumber >= 0 ? float(mySample.sourceNumber) : missing(variable);
    case FLX_GenRead::U: return mySample.u;
    case FLX_GenRead::V: return mySample.v;
    case FLX_GenRead::ParticleCount: return particleCount();
    case FLX_GenRead::PointCount: return float(myPointCount);
    case FLX_GenRead::PrimitiveCount: return float(myPrimitiveCount);
    case FLX_GenRead::GroupCount: return float(myGroupCount);
    case FLX_GenRead::TimeIncrement: return myTimeIncrement;
    }
    return 0;
}

// ---- the dependency test. No dummy sample is needed: in a test no variable reads one.

int FLX_GenVar::isVarDependent(GU_Detail*, EV_EXPRESSION* expression, int thread) {
    return myTest.decide(*this, thread, [&] {
        float x, y, z;
        evalVector(expression, x, y, z, thread);
    });
}

int FLX_GenVar::isVarDependent(GU_Detail*, const FLX_ParmRef& parm, float t, int thread) {
    return myTest.decide(*this, thread, [&] { FLX_VariableTest::evaluate(*this, parm, t, thread); });
}
