#pragma once

#include <cstddef>
#include <vector>

class FLX_Node;
class GEO_Detail;
class GEO_PrimParticle;

/// One particle primitive of a list; owner is null in an operator's own list, the claiming operator in the context's.
struct FLX_ParticleNode {
    GEO_PrimParticle* prim = nullptr;
    FLX_Node* owner = nullptr;
};

/// The particle primitives an operator hands on. Iterates in the reverse order of additions; two entries denote the
/// same primitive when their primitive numbers are equal, so a list survives a copy of the detail. A copy shares
/// nothing.
class FLX_ParticleList {
public:
    FLX_ParticleList() = default;
    FLX_ParticleList(const FLX_ParticleList& src)
        : myEntries(src.myEntries) {}
    FLX_ParticleList& operator=(const FLX_ParticleList& src);
    virtual ~FLX_ParticleList() = default;

    /// Puts an entry at the front and the cursor on it; null (and nothing done) for a null primitive. Duplicates are
    /// not checked. The result is valid until the next change of the list.
    virtual FLX_ParticleNode* add(GEO_PrimParticle* prim, FLX_Node* owner);
    int isEmpty() const { return myEntries.empty(); }
    int entries() const { return int(myEntries.size()); }
    void clear();

    /// One iteration at a time per list; `add` moves the cursor.
    GEO_PrimParticle* iterateInit();
    GEO_PrimParticle* iterateNext();
    /// Entry i in iteration order: for loops that may nest.
    const FLX_ParticleNode& entry(int i) const { return myEntries[myEntries.size() - 1 - size_t(i)]; }

    FLX_ParticleNode* find(const GEO_PrimParticle* prim);
    const FLX_ParticleNode* find(const GEO_PrimParticle* prim) const {
        return const_cast<FLX_ParticleList*>(this)->find(prim);
    }
    /// Adds the entries of `other` whose primitive numbers are new here, in its order.
    void merge(const FLX_ParticleList* other);
    /// Adds, for each entry of src in order, the primitive of the same number in `detail`, where there is one.
    void copyNewGdp(const FLX_ParticleList& src, const GEO_Detail* detail);

private:
    std::vector<FLX_ParticleNode> myEntries; // oldest first
    size_t myCursor = 0;                     // entries from the front, 0 = the newest
};
