#include "scene/FormatFixture.h"
#include "scene/formats/Checksum.h"
#include "scene/formats/LittleEndian.h"

#include <cmath>
#include <random>

namespace {

class FormatNative : public FormatFixture, public ::testing::WithParamInterface<const char*> {};
class FormatNativeText : public FormatFixture {};
class FormatNativeBinary : public FormatFixture {};

/// Everything about the elements that the two details hold, compared by what the public interface tells.
void expectSame(const GU_Detail& a, const GU_Detail& b) {
    ASSERT_EQ(a.points().entries(), b.points().entries());
    for (size_t i = 0; i < a.points().entries(); ++i)
        for (int c = 0; c < 4; ++c) {
            const float x = a.points()(i)->getPos()[c], y = b.points()(i)->getPos()[c];
            EXPECT_TRUE(std::isnan(x) ? std::isnan(y) : x == y && std::signbit(x) == std::signbit(y)) << i << " " << c;
        }
    for (int cls = 0; cls < 4; ++cls) {
        const GB_AttributeDict& x = a.attribs(static_cast<GB_AttribClass>(cls));
        const GB_AttributeDict& y = b.attribs(static_cast<GB_AttribClass>(cls));
        ASSERT_EQ(x.entries(), y.entries());
        for (size_t i = 0; i < x.entries(); ++i) {
            EXPECT_TRUE(x[i]->is(y[i]->getName(), y[i]->getSize(), y[i]->getType())) << x[i]->getName();
            EXPECT_EQ(x[i]->indexStrings(), y[i]->indexStrings());
        }
        EXPECT_EQ(std::string(x.defaults(), static_cast<size_t>(x.recordSize())),
                  std::string(y.defaults(), static_cast<size_t>(y.recordSize())));
    }
    for (size_t i = 0; i < a.points().entries(); ++i)
        EXPECT_EQ(std::memcmp(a.points()(i)->data(), b.points()(i)->data(),
                              static_cast<size_t>(a.pointAttribs().recordSize())),
                  0)
            << i;
    ASSERT_EQ(a.primitives().entries(), b.primitives().entries());
    for (size_t i = 0; i < a.primitives().entries(); ++i) {
        const GEO_Primitive &x = *a.primitives()(i), &y = *b.primitives()(i);
        EXPECT_EQ(x.getPrimitiveId(), y.getPrimitiveId());
        EXPECT_EQ(x.getFlags(), y.getFlags());
        EXPECT_EQ(x.isClosed(), y.isClosed());
        ASSERT_EQ(x.getVertexCount(), y.getVertexCount());
        EXPECT_EQ(std::memcmp(x.data(), y.data(), static_cast<size_t>(a.primitiveAttribs().recordSize())), 0);
        for (int k = 0; k < x.getVertexCount(); ++k) {
            EXPECT_EQ(a.points().number(x.getVertexPoint(k)), b.points().number(y.getVertexPoint(k)));
            if (x.getVertex(k)) {
                EXPECT_EQ(std::memcmp(x.getVertex(k)->data(), y.getVertex(k)->data(),
                                      static_cast<size_t>(a.vertexAttribs().recordSize())),
                          0);
            }
        }
        UT_BoundingBox boxA, boxB;
        EXPECT_EQ(x.getBBox(boxA), y.getBBox(boxB)) << i; // quadrics: their frames
    }
    EXPECT_EQ(std::memcmp(a.attribData(), b.attribData(), static_cast<size_t>(a.attribs().recordSize())), 0);
}

TEST_P(FormatNative, KeepsEverythingAndWritesTheSameBytesAgain) {
    GU_Detail made, read;
    buildEverything(made);
    ASSERT_EQ(made.validate(), "");
    const std::string ending = GetParam();
    const std::string first = write(made, "a" + ending);
    std::string error;
    ASSERT_TRUE(readGeometry(read, path("a" + ending), error)) << error;
    EXPECT_EQ(read.validate(), "");
    expectSame(made, read);
    EXPECT_EQ(write(read, "b" + ending), first);

    const auto& prims = read.primitives();
    const auto* mesh = static_cast<const GEO_PrimMesh*>(prims(5));
    EXPECT_EQ(mesh->getNumRows(), 2);
    EXPECT_EQ(mesh->getNumCols(), 3);
    EXPECT_TRUE(mesh->isWrappedU());
    EXPECT_FALSE(mesh->isWrappedV());
    const auto* tube = static_cast<const GEO_PrimTube*>(prims(9));
    EXPECT_EQ(tube->getTaper(), 0.3f);
    EXPECT_EQ(tube->getXform()(0, 2), 15.0f / 9);
    const auto* ball = static_cast<const GEO_PrimMetaball*>(prims(10));
    EXPECT_EQ(ball->getWeight(), -1.5f);
    EXPECT_EQ(ball->getKernel(), 1);
    const auto* particles = static_cast<const GEO_PrimParticle*>(prims(12));
    EXPECT_TRUE(particles->isDead(2));
    EXPECT_FALSE(particles->isDead(1));
    const GB_PointGroup* odd = read.pointGroups().find("odd");
    EXPECT_EQ(odd->entries(), 15u);
    EXPECT_EQ(odd->getFlags(), 9);
    EXPECT_TRUE(odd->contains(read.points()(1)));
    EXPECT_TRUE(read.pointGroups().find("__hidden")->getInternal());
    EXPECT_TRUE(read.pointGroups().find("none")->isEmpty());
    EXPECT_EQ(read.primitiveGroups().find("some")->entries(), 5u);
}

TEST_P(FormatNative, AnEmptyDetailMakesARoundTrip) {
    GU_Detail empty, read;
    const std::string ending = GetParam();
    const std::string bytes = write(empty, "e" + ending);
    std::string error;
    ASSERT_TRUE(readGeometry(read, path("e" + ending), error)) << error;
    EXPECT_EQ(read.points().entries(), 0u);
    EXPECT_EQ(write(read, "f" + ending), bytes);
}

// Numbers that no string stands for mean "none" to every reader, so they are stored as such.
TEST_P(FormatNative, AStringNumberWithoutStringIsStoredAsNone) {
    GU_Detail made, read;
    const int offset = made.pointAttribs().append("path", 4, GB_ATTRIB_INDEX);
    *made.appendPoint()->castAttribData<int>(offset) = 7;
    const std::string ending = GetParam();
    write(made, "x" + ending);
    std::string error;
    ASSERT_TRUE(readGeometry(read, path("x" + ending), error)) << error;
    EXPECT_EQ(*pointValue<int>(read, "path", 0), -1);
}

// Random bits cover denormals, huge values and NaNs, and push the writers over their buffers.
TEST_P(FormatNative, EveryFloatKeepsItsBits) {
    std::mt19937 random(5);
    GU_Detail made, read;
    const int offset = made.pointAttribs().append("f", 4, GB_ATTRIB_FLOAT);
    std::vector<float> values;
    for (int i = 0; i < 20000; ++i) {
        values.push_back(std::bit_cast<float>(static_cast<uint32_t>(random())));
        *made.appendPoint()->castAttribData<float>(offset) = values.back();
    }
    const std::string ending = GetParam();
    write(made, "f" + ending);
    std::string error;
    ASSERT_TRUE(readGeometry(read, path("f" + ending), error)) << error;
    for (size_t i = 0; i < values.size(); ++i) {
        const float back = *pointValue<float>(read, "f", i);
        ASSERT_TRUE(std::isnan(values[i]) ? std::isnan(back)
                                          : std::bit_cast<uint32_t>(values[i]) == std::bit_cast<uint32_t>(back))
            << values[i] << " became " << back;
    }
}

INSTANTIATE_TEST_SUITE_P(Endings, FormatNative, ::testing::Values(".flx", ".bflx"),
                         [](const auto& ending) { return std::string(ending.param + 1); });

TEST_F(FormatNativeText, KeysComeInAnyOrderAndDefaultsMayBeLeftOut) {
    GU_Detail d;
    expectRead(d, GeometryFormat::FLX, R"({"prims": [{"points": [1, 0], "closed": false, "counts": [2], "type": "poly"},
        {"type": "particle", "points": [1]}], "P": [1, 2, 3, 1, "nan", "-inf", -0.0, 1e2], "points": 2, "flxgeo": 1})");
    ASSERT_EQ(d.primitives().entries(), 2u);
    EXPECT_FALSE(d.primitives()(0)->isClosed());
    EXPECT_EQ(d.points().number(d.primitives()(0)->getVertexPoint(0)), 1u);
    EXPECT_TRUE(std::isnan(d.points()(1)->getPos()[0]));
    EXPECT_EQ(d.points()(1)->getPos()[1], -std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::signbit(d.points()(1)->getPos()[2]));
    EXPECT_EQ(d.points()(1)->getPos()[3], 100.0f);
}

