#include "host/geo/GEO_PrimParticle.h"

#include "host/geo/GEO_Detail.h"
#include "host/geo/GEO_Param.h"

#include <algorithm>
#include <cassert>

GEO_Point* GEO_PrimParticle::particle(size_t index) const { return myDetail->points().bySlot(myParticles[index]); }

GEO_Point* GEO_PrimParticle::birthPoint() {
    const uint32_t slot = myDetail->birthPointSlot();
    myParticles.push_back(slot);
    return myDetail->points().bySlot(slot);
}

size_t GEO_PrimParticle::birthSlots(const GEO_PointModel& model, uint32_t* slots, size_t n) {
    n = myDetail->birthPointSlots(model, slots, n);
    myParticles.append({slots, n});
    return n;
}

GEO_PointAccess GEO_PrimParticle::pointAccess() const { return myDetail->points().access(); }

GEO_ParticleVertex GEO_PrimParticle::appendParticle(GEO_Point* point) {
    myParticles.push_back(point->slot());
    myDetail->noteUnknownUse();
    myDetail->bumpTopology();
    return {this, myParticles.size() - 1};
}

void GEO_PrimParticle::deadParticle(size_t index) {
    assert(index < myParticles.size());
    if (index >= myDead.size()) myDead.resize(std::max(myParticles.size(), index + 1));
    myDead.set(index);
}

size_t GEO_PrimParticle::deleteDead() {
    if (!myDead.any()) return 0;
    size_t index = 0;
    return compact([&](uint32_t) { return !isDead(index++); });
}

size_t GEO_PrimParticle::dropParticles(const UT_BitSet& pointSlots) {
    UT_BitSet dead(myParticles.size());
    size_t index = 0, kept = 0;
    const size_t dropped = compact([&](uint32_t slot) {
        const bool marked = isDead(index++);
        if (slot < pointSlots.size() && pointSlots.test(slot)) return false;
        if (marked) dead.set(kept);
        ++kept;
        return true;
    });
    if (dead.any()) {
        dead.resize(kept);
        myDead = dead;
    }
    return dropped;
}

void GEO_PrimParticle::deleteLists() {
    releaseRecords();
    myDetail->bumpTopology();
}

void GEO_PrimParticle::orphan(uint32_t slot) { myDetail->noteOrphan(slot); }

size_t GEO_PrimParticle::nextSegment(size_t first, uint32_t*& begin, uint32_t*& end) {
    const size_t last = std::min(first + SEGMENT, myParticles.size());
    begin = &myParticles[first];
    end = begin + (last - first);
    return last;
}

void GEO_PrimParticle::finishCompaction(size_t kept) {
    if (kept != myParticles.size()) myDetail->bumpTopology();
    myParticles.resize(kept);
    myDead.resize(0);
}

void GEO_PrimParticle::releaseRecords() {
    myParticles.forEach([&](uint32_t slot) { orphan(slot); });
    myParticles.clear();
    myDead.resize(0);
}

void GEO_PrimParticle::adoptVertices(const GEO_Primitive&, const uint32_t* pointMap) {
    myParticles.forEach([&](uint32_t& slot) { slot = pointMap[slot]; });
    myDetail->noteUnknownUse();
    myDetail->bumpTopology();
}

bool GEO_PrimParticle::weights(float u, float, GEO_Weights& out) const {
    return GEOweightsAlong(u, getVertexCount(), out);
}

bool GEO_PrimParticle::parametric(const UT_Vector3& p, float& u, float& v) const {
    v = 0;
    return GEOparametricAlong(*this, p, u);
}

void GEO_PrimParticle::reverse() {
    const size_t n = myParticles.size();
    for (size_t i = 0; i < n / 2; ++i) std::swap(myParticles[i], myParticles[n - 1 - i]);
    UT_BitSet dead(n);
    myDead.forEach([&](size_t i) { dead.set(n - 1 - i); });
    myDead = dead;
    myDetail->bumpTopology();
}

std::string GEO_PrimParticle::validate() const {
    if (myDead.size() > myParticles.size() && myDead.findFrom(myParticles.size()) != UT_BitSet::NONE)
        return "a particle past the end is marked dead";
    return GEO_Primitive::validate();
}
