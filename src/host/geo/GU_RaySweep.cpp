#include "host/geo/GU_RaySweep.h"

#include "host/geo/GEO_PolygonNormal.h"
#include "host/geo/GEO_PrimMesh.h"
#include "host/geo/GU_RayFrame.h"
#include "host/geo/GU_RayPolygon.h"
#include "host/geo/GU_RaySearch.h"
#include "host/geo/GU_SweptTriangle.h"
#include "host/ut/UT_Prefetch.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr uint32_t SECTIONS = 3;

} // namespace

/// One ray on its way through the structure. Section 0 of its way lies before the step, 2 behind it.
struct GU_RaySweep::Query : GU_RaySearch {
    Query(const UT_Vector3& o, const UT_Vector3& d, const GU_RayInfo& info, std::vector<GU_RayCandidate>& list)
        : GU_RaySearch(o, d, info, list)
        , start(info.getStartFraction() > 0 ? std::min(double(info.getStartFraction()), 1.0) : 0)
        , origin(o)
        , way(d) {
        const double length = info.getRangeLength(), most = std::numeric_limits<float>::max();
        rate = length > 0 && std::isfinite(length) ? (1 - start) / length : 0;
        const double first = std::clamp(double(low), -most, most), last = std::clamp(double(high), -most, most);
        const double begin = rate > 0 ? -start / rate : first, end = rate > 0 ? length : last;
        const double knots[SECTIONS + 1] = {first, std::clamp(begin, first, last), std::clamp(end, first, last), last};
        std::copy(knots, knots + SECTIONS + 1, ends);
        meetsStep = !(rate > 0) || (first <= length && last >= begin);
    }
    /// Whether the range has more of the section than a moment that belongs to the step.
    bool isUsed(uint32_t which) const {
        if (which == 1) return meetsStep;
        if (ends[which] < ends[which + 1]) return true;
        return !meetsStep && (which == 0 ? ends[0] < 0 : ends[0] > 0); // all of the range is one moment
    }

    /// Turns to a section, false when nothing can be met during it.
    bool enter(uint32_t which, const GU_RaySweep& sweep) {
        section = which;
        const UT_Vector3D drift(sweep.mySurface.drift());
        const double first = ends[which], last = ends[which + 1];
        const UT_Vector3D from = origin - drift * startOf(which);
        const UT_Vector3D along = which == 1 ? way - drift * rate : way;
        if (passesBy(from, along, first, last, sweep.myTreeBox, sweep.myCells)) return false;
        aim(from, along, first, last, sweep.myTreeBox);
        setView(sweep.myBox);
        return true;
    }

    double fraction(double t) const { return std::clamp(start + rate * t, 0.0, 1.0); }
    UT_Vector3D at(const Moving& p, double f) const {
        return f == 1 ? UT_Vector3D(p.to) : UT_Vector3D(p.from) + (UT_Vector3D(p.to) - UT_Vector3D(p.from)) * f;
    }
    /// The corner as the particle sees it during the section.
    void look(const Moving& p, UT_Vector3D& place, UT_Vector3D& speed) const {
        place = at(p, startOf(section)) - origin;
        speed = (section == 1 ? (UT_Vector3D(p.to) - UT_Vector3D(p.from)) * rate : UT_Vector3D(0, 0, 0)) - way;
    }

    double start, rate = 0;
    bool meetsStep; ///< the range does
    UT_Vector3D origin, way;
    double ends[SECTIONS + 1]; ///< of the sections
    uint32_t section = 1;      ///< the one at hand
    /// Its ends in float: where the particle is, and at which fraction of the step the surface.
    struct {
        float at[2][3], fraction[2], slop[3];
        bool isTame; ///< coordinates whose cubes are still numbers
    } view;

private:
    double startOf(uint32_t which) const { return which == 0 ? 0 : which == 1 ? start : 1; }
    void setView(const UT_BoundingBox& world) {
        for (uint32_t e = 0; e < 2; ++e)
            view.fraction[e] = static_cast<float>(section == 1 ? fraction(ends[1 + e]) : startOf(section));
        view.isTame = true;
        for (int k = 0; k < 3; ++k) {
            double most = std::max(std::fabs(double(world.vmin()[k])), std::fabs(double(world.vmax()[k])));
            for (uint32_t e = 0; e < 2; ++e) {
                const double at = origin[k] + way[k] * ends[section + e];
                view.at[e][k] = static_cast<float>(std::clamp(at, -3e38, 3e38));
                most = std::max(most, std::fabs(at));
            }
            view.slop[k] = static_cast<float>(std::min(2e-6 * most, 3e38));
            view.isTame &= most < 1e11;
        }
    }
};

