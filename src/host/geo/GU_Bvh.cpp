#include "host/geo/GU_Bvh.h"

#include <cmath>
#include <numeric>

namespace {

constexpr int BINS = 16;
constexpr uint32_t LEAF = 4;
constexpr int DEEPEST_SEARCH = 40; ///< from here on halves are split off, which bounds the depth
constexpr double NO_CROSSING = 0x1p-60;

double halfArea(const UT_BoundingBox& box) {
    if (!box.isValid()) return 0;
    const double x = double(box.xmax()) - box.xmin(), y = double(box.ymax()) - box.ymin(),
                 z = double(box.zmax()) - box.zmin();
    return x * y + y * z + z * x;
}

float clampToFloat(double x) {
    constexpr double most = std::numeric_limits<float>::max();
    return static_cast<float>(x < -most ? -most : x > most ? most : x);
}

struct Split {
    int axis = -1;
    int bin = 0; ///< the last one of the left side
    double low = 0, scale = 0;

    int binOf(const UT_Vector3& center) const {
        return std::min(BINS - 1, static_cast<int>((double(center[axis]) - low) * scale));
    }
};

} // namespace

GU_BvhLine::GU_BvhLine(const UT_Vector3& from, const UT_Vector3D& dir, float rangeLow, float rangeHigh,
                       const UT_BoundingBox& scene)
    : low(rangeLow)
    , high(rangeHigh) {
    float most = 0;
    for (int k = 0; k < 3; ++k)
        most = std::max({most, std::fabs(from[k]), std::fabs(scene.vmin()[k]), std::fabs(scene.vmax()[k])});
    const float pad = most * 0x1p-22f;
    for (int k = 0; k < 3; ++k) {
        org[0][k] = clampToFloat(double(from[k]) + pad);
        org[1][k] = clampToFloat(double(from[k]) - pad);
        parallel[k] = std::fabs(dir[k]) < NO_CROSSING;
        inverse[k] = parallel[k] ? 0 : static_cast<float>(1 / dir[k]);
        nearSide[k] = dir[k] < 0;
        anyParallel |= parallel[k];
    }
}

struct GU_Bvh::Binary {
    struct Node {
        UT_BoundingBox box;
        uint32_t first, count;
        int32_t left; ///< the right child follows it; -1 in a leaf
    };
    const std::vector<UT_BoundingBox>& boxes;
    std::vector<UT_Vector3> centers;
    std::vector<uint32_t> order;
    std::vector<Node> nodes;

    explicit Binary(const std::vector<UT_BoundingBox>& items)
        : boxes(items)
        , order(items.size()) {
        centers.reserve(items.size());
        for (const UT_BoundingBox& box : items) centers.push_back(box.center());
        std::iota(order.begin(), order.end(), 0u);
        nodes.reserve(items.size());
        nodes.emplace_back();
        split(0, 0, static_cast<uint32_t>(items.size()), 0);
    }

    void split(size_t node, uint32_t first, uint32_t count, int depth);
    Split cheapest(uint32_t first, uint32_t count, const UT_BoundingBox& centerBox) const;
    void tryAxis(uint32_t first, uint32_t count, Split trial, Split& best, double& bestCost) const;
    uint32_t divide(uint32_t first, uint32_t count, int depth, const UT_BoundingBox& centerBox);
};

void GU_Bvh::Binary::tryAxis(uint32_t first, uint32_t count, Split trial, Split& best, double& bestCost) const {
    UT_BoundingBox bins[BINS], grown;
    uint32_t counts[BINS] = {}, sum = 0;
    for (uint32_t i = first; i < first + count; ++i) {
        const int b = trial.binOf(centers[order[i]]);
        bins[b].enlargeBounds(boxes[order[i]]);
        ++counts[b];
    }
    double right[BINS]; // cost of bins b ... BINS - 1
    for (int b = BINS - 1; b > 0; --b) {
        grown.enlargeBounds(bins[b]);
        sum += counts[b];
        right[b] = halfArea(grown) * sum;
    }
    grown.initBounds();
    sum = 0;
    for (int b = 0; b < BINS - 1; ++b) {
        grown.enlargeBounds(bins[b]);
        sum += counts[b];
        const double cost = halfArea(grown) * sum + right[b + 1];
        if (sum == 0 || sum == count || !(cost < bestCost)) continue;
        bestCost = cost;
        best = trial;
        best.bin = b;
    }
}

