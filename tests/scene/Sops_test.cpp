#include "SceneFixture.h"
#include "support/Near.h"

#include <cmath>
#include <map>

namespace {

UT_Vector3D position(const GEO_Primitive& prim, int v) {
    const UT_Vector4& p = prim.getVertexPoint(v)->getPos();
    return {p.x(), p.y(), p.z()};
}

/// Calls use(first, second, third corner) for the triangles of all polygons.
template <class Use> void forEachTriangle(const GU_Detail& gdp, const Use& use) {
    for (size_t i = 0; i < gdp.primitives().entries(); ++i) {
        const GEO_Primitive& prim = *gdp.primitives()[i];
        for (int v = 1; v + 1 < prim.getVertexCount(); ++v)
            use(position(prim, 0), position(prim, v), position(prim, v + 1));
    }
}

/// Volume that closed polygons enclose, positive when their normals point outward.
double signedVolume(const GU_Detail& gdp) {
    double sum = 0;
    forEachTriangle(gdp, [&](const auto& a, const auto& b, const auto& c) { sum += dot(a, cross(b, c)) / 6; });
    return sum;
}

/// Of convex polygons.
double area(const GU_Detail& gdp) {
    double sum = 0;
    forEachTriangle(gdp, [&](const auto& a, const auto& b, const auto& c) { sum += cross(b - a, c - a).length() / 2; });
    return sum;
}

/// Every edge is run along once in each direction: closed, and consistently wound.
bool watertight(const GU_Detail& gdp) {
    std::map<std::pair<uint32_t, uint32_t>, int> edges;
    for (size_t i = 0; i < gdp.primitives().entries(); ++i) {
        const GEO_Primitive& prim = *gdp.primitives()[i];
        for (int v = 0; v < prim.getVertexCount(); ++v)
            ++edges[{prim.getVertexPointSlot(v), prim.getVertexPointSlot((v + 1) % prim.getVertexCount())}];
    }
    for (const auto& [edge, count] : edges)
        if (count != 1 || !edges.count({edge.second, edge.first})) return false;
    return !edges.empty();
}

float primFloat(const GU_Detail& gdp, size_t prim, const char* name) {
    const int offset = gdp.primitiveAttribs().getOffset(name, 4, GB_ATTRIB_FLOAT);
    return offset < 0 ? -1 : *gdp.primitives()[prim]->castAttribData<float>(offset);
}

constexpr double pi = 3.14159265358979;

} // namespace

class Sops : public SceneTest {};

TEST_F(Sops, SolidsAreClosedAndFaceOutward) {
    struct Case {
        const char* node;
        size_t points, primitives;
        double volume, within;
    };
    const Case cases[] = {
        {R"("type": "box")", 8, 6, 1, 1e-6},
        {R"("type": "box", "parms": {"size": [2, 3, 4], "t": [1, 1, 1], "divs": [2, 3, 4]})", 54, 52, 24, 1e-5},
        {R"("type": "box", "parms": {"divs": [1, 4, 2]})", 30, 28, 1, 1e-5},
        {R"("type": "sphere", "parms": {"rad": [1, 2, 3], "rows": 200, "cols": 400})", 198 * 400 + 2, 199 * 400,
         4 * pi / 3 * 6, 0.01},
        {R"("type": "sphere", "parms": {"rows": -5, "cols": "0/0", "t": [9, 9, 9]})", 5, 6, std::sqrt(3.0) / 2, 1e-4},
        {R"("type": "tube", "parms": {"rad": [2, 1], "height": 3, "rows": 5, "cols": 600})", 3000, 2402,
         pi * 3 / 3 * (4 + 2 + 1), 0.01},
        {R"("type": "torus", "parms": {"rad": [3, 1], "rows": 200, "cols": 300})", 60000, 60000, 2 * pi * pi * 3,
         0.02}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.node);
        loadSops(std::string(R"({"name": "a", )") + c.node + "}");
        const GU_Detail& shape = cooked("a");
        EXPECT_EQ(shape.points().entries(), c.points);
        EXPECT_EQ(shape.primitives().entries(), c.primitives);
        EXPECT_NEAR(signedVolume(shape), c.volume, c.within);
        EXPECT_TRUE(watertight(shape));
    }
    loadSops(R"({"name": "open", "type": "tube", "parms": {"caps": false, "cols": 8}},
                {"name": "b", "type": "box", "parms": {"size": [2, 3, 4], "t": [1, 1, 1], "divs": [2, 3, 4]}})");
    EXPECT_EQ(cooked("open").primitives().entries(), 8u);
    EXPECT_FALSE(watertight(cooked("open")));
    UT_BoundingBox box;
    ASSERT_TRUE(cooked("b").getBBox(box));
    EXPECT_EQ(box.vmin(), UT_Vector3(0, -0.5f, -1));
    EXPECT_EQ(box.vmax(), UT_Vector3(2, 2.5f, 3));
}

