#include "host/geo/GU_Bvh.h"

#include <cmath>

namespace {

constexpr int BINS = 16;
constexpr uint32_t LEAF = 4;
constexpr int DEEPEST_SEARCH = 40; ///< from here on halves are split off, which bounds the depth
constexpr double NO_CROSSING = 0x1p-60;

float clampToFloat(double x) {
    constexpr double most = std::numeric_limits<float>::max();
    return static_cast<float>(x < -most ? -most : x > most ? most : x);
}

/// A box as the builder holds it; the fourth places hold an item's number, in bits of normal floats: arithmetic on
/// others would be slow.
struct alignas(16) Bounds {
    static constexpr uint32_t TWO = 0x40000000u, LOW_BITS = 0x3fffffu;
    static constexpr float MOST = std::numeric_limits<float>::max();
    float low[4] = {MOST, MOST, MOST, MOST}, high[4] = {-MOST, -MOST, -MOST, -MOST};

    void enlarge(const Bounds& b) {
        min(GU_Float4::load(low), GU_Float4::load(b.low)).store(low);
        max(GU_Float4::load(high), GU_Float4::load(b.high)).store(high);
    }
    void setItem(uint32_t item) {
        low[3] = std::bit_cast<float>(TWO | (item & LOW_BITS));
        high[3] = std::bit_cast<float>(TWO | item >> 22);
    }
    uint32_t item() const {
        return (std::bit_cast<uint32_t>(low[3]) & LOW_BITS) | (std::bit_cast<uint32_t>(high[3]) & LOW_BITS) << 22;
    }
    GU_Float4 center() const {
        const GU_Float4 half = GU_Float4::splat(0.5f);
        return GU_Float4::load(low) * half + GU_Float4::load(high) * half;
    }
    double halfArea() const {
        if (low[0] > high[0]) return 0;
        const double x = double(high[0]) - low[0], y = double(high[1]) - low[1], z = double(high[2]) - low[2];
        return x * y + y * z + z * x;
    }
};

/// The bins of one set of items along all three axes.
struct Bins {
    int count;
    GU_Float4 low, scale;
    Bounds box[BINS][3];
    uint32_t items[BINS][3] = {};

    Bins(const Bounds& centers, uint32_t itemCount)
        : count(static_cast<int>(std::min<uint32_t>(BINS, 4 + itemCount)))
        , low(GU_Float4::load(centers.low)) {
        alignas(16) float perUnit[4] = {0, 0, 0, 0};
        for (int k = 0; k < 3; ++k) {
            const float extent = centers.high[k] - centers.low[k];
            if (extent > 0) perUnit[k] = static_cast<float>(count) * 0.999999f / extent;
            if (!std::isfinite(perUnit[k])) perUnit[k] = 0;
        }
        scale = GU_Float4::load(perUnit);
    }
    void of(const Bounds& item, int (&bin)[3]) const {
        float at[4];
        const GU_Float4 x = max((item.center() - low) * scale, GU_Float4::splat(0));
        min(x, GU_Float4::splat(static_cast<float>(count - 1))).store(at);
        for (int k = 0; k < 3; ++k) bin[k] = static_cast<int>(at[k]);
    }
    void add(const Bounds& item) {
        int bin[3];
        of(item, bin);
        for (int k = 0; k < 3; ++k) {
            box[bin[k]][k].enlarge(item);
            ++items[bin[k]][k];
        }
    }
};

struct Split {
    int axis = -1;
    int bin = 0; ///< the last one of the left side
    double cost = std::numeric_limits<double>::infinity();

    void tryAxis(const Bins& bins, int k, uint32_t count);
};

void Split::tryAxis(const Bins& bins, int k, uint32_t count) {
    double right[BINS]; // cost of bins b ... count - 1
    Bounds grown;
    uint32_t sum = 0;
    for (int b = bins.count - 1; b > 0; --b) {
        grown.enlarge(bins.box[b][k]);
        sum += bins.items[b][k];
        right[b] = grown.halfArea() * sum;
    }
    grown = Bounds();
    sum = 0;
    for (int b = 0; b < bins.count - 1; ++b) {
        grown.enlarge(bins.box[b][k]);
        sum += bins.items[b][k];
        if (sum == 0 || sum == count) continue;
        const double total = grown.halfArea() * sum + right[b + 1];
        if (!(total < cost)) continue;
        cost = total;
        axis = k;
        bin = b;
    }
}

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
        Bounds box;
        uint32_t first, count;
        int32_t left; ///< the right child follows it; -1 in a leaf
    };
    std::vector<Bounds, UT_LargeAllocator<Bounds>> items;
    std::vector<Node, UT_LargeAllocator<Node>> nodes;

    explicit Binary(const std::vector<UT_BoundingBox>& boxes)
        : items(boxes.size()) {
        for (size_t i = 0; i < boxes.size(); ++i) {
            for (int k = 0; k < 3; ++k) items[i].low[k] = boxes[i].vmin()[k], items[i].high[k] = boxes[i].vmax()[k];
            items[i].setItem(static_cast<uint32_t>(i));
        }
        nodes.reserve(items.size());
        nodes.emplace_back();
        split(0, 0, static_cast<uint32_t>(items.size()), 0);
    }
    uint32_t item(uint32_t place) const { return items[place].item(); }

private:
    void split(size_t node, uint32_t first, uint32_t count, int depth);
    uint32_t divide(uint32_t first, uint32_t count, int depth, const Bounds& centers);
};

