#pragma once

#include "host/geo/GU_Detail.h"
#include "host/node/OP_VariablePair.h"
#include "host/node/SOP_Node.h"

/// The local variables of geometry nodes that evaluate an expression per element: `$PT` and `$PR` (numbers of the point
/// and the primitive), `$TX $TY $TZ` (position of the point, or centre of the primitive), `$NPT` (number of points).
/// What an element does not have is 0.
struct SopVariables {
    static const OP_VariablePair pair;

    int point = 0;
    int primitive = 0;
    int pointCount = 0;
    UT_Vector3 position{0, 0, 0};

    float value(int id) const;
};

/// A geometry node with these variables.
class SopPerElement : public SOP_Node {
public:
    using SOP_Node::SOP_Node;
    float getVariableValue(int index, int thread) override;

protected:
    UT_ErrorSeverity cookMe(OP_Context& context) override;

    void beginElements(const GU_Detail& gdp) { myElement = {0, 0, int(gdp.points().entries()), {0, 0, 0}}; }
    void atPoint(int number, const GEO_Point* point);
    void atPrimitive(const GEO_Primitive* prim);
    /// True when the evaluations of the elements so far failed. A failed expression fails for every element alike, so a
    /// loop may stop.
    bool failed() { return error() >= UT_ERROR_ABORT; }

private:
    SopVariables myElement;
};