TEST_F(Sops, FlatShapes) {
    loadSops(R"({"name": "grid", "type": "grid", "parms": {"size": [6, 4], "rows": 3, "cols": 4, "t": [0, 5, 0]}},
                {"name": "circle", "type": "circle", "parms": {"rad": [2, 1], "divs": 720}},
                {"name": "line", "type": "line", "parms": {"origin": [1, 0, 0], "dir": [0, 0, 5], "dist": 3, "points": 4}})");
    const GU_Detail& grid = cooked("grid");
    EXPECT_EQ(grid.points().entries(), 12u);
    EXPECT_EQ(grid.primitives().entries(), 6u);
    EXPECT_NEAR(area(grid), 24, 1e-5);
    EXPECT_EQ(grid.primitives()[0]->computeNormal(), UT_Vector3(0, 1, 0));
    const GU_Detail& circle = cooked("circle");
    EXPECT_NEAR(area(circle), 2 * pi, 1e-4);
    EXPECT_NEAR(circle.primitives()[0]->computeNormal().z(), 1, 1e-6);
    const GU_Detail& line = cooked("line");
    EXPECT_FALSE(line.primitives()[0]->isClosed());
    EXPECT_EQ(position(*line.primitives()[0], 3), UT_Vector3D(1, 0, 3));
}

TEST_F(Sops, MeshesAndPrimitivesMatchPolygons) {
    loadSops(R"({"name": "sphere", "type": "sphere", "parms": {"type": "mesh", "rows": 9, "cols": 12}},
                {"name": "torus", "type": "torus", "parms": {"type": "mesh", "rad": [2, 0.5]}},
                {"name": "grid", "type": "grid", "parms": {"type": "mesh", "size": [2, 3], "rows": 2, "cols": 2}},
                {"name": "ball", "type": "sphere", "parms": {"type": "prim", "rad": [2, 2, 2], "t": [1, 0, 0]}},
                {"name": "rod", "type": "tube", "parms": {"type": "prim", "rad": [1, 0.5], "height": 4}},
                {"name": "cone", "type": "tube", "parms": {"type": "prim", "rad": [0, 1], "height": 2}},
                {"name": "disc", "type": "circle", "parms": {"type": "prim", "rad": [3, 3]}})");
    const auto* sphere = dynamic_cast<const GEO_PrimMesh*>(cooked("sphere").primitives()[0]);
    ASSERT_NE(sphere, nullptr);
    EXPECT_TRUE(sphere->isWrappedU() && !sphere->isWrappedV());
    EXPECT_EQ(cooked("sphere").points().entries(), 7u * 12 + 2);
    UT_Vector4 p;
    UT_Vector3 n;
    ASSERT_TRUE(sphere->evaluatePosition(0.3f, 0.55f, p) && sphere->evaluateNormal(0.3f, 0.55f, n));
    EXPECT_GT(dot(n, UT_Vector3(p.x(), p.y(), p.z())), 0.8f);
    EXPECT_TRUE(cooked("torus").primitives()[0]->isClosed());
    EXPECT_EQ(cooked("grid").primitives()[0]->computeNormal(), UT_Vector3(0, 1, 0));

    const auto at = [&](const char* name, float u, float v) {
        EXPECT_TRUE(cooked(name).primitives()[0]->evaluatePosition(u, v, p)) << name;
        return UT_Vector3(p);
    };
    EXPECT_NEAR(at("ball", 0, 0.5f).x(), 3, 1e-5);
    expectNear(at("rod", 0, 1), {0.5f, 2, 0}, 1e-6);
    for (const float v : {0.0f, 1.0f}) {
        const UT_Vector3 rim = at("cone", 0, v);
        EXPECT_NEAR(std::abs(rim.x()), rim.y() > 0 ? 1 : 0, 1e-6);
        EXPECT_NEAR(std::abs(rim.y()), 1, 1e-5);
    }
    EXPECT_NEAR(at("disc", 0.1f, 0).length(), 3, 1e-5);
}

