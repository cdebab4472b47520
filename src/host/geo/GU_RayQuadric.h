#pragma once

#include "host/ut/UT_Matrix3.h"
#include "host/ut/UT_Vector3.h"

class GEO_PrimQuadric;

/// A sphere, tube or circle in its local space, where a ray keeps its distances.
class GU_RayQuadric {
public:
    /// False when the primitive is none of these kinds, has no centre, is not finite or has no inverse frame.
    bool set(const GEO_PrimQuadric& prim);

    /// Distances of the crossings with the line org + t * dir, ascending: 0, 1 or 2. `sides` is +1 where the line
    /// leaves a sphere and -1 where it enters.
    int intersect(const UT_Vector3D& org, const UT_Vector3D& dir, double (&t)[2], int (&sides)[2]) const;
    bool isClosedSurface() const { return mySphere; }

private:
    int sphere(const UT_Vector3D& o, const UT_Vector3D& d, double (&t)[2]) const;
    int tube(const UT_Vector3D& o, const UT_Vector3D& d, double (&t)[2]) const;
    int circle(const UT_Vector3D& o, const UT_Vector3D& d, double (&t)[2]) const;

    UT_DMatrix3 myInverse;
    UT_Vector3D myCenter;
    double myTaper = 1;
    bool mySphere = false;
    bool myTube = false;
};