Split GU_Bvh::Binary::cheapest(uint32_t first, uint32_t count, const UT_BoundingBox& centerBox) const {
    Split best;
    double bestCost = std::numeric_limits<double>::infinity();
    for (int axis = 0; axis < 3; ++axis) {
        Split trial;
        trial.axis = axis;
        trial.low = centerBox.vmin()[axis];
        const double extent = double(centerBox.vmax()[axis]) - trial.low;
        if (!(extent > 0)) continue;
        trial.scale = BINS / extent;
        if (std::isfinite(trial.scale)) tryAxis(first, count, trial, best, bestCost);
    }
    return best;
}

// Reorders the items and returns where the right side begins.
uint32_t GU_Bvh::Binary::divide(uint32_t first, uint32_t count, int depth, const UT_BoundingBox& centerBox) {
    const Split best = depth < DEEPEST_SEARCH ? cheapest(first, count, centerBox) : Split();
    if (best.axis < 0) return first + count / 2;
    const auto begin = order.begin() + first;
    const auto mid =
        std::partition(begin, begin + count, [&](uint32_t i) { return best.binOf(centers[i]) <= best.bin; });
    return first + static_cast<uint32_t>(mid - begin);
}

void GU_Bvh::Binary::split(size_t node, uint32_t first, uint32_t count, int depth) {
    UT_BoundingBox box, centerBox;
    for (uint32_t i = first; i < first + count; ++i) {
        box.enlargeBounds(boxes[order[i]]);
        centerBox.enlargeBounds(centers[order[i]]);
    }
    nodes[node] = {box, first, count, -1};
    if (count <= LEAF) return;
    const uint32_t mid = divide(first, count, depth, centerBox);
    const size_t left = nodes.size();
    nodes[node].left = static_cast<int32_t>(left);
    nodes.resize(left + 2);
    split(left, first, mid - first, depth + 1);
    split(left + 1, mid, first + count - mid, depth + 1);
}

void GU_Bvh::build(const std::vector<UT_BoundingBox>& boxes) {
    myNodes.clear();
    myOrder.clear();
    myRoot = EMPTY;
    if (boxes.empty()) return;
    const Binary tree(boxes);
    myOrder.reserve(boxes.size() * 2);
    myRoot = collapse(tree, 0);
}

int32_t GU_Bvh::makeLeaf(const Binary& tree, int32_t node) {
    const Binary::Node& n = tree.nodes[static_cast<size_t>(node)];
    const auto leaf = static_cast<int32_t>(leafCount());
    for (uint32_t i = 0; i < LEAF; ++i) myOrder.push_back(i < n.count ? tree.order[n.first + i] : NO_ITEM);
    return ~leaf;
}

int32_t GU_Bvh::collapse(const Binary& tree, int32_t node) {
    const auto at = [&](int32_t i) -> const Binary::Node& { return tree.nodes[static_cast<size_t>(i)]; };
    if (at(node).left < 0) return makeLeaf(tree, node);
    int32_t children[4] = {at(node).left, at(node).left + 1};
    int count = 2;
    while (count < 4) { // open the largest child that can be opened
        int pick = -1;
        for (int i = 0; i < count; ++i)
            if (at(children[i]).left >= 0 &&
                (pick < 0 || halfArea(at(children[i]).box) > halfArea(at(children[pick]).box)))
                pick = i;
        if (pick < 0) break;
        const int32_t left = at(children[pick]).left;
        children[pick] = left;
        children[count++] = left + 1;
    }
    const size_t me = myNodes.size();
    myNodes.emplace_back();
    for (int i = 0; i < 4; ++i) {
        const float most = std::numeric_limits<float>::max();
        for (int k = 0; k < 3; ++k) {
            myNodes[me].sides[0][k][i] = i < count ? at(children[i]).box.vmin()[k] : most;
            myNodes[me].sides[1][k][i] = i < count ? at(children[i]).box.vmax()[k] : -most;
        }
        const int32_t child = i < count ? collapse(tree, children[i]) : 0;
        myNodes[me].child[i] = child;
    }
    return static_cast<int32_t>(me);
}
