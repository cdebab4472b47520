#pragma once

#include "host/geo/GU_Float4.h"
#include "host/ut/UT_BoundingBox.h"
#include "host/ut/UT_LargeAllocator.h"
#include "host/ut/UT_Prefetch.h"
#include "host/ut/UT_Vector3.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

/// A line as the boxes of a GU_Bvh see it, in units in which the largest component of its direction is 1.
///
/// Slabs are widened by a few units in the last place of the coordinates involved, which covers the rounding here and
/// in exact-sign tests of what the boxes hold: no box is missed whose content is hit (compare Ize, "Robust BVH Ray
/// Traversal", 2013).
struct GU_BvhLine {
    GU_BvhLine() = default;
    /// `dir` has components of at most 1. The range may be infinite.
    GU_BvhLine(const UT_Vector3& from, const UT_Vector3D& dir, float low, float high, const UT_BoundingBox& scene);

    float low, high;  ///< range still of interest; a visitor may shrink it
    float reach = 0;  ///< boxes that lie wholly within |distance| < reach are of no interest (furthest hits)
    float org[2][3];  ///< what to take from a box's low and high sides
    float inverse[3]; ///< 1 / direction
    int nearSide[3];  ///< 1 where the line meets the high side first
    bool parallel[3]; ///< the line never crosses this pair of sides
    bool anyParallel = false;
};

/// Boxes in a tree with eight children per node, built by binned surface areas (Wald, "On fast Construction of
/// SAH-based Bounding Volume Hierarchies", 2007) and collapsed from two children to eight. Its leaves hold up to four
/// items.
class GU_Bvh {
public:
    static constexpr uint32_t NO_ITEM = 0xffffffffu;
    static constexpr size_t MOST_WALKS = 32; ///< side by side

    /// Items are the indices of the boxes, all of which must be valid and finite.
    void build(const std::vector<UT_BoundingBox>& boxes);
    /// The same tree over the same items in other places. A tree whose expected cost grew too much that way is built
    /// anew; the leaves are others then. Returns whether the tree stayed.
    bool refit(const std::vector<UT_BoundingBox>& boxes);
    /// The same by the boxes of the leaves. False when the tree's expected cost grew too much: build it anew.
    bool refitLeaves(const std::vector<UT_BoundingBox>& leafBoxes);

    size_t leafCount() const { return myOrder.size() / 4; }
    /// The four items of a leaf, unused places NO_ITEM.
    const uint32_t* leafItems(size_t leaf) const { return &myOrder[leaf * 4]; }

    /// Calls visit(leaf number) for every leaf that the line may meet, roughly front to back. visit may shrink the
    /// range. A visitor with a member ahead(leaf number) is told beforehand which leaves come next.
    template <bool Furthest, class Visit> void along(GU_BvhLine& line, Visit&& visit) const;
    /// One of several lines that go through the tree side by side.
    class Walk;
    /// The same for several lines at once: calls visit(walk number, leaf number). They take turns, a node each, so that
    /// the nodes and leaves of one come from memory while others are looked at. `visit` has a member ahead(leaf
    /// number).
    template <class Visit> void alongEach(std::span<Walk> walks, Visit&& visit) const;
    /// Calls visit(leaf number) -> float for leaves that may hold something nearer to p than the square root of
    /// `distance2`, which visit's result replaces, roughly from near to far.
    template <class Visit> void around(const UT_Vector3& p, float distance2, Visit&& visit) const;

private:
    static constexpr int WIDTH = 8; ///< children of a node, looked at by fours
    struct alignas(64) Node {
        float sides[2][3][WIDTH]; ///< low and high by axis and child; low above high where there is no child
        int32_t child[WIDTH];     ///< node, or ~leaf
        int32_t leaves;           ///< bits of the children that are leaves
    };
    struct Binary; ///< the tree while it has two children per node
    static constexpr int32_t EMPTY = 0x7fffffff;
    static constexpr int STACK = 512; ///< enough for the depth that the builder allows
    struct Entry {
        int32_t node;
        float key;
    };
    /// Makes a node, or a leaf, of the binary node; returns its number as `child` holds it.
    int32_t collapse(const Binary& tree, int32_t node);
    int32_t makeLeaf(const Binary& tree, int32_t node);
    UT_BoundingBox boxOf(int32_t child, const std::vector<UT_BoundingBox>& leafBoxes) const;
    void setChild(Node& node, int i, const UT_BoundingBox& box);
    /// What a random ray is expected to visit, next to the surface of the root.
    double cost() const;
    /// What of a line stays the same on its way, spread over four lanes.
    struct Slabs {
        GU_Float4 front[3], back[3], inverse[3];
        explicit Slabs(const GU_BvhLine& line) {
            for (int k = 0; k < 3; ++k) {
                front[k] = GU_Float4::splat(line.org[line.nearSide[k]][k]);
                back[k] = GU_Float4::splat(line.org[1 - line.nearSide[k]][k]);
                inverse[k] = GU_Float4::splat(line.inverse[k]);
            }
        }
    };
    /// Which leaves of a node the line may meet, as bits. `next` becomes the inner node to go on with, EMPTY when the
    /// line meets none; other inner nodes go onto the stack.
    template <bool Furthest>
    int descend(const Node& node, const GU_BvhLine& line, const Slabs& slabs, Entry* stack, int& top,
                int32_t& next) const;
    /// The next node of the stack that may still matter, or EMPTY.
    template <bool Furthest> static int32_t pop(const GU_BvhLine& line, const Entry* stack, int& top);
    /// The number of the first leaf of `mask`.
    static uint32_t leafOf(const Node& node, int mask) {
        return static_cast<uint32_t>(~node.child[std::countr_zero(static_cast<unsigned>(mask))]);
    }
    /// Looks at one more node; false when there is none left.
    template <class Visit> bool takeTurn(Walk& walk, uint32_t number, Visit&& visit) const;
    template <bool Furthest>
    static int crossed(const Node& node, int first, const GU_BvhLine& line, const Slabs& slabs, GU_Float4& keys);
    static int near(const Node& node, int first, const UT_Vector3& p, float distance2, float* keys);
    /// Pushes the inner nodes of `mask`, smallest key on top.
    static void push(const Node& node, int mask, const float* keys, Entry* stack, int& top);

