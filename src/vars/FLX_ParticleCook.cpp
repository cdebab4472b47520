#include "vars/FLX_ParticleCook.h"

#include <set>

bool FLX_ParticleCook::mayWait(const FLX_Pass& pass) const {
    if (!pass.isSelfContained() || myGroup) return false;
    const FLX_ParticleList& list = *myOperator.getParticleList();
    std::set<const GEO_PrimParticle*> met;
    for (int i = 0; i < list.entries(); ++i)
        if (!met.insert(list.entry(i).prim).second) return false;
    return true;
}

void FLX_ParticleCook::run(std::unique_ptr<FLX_Pass> pass) const {
    if (myGroup)
        runOnGroup(*pass);
    else
        runOnList(*pass);
}

// In the detail's order.
void FLX_ParticleCook::runOnGroup(FLX_Pass& pass) const {
    const GEO_PointList& points = detail().points();
    uint32_t slots[FLX_Chunk::SIZE];
    size_t count = 0;
    int iteration = 0;
    const auto flush = [&] {
        pass.runAll(points.access(), slots, count, iteration);
        iteration += int(count);
        count = 0;
    };
    points.forEach(myGroup, [&](const GEO_Point* p) {
        slots[count++] = p->slot();
        if (count == FLX_Chunk::SIZE) flush();
    });
    flush();
}

// The interrupt is asked once per primitive.
void FLX_ParticleCook::runOnList(FLX_Pass& pass) const {
    const FLX_ParticleList& list = *myOperator.getParticleList();
    int iteration = 0;
    for (int i = 0; i < list.entries(); ++i) {
        if (UTgetInterrupt()->opInterrupt(-1)) return;
        const GEO_PointAccess access = detail().points().access();
        list.entry(i).prim->forEachSpan([&](const uint32_t* slots, size_t n) {
            pass.runAll(access, slots, n, iteration);
            iteration += int(n);
        });
    }
}

FLX_ParticleOperator::FLX_ParticleOperator(OP_Network* parent, const char* name, OP_Operator* op)
    : FLX_LocalVar(parent, name, op) {}

bool FLX_ParticleOperator::gather(OP_Context& opContext, FLX_ContextData& context, const GB_PointGroup*& group) {
    if (buildParticleList(opContext, 0) >= UT_ERROR_ABORT) return false;
    if (!checkActivation(&context, ACTIVATE)) return false;
    if (const UT_String text = SOURCE(); text.isstring()) {
        group = parsePointGroups(text.c_str(), context.getDetail(), 1);
        if (!group) {
            addError(FLX_ERR_BADGROUP, text.c_str());
            return false;
        }
        if (group->isEmpty()) return false;
    }
    setupVars(&context, group);
    return true;
}
