#include "scene/FormatFixture.h"

#include <algorithm>
#include <bit>

namespace {

class FormatPly : public FormatFixture {};

/// Bytes of a number in the order asked for.
template <class T> std::string raw(T value, bool big) {
    std::string bytes(sizeof(T), '\0');
    std::memcpy(bytes.data(), &value, sizeof(T));
    if (big) std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

/// Three vertices with every scalar type, an element between that must be skipped (with a list), and two faces.
std::string mixedBinary(bool big) {
    std::string out =
        std::string("ply\r\nformat binary_") + (big ? "big" : "little") +
        "_endian 1.0\r\ncomment made by hand\r\nobj_info none\r\nelement vertex 3\r\n"
        "property double x\r\nproperty float y\r\nproperty short z\r\nproperty uchar red\r\n"
        "property uchar green\r\nproperty uchar blue\r\nproperty list uchar ushort weights\r\n"
        "property int32 id\r\nproperty uint bits\r\nproperty char tiny\r\nproperty float64 heat\r\n"
        "element camera 2\r\nproperty float fov\r\nproperty list int double matrix\r\n"
        "element face 2\r\nproperty uchar material\r\nproperty list ushort uint vertex_index\r\nend_header\r\n";
    for (int i = 0; i < 3; ++i) {
        out += raw(double(i) + 0.5, big) + raw(float(-i), big) + raw(int16_t(-300 * i), big);
        for (int c = 0; c < 3; ++c) out += raw(uint8_t(255 - c * 51 * i), big);
        out += raw(uint8_t(i), big);
        for (int k = 0; k < i; ++k) out += raw(uint16_t(40000), big);
        out +=
            raw(int32_t(-7 - i), big) + raw(uint32_t(0xfffffffeu), big) + raw(int8_t(-i), big) + raw(1.0 / 3 * i, big);
    }
    for (int i = 0; i < 2; ++i) out += raw(1.5f, big) + raw(int32_t(i), big) + (i ? raw(2.5, big) : "");
    out += raw(uint8_t(1), big) + raw(uint16_t(3), big) + raw(2u, big) + raw(1u, big) + raw(0u, big);
    out += raw(uint8_t(1), big) + raw(uint16_t(4), big) + raw(0u, big) + raw(1u, big) + raw(2u, big) + raw(1u, big);
    return out;
}

TEST_F(FormatPly, BothByteOrdersWithAllTypesAndForeignElements) {
    for (const bool big : {false, true}) {
        GU_Detail d;
        expectRead(d, GeometryFormat::PLY, mixedBinary(big));
        ASSERT_EQ(d.points().entries(), 3u);
        EXPECT_EQ(d.points()(2)->getPos(), UT_Vector4(2.5f, -2, -600, 1));
        EXPECT_EQ(floats(d, "Cd", 2), (std::vector<float>{1.0f, 153 / 255.0f, 51 / 255.0f}));
        EXPECT_EQ(*pointValue<int>(d, "id", 2), -9);
        EXPECT_EQ(*pointValue<int>(d, "bits", 1), -2);
        EXPECT_EQ(*pointValue<int>(d, "tiny", 2), -2);
        EXPECT_EQ(floats(d, "heat", 1), std::vector<float>{1.0f / 3});
        EXPECT_EQ(d.pointAttribs().find("weights"), nullptr);
        ASSERT_EQ(d.primitives().entries(), 2u);
        EXPECT_EQ(d.primitives()(1)->getVertexCount(), 4);
        EXPECT_EQ(d.points().number(d.primitives()(0)->getVertexPoint(0)), 2u);
        EXPECT_TRUE(d.primitives()(0)->isClosed());
    }
}

TEST_F(FormatPly, TextWithKnownNames) {
    GU_Detail d;
    expectRead(
        d, GeometryFormat::PLY,
        "ply\nformat ascii 1.0\nelement face 2\nproperty list uchar int vertex_indices\nelement vertex 2\n"
        "property float x\nproperty float y\nproperty float z\nproperty float nx\nproperty float ny\n"
        "property float nz\nproperty float u\nproperty float v\nproperty float vx\nproperty float vy\n"
        "property float vz\nproperty float red\nproperty float green\nproperty float blue\nproperty uchar alpha\n"
        "property float age\nproperty float lifespan\nproperty float pscale\nproperty float ny2\n"
        "element ghost 9000000000000000000\nend_header\n" // its rows take no bytes: their number must not be counted to
        "1 1\n0\n" // a face may have any number of corners; one without any is left out
        "1 2 3  0 1 0  0.25 0.75  7 8 9  2 0.5 -1  51  1.5 4  0.1 0\n"
        "nan -inf +1e3 0 0 1 0 0 0 0 0 0 0 0 255 0 0 0.2 1\n");
    ASSERT_EQ(d.primitives().entries(), 1u);
    EXPECT_EQ(d.points().number(d.primitives()(0)->getVertexPoint(0)), 1u);
    EXPECT_EQ(floats(d, "N", 0), (std::vector<float>{0, 1, 0}));
    EXPECT_EQ(floats(d, "uv", 0), (std::vector<float>{0.25f, 0.75f, 0}));
    EXPECT_EQ(floats(d, "v", 0), (std::vector<float>{7, 8, 9}));
    EXPECT_EQ(floats(d, "Cd", 0), (std::vector<float>{2, 0.5f, -1}));
    EXPECT_EQ(floats(d, "Alpha", 0), (std::vector<float>{0.2f}));
    EXPECT_EQ(floats(d, "life", 0), (std::vector<float>{1.5f, 4}));
    EXPECT_EQ(floats(d, "pscale", 1), (std::vector<float>{0.2f}));
    EXPECT_EQ(floats(d, "ny2", 1), (std::vector<float>{1}));
    EXPECT_EQ(d.pointAttribs().find("N")->getType(), GB_ATTRIB_VECTOR);
    EXPECT_EQ(d.pointAttribs().find("v")->getType(), GB_ATTRIB_VECTOR);
    EXPECT_EQ(d.pointAttribs().find("uv")->getType(), GB_ATTRIB_FLOAT);
    EXPECT_TRUE(d.points()(1)->getPos()[0] != d.points()(1)->getPos()[0]); // NaN is kept
    EXPECT_EQ(d.points()(1)->getPos()[2], 1000);
}

TEST_F(FormatPly, WrittenFilesAreReadBack) {
    GU_Detail made, read;
    buildEverything(made);
    auto* wide = static_cast<GEO_PrimPoly*>(made.insertPrimitive(GEOPRIMPOLY)); // more corners than a byte counts
    for (size_t i = 0; i < 300; ++i) wide->appendVertex(made.points()(i % 30));
    float* colour = made.points()(5)->castAttribData<float>(made.pointAttribs().find("Cd")->getOffset());
    colour[0] = 0.2f; // 51 / 255
    colour[1] = 9;
    colour[2] = -1;
    const std::string bytes = write(made, "a.ply");
    expectRead(read, GeometryFormat::PLY, bytes);
    ASSERT_EQ(read.points().entries(), 30u);
    for (size_t i = 5; i < 30; ++i)
        for (int c = 0; c < 3; ++c) EXPECT_EQ(read.points()(i)->getPos()[c], made.points()(i)->getPos()[c]);
    EXPECT_EQ(floats(read, "v", 6), floats(made, "v", 6));
    EXPECT_EQ(*pointValue<int>(read, "id", 9), -630000000);
    EXPECT_EQ(floats(read, "Cd", 5), (std::vector<float>{0.2f, 1, 0}));
    EXPECT_EQ(read.pointAttribs().find("blob"), nullptr);
    EXPECT_NE(bytes.find("property float two_words_0\nproperty float two_words_1\n"), std::string::npos);
    const GB_Attribute* instance = read.pointAttribs().find("instance");
    ASSERT_EQ(instance->getType(), GB_ATTRIB_INDEX);
    EXPECT_EQ(instance->indexStrings(), made.pointAttribs().find("instance")->indexStrings());
    EXPECT_EQ(*pointValue<int>(read, "instance", 0), -1);
    EXPECT_EQ(*pointValue<int>(read, "instance", 4), 3);
    // Closed polygons with corners (4), and three cells of the 2 x 3 mesh that is wrapped in u.
    ASSERT_EQ(read.primitives().entries(), 7u);
    EXPECT_EQ(corners(read, 4), (std::vector<uint32_t>{8, 6, 9, 11}));
    EXPECT_EQ(corners(read, 6).size(), 300u);
}

TEST_F(FormatPly, NamesThatMeetAreKeptApart) {
    GU_Detail made, read;
    made.pointAttribs().append("x", 4, GB_ATTRIB_FLOAT);
    made.pointAttribs().append("vx", 4, GB_ATTRIB_INT);
    made.pointAttribs().append("v", 12, GB_ATTRIB_VECTOR);
    made.appendPoint();
    EXPECT_EQ(write(made, "a.ply"), // without faces
              std::string("ply\nformat binary_little_endian 1.0\nelement vertex 1\nproperty float x\nproperty float y\n"
                          "property float z\nproperty float x_\nproperty int vx\nproperty float vx_\n"
                          "property float vy\nproperty float vz\nend_header\n") +
                  std::string(32, '\0'));
    expectRead(
        read, GeometryFormat::PLY,
        "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\nproperty float z\n"
        "property float v\nproperty float vx\nproperty float vy\nproperty float vz\nproperty float P\nend_header\n"
        "1 2 3 4 5 6 7 8\n");
    EXPECT_EQ(floats(read, "P_", 0), (std::vector<float>{8}));
    EXPECT_EQ(floats(read, "v", 0), (std::vector<float>{5, 6, 7}));
    EXPECT_EQ(floats(read, "v_", 0), (std::vector<float>{4}));
}

std::string vertexHeader(const std::string& more = "", const std::string& format = "ascii") {
    return "ply\nformat " + format + " 1.0\nelement vertex 1\nproperty float x\nproperty float y\nproperty float z\n" +
           more + "end_header\n";
}

TEST_F(FormatPly, RefusesWithOneClearLine) {
    const std::string face = "element face 1\nproperty list uchar int vertex_indices\n";
    const std::string nul3(12, '\0');
    const std::string ascii = "ply\nformat ascii 1.0\n", little = "binary_little_endian", big = "binary_big_endian";
    const std::string xyz = "property float x\nproperty float y\nproperty float z\n";
    // clang-format off
    const std::pair<std::string, const char*> cases[] = {
        {"ply\nend_header\n", "line 2: the header has no format line"},
        {"ply\nformat ascii 2.0\nend_header\n", "line 2: expected \"format ENCODING 1.0\""},
        {ascii + "end_header\n", "has no element \"vertex\", so no points"},
        {ascii + "element vertex -1\n", "line 3: expected \"element NAME COUNT\" with a count from 0"},
        {ascii + "property float x\n", "line 3: a property before the first element"},
        {ascii + "element vertex 1\nproperty list float int x\n",
         "line 4: the length of a list must be of an integer type"},
        {ascii + "element vertex 1\nproperty float x\nproperty int x\n", "line 5: property \"x\" stands there twice"},
        {ascii + "element vertex 0\nproperty float x\nproperty float y\nend_header\n",
         "element \"vertex\" has no property \"z\"; x, y and z are needed"},
        {"ply\nformat binary_little_endian 1.0\nelement vertex 5000000000\n" + xyz + "end_header\n" + nul3,
         "the header claims 5000000000 of element \"vertex\", at least 12 bytes each, but only 12 bytes follow; the file is truncated or damaged"},
        {ascii + "element vertex 3\n" + xyz + "end_header\n0 0 0",
         "the header claims 3 of element \"vertex\", at least 6 bytes each, but only 6 bytes follow; the file is truncated or damaged"},
        {vertexHeader() + "1 2\n   ", "line 9, element \"vertex\" 0: the file ends in the middle; it is truncated"},
        {vertexHeader("property uchar c\n") + "1 2 3 256\n",
         "line 9, element \"vertex\" 0: \"256\" is no integer from 0 to 255"},
        {vertexHeader("property int c\n") + "1 2 3 nan\n",
         "line 9, element \"vertex\" 0: \"nan\" is no integer from -2147483648 to 2147483647"},
        {vertexHeader("comment strings c 0 a\nproperty int c\n") + "1 2 3 1\n",
         "line 10, element \"vertex\" 0: string number 1, but the comments name only 1"},
        {vertexHeader(face) + "1 2 3\n3 0 0 1\n",
         "line 11, element \"face\" 0: vertex number 1, but the file has only 1 (counted from 0)"},
        {vertexHeader(face) + "1 2 3\n200 0 0\n",
         "line 11, element \"face\" 0: list \"vertex_indices\" claims 200 values, more than the rest of the file holds"},
        {vertexHeader(face, little) + nul3 + "\xff" + nul3,
         "byte 181, element \"face\" 0: list \"vertex_indices\" claims 255 values, more than the rest of the file holds"},
        {vertexHeader("element face 1\nproperty list int int vertex_indices\n", big) + nul3 + "\xff\xff\xff\xff" + nul3,
         "byte 176, element \"face\" 0: list \"vertex_indices\" has length -1"},
    };
    // clang-format on
    for (const auto& [bytes, error] : cases) EXPECT_EQ(refusal(GeometryFormat::PLY, bytes), error) << bytes;
}

} // namespace
