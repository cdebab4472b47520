#pragma once

#include "host/geo/GU_Float4.h"
#include "host/ut/UT_BoundingBox.h"
#include "host/ut/UT_Vector3.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

/// A line as the boxes of a GU_Bvh see it, in units in which the largest component of its direction is 1.
///
/// Slabs are widened by a few units in the last place of the coordinates involved, which covers the rounding here and
/// in exact-sign tests of what the boxes hold: no box is missed whose content is hit (compare Ize, "Robust BVH Ray
/// Traversal", 2013).
struct GU_BvhLine {
    /// `dir` has components of at most 1. The range may be infinite.
    GU_BvhLine(const UT_Vector3& org, const UT_Vector3D& dir, float low, float high, const UT_BoundingBox& scene);

    float low, high;  ///< range still of interest; a visitor may shrink it
    float reach = 0;  ///< boxes that lie wholly within |distance| < reach are of no interest (furthest hits)
    float lowOrg[3];  ///< what to take from a box's near sides ...
    float highOrg[3]; ///< ... and from its far sides
    float inverse[3]; ///< 1 / direction
    bool parallel[3]; ///< the line never crosses this pair of sides
    bool backward[3];
};

/// Boxes in a tree with four children per node, built by binned surface areas (Wald, "On fast Construction of SAH-based
/// Bounding Volume Hierarchies", 2007) and collapsed from two children to four. Its leaves hold up to four items.
class GU_Bvh {
public:
    static constexpr uint32_t NO_ITEM = 0xffffffffu;

    /// Items are the indices of the boxes, all of which must be valid and finite.
    void build(const std::vector<UT_BoundingBox>& boxes);

    size_t leafCount() const { return myOrder.size() / 4; }
    /// The four items of a leaf, unused places NO_ITEM.
    const uint32_t* leafItems(size_t leaf) const { return &myOrder[leaf * 4]; }

    /// Calls visit(leaf number, line) for every leaf that the line may meet, roughly front to back.
    template <bool Furthest, class Visit> void along(GU_BvhLine& line, Visit&& visit) const;
    /// Calls visit(leaf number) -> float for leaves that may hold something nearer to p than the square root of
    /// `distance2`, which visit's result replaces, roughly from near to far.
    template <class Visit> void around(const UT_Vector3& p, float distance2, Visit&& visit) const;

private:
    struct alignas(16) Node {
        float low[3][4], high[3][4];
        int32_t child[4]; ///< node, or ~leaf; EMPTY
    };
    struct Binary; ///< the tree while it has two children per node
    static constexpr int32_t EMPTY = 0x7fffffff;
    static constexpr int STACK = 256; ///< enough for the depth that the builder allows
    struct Entry {
        int32_t node;
        float key;
    };
    /// Makes a node, or a leaf, of the binary node; returns its number as `child` holds it.
    int32_t collapse(const Binary& tree, int32_t node);
    int32_t makeLeaf(const Binary& tree, int32_t node);
    template <bool Furthest> static int crossed(const Node& node, const GU_BvhLine& line, float (&keys)[4]);
    static int near(const Node& node, const UT_Vector3& p, float distance2, float (&keys)[4]);
    /// Pushes the inner nodes of `mask`, smallest key on top, and returns the mask of the leaves.
    static int push(const Node& node, int mask, const float (&keys)[4], Entry* stack, int& top);

    std::vector<Node> myNodes;
    std::vector<uint32_t> myOrder;
    int32_t myRoot = EMPTY;
};