GU_RaySweep::GU_RaySweep(GU_SweepTopology topology, const GU_Detail& begin, const GU_Detail& end)
    : mySurface(std::move(topology), begin, end) {
    build();
}

bool GU_RaySweep::refit(const GU_Detail& begin, const GU_Detail& end) {
    if (!mySurface.follow(begin, end)) return false;
    fillLeaves();
    if (!myBvh.refitLeaves(myLeafBoxes)) build();
    return true;
}

void GU_RaySweep::build() {
    myBvh.build(itemBoxes());
    findPlaces();
    fillLeaves();
}

GU_RaySweep::Boxes GU_RaySweep::itemBoxes() const {
    Boxes all;
    all.reserve(mySurface.items().size());
    for (const auto& corners : mySurface.corners()) {
        all.emplace_back();
        for (const uint32_t corner : corners) {
            const Moving p = mySurface.place(corner).moving();
            all.back().enlargeBounds(p.from);
            all.back().enlargeBounds(p.to - mySurface.drift());
        }
    }
    return all;
}

void GU_RaySweep::findPlaces() {
    myLeaves.resize(myBvh.leafCount());
    myLeafPlaces.resize(myLeaves.size());
    for (size_t l = 0; l < myLeaves.size(); ++l) {
        const uint32_t* items = myBvh.leafItems(l);
        for (size_t i = 0; i < 4; ++i) {
            const uint32_t item = items[i] == GU_Bvh::NO_ITEM ? items[0] : items[i];
            const uint32_t shape = mySurface.items()[item].shape;
            const Shape::Kind kind = mySurface.shapes()[shape].kind;
            myLeaves[l].item[i] = items[i];
            myLeaves[l].shape[i] = shape | (kind == Shape::FAN || kind == Shape::FOLDED ? Leaf::MAY_FOLD : 0);
            const auto& corners = mySurface.corners()[item];
            for (size_t v = 0; v < 3; ++v) myLeafPlaces[l].at[v][i] = corners[v];
        }
    }
}

namespace {

UT_BoundingBox boxOf(GU_Float4 low, GU_Float4 high) {
    float sides[2][4];
    low.store(sides[0]);
    high.store(sides[1]);
    return UT_BoundingBox({sides[0][0], sides[0][1], sides[0][2]}, {sides[1][0], sides[1][1], sides[1][2]});
}

} // namespace

void GU_RaySweep::fillLeaves() {
    myTreeBox.initBounds();
    myBox.initBounds();
    myLeafBoxes.resize(myLeaves.size());
    if (myLeaves.empty()) return myCells.build(myLeafBoxes, myTreeBox);
    const UT_Vector3& d = mySurface.drift();
    const GU_Float4 drift = GU_Float4::of(d.x(), d.y(), d.z());
    constexpr float most = std::numeric_limits<float>::max();
    GU_Float4 all[2] = {GU_Float4::splat(most), GU_Float4::splat(-most)}, tree[2] = {all[0], all[1]};
    for (size_t l = 0; l < myLeaves.size(); ++l) {
        GU_Float4 low[2], high[2];
        fillLeaf(l, low, high);
        all[0] = min(all[0], min(low[0], low[1]));
        all[1] = max(all[1], max(high[0], high[1]));
        low[0] = min(low[0], low[1] - drift);
        high[0] = max(high[0], high[1] - drift);
        tree[0] = min(tree[0], low[0]);
        tree[1] = max(tree[1], high[0]);
        myLeafBoxes[l] = boxOf(low[0], high[0]);
    }
    myBox = boxOf(all[0], all[1]);
    myTreeBox = boxOf(tree[0], tree[1]);
    myCells.build(myLeafBoxes, myTreeBox);
}

