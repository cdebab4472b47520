#pragma once

#include "host/geo/GEO_VertexPrimitive.h"
#include "host/ut/UT_Matrix3.h"

/// Base of the primitives that are one centre vertex plus a local frame: a local point p lies at
/// centre + p * xform (row vectors).
class GEO_PrimQuadric : public GEO_VertexPrimitive {
public:
    const UT_Matrix3& getXform() const { return myXform; }
    void setXform(const UT_Matrix3& xform);
    /// Inverse of the frame, null when it has none.
    const UT_Matrix3* getInverse() const { return myInvertible ? &myInverse : nullptr; }
    UT_Vector3 center() const { return pos3(0); }

    bool weights(float u, float v, GEO_Weights& out) const override;
    int evaluatePosition(float u, float v, UT_Vector4& out) const override;
    int evaluateNormal(float u, float v, UT_Vector3& out) const override;
    bool parametric(const UT_Vector3& p, float& u, float& v) const override;
    bool enlargeBBox(UT_BoundingBox& box) const override;
    bool hasOwnExtent() const override { return true; }
    void transformShape(const UT_Matrix4& m) override;
    void reverse() override {}

protected:
    using GEO_VertexPrimitive::GEO_VertexPrimitive;
    std::string validate() const override;
    /// The surface in local coordinates.
    virtual UT_Vector3 localPosition(float u, float v) const = 0;
    virtual UT_Vector3 localNormal(float u, float v) const = 0;
    virtual void localParametric(const UT_Vector3& p, float& u, float& v) const = 0;
    /// Smallest and largest dot(p, d) over the surface, d a direction of local space.
    virtual void localExtent(const UT_Vector3& d, float& low, float& high) const = 0;

private:
    UT_Matrix3 myXform{1};
    UT_Matrix3 myInverse{1};
    bool myInvertible = true;
};

/// Unit disc in the local xy plane, normal +z: u around from +x counter-clockwise, v from the rim (0) to the centre
/// (1), radius sqrt(1 - v), so uniform (u, v) fall uniformly on the disc.
class GEO_PrimCircle final : public GEO_PrimQuadric {
public:
    explicit GEO_PrimCircle(GEO_Detail* detail)
        : GEO_PrimQuadric(detail, GEOPRIMCIRCLE) {}
    bool isClosed() const override { return true; }

private:
    std::unique_ptr<GEO_Primitive> clone() const override {
        return std::unique_ptr<GEO_Primitive>(new GEO_PrimCircle(*this));
    }
    UT_Vector3 localPosition(float u, float v) const override;
    UT_Vector3 localNormal(float u, float v) const override;
    void localParametric(const UT_Vector3& p, float& u, float& v) const override;
    void localExtent(const UT_Vector3& d, float& low, float& high) const override;
};

/// Unit sphere: u is the longitude around local y, counter-clockwise seen from +y and starting at +x; v runs from the
/// south pole (0) to the north pole (1) with y = 2v - 1, so uniform (u, v) fall uniformly on the sphere.
class GEO_PrimSphere : public GEO_PrimQuadric {
public:
    explicit GEO_PrimSphere(GEO_Detail* detail)
        : GEO_PrimQuadric(detail, GEOPRIMSPHERE) {}
    bool isClosed() const override { return true; }

protected:
    GEO_PrimSphere(GEO_Detail* detail, unsigned typeId)
        : GEO_PrimQuadric(detail, typeId) {}

private:
    std::unique_ptr<GEO_Primitive> clone() const override {
        return std::unique_ptr<GEO_Primitive>(new GEO_PrimSphere(*this));
    }
    UT_Vector3 localPosition(float u, float v) const override;
    UT_Vector3 localNormal(float u, float v) const override;
    void localParametric(const UT_Vector3& p, float& u, float& v) const override;
    void localExtent(const UT_Vector3& d, float& low, float& high) const override;
};

/// Tube around local y from y = -1/2 (v = 0) to 1/2 (v = 1), radius 1 at the bottom and `taper` at the top, without
/// caps; u as on the sphere.
class GEO_PrimTube final : public GEO_PrimQuadric {
public:
    explicit GEO_PrimTube(GEO_Detail* detail)
        : GEO_PrimQuadric(detail, GEOPRIMTUBE) {}
    float getTaper() const { return myTaper; }
    void setTaper(float taper) { myTaper = taper; }

private:
    std::unique_ptr<GEO_Primitive> clone() const override {
        return std::unique_ptr<GEO_Primitive>(new GEO_PrimTube(*this));
    }
    UT_Vector3 localPosition(float u, float v) const override;
    UT_Vector3 localNormal(float u, float v) const override;
    void localParametric(const UT_Vector3& p, float& u, float& v) const override;
    void localExtent(const UT_Vector3& d, float& low, float& high) const override;

    float myTaper = 1;
};

class GU_Detail;

/// Makes quadrics for operators: a new centre point at the translation of `xform`, the rest of the matrix as the frame.
struct GU_PrimCircle {
    static GEO_PrimCircle* build(GU_Detail* detail, const UT_Matrix4& xform);
};
struct GU_PrimSphere {
    static GEO_PrimSphere* build(GU_Detail* detail, const UT_Matrix4& xform);
};
struct GU_PrimTube {
    static GEO_PrimTube* build(GU_Detail* detail, const UT_Matrix4& xform, float taper = 1);
};