TEST_F(Sops, Points) {
    loadSops(R"({"name": "p", "type": "points", "parms": {
        "P": [0, 0, 0, 1, 0, 0, 1, 1, 0, 0.1, 5, -7.25],
        "attribs": {"id": {"type": "int", "default": -1, "values": [4, 3, 2, 1]},
                    "uvw": {"type": "float", "size": 2, "values": [0, 1, 2, 3, 4, 5, 6, 7]},
                    "up": {"type": "vector", "default": [0, 1, 0]},
                    "kind": {"type": "string", "values": ["a", "b", null, "a"]}},
        "prims": [[0, 1, 2], [2, 3]], "closed": true,
        "primattribs": {"heat": {"type": "float", "values": [0.5, 1.5]}},
        "vertexattribs": {"w": {"type": "float", "values": [1, 2, 3, 4, 5]}},
        "groups": {"ends": [0, 3]}}})");
    const GU_Detail& gdp = cooked("p");
    ASSERT_EQ(message("/obj/g/p"), "");
    ASSERT_EQ(gdp.points().entries(), 4u);
    EXPECT_EQ(gdp.points()[3]->getPos().x(), 0.1f);
    const auto number = [&](size_t point, const char* name, int component, auto type) {
        const GB_Attribute* attribute = gdp.pointAttribs().find(name);
        return gdp.points()[point]->castAttribData<decltype(type)>(attribute->getOffset())[component];
    };
    EXPECT_EQ(number(2, "id", 0, int()), 2);
    EXPECT_EQ(number(2, "uvw", 1, float()), 5);
    EXPECT_EQ(number(1, "up", 1, float()), 1);
    const GB_Attribute* kinds = gdp.pointAttribs().find("kind");
    EXPECT_STREQ(kinds->getIndex(number(3, "kind", 0, int())), "a");
    EXPECT_EQ(number(2, "kind", 0, int()), -1);
    EXPECT_EQ(kinds->entries(), 2);
    EXPECT_EQ(primFloat(gdp, 1, "heat"), 1.5f);
    const int w = gdp.vertexAttribs().getOffset("w", 4, GB_ATTRIB_FLOAT);
    EXPECT_EQ(*gdp.primitives()[1]->getVertex(1)->castAttribData<float>(w), 5);
    const GB_PointGroup* ends = gdp.pointGroups().find("ends");
    ASSERT_NE(ends, nullptr);
    EXPECT_TRUE(ends->contains(gdp.points()[3]) && ends->entries() == 2);
}