    std::vector<Node, UT_LargeAllocator<Node>> myNodes;
    std::vector<uint32_t> myOrder;
    int32_t myRoot = EMPTY;
    double myBuiltCost = 0;
};

template <bool Furthest>
inline int GU_Bvh::crossed(const Node& node, int first, const GU_BvhLine& line, const Slabs& slabs, GU_Float4& keys) {
    const GU_Float4 zero = GU_Float4::splat(0);
    GU_Float4 t0 = GU_Float4::splat(line.low), t1 = GU_Float4::splat(line.high);
    int mask = 15;
    for (int k = 0; k < 3; ++k) {
        const int side = line.nearSide[k];
        const GU_Float4 front = GU_Float4::load(node.sides[side][k] + first) - slabs.front[k];
        const GU_Float4 back = GU_Float4::load(node.sides[1 - side][k] + first) - slabs.back[k];
        if (line.anyParallel && line.parallel[k]) {
            mask &= lessEqual(front, zero) & lessEqual(zero, back);
            continue;
        }
        t0 = max(front * slabs.inverse[k], t0);
        t1 = min(back * slabs.inverse[k], t1);
    }
    mask &= lessEqual(t0, t1);
    if constexpr (Furthest) {
        const GU_Float4 most = max(zero - t0, t1);
        mask &= ~less(most, GU_Float4::splat(line.reach));
        keys = zero - most;
    } else { // how near to the origin, on either side, the box comes
        keys = max(max(t0, zero - t1), zero);
    }
    return mask;
}

inline int GU_Bvh::near(const Node& node, int first, const UT_Vector3& p, float distance2, float* keys) {
    GU_Float4 sum = GU_Float4::splat(0);
    for (int k = 0; k < 3; ++k) {
        const GU_Float4 at = GU_Float4::splat(p[k]);
        const GU_Float4 out =
            max(max(GU_Float4::load(node.sides[0][k] + first) - at, at - GU_Float4::load(node.sides[1][k] + first)),
                GU_Float4::splat(0));
        sum = sum + out * out;
    }
    sum = sum * GU_Float4::splat(1 - 4e-7f); // rounding never makes a box look further than its content
    sum.store(keys);
    return lessEqual(sum, GU_Float4::splat(distance2));
}

inline void GU_Bvh::push(const Node& node, int mask, const float* keys, Entry* stack, int& top) {
    const int base = top;
    for (; mask; mask &= mask - 1) {
        const int i = std::countr_zero(static_cast<unsigned>(mask));
        int at = top++;
        for (; at > base && stack[at - 1].key < keys[i]; --at) stack[at] = stack[at - 1];
        stack[at] = {node.child[i], keys[i]};
    }
}

template <bool Furthest>
inline int GU_Bvh::descend(const Node& node, const GU_BvhLine& line, const Slabs& slabs, Entry* stack, int& top,
                           int32_t& next) const {
    GU_Float4 distances[2];
    const int mask = crossed<Furthest>(node, 0, line, slabs, distances[0]) |
                     crossed<Furthest>(node, 4, line, slabs, distances[1]) << 4;
    const int inner = mask & ~node.leaves;
    next = EMPTY;
    if (inner && !(inner & (inner - 1))) { // the usual case of short stretches: straight down
        next = node.child[std::countr_zero(static_cast<unsigned>(inner))];
    } else if (inner) {
        float keys[WIDTH];
        distances[0].store(keys);
        distances[1].store(keys + 4);
        push(node, inner, keys, stack, top);
        next = stack[--top].node;
    }
    if (next != EMPTY) UTprefetch(myNodes[static_cast<size_t>(next)]);
    return mask & node.leaves;
}