TEST_F(FormatNativeText, RefusesWithOneClearLine) {
    const struct {
        const char* text;
        const char* error;
    } cases[] = {
        {"", "is empty"},
        {"{", "line 1, column 2: no valid JSON at \"{\""},
        {"{\n\"flxgeo\": 1,\n\"P\": [1 2]}", "line 3, column 9: no valid JSON at \"2\""},
        {"[]", "an object expected"},
        {"3", "an object expected"},
        {"{\"a\": 1}", "has no \"flxgeo\" version; is it a geometry file?"},
        {R"({"flxgeo": 2})", "format version 2; this program reads version 1"},
        {R"({"flxgeo": 1})", "\"P\" is missing"},
        {R"({"flxgeo": 1, "P": [1], "P": []})", "\"P\": key \"P\" stands there twice"},
        {R"({"flxgeo": 1, "points": 0, "P": [], "pts": 3})", "unknown key \"pts\""},
        {R"({"flxgeo": 1, "points": 1, "P": [1, 2, 3]})", "\"P\" has 3 numbers; 1 points need 4"},
        {R"({"flxgeo": 1, "points": 4000000000, "P": []})", "\"P\" has 0 numbers; 4000000000 points need 16000000000"},
        {R"({"flxgeo": 1, "points": 1.5, "P": []})", "\"points\": 1.5 is no integer from 0 to 4294967295"},
        {R"({"flxgeo": 1, "points": 0, "P": [[1]]})", "\"P\": a list within a list"},
        {R"({"flxgeo": 1, "points": 0, "P": [1, true]})", "\"P\": a list of booleans has no meaning here"},
        {R"({"flxgeo": 1, "points": 0, "P": [1, "x"]})", "\"P\": a list of unlike things"},
        {R"({"flxgeo": 1, "points": null})", "\"points\": null has no meaning here"},
        {R"({"a":{"a":{"a":{"a":{"a":{"a":{"a":{"a":{"a":1}}}}}}}}})", "\"a.a.a.a.a.a.a.a\": nested deeper than 8"},
        {R"({"flxgeo": 1, "points": 0, "P": [], "prims": [{"type": "cone", "points": []}]})",
         "prims[0]: unknown type \"cone\"; known are poly, mesh, circle, sphere, tube, particle and metaball"},
        {R"({"flxgeo": 1, "points": 0, "P": [], "prims": [{"type": "poly", "counts": [1], "points": [0]}]})",
         "primitive 0: point number 0, but there are only 0 points"},
        {R"({"flxgeo": 1, "points": 1, "P": [0,0,0,1], "prims": [{"type": "poly", "counts": [2], "points": [0]}]})",
         "prims[0]: \"counts\" add up to 2, but \"points\" has 1"},
        {R"({"flxgeo": 1, "points": 1, "P": [0,0,0,1], "prims": [{"type": "poly", "counts": [1], "points": [-1]}]})",
         "prims[0]: \"points\": -1 is no integer from 0 to 4294967295"},
        {R"({"flxgeo": 1, "points": 1, "P": [0,0,0,1], "prims": [{"type": "mesh", "rows": 65536, "cols": 65536, "points": [0]}]})",
         "primitive 0: a mesh of 65536 x 65536 with 1 vertices"},
        {R"({"flxgeo": 1, "points": 1, "P": [0,0,0,1], "prims": [{"type": "sphere", "shape": [1], "points": [0]}]})",
         "prims[0]: \"shape\" has 1 numbers; it takes 9"},
        {R"({"flxgeo": 1, "points": 1, "P": [0,0,0,1], "prims": [{"type": "sphere", "shape": [1,0,0,0,1,0,0,0,1], "points": [0,0]}]})",
         "primitive 0: a sphere with 2 vertices; it has one"},
        {R"({"flxgeo": 1, "points": 1, "P": [0,0,0,1], "prims": [{"type": "particle", "points": [0], "dead": [1]}]})",
         "primitive 0: particle 1 is marked dead but does not exist"},
        {R"({"flxgeo": 1, "points": 0, "P": [], "pointattribs": [{"name": "v", "type": "half"}]})",
         "pointattribs[0]: unknown type \"half\"; known are float, int, vector, string and raw"},
        {R"({"flxgeo": 1, "points": 0, "P": [], "pointattribs": [{"name": "v", "type": "vector", "size": 2, "default": [0,0], "values": []}]})",
         "point attribute \"v\" cannot be of type vector with 8 bytes"},
        {R"({"flxgeo": 1, "points": 0, "P": [], "pointattribs": [{"name": "v", "type": "float", "size": 2, "default": [0], "values": []}]})",
         "point attribute \"v\" has a default of another size"},
        {R"({"flxgeo": 1, "points": 1, "P": [0,0,0,1], "pointattribs": [{"name": "v", "type": "int", "size": 1, "default": [0], "values": [1, 2]}]})",
         "point attribute \"v\": 8 bytes of values for 1 elements of 4 bytes"},
        {R"({"flxgeo": 1, "points": 1, "P": [0,0,0,1], "pointattribs": [{"name": "v", "type": "int", "size": 1, "default": [0], "values": [2147483648]}]})",
         "pointattribs[0]: \"values\": 2147483648 is no integer from -2147483648 to 2147483647"},
        {R"({"flxgeo": 1, "points": 1, "P": [0,0,0,1], "pointattribs": [{"name": "s", "type": "string", "size": 1, "default": [-1], "strings": ["a"], "values": [1]}]})",
         "point attribute \"s\": string number 1, but there are only 1 strings"},
        {R"({"flxgeo": 1, "points": 1, "P": [0,0,0,1], "pointattribs": [{"name": "b", "type": "raw", "size": 2, "default": "0000", "values": ["0g00"]}]})",
         "pointattribs[0]: \"g\" is no hexadecimal digit"},
        {R"({"flxgeo": 1, "points": 0, "P": [], "vertexattribs": [{"name": "a", "type": "int", "size": 1, "default": [0], "values": []}, {"name": "a", "type": "int", "size": 1, "default": [0], "values": []}]})",
         "vertex attribute \"a\" stands there twice"},
        {R"({"flxgeo": 1, "points": 0, "P": [], "pointattribs": [{"name": "P", "type": "int", "size": 1, "default": [0], "values": []}]})",
         "point attribute P is the position"},
        {R"({"flxgeo": 1, "points": 0, "P": [], "pointgroups": [{"name": "g", "points": [0]}]})",
         "point group \"g\": member 0, but there are only 0"},
        {R"({"flxgeo": 1, "points": 0, "P": [], "primgroups": [{"name": "a b", "prims": []}]})",
         "primitive group: \"a b\" is no name a group may have"},
        {"{\"flxgeo\": 1, \"points\": 0, \"P\": [], \"a\xff\": 1}", "line 1, column 39: no valid JSON at \"\"a?\""},
    };
    for (const auto& c : cases) EXPECT_EQ(refusal(GeometryFormat::FLX, c.text), c.error) << c.text;
}

