#pragma once

#include <bitset>

#include "core/FLX_Node.h"
#include "host/expr/EV_Columns.h"
#include "vars/FLX_VariableReader.h"
#include "vars/FLX_VariableTest.h"

/// Base of the operators whose parameters may read the particle variables. The variables read the current point; each
/// parameter is found per cook to depend on them or not, and is evaluated per particle only when it does.
class FLX_LocalVar : public FLX_Node {
public:
    FLX_LocalVar(OP_Network* parent, const char* name, OP_Operator* op);

    static const OP_VariablePair myVariablePair;

    // ---- once per cook
    /// Takes the attribute offsets, counts and time step for the variables.
    void setupVars(FLX_ContextData* context, const GB_PointGroup* group);
    /// Lets this node's expressions see the context's user variables until cleanupDynamicVars.
    void setupDynamicVars(FLX_ContextData* context);
    void cleanupDynamicVars();
    /// As on every node; in the middle of a cook this node's expressions see the new variable from here on.
    int addUserVariable(FLX_ContextData* context, const char* name, int size, GB_AttribType type, const void* def,
                        const char* varname);

    // ---- per particle
    void setCurPoint(const GEO_Point* point) {
        myCurPoint = point;
        myFirstPointOf = nullptr;
    }
    void setIteration(int iteration) { myIteration = iteration; }
    /// Reading it makes a parameter under test per-particle.
    const GEO_Point* curPoint() {
        myTest.setDependent();
        return point();
    }
    GU_Detail* curGdp() const;
    /// How this cook's variables are read, and the context whose user variables count; null before the first cook.
    FLX_VariableReader& variableReader() { return myReader; }
    const FLX_ContextData* variableContext() const { return myVarContext; }
    /// Code for expressions of this node over columns: that of an earlier cook when nothing has changed.
    std::shared_ptr<EV_Columns> columns(const EV_ColumnList& list) { return myColumns.take(list); }

    float getVariableValue(int index, int thread) override;
    int isVarDependent(GU_Detail* detail, EV_EXPRESSION* expression, int thread) override;
    int isVarDependent(GU_Detail* detail, const FLX_ParmRef& parm, float t, int thread) override;
    void allowVar(int on) override { myTest.allow(on); }
    bool isTestingVariables() const override { return myTest.running(); }
    const CH_LocalVariable* resolveExtraVariableForSyntaxHighlight(const char* name) override;

private:
    float testValue(int index, int thread);
    float missingValue(const FLX_ParticleVariable& variable);
    void beginTest(GU_Detail* detail);
    /// The current point, found now when it is the first one of a detail that was tested against.
    const GEO_Point* point();

    const GEO_Point* myCurPoint = nullptr;
    const GU_Detail* myFirstPointOf = nullptr; // else the current point is this detail's first
    int myIteration = 0;
    FLX_VariableTest myTest;
    FLX_VariableReader myReader;
    EV_ColumnShelf myColumns;
    std::bitset<FLX_ParticleVariables::COUNT> myWarned; // whose missing attribute this cook has told of
    bool myDynamicVars = false;                         // between set-up and clean-up
    FLX_ContextData* myVarContext = nullptr;
};