// Puts the corners where they are now; gives their boxes at the begin and at the end.
void GU_RaySweep::fillLeaf(size_t number, GU_Float4 (&low)[2], GU_Float4 (&high)[2]) {
    Leaf& leaf = myLeaves[number];
    const LeafPlaces& places = myLeafPlaces[number];
    for (size_t v = 0; v < 3; ++v) {
        const GU_SweptSurface::Place* lanes[4];
        for (size_t i = 0; i < 4; ++i) lanes[i] = &mySurface.place(places.at[v][i]);
        for (size_t e = 0; e < 2; ++e) {
            GU_Float4 p[4];
            for (size_t i = 0; i < 4; ++i) p[i] = GU_Float4::load(lanes[i]->at[e]);
            const GU_Float4 least = min(min(p[0], p[1]), min(p[2], p[3]));
            const GU_Float4 most = max(max(p[0], p[1]), max(p[2], p[3]));
            low[e] = v == 0 ? least : min(low[e], least);
            high[e] = v == 0 ? most : max(high[e], most);
            transpose(p[0], p[1], p[2], p[3]);
            for (size_t k = 0; k < 3; ++k) p[k].store(leaf.corners[e][v][k]);
        }
    }
}

struct GU_RaySweep::Visitor {
    const GU_RaySweep& sweep;
    Query& query;
    void ahead(uint32_t leaf) const { UTprefetch(sweep.myLeaves[leaf]); }
    void operator()(uint32_t leaf) const { sweep.visitLeaf(leaf, query); }
};

// Whatever the surfaces do, they do it in their box. False when something is no number.
bool GU_RaySweep::staysOutside(const UT_Vector3& org, const UT_Vector3& dir, float low, float high) const {
    const auto lanes = [](const UT_Vector3& v) { return GU_Float4::of(v.x(), v.y(), v.z()); };
    const GU_Float4 from = lanes(org), way = lanes(dir);
    const GU_Float4 a = from + way * GU_Float4::splat(low), b = from + way * GU_Float4::splat(high);
    const GU_Float4 slop = GU_Float4::splat(2e-6f) * (abs(a) + abs(b) + abs(from)); // far above the rounding
    return (less(lanes(myBox.vmax()), min(a, b) - slop) | less(max(a, b) + slop, lanes(myBox.vmin()))) != 0;
}

int GU_RaySweep::sendRay(const UT_Vector3& org, const UT_Vector3& dir, GU_RayInfo& info) const {
    info.reset();
    info.myCandidates.clear();
    if (staysOutside(org, dir, info.myMin, info.myMax)) return 0;
    if (!GUisFinite(org) || !GUisFinite(dir) || !(info.myMin <= info.myMax)) return 0;
    Query query(org, dir, info, info.myCandidates);
    for (uint32_t section : {1u, 2u, 0u})
        if (query.isUsed(section)) walk(section, query);
    if (query.find == GU_FIND_ALL)
        finishAll(info, query);
    else if (query.found)
        info.myHit = finish(query.best, query);
    return info.myHit.prim != nullptr;
}

void GU_RaySweep::walk(uint32_t section, Query& query) const {
    if (!query.enter(section, *this)) return;
    const Visitor visit{*this, query};
    if (query.find == GU_FIND_FURTHEST)
        myBvh.along<true>(query.line, visit);
    else
        myBvh.along<false>(query.line, visit);
}

namespace {

/// Four triangles at once in float, as the particle sees their corners at both ends of a section. None that lies to one
/// side of the particle throughout, along whatever axis, is met. `slop` is how far coordinates may be off, far above
/// what rounding does to numbers of their size here and in the sums below.
struct SweptLanes {
    GU_Float4 at[2][3][3]; ///< by end, corner and axis
    GU_Float4 slop[3];