template <bool Furthest> inline int32_t GU_Bvh::pop(const GU_BvhLine& line, const Entry* stack, int& top) {
    while (top) {
        const Entry entry = stack[--top];
        if (Furthest ? -entry.key >= line.reach : entry.key <= std::max(-line.low, line.high)) return entry.node;
    }
    return EMPTY;
}

template <bool Furthest, class Visit> void GU_Bvh::along(GU_BvhLine& line, Visit&& visit) const {
    Entry stack[STACK];
    int top = 0;
    if (myRoot == EMPTY) return;
    if (myRoot < 0) return visit(static_cast<uint32_t>(~myRoot));
    const Slabs slabs(line);
    for (int32_t next = myRoot; next != EMPTY;) {
        const Node& node = myNodes[static_cast<size_t>(next)];
        int leaves = descend<Furthest>(node, line, slabs, stack, top, next);
        if constexpr (requires { visit.ahead(0u); }) {
            for (int m = leaves; m; m &= m - 1) visit.ahead(leafOf(node, m));
        }
        for (; leaves; leaves &= leaves - 1) visit(leafOf(node, leaves));
        if (next == EMPTY) next = pop<Furthest>(line, stack, top);
    }
}

class GU_Bvh::Walk {
public:
    /// The line stays where it is; visitors may shrink its range.
    explicit Walk(GU_BvhLine& line)
        : myLine(&line)
        , mySlabs(line) {}

private:
    friend class GU_Bvh;
    GU_BvhLine* myLine;
    Slabs mySlabs;
    int32_t myNext = EMPTY; ///< node that has been asked for
    int myTop = 0;
    int myLeafCount = 0;
    uint32_t myLeaves[WIDTH]; ///< that have been asked for
    Entry myStack[STACK + 8]; ///< the stacks of many walks are not to share lines of the cache
};

template <class Visit> void GU_Bvh::alongEach(std::span<Walk> walks, Visit&& visit) const {
    uint32_t walking[MOST_WALKS];
    auto count = static_cast<uint32_t>(myRoot == EMPTY ? 0 : walks.size());
    for (uint32_t i = 0; i < count; ++i) {
        if (myRoot < 0) visit(i, static_cast<uint32_t>(~myRoot));
        walks[i].myNext = myRoot;
        walking[i] = i;
    }
    if (myRoot < 0) return;
    while (count)
        for (uint32_t i = 0; i < count;)
            if (takeTurn(walks[walking[i]], walking[i], visit))
                ++i;
            else
                walking[i] = walking[--count];
}

template <class Visit> bool GU_Bvh::takeTurn(Walk& walk, uint32_t number, Visit&& visit) const {
    for (; walk.myLeafCount; --walk.myLeafCount) visit(number, walk.myLeaves[walk.myLeafCount - 1]);
    if (walk.myNext == EMPTY) walk.myNext = pop<false>(*walk.myLine, walk.myStack, walk.myTop);
    if (walk.myNext == EMPTY) return false;
    const Node& node = myNodes[static_cast<size_t>(walk.myNext)];
    int leaves = descend<false>(node, *walk.myLine, walk.mySlabs, walk.myStack, walk.myTop, walk.myNext);
    for (; leaves; leaves &= leaves - 1) {
        visit.ahead(leafOf(node, leaves));
        walk.myLeaves[walk.myLeafCount++] = leafOf(node, leaves);
    }
    return walk.myNext != EMPTY || walk.myTop || walk.myLeafCount;
}

template <class Visit> void GU_Bvh::around(const UT_Vector3& p, float distance2, Visit&& visit) const {
    Entry stack[STACK];
    int top = 0;
    if (myRoot == EMPTY) return;
    if (myRoot < 0) {
        visit(static_cast<uint32_t>(~myRoot));
        return;
    }
    stack[top++] = {myRoot, 0};
    float keys[WIDTH];
    while (top) {
        const Entry entry = stack[--top];
        if (entry.key > distance2) continue;
        const Node& node = myNodes[static_cast<size_t>(entry.node)];
        const int mask = near(node, 0, p, distance2, keys) | near(node, 4, p, distance2, keys + 4) << 4;
        const int leaves = mask & node.leaves;
        push(node, mask & ~node.leaves, keys, stack, top);
        for (int i = 0; leaves >> i; ++i)
            if (leaves >> i & 1 && keys[i] <= distance2) distance2 = visit(static_cast<uint32_t>(~node.child[i]));
    }
}
