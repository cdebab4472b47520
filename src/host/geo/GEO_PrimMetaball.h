#pragma once

#include "host/geo/GEO_PrimQuadric.h"

/// A density field around one centre vertex: weight * kernel(|local p|^2), where local coordinates are divided by the
/// radii of the xform. Its surface parameters are those of the sphere of influence.
class GEO_PrimMetaball final : public GEO_PrimQuadric {
public:
    explicit GEO_PrimMetaball(GEO_Detail* detail)
        : GEO_PrimQuadric(detail, GEOPRIMMETABALL) {}

    float getWeight() const { return myWeight; }
    void setWeight(float weight) { myWeight = weight; }
    int getKernel() const { return myKernel; } ///< number in TS_KernelList
    void setKernel(int kernel) { myKernel = kernel; }
    /// Density at a point; 0 outside the ellipsoid of influence or when the frame has no inverse.
    float density(const UT_Vector3& p) const;
    bool isClosed() const override { return true; }

private:
    std::unique_ptr<GEO_Primitive> cloneInto(GEO_Detail& dest, const uint32_t* pointMap) const override;
    std::unique_ptr<GEO_Primitive> cloneSameSlots(GEO_Detail& dest) const override;
    UT_Vector3 localPosition(float u, float v) const override;
    UT_Vector3 localNormal(float u, float v) const override;
    void localParametric(const UT_Vector3& p, float& u, float& v) const override;
    void localExtent(const UT_Vector3& d, float& low, float& high) const override;

    float myWeight = 1;
    int myKernel = 0;
};