TEST_F(FormatNativeText, TextThatIsNoUtf8IsRefusedByTheWriter) {
    GU_Detail d;
    d.pointAttribs().append("s", 4, GB_ATTRIB_INDEX);
    d.pointAttribs().addIndex("s", "caf\xe9");
    std::string error;
    EXPECT_FALSE(writeGeometry(d, path("x.flx"), error));
    EXPECT_EQ(error, path("x.flx") + ": attribute string \"caf?\" is not UTF-8, so no JSON text; write .bflx");
    EXPECT_TRUE(listing().empty());
    EXPECT_TRUE(writeGeometry(d, path("x.bflx"), error)) << error;
}

// Magic, tags and lengths are checked, and everything else lies under a checksum.
TEST_F(FormatNativeBinary, EveryDamagedByteIsFound) {
    GU_Detail made;
    buildEverything(made);
    const std::string good = write(made, "a.bflx");
    for (size_t i = 0; i < good.size(); ++i)
        for (const unsigned flip : {0x01u, 0x80u, 0xffu}) {
            std::string bad = good;
            bad[i] = static_cast<char>(static_cast<unsigned char>(bad[i]) ^ flip);
            ASSERT_NE(refusal(GeometryFormat::BFLX, bad), "(accepted)") << "byte " << i;
        }
    for (size_t i = 0; i < good.size(); ++i)
        ASSERT_NE(refusal(GeometryFormat::BFLX, good.substr(0, i)), "(accepted)") << "cut at " << i;
    EXPECT_EQ(refusal(GeometryFormat::BFLX, good + "x"),
              "byte " + std::to_string(good.size()) + ": 1 bytes behind the end");
}