    GU_Float4 edge(size_t from, size_t to, size_t k) const { // twice the mean of both ends
        return (at[0][to][k] + at[1][to][k]) - (at[0][from][k] + at[1][from][k]);
    }
    /// Bits of the lanes that a coordinate axis tells apart.
    int apartAlong(size_t k) const {
        GU_Float4 low = at[0][0][k], high = low;
        for (size_t i = 1; i < 6; ++i) {
            low = min(low, at[i / 3][i % 3][k]);
            high = max(high, at[i / 3][i % 3][k]);
        }
        return less(slop[k], low) | less(high, GU_Float4::splat(0) - slop[k]);
    }
    /// The same for an axis of each lane's own. Any is right; good ones are those that the triangle has no extent
    /// along.
    int apartAlong(const GU_Float4 (&axis)[3]) const {
        const auto along = [&](size_t i) {
            const GU_Float4(&p)[3] = at[i / 3][i % 3];
            return axis[0] * p[0] + axis[1] * p[1] + axis[2] * p[2];
        };
        GU_Float4 low = along(0), high = low;
        for (size_t i = 1; i < 6; ++i) {
            const GU_Float4 x = along(i);
            low = min(low, x);
            high = max(high, x);
        }
        const GU_Float4 off = abs(axis[0]) * slop[0] + abs(axis[1]) * slop[1] + abs(axis[2]) * slop[2] +
                              GU_Float4::splat(1e-36f); // what is lost where products are too small
        return less(off, low) | less(high, GU_Float4::splat(0) - off);
    }
};

void crossInto(const GU_Float4 (&a)[3], const GU_Float4 (&b)[3], GU_Float4 (&out)[3]) {
    for (size_t k = 0; k < 3; ++k) {
        const size_t i = (k + 1) % 3, j = (k + 2) % 3;
        out[k] = a[i] * b[j] - a[j] * b[i];
    }
}

} // namespace

int GU_RaySweep::missed(const Leaf& leaf, const Query& query) const {
    const auto& ends = query.view;
    SweptLanes lanes;
    int mask = 0;
    for (size_t k = 0; k < 3; ++k) {
        for (size_t v = 0; v < 3; ++v) {
            const GU_Float4 from = GU_Float4::load(leaf.corners[0][v][k]);
            const GU_Float4 way = GU_Float4::load(leaf.corners[1][v][k]) - from;
            for (size_t e = 0; e < 2; ++e)
                lanes.at[e][v][k] = from + way * GU_Float4::splat(ends.fraction[e]) - GU_Float4::splat(ends.at[e][k]);
        }
        lanes.slop[k] = GU_Float4::splat(ends.slop[k]);
        mask |= lanes.apartAlong(k);
    }
    if (mask == 15 || !ends.isTame) return mask;
    GU_Float4 edges[3][3], way[3], axis[3];
    for (size_t k = 0; k < 3; ++k) {
        for (size_t v = 0; v < 3; ++v) edges[v][k] = lanes.edge(v, (v + 1) % 3, k);
        way[k] = GU_Float4::splat(0);
        for (size_t v = 0; v < 3; ++v) way[k] = way[k] + (lanes.at[1][v][k] - lanes.at[0][v][k]);
    }
    crossInto(edges[0], edges[1], axis);
    mask |= lanes.apartAlong(axis);
    for (size_t v = 0; v < 3 && mask != 15; ++v) { // the sides of the prism that the triangle runs through
        crossInto(edges[v], way, axis);
        mask |= lanes.apartAlong(axis);
    }
    return mask;
}

void GU_RaySweep::visitLeaf(uint32_t number, Query& query) const {
    const Leaf& leaf = myLeaves[number];
    const int skip = missed(leaf, query);
    for (uint32_t i = 0; i < 4; ++i)
        if (!(skip >> i & 1) && leaf.item[i] != GU_Bvh::NO_ITEM) testTriangle(number * 4 + i, query);
}

void GU_RaySweep::testTriangle(uint32_t place, Query& query) const {
    const Leaf& leaf = myLeaves[place / 4];
    const uint32_t item = leaf.item[place % 4], number = leaf.shape[place % 4] & ~Leaf::MAY_FOLD;
    const Shape& shape = mySurface.shapes()[number];
    __builtin_prefetch(&shape); // of which a hit will tell
    GU_SweptTriangle triangle;
    for (size_t k = 0; k < 3; ++k) query.look(leaf.corner(place % 4, k), triangle.at[k], triangle.speed[k]);
    GU_SweptHit hits[GU_MOST_SWEPT_HITS];
    const int count = GUsweepTriangle(triangle, query.ends[query.section], query.ends[query.section + 1], hits);
    for (int i = 0; i < count; ++i) {
        const GU_SweptHit& hit = hits[i];
        if (!query.isWanted(static_cast<float>(hit.s))) continue;
        const bool mayFold = leaf.shape[place % 4] & Leaf::MAY_FOLD;
        const bool rim = hit.b[2] < 1e-9; // the outline belongs to the polygon
        if (mayFold && !rim && shape.kind == Shape::FOLDED && !outlineHolds(shape, place, query, hit.s)) continue;
        query.add({static_cast<float>(hit.s),
                   static_cast<float>(hit.slack + 2.4e-7 * std::fabs(hit.s)),
                   number,
                   item,
                   place,
                   {static_cast<float>(hit.b[0]), static_cast<float>(hit.b[1]), static_cast<float>(hit.b[2])},
                   static_cast<float>(hit.until),
                   query.section});
    }
}

