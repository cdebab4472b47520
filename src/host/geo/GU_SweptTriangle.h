#pragma once

#include "host/ut/UT_Vector3.h"

/// A triangle whose corners move linearly, seen from a point that rests at the origin: corner k is at[k] + s *
/// speed[k].
struct GU_SweptTriangle {
    UT_Vector3D at[3], speed[3];
    UT_Vector3D corner(int k, double s) const { return at[k] + speed[k] * s; }
};

/// A contact of the origin with a swept triangle.
struct GU_SweptHit {
    double s;     ///< when it begins
    double until; ///< when it ends; s for a passage, later while the origin stays in the triangle
    double slack; ///< s is known this well
    double b[3];  ///< barycentric weights of the corners at s
};

/// More contacts than a triangle has.
inline constexpr int GU_MOST_SWEPT_HITS = 8;

/// The contacts with low <= s <= high (finite), in order; returns how many. (After Provot, "Collision and
/// self-collision handling in cloth model dedicated to design garments", 1997: the moments at which the origin lies in
/// the triangle's plane are roots of a cubic; here roots that touch without crossing, or that last, are found by their
/// bounds.)
///
/// Passages within about 1e-10 of the size of the motion beside the triangle count: of triangles that share an edge, a
/// passage through it meets each, and none is slipped through. A triangle without area at that moment is not met.
int GUsweepTriangle(const GU_SweptTriangle& triangle, double low, double high, GU_SweptHit (&hits)[GU_MOST_SWEPT_HITS]);
