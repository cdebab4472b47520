#include "host/geo/GU_RaySweep.h"

#include "host/geo/GEO_PrimMesh.h"
#include "host/geo/GU_Detail.h"
#include "host/geo/GU_RayFrame.h"
#include "host/geo/GU_RayPolygon.h"
#include "host/geo/GU_RaySearch.h"
#include "host/geo/GU_SweptTriangle.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr uint32_t SECTIONS = 3;

// The unit vector along `normal`, or zero when it is only rounding next to the square of a length.
UT_Vector3 unitOrZero(UT_Vector3D normal, double length2) {
    if (!(normal.length() > 1e-9 * length2)) return {0, 0, 0};
    normal.normalize();
    return UT_Vector3(normal);
}

bool isQuadric(const GEO_Primitive& prim) {
    return prim.getPrimitiveId() & (GEOPRIMSPHERE | GEOPRIMTUBE | GEOPRIMCIRCLE);
}

} // namespace

/// One ray on its way through the structure. Section 0 of its way lies before the step, 2 behind it.
struct GU_RaySweep::Query : GU_RaySearch {
    Query(const UT_Vector3& o, const UT_Vector3& d, const GU_RayInfo& info, const UT_BoundingBox& scene,
          std::vector<GU_RayCandidate>& list)
        : GU_RaySearch(o, d, info, scene, list)
        , start(info.getStartFraction() > 0 ? std::min(double(info.getStartFraction()), 1.0) : 0)
        , origin(o)
        , way(d) {
        const double length = info.getRangeLength(), most = std::numeric_limits<float>::max();
        rate = length > 0 && std::isfinite(length) ? (1 - start) / length : 0;
        const double first = std::max(double(low), -most), last = std::min(double(high), most);
        const double begin = rate > 0 ? -start / rate : first, end = rate > 0 ? length : last;
        const double knots[SECTIONS + 1] = {first, std::clamp(begin, first, last), std::clamp(end, first, last), last};
        std::copy(knots, knots + SECTIONS + 1, ends);
    }

    /// The section is empty, or only a moment that belongs to the step.
    bool isEmpty(uint32_t section) const {
        if (section == 1) return rate > 0 && (ends[0] > length() || ends[SECTIONS] < -start / rate);
        return !(ends[section] < ends[section + 1]) && !(ends[0] == ends[SECTIONS] && isEmpty(1) && isHere(section));
    }
    double fraction(double t) const { return std::clamp(start + rate * t, 0.0, 1.0); }
    UT_Vector3D at(const Moving& p, double f) const {
        return f == 1 ? UT_Vector3D(p.to) : UT_Vector3D(p.from) + (UT_Vector3D(p.to) - UT_Vector3D(p.from)) * f;
    }
    /// The corner as the particle sees it during a section.
    void look(const Moving& p, uint32_t section, UT_Vector3D& place, UT_Vector3D& speed) const {
        place = at(p, section == 0 ? 0 : section == 1 ? start : 1) - origin;
        speed = (section == 1 ? (UT_Vector3D(p.to) - UT_Vector3D(p.from)) * rate : UT_Vector3D(0, 0, 0)) - way;
    }

    double start, rate = 0;
    UT_Vector3D origin, way;
    double ends[SECTIONS + 1]; ///< of the sections

private:
    double length() const { return (1 - start) / rate; }
    bool isHere(uint32_t section) const { return section == 0 ? ends[0] < 0 : ends[0] > 0; }
};

bool GU_RaySweep::sameTopology(const GU_Detail& begin, const GU_Detail& end) {
    const GEO_PrimList &a = begin.primitives(), &b = end.primitives();
    if (begin.points().entries() != end.points().entries() || a.entries() != b.entries()) return false;
    for (size_t n = 0; n < a.entries(); ++n) {
        const GEO_Primitive &p = *a[n], &q = *b[n];
        if (p.getPrimitiveId() != q.getPrimitiveId() || p.getVertexCount() != q.getVertexCount() ||
            p.isClosed() != q.isClosed())
            return false;
        for (int v = 0; v < p.getVertexCount(); ++v)
            if (begin.points().numberOfSlot(p.getVertexPointSlot(v)) !=
                end.points().numberOfSlot(q.getVertexPointSlot(v)))
                return false;
        if (p.getPrimitiveId() != GEOPRIMMESH) continue;
        const auto &m = static_cast<const GEO_PrimMesh&>(p), &o = static_cast<const GEO_PrimMesh&>(q);
        if (m.getNumCols() != o.getNumCols() || m.isWrappedU() != o.isWrappedU() || m.isWrappedV() != o.isWrappedV())
            return false;
    }
    return true;
}