template <bool Furthest> int GU_Bvh::crossed(const Node& node, const GU_BvhLine& line, float (&keys)[4]) {
    GU_Float4 t0 = GU_Float4::splat(line.low), t1 = GU_Float4::splat(line.high);
    int mask = 15;
    for (int k = 0; k < 3; ++k) {
        const GU_Float4 low = GU_Float4::load(node.low[k]) - GU_Float4::splat(line.lowOrg[k]);
        const GU_Float4 high = GU_Float4::load(node.high[k]) - GU_Float4::splat(line.highOrg[k]);
        const GU_Float4 inverse = GU_Float4::splat(line.inverse[k]);
        if (line.parallel[k]) {
            const GU_Float4 zero = GU_Float4::splat(0);
            mask &= lessEqual(low, zero) & lessEqual(zero, high);
        } else if (line.backward[k]) {
            t0 = max(high * inverse, t0), t1 = min(low * inverse, t1);
        } else {
            t0 = max(low * inverse, t0), t1 = min(high * inverse, t1);
        }
    }
    mask &= lessEqual(t0, t1);
    if constexpr (Furthest) mask &= ~less(max(GU_Float4::splat(0) - t0, t1), GU_Float4::splat(line.reach));
    // The side of the origin that is nearer decides the order, so that ranges around it shrink fast.
    const GU_Float4 key = max(max(t0, GU_Float4::splat(0) - t1), GU_Float4::splat(0));
    (Furthest ? GU_Float4::splat(0) - max(GU_Float4::splat(0) - t0, t1) : key).store(keys);
    return mask;
}

inline int GU_Bvh::near(const Node& node, const UT_Vector3& p, float distance2, float (&keys)[4]) {
    GU_Float4 sum = GU_Float4::splat(0);
    for (int k = 0; k < 3; ++k) {
        const GU_Float4 at = GU_Float4::splat(p[k]);
        const GU_Float4 out =
            max(max(GU_Float4::load(node.low[k]) - at, at - GU_Float4::load(node.high[k])), GU_Float4::splat(0));
        sum = sum + out * out;
    }
    sum = sum * GU_Float4::splat(1 - 4e-7f); // rounding never makes a box look further than its content
    sum.store(keys);
    return lessEqual(sum, GU_Float4::splat(distance2));
}

inline int GU_Bvh::push(const Node& node, int mask, const float (&keys)[4], Entry* stack, int& top) {
    int leaves = 0;
    const int base = top;
    for (int i = 0; i < 4; ++i) {
        if (!(mask >> i & 1) || node.child[i] == EMPTY) continue;
        if (node.child[i] < 0) {
            leaves |= 1 << i;
            continue;
        }
        int at = top++;
        for (; at > base && stack[at - 1].key < keys[i]; --at) stack[at] = stack[at - 1];
        stack[at] = {node.child[i], keys[i]};
    }
    return leaves;
}

template <bool Furthest, class Visit> void GU_Bvh::along(GU_BvhLine& line, Visit&& visit) const {
    Entry stack[STACK];
    int top = 0;
    if (myRoot == EMPTY) return;
    if (myRoot < 0) return visit(static_cast<uint32_t>(~myRoot));
    stack[top++] = {myRoot, Furthest ? -std::numeric_limits<float>::infinity() : 0};
    float keys[4];
    while (top) {
        const Entry entry = stack[--top];
        if (Furthest ? -entry.key < line.reach : entry.key > std::max(-line.low, line.high)) continue;
        const Node& node = myNodes[static_cast<size_t>(entry.node)];
        const int leaves = push(node, crossed<Furthest>(node, line, keys), keys, stack, top);
        for (int i = 0; leaves >> i; ++i)
            if (leaves >> i & 1) visit(static_cast<uint32_t>(~node.child[i]));
    }
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
    float keys[4];
    while (top) {
        const Entry entry = stack[--top];
        if (entry.key > distance2) continue;
        const Node& node = myNodes[static_cast<size_t>(entry.node)];
        const int leaves = push(node, near(node, p, distance2, keys), keys, stack, top);
        for (int i = 0; leaves >> i; ++i)
            if (leaves >> i & 1 && keys[i] <= distance2) distance2 = visit(static_cast<uint32_t>(~node.child[i]));
    }
}
