#pragma once

#include "host/geo/GEO_PrimQuadric.h"
#include "host/geo/TS_KernelList.h"

/// A density field around one centre vertex: weight * kernel(|local p|^2), where local coordinates are divided by the
/// radii of the xform. Its surface parameters are those of the sphere of influence.
class GEO_PrimMetaball final : public GEO_PrimSphere {
public:
    explicit GEO_PrimMetaball(GEO_Detail* detail)
        : GEO_PrimSphere(detail, GEOPRIMMETABALL) {}

    float getWeight() const { return myWeight; }
    void setWeight(float weight) { myWeight = weight; }
    int getKernel() const { return myKernel; } ///< number in TS_KernelList
    void setKernel(int kernel) { myKernel = kernel; }
    /// Density at a point; 0 outside the ellipsoid of influence or when the frame has no inverse.
    float density(const UT_Vector3& p) const;

private:
    std::unique_ptr<GEO_Primitive> clone() const override {
        return std::unique_ptr<GEO_Primitive>(new GEO_PrimMetaball(*this));
    }

    float myWeight = 1;
    int myKernel = TS_KernelList::DEFAULT;
};

class GU_Detail;

/// Makes metaballs for operators; `xform` as for spheres, its upper 3x3 the radii.
struct GU_PrimMetaball {
    static GEO_PrimMetaball* build(GU_Detail* detail, const UT_Matrix4& xform, float weight = 1, int kernel = 0);
};
