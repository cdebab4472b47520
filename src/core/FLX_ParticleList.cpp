#include "core/FLX_ParticleList.h"

#include "host/geo/GEO_Detail.h"
#include "host/geo/GEO_PrimParticle.h"

FLX_ParticleList& FLX_ParticleList::operator=(const FLX_ParticleList& src) {
    myEntries = src.myEntries;
    myCursor = 0;
    return *this;
}

FLX_ParticleNode* FLX_ParticleList::add(GEO_PrimParticle* prim, FLX_Node* owner) {
    if (!prim) return nullptr;
    myEntries.push_back({prim, owner});
    myCursor = 0;
    return &myEntries.back();
}

void FLX_ParticleList::clear() {
    myEntries.clear();
    myCursor = 0;
}

GEO_PrimParticle* FLX_ParticleList::iterateInit() {
    myCursor = 0;
    return myEntries.empty() ? nullptr : entry(0).prim;
}

GEO_PrimParticle* FLX_ParticleList::iterateNext() {
    if (myCursor < myEntries.size()) ++myCursor;
    return myCursor < myEntries.size() ? entry(int(myCursor)).prim : nullptr;
}

FLX_ParticleNode* FLX_ParticleList::find(const GEO_PrimParticle* prim) {
    if (!prim) return nullptr;
    for (size_t i = myEntries.size(); i-- > 0;)
        if (myEntries[i].prim->getNum() == prim->getNum()) return &myEntries[i];
    return nullptr;
}

void FLX_ParticleList::merge(const FLX_ParticleList* other) {
    if (!other || other == this) return;
    for (int i = 0; i < other->entries(); ++i) {
        const FLX_ParticleNode& node = other->entry(i);
        if (!find(node.prim)) add(node.prim, node.owner);
    }
}

void FLX_ParticleList::copyNewGdp(const FLX_ParticleList& src, const GEO_Detail* detail) {
    for (int i = 0; i < src.entries(); ++i) {
        const FLX_ParticleNode& node = src.entry(i);
        const auto number = size_t(node.prim->getNum());
        if (number >= detail->primitives().entries()) continue;
        add(dynamic_cast<GEO_PrimParticle*>(detail->primitives()(number)), node.owner);
    }
}
