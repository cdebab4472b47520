#include "core/FLX_PassQueue.h"

#include <algorithm>
#include <array>
#include <bit>

#include "core/FLX_ContextData.h"
#include "core/FLX_LateCounts.h"
#include "core/FLX_Node.h"

void FLX_PassQueue::add(std::unique_ptr<FLX_Pass> pass, FLX_PassDomain domain, bool inOrder) {
    if (inOrder || !joins(*pass, domain)) myPasses.push_back({std::move(pass), std::move(domain), false, inOrder});
}

// Writes go to the first pass that can take them, in front of others to which they mean nothing: best to the time step.
bool FLX_PassQueue::joins(const FLX_Pass& pass, const FLX_PassDomain& domain) {
    const FLX_Writing* writing = pass.writing();
    if (!writing) return false;
    size_t first = myPasses.size();
    const auto mayPass = [&](size_t i) { return i == myPasses.size() || myPasses[i].pass->isApartFrom(*writing); };
    while (first > 0 && !myPasses[first - 1].inOrder && mayPass(first)) --first;
    return std::any_of(myPasses.begin() + ptrdiff_t(first), myPasses.end(),
                       [&](Entry& entry) { return entry.domain.sameParticles(domain) && entry.pass->takeOver(pass); });
}

void FLX_PassQueue::addStep(std::unique_ptr<FLX_StepPass> step, FLX_PassDomain domain) {
    myStep = step.get();
    myPasses.push_back({std::move(step), std::move(domain), true, false});
}

void FLX_PassQueue::clear() {
    myStep = nullptr;
    myPasses.clear();
    myMarked.clear();
}

void FLX_PassQueue::run() {
    walk();
    if (myStep) reap();
    clear();
}

void FLX_PassQueue::reap() {
    GU_Detail& detail = *myContext.peekDetail();
    std::vector<size_t> dropped;
    if (myMarked.empty()) return myStep->reap(myContext, myPasses.front().domain, dropped);
    FLX_LateCounts counts(detail.pointGroups());
    myStep->reap(myContext, myPasses.front().domain, dropped);
    counts.settle(detail.pointGroups(), myPasses.front().domain, dropped);
    for (FLX_Node* node : myMarked) node->completeInfo(counts);
}

void FLX_PassQueue::walk() const {
    if (coversEveryPoint())
        walkRecords();
    else
        walkSequences();
}

// ---- in the order of each primitive's particles

namespace {

/// The slots of a chunk without those of a set. Worked out once for as many passes as want the same.
class Survivors {
public:
    void take(const uint32_t* slots, size_t n, const UT_BitSet& dead) {
        if (slots == myFrom && n == myTaken) return;
        myFrom = slots;
        myTaken = n;
        myCount = 0;
        for (size_t i = 0; i < n; ++i)
            if (slots[i] >= dead.size() || !dead.test(slots[i])) mySlots[myCount++] = slots[i];
    }
    const uint32_t* slots() const { return mySlots.data(); }
    size_t count() const { return myCount; }

private:
    const uint32_t* myFrom = nullptr;
    size_t myTaken = 0;
    std::array<uint32_t, FLX_Chunk::SIZE> mySlots;
    size_t myCount = 0;
};

} // namespace

/// All passes that take a primitive, over its particles in order.
class FLX_PassQueue::SequenceWalk {
public:
    SequenceWalk(const FLX_PassQueue& queue, GEO_PrimParticle& prim)
        : myPrim(prim)
        , myAccess(queue.myContext.peekDetail()->points().access())
        , myStep(queue.myStep) {
        for (const Entry& entry : queue.myPasses)
            if (const FLX_PassRange* range = entry.domain.find(prim); range && range->count) {
                myTurns.push_back({entry.pass.get(), range->count, range->iteration, entry.isStep});
                myEnd = std::max(myEnd, range->count);
            }
    }

    void run() {
        size_t at = 0;
        myPrim.forEachSpan([&](const uint32_t* slots, size_t n) {
            for (size_t first = 0; first < n && at < myEnd; first += FLX_Chunk::SIZE) {
                const size_t count = std::min({FLX_Chunk::SIZE, n - first, myEnd - at});
                runOn({myAccess, slots + first, count, n - first - count, 0}, at);
                at += count;
            }
        });
    }

private:
    struct Turn {
        FLX_Pass* pass;
        size_t end;
        int iteration;
        bool isStep;
    };

    /// The primitive's particles from number `at` on; the last may lie behind the end of some passes.
    void runOn(const FLX_Chunk& chunk, size_t at) {
        bool someGone = false;
        for (const Turn& turn : myTurns) {
            if (turn.end <= at) continue;
            FLX_Chunk part = chunk.first(std::min(chunk.count, turn.end - at));
            part.iteration = turn.iteration + int(at);
            part.isNear = &turn != &myTurns.front();
            if (turn.isStep)
                someGone = runStep(part);
            else
                turn.pass->run(someGone ? withoutGone(part) : part);
        }
    }
    /// Whether some are not to be met by the passes that come.
    bool runStep(const FLX_Chunk& chunk) {
        const size_t before = myStep->reapable().count();
        myStep->run(chunk);
        return myStep->deletesDead() && myStep->reapable().count() != before;
    }
    FLX_Chunk withoutGone(const FLX_Chunk& chunk) {
        mySurvivors.take(chunk.slots, chunk.count, myStep->reapable());
        return {chunk.access, mySurvivors.slots(), mySurvivors.count(), 0, chunk.iteration, false, chunk.isNear};
    }

