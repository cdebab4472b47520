#pragma once

#include "ops/motion/FLX_DirectSet.h"

/// Base of the operators that turn about an axis: the axis, with a menu of predefined ones.
class FLX_AxisOperator : public FLX_DirectSet {
public:
    FLX_AxisOperator(OP_Network* parent, const char* name, OP_Operator* op, const char* axisExpression,
                     const std::array<PRM_Default, 3>& axis)
        : FLX_DirectSet(parent, name, op)
        , AXIS(this, {"rottype", "Axis Type"}, {"rotv", axisExpression}, {"rot", "Axis"}, axis) {}

    FLX_ApplyMotion APPLYMOTION{this};
    FLX_VectorParms AXIS;

    /// The rules of the set "FLXRotationAxes" (see OP_PreDefRules).
    static void buildPreDefAxesMenu(void* node, PRM_Name* names, int size, const PRM_SpareData*, PRM_Parm*);
    /// Makes rule i the axis expression, as one step that can be undone; 1, or 0 when there is no such rule.
    static int initAxes(OP_Node* node, int i, float t);

protected:
    static constexpr PRM_Name INIT_NAME{"init", "Predefined Axes (Vector)"};
    static const PRM_ChoiceList axesMenu;
};
