#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "core/FLX_WriteProgram.h"
#include "host/geo/GEO_Point.h"

/// Up to SIZE particles in a row: of one primitive, or of a source group in point order.
struct FLX_Chunk {
    static constexpr size_t SIZE = 256;

    GEO_PointAccess access;
    const uint32_t* slots;
    size_t count;
    size_t following;    ///< slots that may be read behind the last one, to fetch what comes next
    int iteration;       ///< how many particles the operator has met before the first one
    bool inARow = false; ///< the records lie one behind the other
    bool isNear = false; ///< the records have just been read

    GEO_Point* point(size_t k) const { return access(slots[k]); }

    /// The first n particles, and those from the n-th on.
    FLX_Chunk first(size_t n) const { return {access, slots, n, following + count - n, iteration, inARow, isNear}; }
    FLX_Chunk from(size_t n) const {
        return {access, slots + n, count - n, following, iteration + int(n), inARow, isNear};
    }

    /// Finds out whether the records lie in a row, as they do where nothing has died.
    void lookForRow();

    /// Calls work(k, point) for every particle in order, fetching records ahead.
    template <class Work> void forEach(const Work& work) const {
        constexpr size_t AHEAD = 24;
        const size_t n = count, readable = count + following;
        const uint32_t* const at = slots;
        const GEO_PointAccess records = access;
        const Work local(work); // NOLINT(performance-unnecessary-copy-initialization): stays in registers over writes
        if (inARow && n) {
            char* record = reinterpret_cast<char*>(records(at[0]));
            for (size_t k = 0; k < n; ++k, record += records.stride()) local(k, reinterpret_cast<GEO_Point*>(record));
            return;
        }
        for (size_t k = 0; k < n; ++k) {
            // Records in a row the processor fetches by itself.
            if (k + AHEAD < readable && at[k + AHEAD] != at[k] + AHEAD) __builtin_prefetch(records(at[k + AHEAD]), 1);
            local(k, records(at[k]));
        }
    }
};

/// The loop of an operator over its particles, in pieces: made once per cook with every value it uses, then run chunk
/// by chunk in the operator's order of particles.
class FLX_Pass {
public:
    virtual ~FLX_Pass();
    FLX_Pass(const FLX_Pass&) = delete;
    FLX_Pass& operator=(const FLX_Pass&) = delete;

    virtual void run(const FLX_Chunk& chunk) = 0;

    /// It holds all it uses and evaluates nothing that can fail or that another particle's turn can change: with other
    /// operators' passes between its chunks it does the same, as long as no particle is met twice and its operator's
    /// formula keeps to its own particle. False: it is to be run over all particles before anything else happens.
    bool isSelfContained() const { return mySelfContained; }

    /// It uses the number of the particle, in its operator's order or in the detail's: those that are about to be
    /// reaped must have gone before it runs.
    bool countsParticles() const { return myCountsParticles; }

    /// All it does is to put constants into fields, or null.
    virtual const FLX_Writing* writing() const { return nullptr; }
    /// It neither reads nor writes what these write, nor writes what they read: they may as well come before it.
    virtual bool isApartFrom(const FLX_Writing&) const { return false; }
    /// From now on it does to each particle what it did, and then what `next` does, which need not run any more: a
    /// particle is fetched once for both. False, and nothing has changed, when it cannot. Both work on the same
    /// particles.
    bool takeOver(const FLX_Pass& next) {
        return myMayBeFollowed && next.writing() && myFollowing.append(*next.writing());
    }

    /// Runs over `n` particles in chunks, the first being the operator's particle number `iteration`.
    void runAll(GEO_PointAccess access, const uint32_t* slots, size_t n, int iteration);

protected:
    FLX_Pass() = default;
    /// It does nothing but what follows it.
    explicit FLX_Pass(FLX_Writing writing)
        : myMayBeFollowed(true)
        , myFollowing(std::move(writing)) {}
    void setSelfContained(bool on) { mySelfContained = on; }
    void setCountsParticles(bool on) { myCountsParticles = on; }
    /// Every loop of the pass ends with a call of `follower` for each particle, also for those that it leaves out.
    void setMayBeFollowed(bool on) { myMayBeFollowed = on; }
    FLX_Follower follower() { return {myFollowing, program().runner()}; }
    /// Calls loop(follower) with one that is made for what follows.
    template <class Loop> void withFollower(const Loop& loop) {
        program().withRunner([&](const auto& runner) { loop(FLX_FollowerOf(myFollowing, runner)); });
    }
    const FLX_Writing& following() const { return myFollowing; }
    /// What follows, in a loop of its own.
    void runFollowing(const FLX_Chunk& chunk) {
        if (!myFollowing.empty()) chunk.forEach([follow = follower()](size_t, GEO_Point* p) { follow(p); });
    }

private:
    const FLX_WriteProgram& program() {
        if (!myProgram) myProgram.emplace(myFollowing);
        return *myProgram;
    }

    bool mySelfContained = true;
    bool myCountsParticles = false;
    bool myMayBeFollowed = false;
    FLX_Writing myFollowing;
    std::optional<FLX_WriteProgram> myProgram; ///< from the first loop on, when all that follows is known
};
