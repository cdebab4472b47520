#include <cmath>

#include "host/node/ExampleNodes.h"

namespace {

using Transforms = NodeTest;
using V = std::array<double, 3>;

// Where a point goes, from the definition: scale, turn about x, y, z, move, about the pivot.
V placed(V p, V move, V turn, V size, V pivot) {
    for (size_t i = 0; i < 3; ++i) p[i] = (p[i] - pivot[i]) * size[i];
    const double toRadians = std::acos(-1.0) / 180;
    for (size_t axis = 0; axis < 3; ++axis) {
        const size_t j = (axis + 1) % 3, k = (axis + 2) % 3;
        const double c = std::cos(turn[axis] * toRadians), s = std::sin(turn[axis] * toRadians);
        const double pj = p[j], pk = p[k];
        p[j] = pj * c - pk * s;
        p[k] = pj * s + pk * c;
    }
    for (size_t i = 0; i < 3; ++i) p[i] += pivot[i] + move[i];
    return p;
}

void set(OBJ_Node& object, const char* token, V v) {
    for (int i = 0; i < 3; ++i) object.setFloat(token, i, v[size_t(i)]);
}

void expectPlaces(const UT_DMatrix4& m, V from, V to) {
    const auto p = UT_DMatrix4::Vec(from[0], from[1], from[2]) * m;
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(p[i], to[size_t(i)], 1e-5);
}

TEST_F(Transforms, ParentsCarryTheirFollowers) {
    BoxObject *child = object("geo", "child"), *middle = object("geo", "middle"), *root = object("geo", "root");
    set(*child, "t", {1, 2, 3}), set(*child, "r", {30, -40, 50}), set(*child, "s", {1, 2, 0.5}),
        set(*child, "p", {0.5, 0, -1});
    child->setFloat("scale", 0, 2);
    set(*middle, "t", {0, -1, 0}), set(*middle, "r", {0, 90, 0});
    set(*root, "s", {2, 2, 2}), set(*root, "t", {5, 0, 0});
    child->setString("parent", "../middle");
    middle->setString("parent", "/obj/root");

    const V p{0.3, -0.7, 2};
    V expected = placed(p, {1, 2, 3}, {30, -40, 50}, {2, 4, 1}, {0.5, 0, -1});
    expected = placed(expected, {0, -1, 0}, {0, 90, 0}, {1, 1, 1}, {0, 0, 0});
    expected = placed(expected, {5, 0, 0}, {0, 0, 0}, {2, 2, 2}, {0, 0, 0});
    OP_Context context(0);
    expectPlaces(child->getWorldTransform(context), p, expected);
    expectPlaces(child->getIWorldTransform(context), expected, p);
    EXPECT_EQ(messages(*child), "");

    // Who moves the root moves the child, and so all who depend on it.
    const uint32_t serial = child->getChangeSerial();
    root->setExpression("t", 1, "$T * 4");
    EXPECT_GT(child->getChangeSerial(), serial);
    OP_Context later(0.5f);
    expected[1] += 2;
    expectPlaces(child->getWorldTransform(later), p, expected);
    EXPECT_TRUE(child->flags().timeDependent);
}

TEST_F(Transforms, WrongParentsAreErrors) {
    BoxObject *a = object("geo", "a"), *b = object("geo", "b"), *c = object("geo", "c");
    a->setString("parent", "/obj/b");
    b->setString("parent", "/obj/a");
    set(*a, "t", {1, 0, 0}), set(*b, "t", {0, 1, 0});
    OP_Context context(0);
    expectPlaces(a->getWorldTransform(context), {0, 0, 0}, {1, 1, 0});
    EXPECT_EQ(messages(*a), "error OP 5: parent: the object follows itself\n");
    c->setString("parent", "/obj/nothing");
    c->setFloat("s", 1, 0);
    EXPECT_TRUE(c->getIWorldTransform(context).isIdentity());
    EXPECT_EQ(messages(*c), "error OP 5: parent: there is no object /obj/nothing\n"
                            "error OP 5: the object's transform cannot be inverted (a scale of 0?)\n");
}

} // namespace
