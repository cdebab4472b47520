#pragma once

#include <limits>

#include "host/ut/UT_Matrix4.h"

/// Axis-aligned box, empty until something is enclosed.
class UT_BoundingBox {
public:
    UT_BoundingBox() { initBounds(); }
    UT_BoundingBox(const UT_Vector3& lo, const UT_Vector3& hi)
        : myMin(lo)
        , myMax(hi) {}

    /// Empties the box: min is +infinity, max is -infinity.
    void initBounds() {
        constexpr float inf = std::numeric_limits<float>::infinity();
        myMin.assign(inf, inf, inf), myMax.assign(-inf, -inf, -inf);
    }
    void initBounds(const UT_Vector3& p) { myMin = myMax = p; }

    /// Grows to enclose p; NaN components are ignored.
    void enlargeBounds(const UT_Vector3& p) {
        for (int i = 0; i < 3; ++i) {
            if (p[i] < myMin[i]) myMin[i] = p[i];
            if (p[i] > myMax[i]) myMax[i] = p[i];
        }
    }
    void enlargeBounds(const UT_BoundingBox& b) {
        if (b.isValid()) enlargeBounds(b.myMin), enlargeBounds(b.myMax);
    }
    /// Moves every face outward by `amount`, on both sides.
    void expandBounds(float amount) {
        const UT_Vector3 d(amount, amount, amount);
        myMin -= d, myMax += d;
    }

    /// False while empty.
    bool isValid() const { return myMin.x() <= myMax.x() && myMin.y() <= myMax.y() && myMin.z() <= myMax.z(); }
    const UT_Vector3& vmin() const { return myMin; }
    const UT_Vector3& vmax() const { return myMax; }
    float xmin() const { return myMin.x(); }
    float ymin() const { return myMin.y(); }
    float zmin() const { return myMin.z(); }
    float xmax() const { return myMax.x(); }
    float ymax() const { return myMax.y(); }
    float zmax() const { return myMax.z(); }

    /// Edge lengths; zero for an empty box.
    UT_Vector3 size() const { return isValid() ? myMax - myMin : UT_Vector3(0, 0, 0); }
    /// The origin for an empty box.
    UT_Vector3 center() const { return isValid() ? myMin * 0.5f + myMax * 0.5f : UT_Vector3(0, 0, 0); }
    /// Half of the diagonal.
    float radius() const { return 0.5f * size().length(); }

    /// The faces belong to the inside.
    bool isInside(const UT_Vector3& p) const {
        for (int i = 0; i < 3; ++i)
            if (!(p[i] >= myMin[i] && p[i] <= myMax[i])) return false;
        return true;
    }
    bool intersects(const UT_BoundingBox& b) const {
        for (int i = 0; i < 3; ++i)
            if (!(b.myMin[i] <= myMax[i] && b.myMax[i] >= myMin[i])) return false;
        return true;
    }

    /// Becomes the box around the eight transformed corners; an empty box stays empty.
    void transform(const UT_Matrix4& m) {
        if (!isValid()) return;
        const UT_BoundingBox old = *this;
        initBounds();
        for (int i = 0; i < 8; ++i) enlargeBounds(old.corner(i) * m);
    }
    /// Corner i: bit 0 picks max x, bit 1 max y, bit 2 max z.
    UT_Vector3 corner(int i) const {
        return {i & 1 ? myMax.x() : myMin.x(), i & 2 ? myMax.y() : myMin.y(), i & 4 ? myMax.z() : myMin.z()};
    }

private:
    UT_Vector3 myMin, myMax;
};
