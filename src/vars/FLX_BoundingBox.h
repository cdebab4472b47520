#pragma once

#include "host/geo/GU_Detail.h"
#include "host/ut/UT_BoundingBox.h"

/// The box of all points of a detail, computed at the first demand after `pend`: $BBX, $BBY, $BBZ.
class FLX_BoundingBox {
public:
    /// Null leaves the box as it was.
    void pend(const GU_Detail* detail) { myPending = detail; }

    bool isPending() const { return myPending != nullptr; }
    void settle() {
        if (myPending) compute();
    }

    /// Where `value` lies along the axis, 0 to 1 inside; 0 when the box has no extent there.
    float relative(float value, int axis) {
        settle();
        return (value - myMin[axis]) * myInverseSize[axis];
    }

private:
    void compute() {
        UT_BoundingBox box;
        box.initBounds();
        myPending->points().forEach(nullptr, [&](GEO_Point* p) {
            box.enlargeBounds(UT_Vector3(p->getPos().x(), p->getPos().y(), p->getPos().z()));
        });
        const bool any = myPending->points().entries() > 0;
        for (int axis = 0; axis < 3; ++axis) {
            myMin[axis] = any ? box.vmin()[axis] : 0;
            const float extent = any ? box.vmax()[axis] - box.vmin()[axis] : 0;
            myInverseSize[axis] = extent < -0.00001f || extent > 0.00001f ? 1.0f / extent : 0.0f;
        }
        myPending = nullptr;
    }

    const GU_Detail* myPending = nullptr;
    float myMin[3] = {0, 0, 0};
    float myInverseSize[3] = {0, 0, 0};
};
