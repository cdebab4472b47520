#include "host/geo/GU_RayQuadric.h"

#include "host/geo/GEO_PrimQuadric.h"

#include <cmath>

bool GU_RayQuadric::set(const GEO_PrimQuadric& prim) {
    const unsigned kind = prim.getPrimitiveId();
    if (kind != GEOPRIMSPHERE && kind != GEOPRIMTUBE && kind != GEOPRIMCIRCLE) return false;
    if (!prim.getVertexCount()) return false;
    mySphere = kind == GEOPRIMSPHERE;
    myTube = kind == GEOPRIMTUBE;
    if (myTube) myTaper = static_cast<const GEO_PrimTube&>(prim).getTaper();
    myCenter = UT_Vector3D(prim.center());
    myInverse = UT_DMatrix3(prim.getXform());
    return myInverse.invert() && std::isfinite(myCenter.length2()) && std::isfinite(myTaper);
}

int GU_RayQuadric::intersect(const UT_Vector3D& org, const UT_Vector3D& dir, double (&t)[2], int (&sides)[2]) const {
    const UT_Vector3D o = (org - myCenter) * myInverse, d = dir * myInverse;
    const int count = mySphere ? sphere(o, d, t) : myTube ? tube(o, d, t) : circle(o, d, t);
    sides[0] = count == 2 ? -1 : 0; // a line that only touches neither enters nor leaves
    sides[1] = 1;
    return count;
}

int GU_RayQuadric::sphere(const UT_Vector3D& o, const UT_Vector3D& d, double (&t)[2]) const {
    const double a = d.length2(), middle = -dot(o, d) / a; // from the point nearest to the centre: no cancellation
    const double rest = 1 - (o + d * middle).length2();
    if (!(rest >= 0)) return 0;
    const double half = std::sqrt(rest / a);
    t[0] = middle - half;
    t[1] = middle + half;
    return half > 0 ? 2 : 1;
}

// x^2 + z^2 = r(y)^2 with r linear in y, within the ends.
int GU_RayQuadric::tube(const UT_Vector3D& o, const UT_Vector3D& d, double (&t)[2]) const {
    const double slope = myTaper - 1, r = 1 + slope * (o.y() + 0.5), dr = slope * d.y();
    const double a = d.x() * d.x() + d.z() * d.z() - dr * dr, b = o.x() * d.x() + o.z() * d.z() - r * dr,
                 c = o.x() * o.x() + o.z() * o.z() - r * r;
    const double disc = b * b - a * c;
    if (!(disc >= 0)) return 0;
    // The root without cancellation first, the other one from the product of both.
    const double q = -(b + std::copysign(std::sqrt(disc), b));
    const double roots[2] = {q / a, c / q};
    int count = 0;
    for (double root : roots)
        if (std::isfinite(root) && std::fabs(o.y() + root * d.y()) <= 0.5 && !(count && root == t[0]))
            t[count++] = root;
    if (count == 2 && t[1] < t[0]) std::swap(t[0], t[1]);
    return count;
}

int GU_RayQuadric::circle(const UT_Vector3D& o, const UT_Vector3D& d, double (&t)[2]) const {
    t[0] = -o.z() / d.z();
    const double x = o.x() + t[0] * d.x(), y = o.y() + t[0] * d.y();
    return std::isfinite(t[0]) && x * x + y * y <= 1;
}
