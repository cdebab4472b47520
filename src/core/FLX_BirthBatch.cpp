#include "core/FLX_BirthBatch.h"

#include "host/geo/GB_Group.h"

FLX_BirthBatch::FLX_BirthBatch(FLX_ContextData& context, GEO_PrimParticle& prim, const UT_Vector4& position, int origin,
                               GB_PointGroup* group)
    : myContext(context)
    , myPrim(prim)
    , myGroup(group)
    , myModel(context.peekDetail()->pointRecords()) {
    GEO_Point* p = myModel.point();
    p->setPos(position);
    context.life(p)[0] = 0;
    context.state(p) = 0;
    const auto set = [p](int offset, int value) {
        if (offset >= 0) *p->castAttribData<int>(offset) = value;
    };
    set(context.getOriginOffset(), origin);
    set(context.getParentOffset(), 0);
    set(context.getGenOffset(), 1);
}

void FLX_BirthBatch::give(const Newborn* newborns, size_t n) {
    const FLX_CoreOffsets core = myContext.core();
    const int id = myContext.getIDOffset(), previous = myContext.getPrevVelOffset();
    const int speed = myContext.getSpeedOffset();
    int* counter = id >= 0 ? myContext.idCounter() : nullptr;
    myContext.bumpNumParticles(int(n));
    myPrim.birthPoints(myModel, n, [=, group = myGroup](GEO_Point* p, size_t i) {
        const UT_Vector3 v = newborns[i].velocity;
        p->castAttribData<float>(core.life)[1] = newborns[i].life;
        *p->castAttribData<UT_Vector3>(core.velocity) = v;
        if (id >= 0) *p->castAttribData<int>(id) = FLX_ContextData::takeID(counter);
        if (previous >= 0) *p->castAttribData<UT_Vector3>(previous) = v;
        if (speed >= 0) *p->castAttribData<float>(speed) = v.length();
        if (group) group->add(p);
    });
}