GU_RaySweep::GU_RaySweep(const GU_Detail& begin, const GU_Detail& end) {
    collect(begin, end);
    build();
}

void GU_RaySweep::collect(const GU_Detail& begin, const GU_Detail& end) {
    for (size_t n = 0; n < end.primitives().entries(); ++n) {
        const GEO_Primitive &from = *begin.primitives()[n], &to = *end.primitives()[n];
        const size_t before = myItems.size();
        if (to.getPrimitiveId() == GEOPRIMPOLY)
            addPolygon(static_cast<const GEO_PrimPoly&>(from), static_cast<const GEO_PrimPoly&>(to));
        else if (to.getPrimitiveId() == GEOPRIMMESH)
            addMesh(static_cast<const GEO_PrimMesh&>(from), static_cast<const GEO_PrimMesh&>(to));
        else if (isQuadric(to))
            ++mySkipped;
        if (myItems.size() == before && !myShapes.empty() && myShapes.back().prim == &to) myShapes.pop_back();
    }
}

void GU_RaySweep::addPolygon(const GEO_PrimPoly& from, const GEO_PrimPoly& to) {
    const int n = to.getVertexCount();
    if (!to.isClosed() || n < 3) return;
    std::vector<Moving> outline;
    std::vector<UT_Vector3> sides[2];
    for (int i = 0; i < n; ++i) {
        const Moving p{GUpointOf(from, i), GUpointOf(to, i)};
        if (!GUisFinite(p.from) || !GUisFinite(p.to)) return;
        outline.push_back(p);
        sides[0].push_back(p.from);
        sides[1].push_back(p.to);
    }
    myShapes.push_back({&to, Shape::TRIANGLE, static_cast<uint32_t>(myOutlines.size()), static_cast<uint32_t>(n)});
    if (n == 3) return addTriangle(0, outline[0], outline[1], outline[2]);
    const bool star = GUisStar(sides[0], GUmeanOf(sides[0]), from.computeNormal()) &&
                      GUisStar(sides[1], GUmeanOf(sides[1]), to.computeNormal());
    myShapes.back().kind = star ? Shape::FAN : Shape::FOLDED;
    myOutlines.insert(myOutlines.end(), outline.begin(), outline.end());
    addFan(outline, 0);
}

void GU_RaySweep::addMesh(const GEO_PrimMesh& from, const GEO_PrimMesh& to) {
    const int rows = to.cellRows(), cols = to.cellCols();
    if (rows < 1 || cols < 1) return;
    myShapes.push_back({&to, Shape::MESH, 0, 0});
    std::vector<Moving> cell;
    for (int row = 0; row < rows; ++row)
        for (int col = 0; col < cols; ++col) {
            cell.clear();
            bool finite = true;
            for (int vertex : {to.vertexIndex(row, col), to.vertexIndex(row, col + 1), to.vertexIndex(row + 1, col + 1),
                               to.vertexIndex(row + 1, col)}) {
                cell.push_back({GUpointOf(from, vertex), GUpointOf(to, vertex)});
                finite &= GUisFinite(cell.back().from) && GUisFinite(cell.back().to);
            }
            if (finite) addFan(cell, static_cast<uint32_t>(row * cols + col) * 4);
        }
}

void GU_RaySweep::addFan(const std::vector<Moving>& outline, uint32_t firstPart) {
    std::vector<UT_Vector3> sides[2];
    for (const Moving& p : outline) {
        sides[0].push_back(p.from);
        sides[1].push_back(p.to);
    }
    const Moving mean{GUmeanOf(sides[0]), GUmeanOf(sides[1])};
    for (size_t i = 0; i < outline.size(); ++i)
        addTriangle(firstPart + static_cast<uint32_t>(i), outline[i], outline[(i + 1) % outline.size()], mean);
}

void GU_RaySweep::addTriangle(uint32_t part, const Moving& a, const Moving& b, const Moving& c) {
    UT_BoundingBox box;
    for (const Moving* p : {&a, &b, &c}) {
        box.enlargeBounds(p->from);
        box.enlargeBounds(p->to);
    }
    myBoxes.push_back(box);
    myTriangles.push_back({a, b, c});
    myItems.push_back({static_cast<uint32_t>(myShapes.size() - 1), part});
}

