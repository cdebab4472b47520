#include "vars/FLX_IdTable.h"

#include <algorithm>

namespace {

constexpr uint32_t NONE = ~uint32_t(0);

// Long simulations leave few of many ids alive; a table by id would then be mostly holes.
bool fitsDense(int limit, size_t points) { return size_t(limit) <= std::max<size_t>(65536, 16 * points); }

int idLimit(const GU_Detail& detail) {
    const int offset = detail.attribs().getOffset("nextid", 4, GB_ATTRIB_INT);
    return offset < 0 ? 1 : *detail.attribs().castAttribData<int>(offset);
}

bool byId(const std::pair<int, uint32_t>& a, const std::pair<int, uint32_t>& b) { return a.first < b.first; }

} // namespace

GEO_Point* FLX_IdTable::find(const GU_Detail& detail, int id) {
    update(detail);
    const uint32_t slot = slotOf(id);
    if (slot == NONE) return nullptr;
    return idAt(detail, slot) == id ? detail.points().bySlot(slot) : nullptr;
}

void FLX_IdTable::update(const GU_Detail& detail) {
    const Key now{detail.dataId(), detail.layoutSerial(), detail.lastEdit()};
    const int limit = idLimit(detail);
    const bool same = now == myKey && limit >= myLimit;
    if (same && limit == myLimit && detail.getChangeCount() == myChanges) return;
    if (same)
        appendNewborn(detail, limit);
    else
        rebuild(detail, limit);
    myKey = now;
    myChanges = detail.getChangeCount();
    myPoints = detail.points().entries();
    myLimit = limit;
}

void FLX_IdTable::rebuild(const GU_Detail& detail, int limit) {
    ++myNumBuilds;
    myDense.clear();
    mySparse.clear();
    myNumScanned.assign(detail.primitives().entries(), 0);
    myOffset = detail.pointAttribs().getOffset("id", 4, GB_ATTRIB_INT);
    myIsDense = fitsDense(limit, detail.points().entries());
    scan(detail, limit);
}

// The point that was the last is looked at again where it was seen before it was given its id.
void FLX_IdTable::appendNewborn(const GU_Detail& detail, int limit) {
    if (myIsDense && !fitsDense(limit, detail.points().entries())) return rebuild(detail, limit);
    const uint32_t last = myPoints > 0 ? detail.points().slotAt(myPoints - 1) : NONE;
    const bool known = myOffset < 0 || last == NONE || slotOf(idAt(detail, last)) == last;
    for (size_t i = 0; !known && i < myNumScanned.size(); ++i) {
        if (myNumScanned[i] == 0) continue;
        const auto& particles = static_cast<const GEO_PrimParticle&>(*detail.primitives()[i]);
        if (particles.particleSlot(myNumScanned[i] - 1) == last) --myNumScanned[i];
    }
    myNumScanned.resize(detail.primitives().entries(), 0);
    scan(detail, limit);
}

void FLX_IdTable::scan(const GU_Detail& detail, int limit) {
    if (myOffset < 0) return;
    const size_t numSorted = mySparse.size();
    if (myIsDense) myDense.resize(size_t(std::max(limit, 0)), NONE);
    for (const GEO_Primitive* prim = detail.primitives().head(GEOPRIMPART); prim;
         prim = detail.primitives().next(prim, GEOPRIMPART)) {
        size_t& from = myNumScanned[size_t(prim->getNum())];
        const auto& particles = static_cast<const GEO_PrimParticle&>(*prim);
        for (const size_t end = particles.particleCount(); from < end; ++from) {
            const uint32_t slot = particles.particleSlot(from);
            const int id = idAt(detail, slot);
            if (id >= 0 && id < limit) add(id, slot);
        }
    }
    if (!myIsDense) sortSparse(numSorted);
}

void FLX_IdTable::add(int id, uint32_t slot) {
    if (!myIsDense)
        mySparse.emplace_back(id, slot);
    else if (myDense[size_t(id)] == NONE)
        myDense[size_t(id)] = slot;
}

// Newborn mostly have higher ids than all before: then nothing moves.
void FLX_IdTable::sortSparse(size_t numSorted) {
    const auto tail = mySparse.begin() + std::ptrdiff_t(numSorted);
    if (!std::is_sorted(tail, mySparse.end(), byId)) std::stable_sort(tail, mySparse.end(), byId);
    if (tail != mySparse.begin() && tail != mySparse.end() && byId(*tail, *std::prev(tail)))
        std::inplace_merge(mySparse.begin(), tail, mySparse.end(), byId);
}

int FLX_IdTable::idAt(const GU_Detail& detail, uint32_t slot) const {
    return *detail.points().bySlot(slot)->castAttribData<int>(myOffset);
}

uint32_t FLX_IdTable::slotOf(int id) const {
    if (myIsDense) return id >= 0 && size_t(id) < myDense.size() ? myDense[size_t(id)] : NONE;
    const auto at = std::lower_bound(mySparse.begin(), mySparse.end(), Entry{id, 0}, byId);
    return at != mySparse.end() && at->first == id ? at->second : NONE;
}
