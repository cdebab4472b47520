#pragma once

#include "host/geo/GEO_Primitive.h"
#include "host/ut/UT_BitSet.h"
#include "host/ut/UT_SegmentedArray.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <span>

class GEO_PrimParticle;

/// A particle as a link of its primitive's sequence: primitive and place. A place changes when earlier particles are
/// compacted away; false (no particle) past either end.
class GEO_ParticleVertex {
public:
    GEO_ParticleVertex() = default;
    GEO_ParticleVertex(const GEO_PrimParticle* prim, size_t index)
        : myPrim(prim)
        , myIndex(index) {}
    inline explicit operator bool() const;
    inline GEO_Point* getPt() const;
    size_t index() const { return myIndex; }
    GEO_ParticleVertex next() const { return {myPrim, myIndex + 1}; }
    GEO_ParticleVertex prev() const { return {myPrim, myIndex - 1}; } ///< before the first: no particle
    bool operator==(const GEO_ParticleVertex&) const = default;

private:
    const GEO_PrimParticle* myPrim = nullptr;
    size_t myIndex = 0;
};

/// A sequence of particles: an array of point slots in order of birth. Its vertices have no records of their own.
class GEO_PrimParticle final : public GEO_Primitive {
public:
    explicit GEO_PrimParticle(GEO_Detail* detail)
        : GEO_Primitive(detail, GEOPRIMPART) {}

    /// Appends a particle with a new point (position (0, 0, 0, 1), attributes at their defaults).
    GEO_ParticleVertex giveBirth() {
        birthPoint();
        return {this, myParticles.size() - 1};
    }
    /// The same, returning the new point.
    GEO_Point* birthPoint();
    /// Appends n particles with new points, copies of the model, and calls fill(GEO_Point*, size_t i) for each in
    /// order.
    template <class Fill> void birthPoints(const GEO_PointModel& model, size_t n, Fill&& fill);
    /// Appends a particle with a point that exists.
    GEO_ParticleVertex appendParticle(GEO_Point* point);

    /// Marks a particle dead. It stays in the sequence until deleteDead.
    void deadParticle(size_t index);
    void deadParticle(const GEO_ParticleVertex& vertex) { deadParticle(vertex.index()); }
    bool isDead(size_t index) const { return index < myDead.size() && myDead.test(index); }
    /// Removes the marked particles in one stable pass; their points stay until removeUnusedPoints of the detail.
    /// Returns how many went.
    size_t deleteDead();
    /// Removes every particle (points stay likewise).
    void deleteLists();
    /// One stable pass over every particle in order: keep(slot) false drops it. For reaping fused with other work.
    /// keep must not birth or remove particles of this primitive. Marks of deadParticle are forgotten. Returns how
    /// many were dropped; the detail notes their points for removeUnusedPoints.
    template <class Keep> size_t compact(Keep&& keep) {
        return compact(keep, [](uint32_t) {});
    }
    /// The same, calling ahead(slot) 24 particles before keep sees that slot (a place to prefetch).
    template <class Keep, class Ahead> size_t compact(Keep&& keep, Ahead&& ahead);

    /// Whether deadParticle marked any.
    bool anyMarkedDead() const { return myDead.any(); }

    /// Removes the particles whose points are in the set, one stable pass; marks of deadParticle stay on the others.
    size_t dropParticles(const UT_BitSet& pointSlots);

    GEO_ParticleVertex head() const { return {this, 0}; }
    GEO_ParticleVertex tail() const { return {this, myParticles.size() - 1}; }
    size_t particleCount() const { return myParticles.size(); }
    uint32_t particleSlot(size_t index) const { return myParticles[index]; }
    GEO_Point* particle(size_t index) const;
    /// Calls fn(const uint32_t* slots, size_t n) for the runs of contiguous slots in order.
    template <class Fn> void forEachSpan(Fn&& fn) const {
        myParticles.forEachSpan([&](std::span<const uint32_t> part) { fn(part.data(), part.size()); });
    }

    int getVertexCount() const override { return static_cast<int>(myParticles.size()); }
    uint32_t getVertexPointSlot(int i) const override { return myParticles[static_cast<size_t>(i)]; }
    /// u runs along the particles by index, v is ignored.
    bool weights(float u, float v, GEO_Weights& out) const override;
    bool parametric(const UT_Vector3& p, float& u, float& v) const override;
    void reverse() override;

private:
    std::unique_ptr<GEO_Primitive> clone() const override {
        return std::unique_ptr<GEO_Primitive>(new GEO_PrimParticle(*this));
    }
    void adoptVertices(const GEO_Primitive& src, const uint32_t* pointMap) override;
    void releaseRecords() override;
    std::string validate() const override;
    size_t birthSlots(const GEO_PointModel& model, uint32_t* slots, size_t n);
    GEO_PointAccess pointAccess() const;
    void orphan(uint32_t slot);
    void finishCompaction(size_t kept);
    /// The segment from element `first` on; returns the number of its end.
    size_t nextSegment(size_t first, uint32_t*& begin, uint32_t*& end);

    static constexpr size_t SEGMENT = 16384;
    UT_SegmentedArray<uint32_t, SEGMENT> myParticles;
    UT_BitSet myDead; ///< by index; shorter than the sequence when the rest lives
};

inline GEO_ParticleVertex::operator bool() const { return myPrim && myIndex < myPrim->particleCount(); }
inline GEO_Point* GEO_ParticleVertex::getPt() const { return myPrim->particle(myIndex); }

template <class Fill> void GEO_PrimParticle::birthPoints(const GEO_PointModel& model, size_t n, Fill&& fill) {
    uint32_t slots[64];
    for (size_t done = 0; done < n;) {
        const size_t got = birthSlots(model, slots, std::min(n - done, std::size(slots)));
        const GEO_PointAccess access = pointAccess();
        for (size_t i = 0; i < got; ++i) fill(access(slots[i]), done + i);
        done += got;
    }
}

template <class Keep, class Ahead> size_t GEO_PrimParticle::compact(Keep&& keep, Ahead&& ahead) {
    constexpr size_t DISTANCE = 24;
    const size_t n = myParticles.size();
    size_t at = 0, kept = 0;
    for (size_t i = 0; i < n && i < DISTANCE; ++i) ahead(myParticles[i]);
    myParticles.forEachSpan([&](std::span<uint32_t> part) {
        for (size_t i = 0; i < part.size(); ++i, ++at) {
            if (i + DISTANCE < part.size())
                ahead(part[i + DISTANCE]);
            else if (at + DISTANCE < n)
                ahead(myParticles[at + DISTANCE]);
            const uint32_t slot = part[i];
            if (keep(slot)) {
                if (kept != at) myParticles[kept] = slot;
                ++kept;
            } else {
                orphan(slot);
            }
        }
    });
    finishCompaction(kept);
    return n - kept;
}