void GU_RaySweep::build() {
    for (const UT_BoundingBox& box : myBoxes) myBox.enlargeBounds(box);
    myBvh.build(myBoxes);
    myLeaves.resize(myBvh.leafCount());
    for (size_t l = 0; l < myLeaves.size(); ++l)
        for (int i = 0; i < 4; ++i) {
            const uint32_t item = myBvh.leafItems(l)[i];
            myLeaves[l].item[i] = item;
            if (item != GU_Bvh::NO_ITEM)
                std::copy(myTriangles[item].begin(), myTriangles[item].end(), myLeaves[l].corners[i]);
        }
    myTriangles = {};
    myBoxes = {};
}

int GU_RaySweep::sendRay(const UT_Vector3& org, const UT_Vector3& dir, GU_RayInfo& info) const {
    info.reset();
    info.myCandidates.clear();
    if (!GUisFinite(org) || !GUisFinite(dir) || !(info.myMin <= info.myMax)) return 0;
    Query query(org, dir, info, myBox, info.myCandidates);
    const auto visit = [&](uint32_t leaf) { visitLeaf(leaf, query); };
    if (query.find == GU_FIND_FURTHEST)
        myBvh.along<true>(query.line, visit);
    else
        myBvh.along<false>(query.line, visit);
    if (query.find == GU_FIND_ALL)
        finishAll(info, query);
    else if (query.found)
        info.myHit = finish(query.best, query);
    return info.myHit.prim != nullptr;
}

void GU_RaySweep::visitLeaf(uint32_t leaf, Query& query) const {
    for (uint32_t i = 0; i < 4; ++i)
        if (myLeaves[leaf].item[i] != GU_Bvh::NO_ITEM) testTriangle(leaf * 4 + i, query);
}

void GU_RaySweep::testTriangle(uint32_t place, Query& query) const {
    for (uint32_t section = 0; section < SECTIONS; ++section)
        if (!query.isEmpty(section)) testSection(place, section, query);
}

void GU_RaySweep::testSection(uint32_t place, uint32_t section, Query& query) const {
    const Leaf& leaf = myLeaves[place / 4];
    const uint32_t item = leaf.item[place % 4];
    const Shape& shape = myShapes[myItems[item].shape];
    GU_SweptTriangle triangle;
    for (int k = 0; k < 3; ++k) query.look(leaf.corners[place % 4][k], section, triangle.at[k], triangle.speed[k]);
    GU_SweptHit hits[GU_MOST_SWEPT_HITS];
    const int count = GUsweepTriangle(triangle, query.ends[section], query.ends[section + 1], hits);
    for (int i = 0; i < count; ++i) {
        const GU_SweptHit& hit = hits[i];
        const bool rim = hit.b[2] < 1e-9; // the outline belongs to the polygon
        if (shape.kind == Shape::FOLDED && !rim && !outlineHolds(shape, query, hit.s)) continue;
        query.add({static_cast<float>(hit.s),
                   static_cast<float>(hit.slack + 2.4e-7 * std::fabs(hit.s)),
                   myItems[item].shape,
                   item,
                   place,
                   {static_cast<float>(hit.b[0]), static_cast<float>(hit.b[1]), static_cast<float>(hit.b[2])},
                   static_cast<float>(hit.until),
                   section});
    }
}

// Twice the area of the polygon at that fraction of the step as a vector.
UT_Vector3D GU_RaySweep::outlineNormal(const Shape& shape, double fraction) const {
    const auto at = [&](uint32_t i) {
        const Moving& p = myOutlines[shape.first + i];
        return UT_Vector3D(p.from) * (1 - fraction) + UT_Vector3D(p.to) * fraction;
    };
    const UT_Vector3D origin = at(0);
    UT_Vector3D sum(0, 0, 0), previous = at(1) - origin;
    for (uint32_t i = 2; i < shape.vertices; ++i) {
        const UT_Vector3D next = at(i) - origin;
        sum += cross(previous, next);
        previous = next;
    }
    return sum;
}

