#include "host/geo/GU_RayIntersect.h"

#include "host/geo/GEO_PolygonNormal.h"
#include "host/geo/GEO_PrimMesh.h"
#include "host/geo/GU_Detail.h"
#include "host/geo/GU_RayPolygon.h"
#include "host/geo/GU_RayQuery.h"
#include "host/geo/GU_RaySweep.h"

#include <algorithm>
#include <cmath>
#include <utility>

struct GU_RayIntersect::Visitor {
    const GU_RayIntersect& rays;
    Query& query;
    void ahead(uint32_t leaf) const { UTprefetch(rays.myLeaves[leaf]); }
    void operator()(uint32_t leaf) const { rays.visitLeaf(leaf, query); }
};

GU_RayIntersect::GU_RayIntersect(const GU_Detail* detail, const GB_PrimitiveGroup* group) {
    if (!detail) return;
    myDataId = detail->dataId();
    myChangeCount = detail->getChangeCount();
    myLayoutSerial = detail->layoutSerial();
    myShapes.collect(*detail, group);
    build();
}

GU_RayIntersect::GU_RayIntersect(const GU_Detail* begin, const GU_Detail* end) {
    if (!begin || !end) return;
    GU_SweepTopology topology(*begin);
    if (!topology.matches(*end)) return;
    mySweep = std::make_unique<GU_RaySweep>(std::move(topology), *begin, *end);
    myBox = mySweep->getBBox();
}

GU_RayIntersect::~GU_RayIntersect() = default;

int GU_RayIntersect::validForDeformingGeometry(const GU_Detail* begin, const GU_Detail* end) {
    if (!begin || !end) return 0;
    return begin->topologySerial() == end->topologySerial() || GU_SweepTopology(*begin).matches(*end);
}

size_t GU_RayIntersect::entries() const { return mySweep ? mySweep->entries() : myShapes.shapes().size(); }

size_t GU_RayIntersect::skipped() const { return mySweep ? mySweep->skipped() : 0; }

void GU_RayIntersect::build() {
    myBvh.build(myShapes.boxes());
    fillLeaves();
}

void GU_RayIntersect::fillLeaves() {
    myBox.initBounds();
    for (const UT_BoundingBox& box : myShapes.boxes()) myBox.enlargeBounds(box);
    myLeaves.resize(myBvh.leafCount());
    for (size_t l = 0; l < myLeaves.size(); ++l) {
        const uint32_t* items = myBvh.leafItems(l);
        Leaf& leaf = myLeaves[l];
        for (int i = 0; i < 4; ++i) {
            leaf.lane[i] = laneOf(items[i]);
            leaf.shape[i] = leaf.isUsed(static_cast<uint32_t>(i)) ? myShapes.items()[items[i]].shape : 0;
            for (size_t v = 0; v < 3; ++v)
                for (int k = 0; k < 3; ++k)
                    leaf.corners[v][k][i] = items[i] == GU_Bvh::NO_ITEM ? 0 : myShapes.triangles()[items[i]][v][k];
        }
    }
    myCells.build(myShapes.boxes(), myBox);
    myShapes.dropBuildData();
}

uint32_t GU_RayIntersect::laneOf(uint32_t item) const {
    if (item == GU_Bvh::NO_ITEM) return item;
    const GU_RayShape::Kind kind = myShapes.shapes()[myShapes.items()[item].shape].kind;
    return kind == GU_RayShape::QUADRIC || kind == GU_RayShape::FOLDED ? item | Leaf::SPECIAL : item;
}

int GU_RayIntersect::refit(const GU_Detail* detail, const GB_PrimitiveGroup* group) {
    if (!detail || mySweep) return 0;
    GU_RayShapes shapes;
    shapes.collect(*detail, group);
    if (shapes.items() != myShapes.items()) return 0;
    myShapes = std::move(shapes);
    myDataId = detail->dataId();
    myChangeCount = detail->getChangeCount();
    myLayoutSerial = detail->layoutSerial();
    myBvh.refit(myShapes.boxes());
    fillLeaves();
    return 1;
}