    GEO_PrimParticle& myPrim;
    GEO_PointAccess myAccess;
    FLX_StepPass* myStep;
    std::vector<Turn> myTurns;
    size_t myEnd = 0;
    Survivors mySurvivors;
};

// The last pass's primitives come first, in its order: what it adds to tables that all particles share comes in the
// order in which it would have come without the others.
void FLX_PassQueue::walkSequences() const {
    UT_BitSet met(myContext.peekDetail()->primitives().entries());
    for (size_t i = myPasses.size(); i-- > 0;)
        for (const FLX_PassRange& range : myPasses[i].domain.ranges())
            if (met.set(size_t(range.prim->getNum()))) SequenceWalk(*this, *range.prim).run();
}

// ---- in the order of memory: the records of a simulation whose particles come and go are read in a row all the same

namespace {

constexpr size_t WORDS = FLX_Chunk::SIZE / 64;
using Mask = std::array<uint64_t, WORDS>;

/// The slots of a mask over 256 slots, written out only when it changes.
class WindowSlots {
public:
    void take(uint32_t first, const Mask& mask) {
        if (first == myFirst && mask == myMask) return;
        myFirst = first;
        myMask = mask;
        myCount = 0;
        for (size_t w = 0; w < WORDS; ++w) append(first + uint32_t(64 * w), mask[w]);
    }
    const uint32_t* slots() const { return mySlots.data(); }
    size_t count() const { return myCount; }
    bool isFull() const { return myCount == FLX_Chunk::SIZE; }

private:
    void append(uint32_t first, uint64_t bits) {
        if (bits == ~uint64_t(0)) {
            uint32_t* const to = mySlots.data() + myCount;
            for (uint32_t i = 0; i < 64; ++i) to[i] = first + i;
            myCount += 64;
            return;
        }
        for (; bits; bits &= bits - 1) mySlots[myCount++] = first + uint32_t(std::countr_zero(bits));
    }

    uint32_t myFirst = ~uint32_t(0);
    Mask myMask{};
    std::array<uint32_t, FLX_Chunk::SIZE> mySlots;
    size_t myCount = 0;
};

void takeAway(Mask& mask, uint32_t first, const UT_BitSet& set) {
    for (size_t w = 0; w < WORDS; ++w) mask[w] &= ~set.word(first / 64 + w);
}

/// Points of the particles of a domain's primitives that lie behind it.
UT_BitSet bornBehind(const FLX_PassDomain& domain, size_t slotEnd) {
    UT_BitSet born;
    for (const FLX_PassRange& range : domain.ranges())
        for (size_t i = range.count; i < range.prim->particleCount(); ++i) {
            if (!born.size()) born.resize(slotEnd);
            born.set(range.prim->particleSlot(i));
        }
    return born;
}

} // namespace

// Every pass takes the same primitives, each point belongs to one particle of these, and no pass asks for an order.
bool FLX_PassQueue::coversEveryPoint() const {
    if (myContext.pointsShared()) return false; // counts prove nothing then
    const FLX_PassDomain& first = myPasses.front().domain;
    for (const Entry& entry : myPasses)
        if (entry.inOrder || !entry.domain.samePrimitives(first)) return false;
    size_t particles = 0;
    for (const FLX_PassRange& range : first.ranges()) particles += range.prim->particleCount();
    return particles == myContext.peekDetail()->points().entries();
}

void FLX_PassQueue::walkRecords() const {
    const GEO_PointList& points = myContext.peekDetail()->points();
    const GEO_PointAccess access = points.access();
    struct Turn {
        FLX_Pass* pass;
        const UT_BitSet* unborn; // null: none
    };
    std::vector<UT_BitSet> sets;
    sets.reserve(myPasses.size());
    std::vector<Turn> turns;
    for (size_t i = 0; i < myPasses.size(); ++i) {
        if (i == 0 || !myPasses[i - 1].domain.sameParticles(myPasses[i].domain))
            sets.push_back(bornBehind(myPasses[i].domain, points.slotEnd()));
        turns.push_back({myPasses[i].pass.get(), sets.back().any() ? &sets.back() : nullptr});
    }
    const UT_BitSet* dead = willReap() ? &myStep->reapable() : nullptr;
    WindowSlots window;
    points.forEachWindow([&](uint32_t first, const uint64_t* live) {
        for (const Turn& turn : turns) {
            Mask mask{live[0], live[1], live[2], live[3]};
            if (turn.unborn) takeAway(mask, first, *turn.unborn);
            if (dead && dead->any()) takeAway(mask, first, *dead);
            window.take(first, mask);
            const bool isNear = &turn != &turns.front();
            turn.pass->run({access, window.slots(), window.count(), 0, 0, window.isFull(), isNear});
        }
    });
}