UT_Vector3D GU_RaySweep::cornerAt(uint32_t place, int vertex, const Query& query, double fraction) const {
    return query.at(myLeaves[place / 4].corner(place % 4, static_cast<size_t>(vertex)), fraction);
}

// Whether the particle is inside the outline at time t, as seen along the polygon's normal, or without one along that
// of the piece hit: by its winding number.
bool GU_RaySweep::outlineHolds(const Shape& shape, uint32_t place, const Query& query, double t) const {
    const double f = query.fraction(t);
    const int n = static_cast<int>(shape.vertices);
    UT_Vector3 normal = GEOpolygonNormal(n, [&](int i) { return mySurface.outlineAt(shape, i, f); });
    if (normal == UT_Vector3(0, 0, 0))
        normal = GEOpolygonNormal(3, [&](int i) { return cornerAt(place, i, query, f); });
    if (normal == UT_Vector3(0, 0, 0)) return false;
    const GU_RayFrame frame(UT_Vector3(0, 0, 0), normal);
    const UT_Vector3D here = frame.project(query.origin + query.way * t);
    const auto image = [&](int i) { return frame.project(mySurface.outlineAt(shape, i, f)) - here; };
    int winding = 0;
    UT_Vector3D p = image(n - 1);
    for (int i = 0; i < n; ++i) {
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
    info.takeCandidates([&](const GU_RayCandidate& c) { return finish(c, query); });
}

GU_RayHit GU_RaySweep::finish(const GU_RayCandidate& c, const Query& query) const {
    const Shape& shape = mySurface.shapes()[c.shape];
    const auto part = [&] { return mySurface.items()[c.item].part; };
    const double f = query.fraction(c.t);
    const UT_Vector3D p[3] = {cornerAt(c.place, 0, query, f), cornerAt(c.place, 1, query, f),
                              cornerAt(c.place, 2, query, f)};
    const UT_Vector3D a = p[1] - p[0], b = p[2] - p[0];
    GU_RayHit hit;
    hit.prim = shape.prim;
    hit.number = static_cast<int>(shape.number);
    hit.distance = c.t;
    hit.normal = GEOunitNormal(cross(a, b), a.length2() + b.length2() + (b - a).length2());
    if (shape.kind == Shape::TRIANGLE) {
        GUtriangleParameters(c.b, hit);
    } else if (shape.kind == Shape::MESH) {
        const auto& mesh = static_cast<const GEO_PrimMesh&>(*shape.prim);
        const int cell = static_cast<int>(part() / 4), cols = mesh.cellCols(), row = cell / cols;
        const uint32_t i = part() % 4, j = (i + 1) % 4;
        const auto along = [&](uint32_t k, uint32_t first, uint32_t second) { return k == first || k == second; };
        const double x = c.b[0] * along(i, 1, 2) + c.b[1] * along(j, 1, 2) + 0.5 * c.b[2];
        const double y = c.b[0] * along(i, 2, 3) + c.b[1] * along(j, 2, 3) + 0.5 * c.b[2];
        hit.u = static_cast<float>((cell % cols + x) / cols);
        hit.v = static_cast<float>((row + y) / mesh.cellRows());
    } else {
        const auto outline = [&](int i) { return mySurface.outlineAt(shape, i, f); };
        const UT_Vector3 normal = GEOpolygonNormal(static_cast<int>(shape.vertices), outline);
        if (normal != UT_Vector3(0, 0, 0)) hit.normal = normal; // else that of the piece
        GUfanParameters(part(), shape.vertices, c.b[0], c.b[1], hit);
    }
    return hit;
}
