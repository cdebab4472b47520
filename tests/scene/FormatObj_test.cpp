#include "scene/FormatFixture.h"

namespace {

class FormatObj : public FormatFixture {};

std::vector<float> vertexFloats(const GU_Detail& d, const char* name, size_t prim, int vertex) {
    const GB_Attribute* attribute = d.vertexAttribs().find(name);
    if (!attribute) return {};
    const float* from = d.primitives()(prim)->getVertex(vertex)->castAttribData<float>(attribute->getOffset());
    return {from, from + 3};
}

TEST_F(FormatObj, FacesLinesReferencesAndGroups) {
    GU_Detail d;
    expectRead(
        d, GeometryFormat::OBJ,
        "# a comment\r\nmtllib a.mtl\nv 0 0 0\nv 1 0 0 1.0\n\tv 1 1 0 # trailing\nv 0 1 -2.5e-1\n"
        "f 1 2 3 4\no box one\ng left *top\nusemtl red\nf -4 -3 -1\nf 5 \\\n 4 3 2 1\ng\nl 1 3 2\np 1 2\nv 9 9 9");
    ASSERT_EQ(d.points().entries(), 5u);
    EXPECT_EQ(d.points()(3)->getPos(), UT_Vector4(0, 1, -0.25f, 1));
    ASSERT_EQ(d.primitives().entries(), 4u);
    EXPECT_EQ(corners(d, 0), (std::vector<uint32_t>{0, 1, 2, 3}));
    EXPECT_EQ(corners(d, 1), (std::vector<uint32_t>{0, 1, 3}));
    EXPECT_EQ(corners(d, 2), (std::vector<uint32_t>{4, 3, 2, 1, 0})); // forward reference, continued line
    EXPECT_EQ(corners(d, 3), (std::vector<uint32_t>{0, 2, 1}));
    EXPECT_TRUE(d.primitives()(2)->isClosed());
    EXPECT_FALSE(d.primitives()(3)->isClosed());
    EXPECT_EQ(d.pointAttribs().entries() + d.vertexAttribs().entries(), 0u);
    const auto members = [&](const char* name) {
        const GB_PrimitiveGroup* group = d.primitiveGroups().find(name);
        std::vector<int> out;
        if (group) d.primitives().forEach(group, [&](GEO_Primitive* p) { out.push_back(p->getNum()); });
        return out;
    };
    EXPECT_EQ(members("left"), (std::vector<int>{1, 2}));
    EXPECT_EQ(members("_top"), (std::vector<int>{1, 2}));
    EXPECT_EQ(members("box"), (std::vector<int>{1, 2, 3}));
}

TEST_F(FormatObj, AgreeingCornersGiveOnlyPointAttributes) {
    GU_Detail d;
    // The second vt and vn repeat the first, so corners agree in value though not in number.
    expectRead(d, GeometryFormat::OBJ,
               "v 0 0 0 1 0.5 0\nv 1 0 0\nv 0 1 0 0 0 1\nvt 0.5 0.25\nvt 0.5 0.25\nvt 1\nvn 0 0 1\nvn 0 0 1\n"
               "f 1/1/1 2/3/1 3//1\nf 1/2/2 3/3/2 2\n");
    EXPECT_EQ(d.vertexAttribs().entries(), 0u);
    EXPECT_EQ(floats(d, "uv", 0), (std::vector<float>{0.5f, 0.25f, 0}));
    EXPECT_EQ(floats(d, "uv", 2), (std::vector<float>{1, 0, 0}));
    EXPECT_EQ(floats(d, "N", 1), (std::vector<float>{0, 0, 1}));
    EXPECT_EQ(floats(d, "Cd", 0), (std::vector<float>{1, 0.5f, 0}));
    EXPECT_EQ(floats(d, "Cd", 1), (std::vector<float>{1, 1, 1}));
    EXPECT_EQ(d.pointAttribs().find("N")->getType(), GB_ATTRIB_VECTOR);
}

TEST_F(FormatObj, DisagreeingCornersKeepAllOnTheVertices) {
    GU_Detail d;
    expectRead(d, GeometryFormat::OBJ,
               "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvt 1 1\nvn 1 0 0\nf 1/1/1 2/1/1 3/2/1\nf 1/2/1 2 3/2/1\n");
    EXPECT_EQ(floats(d, "uv", 0), (std::vector<float>{0, 0, 0}));
    EXPECT_EQ(vertexFloats(d, "uv", 0, 0), (std::vector<float>{0, 0, 0}));
    EXPECT_EQ(vertexFloats(d, "uv", 1, 0), (std::vector<float>{1, 1, 0}));
    EXPECT_EQ(vertexFloats(d, "uv", 0, 2), (std::vector<float>{1, 1, 0}));
    EXPECT_EQ(vertexFloats(d, "uv", 1, 1), (std::vector<float>{0, 0, 0})); // none of its own: the point's
    EXPECT_EQ(d.vertexAttribs().find("N"), nullptr);
    EXPECT_EQ(floats(d, "N", 2), (std::vector<float>{1, 0, 0}));
    GU_Detail cloud; // takes its normals in order
    expectRead(cloud, GeometryFormat::OBJ, "v 0 0 0\nvn 1 0 0\nv 1 0 nan\nvn 0 1 0\n");
    EXPECT_EQ(floats(cloud, "N", 1), (std::vector<float>{0, 1, 0}));
}

TEST_F(FormatObj, RefusesWithOneClearLine) {
    // clang-format off
    const struct { const char* text; const char* error; } cases[] = {
        {"# nothing\n", "holds no v lines, so no points; is it an OBJ file?"},
        {"v 0 0 0\n\x01\x02\x03\n", "line 2: \"???\" is no OBJ statement"},
        {"v 1 2\n", "line 1: v with 2 numbers; it takes 3, or 6 with a colour"},
        {"v 1 2 x\n", "line 1: \"x\" is no number"},
        {"vn 1 2\n", "line 1: vn with 2 numbers; it takes 3"}, {"vt\n", "line 1: vt with 0 numbers; it takes 1"},
        {"v 0 0 0\nf\n", "line 2: f without corners"}, {"v 0 0 0\nf 0 1 1\n", "line 2: v number 0; they start at 1"},
        {"v 0 0 0\n\n\nf 1 1 2\n", "line 4: v number 2, but the file has only 1"},
        {"v 0 0 0\nf -2 1 1\n", "line 2: v number -2, but only 1 come before it"},
        {"v 0 0 0\nf 1/1 1 1\n", "line 2: vt number 1, but the file has only 0"},
        {"v 0 0 0\nf 1/ 1/x 1\n", "line 2: \"x\" is no number of a vt line"},
        {"v 0 0 0\nf 99999999999999999999 1 1\n", "line 2: \"99999999999999999999\" is no number of a v line"},
        {"v 0 0 0\nf -9223372036854775808 1 1\n", "line 2: v number -9223372036854775808, but only 1 come before it"},
        {"v 0 0 0\nf 1 \\\n1 \\\n 7\nv 0 0 0\n", "line 2: v number 7, but the file has only 2"}};
    // clang-format on
    for (const auto& c : cases) EXPECT_EQ(refusal(GeometryFormat::OBJ, c.text), c.error) << c.text;
}

// Bits per group up to the last member: many groups that all reach far would take much more than the file.
TEST_F(FormatObj, GroupsCannotAskForEndlessMemory) {
    std::string text = "v 0 0 0\n";
    for (int i = 0; i < 40000; ++i) text += "g a" + std::to_string(i) + "\nf 1\n";
    GU_Detail d;
    expectRead(d, GeometryFormat::OBJ, text);
    EXPECT_EQ(d.primitiveGroups().entries(), 40000u);
    text = "v 0 0 0\n";
    for (int i = 0; i < 200000; ++i) text += "f 1\n";
    for (int i = 0; i < 20000; ++i) text += "g a" + std::to_string(i) + "\nf 1\n";
    EXPECT_EQ(refusal(GeometryFormat::OBJ, text),
              "its groups need more memory than a file of this size may ask for; use fewer");
    std::string line = "v 0 0 0\ng";
    for (int i = 0; i < 100; ++i) line += " a" + std::to_string(i);
    EXPECT_EQ(refusal(GeometryFormat::OBJ, line + "\n"), "line 2: 100 groups on one line; the limit is 64");
}

} // namespace
