#include "vars/FLX_ParticleCook.h"

#include <algorithm>
#include <vector>

#include "core/FLX_CookRecorder.h"

namespace {

bool holdsOneTwice(const FLX_ParticleList& list) {
    if (list.entries() < 2) return false;
    std::vector<const GEO_PrimParticle*> prims;
    for (int i = 0; i < list.entries(); ++i) prims.push_back(list.entry(i).prim);
    std::sort(prims.begin(), prims.end());
    return std::adjacent_find(prims.begin(), prims.end()) != prims.end();
}

} // namespace

const char* FLX_ParticleCook::whyNotQueued(const FLX_Pass& pass) const {
    if (!myContext.queuesPasses()) return "no queue";
    if (myOperator.passUse() == FLX_PassUse::Barrier) return "barrier";
    if (myGroup) return "source group";
    if (!pass.isSelfContained()) return "expressions";
    if (myShowGuide || guideOnly()) return "guide";
    return holdsOneTwice(*myOperator.peekParticleList()) ? "particles met twice" : nullptr;
}

void FLX_ParticleCook::run(std::unique_ptr<FLX_Pass> pass) const {
    const char* reason = whyNotQueued(*pass);
    if (myContext.recorder) myContext.recorder->passMade(myOperator, reason);
    if (!reason) return enqueue(std::move(pass));
    if (myGroup)
        runOnGroup(*pass);
    else
        runOnList(*pass);
}

// The interrupt is asked as it would be by the loop itself.
void FLX_ParticleCook::enqueue(std::unique_ptr<FLX_Pass> pass) const {
    const FLX_ParticleList& list = *myOperator.peekParticleList();
    int entries = 0;
    while (entries < list.entries() && !UTgetInterrupt()->opInterrupt(-1)) ++entries;
    const bool closing = myOperator.passUse() == FLX_PassUse::Closing;
    myContext.enqueuePass(std::move(pass), myOperator, list, entries, closing);
    if (closing) myContext.flushPasses();
}

// In the detail's order. Asking for the detail runs what waits, as asking for the list does below.
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

bool FLX_ParticleOperator::select(OP_Context&, FLX_ContextData& context, const GB_PointGroup*& group) {
    if (!checkActivation(&context, ACTIVATE)) return false;
    if (!parseSource(context, group)) return false;
    setupVars(&context, group);
    return true;
}

bool FLX_ParticleOperator::parseSource(FLX_ContextData& context, const GB_PointGroup*& group) {
    group = nullptr;
    const UT_String text = SOURCE();
    if (!text.isstring()) return true;
    group = parsePointGroups(text.c_str(), context.getDetail(), 1);
    if (!group) addError(FLX_ERR_BADGROUP, text.c_str());
    return group && !group->isEmpty();
}