int GU_RayIntersect::refit(const GU_Detail* begin, const GU_Detail* end) {
    if (!mySweep || !begin || !end || !mySweep->refit(*begin, *end)) return 0;
    myBox = mySweep->getBBox();
    return 1;
}

int GU_RayIntersect::validForDetail(const GU_Detail* detail) const {
    return detail && detail->dataId() == myDataId && detail->getChangeCount() == myChangeCount &&
           detail->layoutSerial() == myLayoutSerial;
}

GU_RayIntersect::Corners GU_RayIntersect::corners(uint32_t place) const {
    const Leaf& leaf = myLeaves[place / 4];
    const auto at = [&](int v) {
        const auto& c = leaf.corners[v];
        return UT_Vector3(c[0][place % 4], c[1][place % 4], c[2][place % 4]);
    };
    return {at(0), at(1), at(2)};
}

int GU_RayIntersect::sendRay(const UT_Vector3& org, const UT_Vector3& dir, GU_RayInfo& info) const {
    const bool isClear =
        !mySweep && GU_RaySearch::passesBy(UT_Vector3D(org), UT_Vector3D(dir), info.myMin, info.myMax, myBox, myCells);
    if (!isClear) return sendNearRay(org, dir, info);
    info.reset();
    return 0;
}

bool GU_RayIntersect::isRay(const UT_Vector3& org, const UT_Vector3& dir, float low, float high) {
    return GUisFinite(org) && GUisFinite(dir) && dir != UT_Vector3(0, 0, 0) && low <= high;
}

int GU_RayIntersect::sendNearRay(const UT_Vector3& org, const UT_Vector3& dir, GU_RayInfo& info) const {
    if (mySweep) return mySweep->sendRay(org, dir, info);
    info.reset();
    info.myCandidates.clear();
    if (!isRay(org, dir, info.myMin, info.myMax)) return 0;
    Query query(org, dir, info, myBox, info.myCandidates);
    const Visitor visit{*this, query};
    if (query.find == GU_FIND_FURTHEST)
        myBvh.along<true>(query.line, visit);
    else
        myBvh.along<false>(query.line, visit);
    if (query.find == GU_FIND_ALL)
        finishAll(info, query);
    else if (query.found)
        info.myHit = finish(query.best, query.at(query.best.t));
    return info.myHit.prim != nullptr;
}

// Four triangles at once in float, to sort out those that the ray misses for sure. With m the largest coordinate
// relative to the origin, images err by at most 6 m 2^-24 and edge functions by 64 m^2 2^-24.
void GU_RayIntersect::visitLeaf(uint32_t number, Query& query) const {
    const Leaf& leaf = myLeaves[number];
    GU_Float4 x[3], y[3], z[3], m = GU_Float4::splat(0);
    for (int v = 0; v < 3; ++v) {
        GU_Float4 p[3];
        for (int k = 0; k < 3; ++k) {
            p[k] = GU_Float4::load(leaf.corners[v][query.axes[k]]) - query.from[k];
            m = max(abs(p[k]), m);
        }
        z[v] = p[2];
        x[v] = p[0] - query.shearX * p[2];
        y[v] = p[1] - query.shearY * p[2];
    }
    const GU_Float4 a = x[2] * y[1] - y[2] * x[1], b = x[0] * y[2] - y[0] * x[2], c = x[1] * y[0] - y[1] * x[0];
    const GU_Float4 error = m * m * GU_Float4::splat(0x1p-17f) + GU_Float4::splat(1e-36f);
    const GU_Float4 zero = GU_Float4::splat(0);
    int missed = less(min(min(a, b), c), zero - error) & less(error, max(max(a, b), c));
    if (missed == 15) return;
    // The same for the range: t = sum / area, and the sign of area is sure where it is above its error.
    const GU_Float4 scale = query.perDepth;
    const GU_Float4 sum = (a * z[0] + b * z[1] + c * z[2]) * scale, area = a + b + c;
    const GU_Float4 low = GU_Float4::splat(query.wantedLow), high = GU_Float4::splat(query.wantedHigh);
    const GU_Float4 slack = GU_Float4::splat(8) * error, depth = m * abs(scale);
    const GU_Float4 under = (low * area - sum) * area, over = (sum - high * area) * area;
    const int outside =
        less(slack * (depth + abs(low)) * abs(area), under) | less(slack * (depth + abs(high)) * abs(area), over);
    missed |= outside & less(slack, abs(area));
    for (uint32_t i = 0; i < 4; ++i) {
        if (missed >> i & 1 || !leaf.isUsed(i)) continue;
        if (leaf.isSpecial(i))
            testSpecial(number * 4 + i, query);
        else
            testTriangle(number * 4 + i, query);
    }
}