// Reorders the items and returns where the right side begins.
uint32_t GU_Bvh::Binary::divide(uint32_t first, uint32_t count, int depth, const Bounds& centers) {
    if (depth >= DEEPEST_SEARCH) return first + count / 2;
    Bins bins(centers, count);
    for (uint32_t i = first; i < first + count; ++i) bins.add(items[i]);
    Split best;
    for (int k = 0; k < 3; ++k) best.tryAxis(bins, k, count);
    if (best.axis < 0) return first + count / 2;
    const auto begin = items.begin() + first;
    const auto mid = std::partition(begin, begin + count, [&](const Bounds& item) {
        int bin[3];
        bins.of(item, bin);
        return bin[best.axis] <= best.bin;
    });
    return first + static_cast<uint32_t>(mid - begin);
}

void GU_Bvh::Binary::split(size_t node, uint32_t first, uint32_t count, int depth) {
    Bounds box, centers;
    for (uint32_t i = first; i < first + count; ++i) {
        box.enlarge(items[i]);
        Bounds middle;
        items[i].center().store(middle.low);
        items[i].center().store(middle.high);
        centers.enlarge(middle);
    }
    nodes[node] = {box, first, count, -1};
    if (count <= LEAF) return;
    const uint32_t mid = divide(first, count, depth, centers);
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
    myBuiltCost = cost();
}

UT_BoundingBox GU_Bvh::boxOf(int32_t child, const std::vector<UT_BoundingBox>& leafBoxes) const {
    if (child < 0) return leafBoxes[static_cast<uint32_t>(~child)];
    UT_BoundingBox box;
    const auto& sides = myNodes[static_cast<size_t>(child)].sides;
    for (int i = 0; i < WIDTH; ++i)
        box.enlargeBounds(UT_BoundingBox({sides[0][0][i], sides[0][1][i], sides[0][2][i]},
                                         {sides[1][0][i], sides[1][1][i], sides[1][2][i]}));
    return box;
}

double GU_Bvh::cost() const {
    double sum = 0, root = 0;
    for (const Node& node : myNodes) {
        for (int i = 0; i < WIDTH; ++i) {
            const double x = double(node.sides[1][0][i]) - node.sides[0][0][i],
                         y = double(node.sides[1][1][i]) - node.sides[0][1][i],
                         z = double(node.sides[1][2][i]) - node.sides[0][2][i];
            if (x >= 0) sum += x * y + y * z + z * x;
        }
        if (&node == &myNodes[0]) root = sum;
    }
    return root > 0 ? sum / root : 0;
}

bool GU_Bvh::refit(const std::vector<UT_BoundingBox>& boxes) {
    std::vector<UT_BoundingBox> leafBoxes(leafCount());
    for (size_t l = 0; l < leafBoxes.size(); ++l)
        for (uint32_t i = 0; i < LEAF && leafItems(l)[i] != NO_ITEM; ++i)
            leafBoxes[l].enlargeBounds(boxes[leafItems(l)[i]]);
    if (refitLeaves(leafBoxes)) return true;
    build(boxes);
    return false;
}

bool GU_Bvh::refitLeaves(const std::vector<UT_BoundingBox>& leafBoxes) {
    for (size_t n = myNodes.size(); n-- > 0;) // children come behind their parents
        for (int i = 0; i < WIDTH; ++i)
            if (myNodes[n].sides[0][0][i] <= myNodes[n].sides[1][0][i])
                setChild(myNodes[n], i, boxOf(myNodes[n].child[i], leafBoxes));
    constexpr double WORSE = 1.5;
    return cost() <= WORSE * myBuiltCost;
}

void GU_Bvh::setChild(Node& node, int i, const UT_BoundingBox& box) {
    for (int k = 0; k < 3; ++k) {
        node.sides[0][k][i] = box.vmin()[k];
        node.sides[1][k][i] = box.vmax()[k];
    }
}

int32_t GU_Bvh::makeLeaf(const Binary& tree, int32_t node) {
    const Binary::Node& n = tree.nodes[static_cast<size_t>(node)];
    const auto leaf = static_cast<int32_t>(leafCount());
    for (uint32_t i = 0; i < LEAF; ++i) myOrder.push_back(i < n.count ? tree.item(n.first + i) : NO_ITEM);
    return ~leaf;
}

int32_t GU_Bvh::collapse(const Binary& tree, int32_t node) {
    const auto at = [&](int32_t i) -> const Binary::Node& { return tree.nodes[static_cast<size_t>(i)]; };
    if (at(node).left < 0) return makeLeaf(tree, node);
    int32_t children[WIDTH] = {at(node).left, at(node).left + 1};
    int count = 2;
    while (count < WIDTH) { // open the largest child that can be opened
        int pick = -1;
        for (int i = 0; i < count; ++i)
            if (at(children[i]).left >= 0 &&
                (pick < 0 || at(children[i]).box.halfArea() > at(children[pick]).box.halfArea()))
                pick = i;
        if (pick < 0) break;
        const int32_t left = at(children[pick]).left;
        children[pick] = left;
        children[count++] = left + 1;
    }
    const size_t me = myNodes.size();
    myNodes.emplace_back().leaves = 0;
    for (int i = 0; i < WIDTH; ++i) {
        const float most = std::numeric_limits<float>::max();
        for (int k = 0; k < 3; ++k) {
            myNodes[me].sides[0][k][i] = i < count ? at(children[i]).box.low[k] : most;
            myNodes[me].sides[1][k][i] = i < count ? at(children[i]).box.high[k] : -most;
        }
        const int32_t child = i < count ? collapse(tree, children[i]) : 0;
        myNodes[me].child[i] = child;
        myNodes[me].leaves |= int(child < 0) << i;
    }
    return static_cast<int32_t>(me);
}
