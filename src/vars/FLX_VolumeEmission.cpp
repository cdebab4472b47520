// Births inside closed surfaces and in the density of metaballs.
#include <cmath>
#include <vector>

#include "host/geo/GEO_PrimMetaball.h"
#include "host/ut/UT_Math.h"
#include "vars/FLX_EmissionLoop.h"

namespace {

UT_Vector4 drawInBox(FLX_ContextData& context, const UT_BoundingBox& box) {
    const UT_Vector3 low = box.vmin(), size = box.size();
    const float x = low.x() + context.randomSample() * size.x();
    const float y = low.y() + context.randomSample() * size.y();
    const float z = low.z() + context.randomSample() * size.z();
    return {x, y, z, 1};
}

UT_Vector3 xyz(const UT_Vector4& p) { return {p.x(), p.y(), p.z()}; }

/// Prepares the sample of a birth that has no source element, and gives birth.
bool giveAt(FLX_Emission& e, FLX_EmissionLoop& loop, const UT_Vector4& at, GB_AttributeData* source) {
    const UT_Vector4 position = loop.placed(at);
    if (source) loop.turnVectors(*source);
    if (e.updateVars) e.generator->sample() = {&position, source};
    const bool born = loop.give(position, source, 0);
    e.generator->clearSample();
    return born;
}

void clearVars(FLX_Emission& e) {
    if (!e.updateVars) return;
    e.generator->clearSample();
    e.generator->setIteration(0);
}

} // namespace

void FLXbirthFromDetail(FLX_Emission& e) {
    UT_BoundingBox box;
    if (e.source->primitives().entries() == 0 || !e.source->getBBox(box)) return;
    const UT_Vector3 size = box.size();
    if (UT_Math::isZero(size.x()) || UT_Math::isZero(size.y()) || UT_Math::isZero(size.z())) return;
    clearVars(e);
    FLX_EmissionLoop loop(e);
    if (!loop.started()) return;

    bool fetch = true;
    while (loop.wantsMore()) {
        if (loop.stopped()) return;
        if (e.refetch && fetch) {
            if (!loop.refetch() || e.source->primitives().entries() == 0 || !e.source->getBBox(box)) return;
            fetch = false;
        }
        const UT_Vector4 at = drawInBox(*e.context, box);
        if (!e.rays || !e.rays->isInside(xyz(at), 1)) {
            if (loop.miss()) return;
            continue;
        }
        loop.hit();
        if (e.extra && e.map) e.map->getAttributeData().copy(*e.extra);
        GB_AttributeData* source = e.extra && e.map ? &e.map->getAttributeData() : e.extra;
        if (!giveAt(e, loop, at, source)) return;
        fetch = true;
    }
}

// ---- metaballs

namespace {

struct Metaballs {
    std::vector<const GEO_PrimMetaball*> balls;
    double weight = 0;
    UT_BoundingBox box;

    /// The metaballs of the group, or all; false when there is none.
    bool gather(const FLX_Emission& e) {
        balls.clear();
        weight = 0;
        box.initBounds();
        e.source->primitives().forEach(e.group, [&](GEO_Primitive* prim) {
            if (!(prim->getPrimitiveId() & GEOPRIMMETA)) return;
            const auto* ball = dynamic_cast<const GEO_PrimMetaball*>(prim);
            if (!ball) return;
            balls.push_back(ball);
            weight += double(ball->getWeight());
        });
        if (e.group)
            e.source->getBBox(box, static_cast<const GB_PrimitiveGroup*>(e.group));
        else
            e.source->getBBox(box);
        return !balls.empty();
    }

    float density(const UT_Vector3& p) const {
        float sum = 0;
        for (const GEO_PrimMetaball* ball : balls) sum += ball->density(p);
        return sum;
    }
};

/// A ball chosen by weight; the last one when rounding leaves some of u over.
const GEO_PrimMetaball* chooseBall(FLX_ContextData& context, const Metaballs& metaballs) {
    double u = double(context.random());
    for (const GEO_PrimMetaball* ball : metaballs.balls) {
        u -= double(ball->getWeight()) / metaballs.weight;
        if (u <= 0) return ball;
    }
    return metaballs.balls.back();
}

/// A place in a ball where its density reaches a random target: the offset from the centre shrinks until it does. Balls
/// of weight 1 or less do not shrink it, so the search ends after a while with the place it has; it counts like any
/// other.
UT_Vector4 drawByDensity(FLX_ContextData& context, const Metaballs& metaballs) {
    constexpr int MAX_PASSES = 64;
    const GEO_PrimMetaball* ball = chooseBall(context, metaballs);
    UT_BoundingBox box;
    if (!ball->getBBox(box)) return {0, 0, 0, 1};
    const UT_Vector3 size = box.size(), center = box.center();
    UT_Vector3 d;
    for (int i = 0; i < 3; ++i) d[i] = 2 * (context.randomSample() - 0.5f) * size[i];
    const float target = context.random() * ball->getWeight();
    UT_Vector3 at;
    for (int pass = 0; pass < MAX_PASSES; ++pass) {
        at = center + d;
        const float density = ball->density(at);
        const float v = context.random();
        d = d * (1 / (1 + (ball->getWeight() - 1) * v));
        if (density >= target) break;
    }
    return {at.x(), at.y(), at.z(), 1};
}

/// The density-weighted mean of the balls' attributes at a place.
void blendAttributes(const Metaballs& metaballs, const UT_Vector3& at, FLX_AttribMap& map) {
    GB_AttributeData& data = map.getAttributeData();
    for (const int offset : map.getFloatOffsets()) *data.castAttribData<float>(offset) = 0;
    float sum = 0;
    for (const GEO_PrimMetaball* ball : metaballs.balls) {
        const float density = ball->density(at);
        if (UT_Math::isZero(density)) continue;
        data.addScaleData(map.getFloatOffsets(), ball->getVertexPoint(0)->data(), density);
        sum += density;
    }
    if (!UT_Math::isZero(sum)) data.mulf(map.getFloatOffsets(), 1 / std::abs(sum));
}

} // namespace

void FLXbirthFromMetaPrim(FLX_Emission& e) {
    if (e.source->primitives().entries() == 0 || (e.group && e.group->isEmpty())) return;
    clearVars(e);
    Metaballs metaballs;
    if (!e.refetch && !metaballs.gather(e)) return;
    FLX_EmissionLoop loop(e);
    if (!loop.started()) return;

    float accumulated = 0;
    while (loop.wantsMore()) {
        if (loop.stopped()) return;
        if (e.refetch) {
            if (!loop.refetch() || (e.group && e.group->isEmpty()) || !metaballs.gather(e)) return;
        }
        const UT_Vector4 at =
            e.useDensity ? drawByDensity(*e.context, metaballs) : drawInBox(*e.context, metaballs.box);
        const float density = metaballs.density(xyz(at));
        accumulated += density;
        if (!(std::abs(accumulated) > e.densityThreshold && std::abs(density) > e.densityMin)) {
            if (loop.miss()) return;
            continue;
        }
        loop.hit();
        GB_AttributeData* source = e.extra;
        if (!source && e.map) {
            blendAttributes(metaballs, xyz(at), *e.map);
            source = &e.map->getAttributeData();
        }
        if (!giveAt(e, loop, at, source)) return;
        accumulated -= e.densityThreshold;
    }
}