void GU_RayIntersect::testSpecial(uint32_t place, Query& query) const {
    const uint32_t item = myLeaves[place / 4].item(place % 4);
    if (myShapes.isQuadric(item)) return testQuadric(place, query);
    if (outlineHolds(myShapes.items()[item].shape, query.frame, query.outline)) testTriangle(place, query);
}

void GU_RayIntersect::testTriangle(uint32_t place, Query& query) const {
    const Corners p = corners(place);
    const UT_Vector3D a = query.frame.project(p[0]), b = query.frame.project(p[1]), c = query.frame.project(p[2]);
    const double u = GU_RayFrame::edge(c, b), v = GU_RayFrame::edge(a, c), w = GU_RayFrame::edge(b, a);
    if ((u < 0 || v < 0 || w < 0) && (u > 0 || v > 0 || w > 0)) return;
    const double area = u + v + w;
    if (area == 0) return; // seen from the side, or without area: the triangles next to it are hit
    const double t = (u * a.z() + v * b.z() + w * c.z()) / area;
    if (!query.isWanted(static_cast<float>(t))) return;
    const Leaf& leaf = myLeaves[place / 4];
    const uint32_t item = leaf.item(place % 4), shape = leaf.shape[place % 4];
    __builtin_prefetch(&myShapes.shapes()[shape]); // of which the hit will tell
    const double depth = std::max({std::fabs(a.z()), std::fabs(b.z()), std::fabs(c.z())});
    const GU_RayCandidate candidate{
        static_cast<float>(t),
        static_cast<float>(1e-12 * depth + 2.4e-7 * std::fabs(t)),
        shape,
        item,
        place,
        {static_cast<float>(u / area), static_cast<float>(v / area), static_cast<float>(w / area)}};
    query.add(candidate);
}

void GU_RayIntersect::testQuadric(uint32_t place, Query& query) const {
    const uint32_t item = myLeaves[place / 4].item(place % 4), number = myShapes.items()[item].shape;
    double t[2];
    int sides[2];
    const int count =
        myShapes.quadric(myShapes.shapes()[number]).intersect(UT_Vector3D(query.org), UT_Vector3D(query.dir), t, sides);
    for (int i = 0; i < count; ++i) query.add({static_cast<float>(t[i]), 0, number, item, place, {0, 0, 0}});
}

bool GU_RayIntersect::outlineHolds(uint32_t shape, const GU_RayFrame& frame, OutlineAnswer& answer) const {
    if (answer.shape != shape) answer = {shape, outlineHolds(myShapes.shapes()[shape], frame)};
    return answer.holds;
}