TEST_F(Sops, BadPointValuesAndSizesPastEveryMachineAreErrorsOfTheNode) {
    // clang-format off
    struct Case { const char* parms; const char* error; };
    const Case cases[] = {
        {R"("P": [1, 2])", "P: has 2 numbers, which is no multiple of 3"}, {R"("P": [1, 2, "x"])", "P: holds a text"},
        {R"("P": "[1, 2")", "P: unexpected end of input; expected ']'"},
        {R"("P": [0, 0, 0], "prims": [[0, 1]])", "prims: point 1 does not exist, there are 1"},
        {R"("P": [0, 0, 0], "groups": {"a": [-1]})", "groups: point -1 does not exist, there are 1"},
        {R"("P": [0, 0, 0], "attribs": {"a": {"values": [1]}})",
         "attribs: a: \"type\" is one of \"float\", \"int\", \"vector\", \"string\""},
        {R"("P": [0, 0, 0], "attribs": {"a": {"type": "float", "size": 2, "values": [1]}})",
         "attribs: a: \"values\" has 1 entries, 2 are needed (1 elements of size 2)"},
        {R"("P": [0, 0, 0], "attribs": {"a": {"type": "float", "size": 1e9}})",
         "attribs: a: \"size\" is a number of components from 1 to 1024"},
        {R"("attribs": {"P": {"type": "int"}})", "attribs: P: is the position"},
        {R"("attribs": {"a": {"type": "int", "value": 1}})",
         "attribs: a: unknown key \"value\"; known are type, size, default, values"}};
    // clang-format on
    const auto expectError = [&](const std::string& type, const char* parms, const std::string& error) {
        loadSops(R"({"name": "p", "type": ")" + type + R"(", "parms": {)" + parms + "}}");
        EXPECT_EQ(cooked("p").points().entries(), 0u);
        EXPECT_TRUE(message("/obj/g/p").starts_with(error)) << message("/obj/g/p");
    };
    for (const Case& c : cases) expectError("points", c.parms, std::string("error OP 5: ") + c.error);
    expectError("grid", R"("rows": 100000, "cols": 100000)", "error OP 7: ");
    expectError("box", R"("divs": [1e9, 1e9, 1e9])", "error OP 7: ");
    expectError("line", R"("points": 2e9)", "error OP 7: ");
}

TEST_F(Sops, AttributesMeasuresGroupsAndPositionsFollowTheirExpressions) {
    loadSops(R"({"name": "grid", "type": "grid", "parms": {"size": [4, 2], "rows": 2, "cols": 3}},
        {"name": "point", "type": "attribcreate", "inputs": ["grid"], "parms":
            {"name": "a", "type": "vector", "value": ["$PT", "$TX * 10", "$NPT"]}},
        {"name": "prim", "type": "attribcreate", "inputs": ["point"], "parms":
            {"name": "b", "class": "primitive", "type": "float", "value": "$PR + $TX"}},
        {"name": "vertex", "type": "attribcreate", "inputs": ["prim"], "parms":
            {"name": "c", "class": "vertex", "type": "int", "size": 2, "value": ["$PT", "$PR", 0]}},
        {"name": "detail", "type": "attribcreate", "inputs": ["vertex"], "parms":
            {"name": "d", "class": "detail", "type": "int", "value": "$NPT + 0.9"}},
        {"name": "area", "type": "measure", "inputs": ["detail"]},
        {"name": "length", "type": "measure", "inputs": ["area"], "parms": {"type": "length", "name": "rim"}},
        {"name": "left", "type": "group", "inputs": ["length"], "parms": {"name": "left", "rule": "$TX < 0"}},
        {"name": "one", "type": "group", "inputs": ["left"], "parms": {"name": "one", "kind": "prims", "rule": "$PR == 1"}},
        {"name": "wave", "type": "deform", "inputs": ["one"], "parms": {"P": ["$TX", "$T * $PT", "$TZ * 2"]}},
        {"name": "ball", "type": "sphere", "parms": {"type": "prim", "rad": [2, 2, 2]}},
        {"name": "ballarea", "type": "measure", "inputs": ["ball"]},
        {"name": "clash", "type": "attribcreate", "inputs": ["detail"], "parms": {"name": "a"}},
        {"name": "place", "type": "attribcreate", "inputs": ["detail"], "parms": {"name": "P"}},
        {"name": "wrong", "type": "attribcreate", "inputs": ["grid"], "parms": {"value": ["$NOPE", 0, 0]}})");
    const GU_Detail& gdp = cooked("wave", 0.5f);
    ASSERT_EQ(message("/obj/g/detail"), "");
    EXPECT_EQ(gdp.points()[4]->getPos(), UT_Vector4(0, 2, -2, 1));
    EXPECT_NEAR(primFloat(gdp, 0, "area"), 4, 1e-6);
    EXPECT_NEAR(primFloat(gdp, 1, "rim"), 8, 1e-6);
    EXPECT_NEAR(primFloat(cooked("ballarea"), 0, "area"), 16 * pi, 0.05);
    ASSERT_TRUE(gdp.pointGroups().find("left") && gdp.primitiveGroups().find("one"));
    EXPECT_EQ(gdp.pointGroups().find("left")->entries(), 2u);
    EXPECT_TRUE(gdp.primitiveGroups().find("one")->contains(gdp.primitives()[1]));
    const int a = gdp.pointAttribs().getOffset("a", 12, GB_ATTRIB_VECTOR);
    ASSERT_GE(a, 0);
    // Columns run along x: -2, 0, 2; rows from +z to -z.
    EXPECT_EQ(*gdp.points()[5]->castAttribData<UT_Vector3>(a), UT_Vector3(5, 20, 6));
    EXPECT_EQ(primFloat(gdp, 0, "b"), -1);
    EXPECT_EQ(primFloat(gdp, 1, "b"), 2);
    const int c = gdp.vertexAttribs().getOffset("c", 8, GB_ATTRIB_INT);
    ASSERT_GE(c, 0);
    const GEO_Primitive& second = *gdp.primitives()[1];
    for (int v = 0; v < 4; ++v) {
        EXPECT_EQ(second.getVertex(v)->castAttribData<int>(c)[0], int(gdp.points().number(second.getVertexPoint(v))));
        EXPECT_EQ(second.getVertex(v)->castAttribData<int>(c)[1], 1);
    }
    EXPECT_EQ(*gdp.attribs().castAttribData<int>(gdp.attribs().getOffset("d", 4, GB_ATTRIB_INT)), 6);
    const std::pair<const char*, const char*> wrong[] = {
        {"clash", "error OP 5: name: \"a\" exists with another type or size"},
        {"place", "error OP 5: name: \"P\" is the position"},
        {"wrong", "error OP 1: value.x: \"$NOPE\": unknown variable $NOPE"}};
    for (const auto& [name, error] : wrong) {
        cooked(name);
        const std::string told = message(std::string("/obj/g/") + name);
        EXPECT_TRUE(told.starts_with(error)) << told;
    }
}

TEST_F(Sops, TransformAndMerge) {
    loadSops(R"({"name": "line", "type": "line", "parms": {"origin": [1, 0, 0], "dir": [1, 0, 0], "dist": 1}},
        {"name": "turn", "type": "xform", "inputs": ["line"], "parms":
            {"t": [10, 0, 0], "r": [0, 0, 90], "s": [2, 1, 1], "p": [1, 0, 0]}},
        {"name": "both", "type": "merge", "inputs": ["line", null, "turn"]})");
    const GU_Detail& turned = cooked("turn");
    // About (1, 0, 0): scaled by 2 along x, turned from x to y, moved by 10.
    EXPECT_EQ(turned.points()[0]->getPos(), UT_Vector4(11, 0, 0, 1));
    EXPECT_EQ(turned.points()[1]->getPos(), UT_Vector4(11, 2, 0, 1));
    const GU_Detail& both = cooked("both");
    ASSERT_EQ(both.points().entries(), 4u);
    EXPECT_EQ(both.primitives().entries(), 2u);
    EXPECT_EQ(both.points()[3]->getPos(), UT_Vector4(11, 2, 0, 1));
}
