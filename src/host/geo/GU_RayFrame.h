#pragma once

#include "host/ut/UT_Vector3.h"

#include <cmath>
#include <utility>

/// Positions as a ray sees them: the ray starts at the origin and runs along +z, z counts in lengths of its direction.
/// (Woop, Benthin, Wald, "Watertight Ray/Triangle Intersection", 2013; here in double.)
///
/// A vertex has one image whichever triangle asks, and the sign of `edge` is exact for the images: of the triangles
/// around an edge or vertex that the ray passes through, at least one is hit.
class GU_RayFrame {
public:
    GU_RayFrame(const UT_Vector3& org, const UT_Vector3& dir)
        : myOrg(org) {
        const UT_Vector3D d(dir);
        const double x = std::fabs(d.x()), y = std::fabs(d.y()), z = std::fabs(d.z());
        myZ = x > y ? (x > z ? 0 : 2) : (y > z ? 1 : 2);
        myX = (myZ + 1) % 3;
        myY = (myX + 1) % 3;
        if (d[myZ] < 0) std::swap(myX, myY); // keeps the winding
        myShearX = d[myX] / d[myZ];
        myShearY = d[myY] / d[myZ];
        myScale = 1 / d[myZ];
    }

    UT_Vector3D project(const UT_Vector3& p) const { return project(UT_Vector3D(p)); }
    UT_Vector3D project(const UT_Vector3D& p) const {
        const UT_Vector3D a = p - myOrg;
        return {a[myX] - myShearX * a[myZ], a[myY] - myShearY * a[myZ], myScale * a[myZ]};
    }

    int x() const { return myX; }
    int y() const { return myY; }
    int z() const { return myZ; }
    double shearX() const { return myShearX; }
    double shearY() const { return myShearY; }
    double scale() const { return myScale; } ///< from the z axis to lengths of the direction

    /// Twice the area of (origin, a, b) in the xy plane, positive when counter-clockwise; antisymmetric, its sign
    /// exact.
    static double edge(const UT_Vector3D& a, const UT_Vector3D& b) {
        const double p = a.x() * b.y(), q = a.y() * b.x(), r = p - q;
        if (std::fabs(r) > 4e-16 * (std::fabs(p) + std::fabs(q))) return r;
        return r + (productError(a.x(), b.y(), p) - productError(a.y(), b.x(), q));
    }
    /// Sign of `edge` as if the ray ran a little aside of where it does, the same little for every edge: never 0 unless
    /// a and b coincide. Crossings counted with it are right even through edges and vertices.
    static int side(const UT_Vector3D& a, const UT_Vector3D& b) {
        const double e = edge(a, b);
        if (e != 0) return e > 0 ? 1 : -1;
        if (a.y() != b.y()) return a.y() > b.y() ? 1 : -1;
        return (b.x() > a.x()) - (b.x() < a.x());
    }

private:
    // What rounding took from the product p of a and b (Dekker, "A floating-point technique for extending the available
    // precision", 1971).
    static double productError(double a, double b, double p) {
        double aHigh, aLow, bHigh, bLow;
        halve(a, aHigh, aLow);
        halve(b, bHigh, bLow);
        return ((aHigh * bHigh - p) + aHigh * bLow + aLow * bHigh) + aLow * bLow;
    }
    static void halve(double a, double& high, double& low) {
        const double c = 134217729.0 * a; // 2^27 + 1
        high = c - (c - a);
        low = a - high;
    }

    UT_Vector3D myOrg;
    int myX, myY, myZ;
    double myShearX, myShearY, myScale;
};