// Winding number of the outline about the ray, as seen along it; on the outline counts as inside.
bool GU_RayIntersect::outlineHolds(const GU_RayShape& shape, const GU_RayFrame& frame) const {
    const UT_Vector3* outline = myShapes.outline(shape);
    UT_Vector3D p = frame.project(outline[shape.vertices - 1]);
    int winding = 0;
    for (uint32_t i = 0; i < shape.vertices; ++i) {
        const UT_Vector3D q = frame.project(outline[i]);
        const bool below = p.y() <= 0, nextBelow = q.y() <= 0;
        if (below != nextBelow) {
            const double edge = GU_RayFrame::edge(p, q);
            if (edge == 0) return true;
            if (below == (edge > 0)) winding += below ? 1 : -1;
        } else if (p.y() == 0 && q.y() == 0 && p.x() * q.x() <= 0) {
            return true;
        } else if (q.x() == 0 && q.y() == 0) {
            return true;
        }
        p = q;
    }
    return winding != 0;
}

// Leaves one candidate per crossing of a shape, in order along the ray.
void GU_RayIntersect::keepDistinct(std::vector<GU_RayCandidate>& list) const {
    if (list.size() < 2) return;
    std::sort(list.begin(), list.end(), [](const GU_RayCandidate& a, const GU_RayCandidate& b) {
        return a.shape != b.shape ? a.shape < b.shape : GUbefore(a, b);
    });
    const auto same = [&](const GU_RayCandidate& a, const GU_RayCandidate& b) {
        return a.shape == b.shape && a.item != b.item && double(b.t) - a.t <= double(a.slack) + b.slack;
    };
    list.erase(std::unique(list.begin(), list.end(), same), list.end());
    std::sort(list.begin(), list.end(), GUbefore);
}

void GU_RayIntersect::finishAll(GU_RayInfo& info, const Query& query) const {
    keepDistinct(info.myCandidates);
    info.takeCandidates([&](const GU_RayCandidate& c) { return finish(c, query.at(c.t)); });
}

namespace {

// What stands for the normal of a polygon that has none, since it crosses itself.
UT_Vector3 normalOfPiece(const GU_RayShapes::Triangle& p) {
    return GEOpolygonNormal(3, [&](int i) { return p[size_t(i)]; });
}

} // namespace

GU_RayHit GU_RayIntersect::finish(const GU_RayCandidate& c, const UT_Vector3& position) const {
    const GU_RayShape& shape = myShapes.shapes()[c.shape];
    GU_RayHit hit;
    hit.prim = shape.prim;
    hit.number = static_cast<int>(shape.number);
    hit.distance = c.t;
    hit.normal = shape.normal;
    if (shape.kind == GU_RayShape::TRIANGLE) {
        GUtriangleParameters(c.b, hit);
        return hit;
    }
    const uint32_t part = myShapes.items()[c.item].part;
    UT_Vector3 at = position;
    if (shape.kind != GU_RayShape::QUADRIC) {
        const Corners p = corners(c.place);
        at = UT_Vector3(UT_Vector3D(p[0]) * c.b[0] + UT_Vector3D(p[1]) * c.b[1] + UT_Vector3D(p[2]) * c.b[2]);
    }
    switch (shape.kind) {
    case GU_RayShape::TRIANGLE: return hit;
    case GU_RayShape::FAN:
    case GU_RayShape::FOLDED:
        GUfanParameters(part, shape.vertices, c.b[0], c.b[1], hit);
        if (hit.normal == UT_Vector3(0, 0, 0)) hit.normal = normalOfPiece(corners(c.place));
        return hit;
    case GU_RayShape::QUAD: shape.prim->parametric(at, hit.u, hit.v); return hit;
    case GU_RayShape::MESH: {
        const auto& mesh = static_cast<const GEO_PrimMesh&>(*shape.prim);
        const int cell = static_cast<int>(part);
        mesh.parametricInCell(cell / mesh.cellCols(), cell % mesh.cellCols(), at, hit.u, hit.v);
        break;
    }
    case GU_RayShape::QUADRIC: shape.prim->parametric(at, hit.u, hit.v); break;
    }
    shape.prim->evaluateNormal(hit.u, hit.v, hit.normal);
    return hit;
}
