#pragma once

#include <array>

#include "core/FLX_AttribMap.h"
#include "core/FLX_Node.h"
#include "host/ut/UT_Matrix3.h"
#include "host/ut/UT_Matrix4.h"
#include "vars/FLX_BoundingBox.h"
#include "vars/FLX_Chosen.h"
#include "vars/FLX_GeneratorVariables.h"
#include "vars/FLX_VariableTest.h"

/// Base of the operators that give birth to particles. Their variables describe the emission sample: the place that a
/// particle is about to be born from.
class FLX_GenVar : public FLX_Node {
public:
    FLX_GenVar(OP_Network* parent, const char* name, OP_Operator* op);

    static const OP_VariablePair myVariablePair;

    /// What the variables read; the emission routines fill it before each birth.
    struct Sample {
        const UT_Vector4* position = nullptr;
        const GB_AttributeData* attribs = nullptr; ///< laid out like a source point's
        const UT_Vector3* normal = nullptr;        ///< used when the source has no "N"
        int sourceNumber = -1;                     ///< point or primitive; -1: none
        float u = 0;
        float v = 0;
    };

    // ---- once per cook
    /// Source and group may be null; without a source the attribute offsets and the box stay as they were.
    void setupVars(FLX_ContextData* context, const GU_Detail* source, const GB_Group* group);
    void refreshSourceAttributeVars(const GU_Detail* source);
    bool hasSourceAttributeVars() const;

    Sample& sample() { return mySample; }
    /// birthParticle, for the emission routines.
    GEO_Point* give(FLX_ContextData* context, const FLX_Birth& birth) { return birthParticle(context, birth); }
    void clearSample() { mySample = Sample(); }
    void setIteration(int iteration) { myIteration = iteration; }
    void countIteration() { ++myIteration; }

    /// The transform of normals: the inverse transpose of the upper 3x3, negated when that mirrors.
    static void buildVectorTransform(UT_Matrix3& out, const UT_Matrix4& transform);
    void clearLastEmissionTime() { myLastEmissionTime = NO_TIME; }

    float getVariableValue(int index, int thread) override;
    int isVarDependent(GU_Detail* detail, EV_EXPRESSION* expression, int thread) override;
    int isVarDependent(GU_Detail* detail, const FLX_ParmRef& parm, float t, int thread) override;
    void allowVar(int on) override { myTest.allow(on); }
    int isAllowVar() const { return myTest.allowed(); }
    bool isVarTest() const { return myTest.running(); }
    bool isTestingVariables() const override { return myTest.running(); }
    void setVarDependent(int on) { myTest.setDependent(on); }

protected:
    static constexpr float NO_TIME = 3.4028235e38f;

    /// Tests a per-birth parameter; a constant one is evaluated now.
    template <class Handle> FLX_Chosen<Handle> choose(const Handle& p, float t, int thread) {
        return {p, t, isVarDependent(myDetail, FLX_ParmRef(p), t, thread) != 0};
    }
    FLX_ChosenVector chooseVector(const Floats<3>& p, float t, int thread);

    float myLastEmissionTime = NO_TIME;

private:
    float testValue(const FLX_GeneratorVariable* variable, int thread);
    float sampleValue(const FLX_GeneratorVariable& variable);
    float missing(const FLX_GeneratorVariable& variable);
    const float* sourceFloats(FLX_SourceAttrib attrib) const;

    Sample mySample;
    int myIteration = 0;
    FLX_VariableTest myTest;
    /// Points of the particle detail when setupVars ran: only the passes that wait may tell how many.
    float particleCount();
    FLX_ContextDataHandle myUncounted; // null: counted
    long long myBornBefore = 0;
    int myParticleCount = 0;
    int myPointCount = 0;
    int myPrimitiveCount = 0;
    int myGroupCount = 0;
    FLX_BoundingBox myBox;
    float myTimeIncrement = 0;
    std::array<int, size_t(FLX_NUM_SOURCE_ATTRIBS)> mySourceOffsets;
};