/// Changes the payload of the n-th section and gives it a right checksum, as a forger would.
std::string forge(std::string file, size_t sections, size_t at, std::string_view bytes) {
    size_t start = 8;
    while (sections--) start += 16 + formats::readLittle<uint64_t>(&file[start + 4]);
    const size_t size = formats::readLittle<uint64_t>(&file[start + 4]);
    file.replace(start + 12 + at, bytes.size(), bytes);
    std::string crc;
    formats::appendLittle(crc, formats::crc32(0, std::string_view(file).substr(start, 12 + size)));
    return file.replace(start + 12 + size, 4, crc);
}

TEST_F(FormatNativeBinary, ForgedCountsAreRefused) {
    GU_Detail made;
    made.cube(UT_Vector3(0, 0, 0), UT_Vector3(1, 1, 1));
    made.pointAttribs().append("id", 4, GB_ATTRIB_INT);
    const std::string good = write(made, "a.bflx");
    const std::string ones(8, '\xff');
    const auto head = [&](size_t at, std::string_view bytes) {
        return refusal(GeometryFormat::BFLX, forge(good, 0, at, bytes));
    };
    EXPECT_EQ(forge(good, 0, 0, std::string_view("\1\0\0\0", 4)), good); // the forger works
    EXPECT_EQ(head(0, "\2"), "format version 2; this program reads version 1");
    EXPECT_NE(head(4, ones).find("18446744073709551615 points do not fit the "), std::string::npos);
    EXPECT_NE(head(12, ones.substr(0, 4)).find("section ATTR expected, \"TAIL\" found"), std::string::npos);
    const auto prim = [&](size_t at, std::string_view bytes) {
        return refusal(GeometryFormat::BFLX, forge(good, 2, at, bytes));
    };
    EXPECT_EQ(prim(0, "\2"), "primitive 0 is of the unknown kind 2");
    EXPECT_EQ(prim(8, ones.substr(0, 4)), "the primitives claim 4294967315 vertices, but 24 are there");
    EXPECT_EQ(refusal(GeometryFormat::BFLX, forge(good, 3, 4, "\x63")),
              "primitive 0: point number 99, but there are only 8 points");
    // ATTR: length and name (6 bytes), type (4), size (4), default (4), number of strings (8)
    EXPECT_NE(refusal(GeometryFormat::BFLX, forge(good, 6, 0, ones.substr(0, 4))).find("4294967295 bytes expected"),
              std::string::npos);
    EXPECT_NE(refusal(GeometryFormat::BFLX, forge(good, 6, 6, "\2")).find("unknown attribute type 2"),
              std::string::npos);
    EXPECT_NE(
        refusal(GeometryFormat::BFLX, forge(good, 6, 18, ones)).find("a count of 18446744073709551615 does not fit"),
        std::string::npos);
}

} // namespace