// Whether the particle is inside the outline at time t, as seen along the polygon's normal: by its winding number.
bool GU_RaySweep::outlineHolds(const Shape& shape, const Query& query, double t) const {
    const double f = query.fraction(t);
    UT_Vector3D normal = outlineNormal(shape, f);
    if (!(normal.normalize() > 0)) return false;
    const GU_RayFrame frame(UT_Vector3(0, 0, 0), UT_Vector3(normal));
    const UT_Vector3D here = frame.project(query.origin + query.way * t);
    const auto image = [&](uint32_t i) {
        const Moving& p = myOutlines[shape.first + i];
        return frame.project(UT_Vector3D(p.from) * (1 - f) + UT_Vector3D(p.to) * f) - here;
    };
    int winding = 0;
    UT_Vector3D p = image(shape.vertices - 1);
    for (uint32_t i = 0; i < shape.vertices; ++i) {
        const UT_Vector3D q = image(i);
        const bool below = p.y() <= 0, nextBelow = q.y() <= 0;
        if (below != nextBelow && below == (GU_RayFrame::edge(p, q) > 0)) winding += below ? 1 : -1;
        p = q;
    }
    return winding != 0;
}

// Leaves one candidate per contact with a shape, in order along the ray.
void GU_RaySweep::keepDistinct(std::vector<GU_RayCandidate>& list) {
    std::sort(list.begin(), list.end(), [](const GU_RayCandidate& a, const GU_RayCandidate& b) {
        if (a.shape != b.shape) return a.shape < b.shape;
        return a.item == b.item && a.t == b.t ? a.section < b.section : GUbefore(a, b);
    });
    size_t kept = 0;
    for (const GU_RayCandidate& c : list) {
        GU_RayCandidate* last = kept ? &list[kept - 1] : nullptr;
        const bool same = last && last->shape == c.shape && (last->item != c.item || last->section != c.section) &&
                          double(c.t) - last->until <= double(last->slack) + c.slack;
        if (same)
            last->until = std::max(last->until, c.until);
        else
            list[kept++] = c;
    }
    list.resize(kept);
    std::sort(list.begin(), list.end(), GUbefore);
}

void GU_RaySweep::finishAll(GU_RayInfo& info, const Query& query) const {
    keepDistinct(info.myCandidates);
    const GU_RayCandidate* nearest = nullptr;
    for (const GU_RayCandidate& c : info.myCandidates) {
        info.myHits.push_back(finish(c, query));
        if (nearest && !GUnearer(c, *nearest)) continue;
        nearest = &c;
        info.myHit = info.myHits.back();
    }
}

GU_RayHit GU_RaySweep::finish(const GU_RayCandidate& c, const Query& query) const {
    const Shape& shape = myShapes[c.shape];
    const uint32_t part = myItems[c.item].part;
    const double f = query.fraction(c.t);
    const Moving* corners = myLeaves[c.place / 4].corners[c.place % 4];
    const UT_Vector3D p[3] = {query.at(corners[0], f), query.at(corners[1], f), query.at(corners[2], f)};
    const UT_Vector3D a = p[1] - p[0], b = p[2] - p[0];
    GU_RayHit hit;
    hit.prim = shape.prim;
    hit.distance = c.t;
    hit.normal = unitOrZero(cross(a, b), a.length2() + b.length2() + (b - a).length2());
    if (shape.kind == Shape::TRIANGLE) {
        GUtriangleParameters(c.b, hit);
    } else if (shape.kind == Shape::MESH) {
        const auto& mesh = static_cast<const GEO_PrimMesh&>(*shape.prim);
        const int cell = static_cast<int>(part / 4), cols = mesh.cellCols();
        const uint32_t i = part % 4, j = (i + 1) % 4;
        const auto along = [&](uint32_t k, uint32_t first, uint32_t second) { return k == first || k == second; };
        const double x = c.b[0] * along(i, 1, 2) + c.b[1] * along(j, 1, 2) + 0.5 * c.b[2];
        const double y = c.b[0] * along(i, 2, 3) + c.b[1] * along(j, 2, 3) + 0.5 * c.b[2];
        hit.u = static_cast<float>((cell % cols + x) / cols);
        hit.v = static_cast<float>((cell / cols + y) / mesh.cellRows());
    } else {
        const UT_Vector3D normal = outlineNormal(shape, f);
        hit.normal = unitOrZero(normal, normal.length());
        GUfanParameters(part, shape.vertices, c.b[0], c.b[1], hit);
    }
    return hit;
}
