#include "core/FLX_AttribMap.h"
#include "core/FLX_Node.h"
#include "host/ut/UT_Saturate.h"

GEO_Point* FLX_Node::birthParticle(FLX_ContextData* context, const FLX_Birth& birth) {
    const float lifeSpan = birth.life();
    if (!(lifeSpan > 0) || !context->allowBirth()) return nullptr;

    GEO_Point* point = birth.prim->birthPoint();
    context->bumpNumParticles(1);
    point->setPos(birth.position);
    UT_Vector3& v = context->velocity(point);
    if (birth.map) {
        if (birth.source) birth.map->inherit(*birth.source, point);
        if (!birth.map->inheritsVelocity()) v = birth.map->getSrcNormal(birth.source);
    }
    initParticleAttrib(context, point, birth, 0, lifeSpan);
    if (birth.velocity) birth.velocity(point, v);
    if (const int pv = context->getPrevVelOffset(); pv >= 0) *point->castAttribData<UT_Vector3>(pv) = v;
    return point;
}

void FLX_Node::initParticleAttrib(FLX_ContextData* context, GEO_Point* point, const FLX_Birth& birth, float age,
                                  float lifeSpan) {
    float* life = context->life(point);
    life[0] = age;
    life[1] = lifeSpan;
    context->state(point) = 0;

    const auto at = [](auto* p, int offset) { return p->template castAttribData<int>(offset); };
    const int id = context->getIDOffset(), origin = context->getOriginOffset();
    const int parentId = context->getParentOffset(), gen = context->getGenOffset();
    const GEO_Point* parent = birth.parent;
    if (id >= 0) *at(point, id) = context->nextID();
    if (origin >= 0) {
        int value = 0;
        if (birth.originMode & FLX_ORIGIN_INDEX) value = birth.origin();
        if (birth.originMode & FLX_ORIGIN_OFFSET) value = UTaddSaturated(value, birth.originAdd);
        if (parent && birth.originMode & FLX_ORIGIN_PARENT) value = UTaddSaturated(value, *at(parent, origin));
        *at(point, origin) = value;
    }
    if (parentId >= 0 && (!parent || id >= 0)) *at(point, parentId) = parent ? *at(parent, id) : 0;
    if (gen >= 0) *at(point, gen) = parent ? UTaddSaturated(*at(parent, gen), 1) : 1;
}
