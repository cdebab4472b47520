#include "host/geo/GEO_Param.h"
#include "host/geo/GEO_Primitive.h"
#include "host/geo/GU_RayIntersect.h"

#include <cmath>
#include <limits>

// The two questions about a point: is it inside, and what lies nearest to it.

namespace {

const UT_Vector3 PROBES[3] = {{0.57f, 0.31f, 0.76f}, {-0.43f, 0.79f, -0.44f}, {0.21f, -0.66f, 0.72f}};

} // namespace

void GU_RayIntersect::countCrossings(const UT_Vector3& p, const UT_Vector3& dir, int& crossings, int& winding) const {
    const GU_RayFrame frame(p, dir);
    crossings = winding = 0;
    const auto testTriangle = [&](uint32_t place) {
        const Corners corner = corners(place);
        const UT_Vector3D a = frame.project(corner[0]), b = frame.project(corner[1]), c = frame.project(corner[2]);
        const int side = GU_RayFrame::side(c, b);
        if (side == 0 || GU_RayFrame::side(a, c) != side || GU_RayFrame::side(b, a) != side) return;
        const double u = GU_RayFrame::edge(c, b), v = GU_RayFrame::edge(a, c), w = GU_RayFrame::edge(b, a);
        if (!((u * a.z() + v * b.z() + w * c.z()) / (u + v + w) > 0)) return;
        ++crossings;
        winding -= side;
    };
    const auto testQuadric = [&](const GU_RayShape& shape) {
        double t[2];
        int sides[2];
        const int count = myShapes.quadric(shape).intersect(UT_Vector3D(p), UT_Vector3D(dir), t, sides);
        for (int i = 0; i < count; ++i)
            if (t[i] > 0) {
                ++crossings;
                winding += sides[i];
            }
    };
    GU_BvhLine line(p, UT_Vector3D(dir), 0, std::numeric_limits<float>::max(), myBox);
    myBvh.along<false>(line, [&](uint32_t leaf) {
        for (uint32_t i = 0; i < 4; ++i) {
            if (!myLeaves[leaf].isUsed(i)) continue;
            const uint32_t item = myLeaves[leaf].item(i);
            if (myShapes.isQuadric(item))
                testQuadric(myShapes.shapes()[myShapes.items()[item].shape]);
            else
                testTriangle(leaf * 4 + i);
        }
    });
}

int GU_RayIntersect::isInside(const UT_Vector3& p, int thorough) const {
    if (mySweep || !myBox.isInside(p)) return 0;
    int crossings, winding, inside = 0;
    if (myShapes.isOriented()) {
        countCrossings(p, PROBES[0], crossings, winding);
        return winding != 0;
    }
    const int needed = thorough ? 2 : 1;
    for (int i = 0; i < 2 * needed - 1 && inside < needed && i - inside < needed; ++i) {
        countCrossings(p, PROBES[i], crossings, winding);
        inside += crossings & 1;
    }
    return inside == needed;
}

bool GU_RayIntersect::nearestOnItem(uint32_t place, const UT_Vector3& p, GU_RayCandidate& c, UT_Vector3& position,
                                    OutlineAnswer& answer) const {
    if (!myLeaves[place / 4].isUsed(place % 4)) return false;
    const uint32_t item = myLeaves[place / 4].item(place % 4);
    c.item = item;
    c.place = place;
    c.shape = myShapes.items()[item].shape;
    const GU_RayShape& shape = myShapes.shapes()[c.shape];
    const UT_Vector3D q(p);
    if (shape.kind == GU_RayShape::QUADRIC) {
        float u, v;
        UT_Vector4 at;
        if (!shape.prim->parametric(p, u, v) || !shape.prim->evaluatePosition(u, v, at)) return false;
        position = UT_Vector3(at);
        c.t = static_cast<float>((UT_Vector3D(position) - q).length());
        return true;
    }
    const Corners corner = corners(place);
    const UT_Vector3D a(corner[0]), b(corner[1]), m(corner[2]);
    GEO_TriangleHit near = GEOnearestOnTriangle(q, a, b, m);
    // Over the polygon some piece holds the foot of p; elsewhere, where the fan covers more, only the rim is left.
    if (shape.kind == GU_RayShape::FOLDED && shape.normal != UT_Vector3(0, 0, 0) &&
        !outlineHolds(c.shape, GU_RayFrame(p, shape.normal), answer))
        near = GEOnearestOnTriangle(q, a, b, b);
    c.t = static_cast<float>(std::sqrt(near.distance2));
    c.b[0] = static_cast<float>(near.a);
    c.b[1] = static_cast<float>(near.b);
    c.b[2] = static_cast<float>(near.c);
    return true;
}

int GU_RayIntersect::minimumPoint(const UT_Vector3& p, GU_RayHit& hit, float maxDistance) const {
    hit = GU_RayHit();
    const double finite = dot(UT_Vector3D(p), UT_Vector3D(p));
    if (!std::isfinite(finite) || !(maxDistance >= 0)) return 0;
    GU_RayCandidate best{};
    best.t = maxDistance;
    UT_Vector3 position(0, 0, 0);
    bool found = false;
    OutlineAnswer answer;
    const auto limit = [&] { return static_cast<float>(std::fmin(double(best.t) * best.t * (1 + 1e-6), 3.4e38)); };
    myBvh.around(p, limit(), [&](uint32_t leaf) {
        for (uint32_t i = 0; i < 4; ++i) {
            GU_RayCandidate c{};
            UT_Vector3 at(0, 0, 0);
            if (!nearestOnItem(leaf * 4 + i, p, c, at, answer) || !(c.t <= best.t)) continue;
            if (found && c.t == best.t && (c.shape != best.shape ? c.shape > best.shape : c.item > best.item)) continue;
            best = c;
            position = at;
            found = true;
        }
        return limit();
    });
    if (!found) return 0;
    hit = finish(best, position);
    return 1;
}
