#include "ops/collision/FLX_Collider.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

bool isPlace(const UT_Vector3D& p) { return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z()); }

UT_Vector3D placeOf(const GEO_Point* p) { return UT_Vector3D(UT_Vector3(p->getPos())); }

// Points that are nowhere, here or in the other detail, do not count: what one side lacks must not look like a motion.
// No number when no point is left.
UT_Vector3D centroid(const GU_Detail& detail, const GU_Detail& other) {
    const GEO_PointList& others = other.points();
    const bool pairs = others.entries() == detail.points().entries();
    UT_Vector3D sum(0, 0, 0);
    size_t i = 0, used = 0;
    detail.points().forEach(nullptr, [&](const GEO_Point* p) {
        const UT_Vector3D at = placeOf(p);
        const bool counts = isPlace(at) && (!pairs || isPlace(placeOf(others(i))));
        ++i;
        if (!counts) return;
        sum += at;
        ++used;
    });
    return sum / double(used);
}

UT_Vector3D motion(const GU_Detail& from, const GU_Detail& to) {
    const UT_Vector3D way = centroid(to, from) - centroid(from, to);
    return isPlace(way) ? way : UT_Vector3D(0, 0, 0);
}

UT_BoundingBox moved(const UT_BoundingBox& box, const UT_Vector3& by) {
    return box.isValid() ? UT_BoundingBox(box.vmin() + by, box.vmax() + by) : box;
}

} // namespace

void FLX_Collider::fetch(FLX_Node& node, const Request& request) {
    const size_t moments = request.hint == FLX_GeoHint::Translating ? size_t(request.parts) + 1
                           : request.hint == FLX_GeoHint::Deforming ? 2
                                                                    : 1;
    if (request.hint != std::exchange(myHint, request.hint)) myMoments.clear();
    myMoments.resize(moments);
    mySpan = moments > 1 ? request.timeStep / float(moments - 1) : 0;
    for (size_t i = 0; i < moments; ++i) {
        if (!myMoments[i]) myMoments[i] = std::make_unique<Moment>();
        const bool last = i + 1 == moments;
        const float t = last ? request.time : request.time - request.timeStep + float(i) * mySpan;
        fetchMoment(*myMoments[i], node, request, t, last);
    }
}

// The geometry of a node is made anew at every other time it is asked for: what has to outlive that is copied.
void FLX_Collider::fetchMoment(Moment& moment, FLX_Node& node, const Request& request, float t, bool last) {
    FLX_GeoLookup& lookup = moment.lookup;
    GU_Detail* found = node.getGeo(nullptr, request.context, t, last, request.ignoreTransform, &moment.own, lookup);
    moment.detail = found;
    if (!found || found == &moment.own || request.hint == FLX_GeoHint::Static) return;
    const FLX_GeoLookup::CopyKey key{found->dataId(), found->getChangeCount(), found->layoutSerial(), lookup.transform};
    if (!(lookup.copied == key)) {
        moment.own.copy(*found);
        lookup.copied = key;
    }
    moment.detail = &moment.own;
}

bool FLX_Collider::prepare() {
    myReach.initBounds();
    for (const auto& moment : myMoments) {
        if (!moment->detail) {
            for (const auto& each : myMoments) each->rays = nullptr;
            return true;
        }
        moment->texture = FLX_SurfaceAttrib(*moment->detail, GEO_STD_ATTRIB_TEXTURE);
        moment->diffuse = FLX_SurfaceAttrib(*moment->detail, GEO_STD_ATTRIB_DIFFUSE);
    }
    if (myHint == FLX_GeoHint::Deforming) return prepareDeforming();
    if (myHint == FLX_GeoHint::Translating)
        prepareTranslating();
    else
        prepareStatic();
    return true;
}

// Brings a structure of the moment's own up to date: refits it while the topology stays.
void FLX_Collider::follow(Moment& moment) {
    ++myUpdates;
    if (!moment.following || !moment.following->refit(moment.detail))
        moment.following = std::make_unique<GU_RayIntersect>(moment.detail);
    moment.rays = moment.following.get();
}

// Geometry that stands still is shared with whoever else asks for it; once it has changed it is likely to change again.
void FLX_Collider::prepareStatic() {
    Moment& only = *myMoments.front();
    if (!only.rays) {
        ++myUpdates;
        only.shared = GU_RayIntersect::shared(only.detail);
        only.rays = only.shared.get();
    } else if (!only.rays->validForDetail(only.detail)) {
        follow(only);
        only.shared.reset();
    }
    myReach = only.rays->getBBox();
}

bool FLX_Collider::changesTopology() const {
    if (myHint != FLX_GeoHint::Translating || !rays()) return false;
    const auto differ = [](const auto& a, const auto& b) {
        return !GU_RayIntersect::validForDeformingGeometry(a->detail, b->detail);
    };
    return std::adjacent_find(myMoments.begin(), myMoments.end(), differ) != myMoments.end();
}

void FLX_Collider::prepareTranslating() {
    for (size_t i = 0; i + 1 < myMoments.size(); ++i) {
        Moment& moment = *myMoments[i];
        if (!moment.rays || !moment.rays->validForDetail(moment.detail)) follow(moment);
        moment.velocity = UT_Vector3(motion(*moment.detail, *myMoments[i + 1]->detail) / double(mySpan));
        myReach.enlargeBounds(moment.rays->getBBox());
        myReach.enlargeBounds(moved(moment.rays->getBBox(), moment.velocity * mySpan));
    }
}

bool FLX_Collider::prepareDeforming() {
    Moment &from = *myMoments[0], &to = *myMoments[1];
    const Version begin(*from.detail), end(*to.detail);
    if (!from.rays || !(from.version == begin) || !(to.version == end)) {
        // What can be refitted is valid.
        const bool refitted = from.following && from.following->refit(from.detail, to.detail);
        if (!refitted && !GU_RayIntersect::validForDeformingGeometry(from.detail, to.detail)) {
            from.rays = nullptr;
            return false;
        }
        if (!refitted) from.following = std::make_unique<GU_RayIntersect>(from.detail, to.detail);
        from.rays = from.following.get();
        ++myUpdates;
    }
    from.version = begin;
    to.version = end;
    myReach = from.rays->getBBox();
    return true;
}
