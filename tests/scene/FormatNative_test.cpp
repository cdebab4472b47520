#include "scene/FormatFixture.h"
#include "scene/StateHash.h"
#include "support/SameBits.h"

#include <random>

namespace {

class FormatNative : public FormatFixture, public ::testing::WithParamInterface<const char*> {
protected:
    std::string roundTrip(const GU_Detail& made, GU_Detail& read) const;
};
class FormatNativeText : public FormatFixture {};
class FormatNativeBinary : public FormatFixture {};

/// What a state hash counts, which is nearly everything, and what it leaves out: strings that nobody bears, the order
/// of attributes and strings, flags, marks of death.
void expectSame(const GU_Detail& a, const GU_Detail& b) {
    EXPECT_EQ(hashDetail(a), hashDetail(b));
    for (int cls = 0; cls < 4; ++cls) {
        const GB_AttributeDict &x = a.attribs(GB_AttribClass(cls)), &y = b.attribs(GB_AttribClass(cls));
        ASSERT_EQ(x.entries(), y.entries());
        for (size_t i = 0; i < x.entries(); ++i) {
            EXPECT_TRUE(x[i]->is(y[i]->getName(), y[i]->getSize(), y[i]->getType())) << x[i]->getName();
            EXPECT_EQ(x[i]->indexStrings(), y[i]->indexStrings());
        }
        EXPECT_EQ(std::string(x.defaults(), size_t(x.recordSize())), std::string(y.defaults(), size_t(y.recordSize())));
    }
    ASSERT_EQ(a.primitives().entries(), b.primitives().entries());
    for (size_t i = 0; i < a.primitives().entries(); ++i) {
        EXPECT_EQ(a.primitives()(i)->getFlags(), b.primitives()(i)->getFlags());
        const auto *x = dynamic_cast<const GEO_PrimParticle*>(a.primitives()(i)),
                   *y = dynamic_cast<const GEO_PrimParticle*>(b.primitives()(i));
        for (size_t k = 0; x && y && k < x->particleCount(); ++k) EXPECT_EQ(x->isDead(k), y->isDead(k)) << k;
    }
}

/// Writes `made` with the ending and reads it back; the bytes.
std::string FormatNative::roundTrip(const GU_Detail& made, GU_Detail& read) const {
    const std::string file = std::string("a") + GetParam(), bytes = write(made, file);
    std::string error;
    EXPECT_TRUE(readGeometry(read, path(file), error)) << error;
    EXPECT_EQ(read.validate(), "");
    return bytes;
}

TEST_P(FormatNative, KeepsEverythingAndWritesTheSameBytesAgain) {
    GU_Detail made, read, empty, nothing;
    const std::string none = roundTrip(empty, nothing);
    EXPECT_EQ(roundTrip(nothing, read), none);
    buildEverything(made);
    ASSERT_EQ(made.validate(), "");
    const std::string first = roundTrip(made, read);
    expectSame(made, read);
    EXPECT_EQ(write(read, std::string("b") + GetParam()), first);
    EXPECT_EQ(read.pointGroups().find("odd")->getFlags(), 9);
    EXPECT_TRUE(read.pointGroups().find("__hidden")->getInternal());
}

// Random bits cover denormals, huge values and NaNs, and push the writers over their buffers. Numbers that no string
// stands for mean "none" to every reader, so they are stored as such.
TEST_P(FormatNative, EveryFloatKeepsItsBitsAndNumbersWithoutStringAreNone) {
    std::mt19937 random(5);
    GU_Detail made, read;
    const int offset = made.pointAttribs().append("f", 4, GB_ATTRIB_FLOAT);
    const int path = made.pointAttribs().append("path", 4, GB_ATTRIB_INDEX);
    std::vector<float> values;
    for (int i = 0; i < 20000; ++i) {
        values.push_back(std::bit_cast<float>(static_cast<uint32_t>(random())));
        *made.appendPoint()->castAttribData<float>(offset) = values.back();
    }
    *made.points()(0)->castAttribData<int>(path) = 7;
    roundTrip(made, read);
    ASSERT_EQ(read.points().entries(), values.size());
    EXPECT_EQ(*pointValue<int>(read, "path", 0), -1);
    for (size_t i = 0; i < values.size(); ++i) {
        const float back = *pointValue<float>(read, "f", i);
        ASSERT_TRUE(sameBits(values[i], back)) << values[i] << " became " << back;
    }
}

INSTANTIATE_TEST_SUITE_P(Endings, FormatNative, ::testing::Values(".flx", ".bflx"),
                         [](const auto& ending) { return std::string(ending.param + 1); });

TEST_F(FormatNativeText, KeysComeInAnyOrderAndDefaultsMayBeLeftOut) {
    GU_Detail d;
    expectRead(d, GeometryFormat::FLX, R"({"prims": [{"points": [1, 0], "closed": false, "counts": [2], "type": "poly"},
        {"type": "particle", "points": [1]}], "P": [1, 2, 3, 1, -1, 5, 7e0, 1e2], "points": 2, "flxgeo": 1})");
    ASSERT_EQ(d.primitives().entries(), 2u);
    EXPECT_FALSE(d.primitives()(0)->isClosed());
    EXPECT_EQ(d.points().number(d.primitives()(0)->getVertexPoint(0)), 1u);
    EXPECT_EQ(d.points()(1)->getPos(), UT_Vector4(-1, 5, 7, 100));
}

TEST_F(FormatNativeText, RefusesWithOneClearLine) {
    // clang-format off
    const std::pair<const char*, const char*> cases[] = {
        {"", "is empty"},
        {"{", "line 1, column 2: no valid JSON at \"{\""},
        {"3", "an object expected"},
        {"{\"a\": 1}", "has no \"flxgeo\" version; is it a geometry file?"},
        {R"({"flxgeo": 2})", "format version 2; this program reads version 1"},
        {R"({"flxgeo": 1})", "\"P\" is missing"},
        {R"({"flxgeo": 1, "P": [1], "P": []})", "\"P\": key \"P\" stands there twice"},
        {R"({"flxgeo": 1, "points": 1, "P": [1, 2, 3]})", "\"P\" has 3 numbers; 1 points need 4"},
        {R"({"flxgeo": 1, "points": 4000000000, "P": []})", "\"P\" has 0 numbers; 4000000000 points need 16000000000"},
        {R"({"flxgeo": 1, "points": 1.5, "P": []})", "\"points\": 1.5 is no integer from 0 to 4294967295"},
        {R"({"flxgeo": 1, "points": 0, "P": [1, true]})", "\"P\": a list of booleans has no meaning here"},
        {R"({"a":{"a":{"a":{"a":{"a":{"a":{"a":{"a":{"a":1}}}}}}}}})", "\"a.a.a.a.a.a.a.a\": nested deeper than 8"},
        {"{\"flxgeo\": 1, \"points\": 0, \"P\": [], \"a\xff\": 1}", "line 1, column 39: no valid JSON at \"\"a?\""},
    };
    // With so many points at the origin.
    const struct { int points; const char *rest, *error; } damaged[] = {
        {0, R"("prims": [{"type": "cone", "points": []}])",
         "prims[0]: unknown type \"cone\"; known are poly, mesh, circle, sphere, tube, particle and metaball"},
        {0, R"("prims": [{"type": "poly", "counts": [1], "points": [0]}])",
         "primitive 0: point number 0, but there are only 0 points"},
        {1, R"("prims": [{"type": "poly", "counts": [2], "points": [0]}])",
         "prims[0]: \"counts\" add up to 2, but \"points\" has 1"},
        {1, R"("prims": [{"type": "mesh", "rows": 65536, "cols": 65536, "points": [0]}])",
         "primitive 0: a mesh of 65536 x 65536 with 1 vertices"},
        {1, R"("prims": [{"type": "particle", "points": [0], "dead": [1]}])",
         "primitive 0: particle 1 is marked dead but does not exist"},
        {0, R"("pointattribs": [{"name": "v", "type": "half"}])",
         "pointattribs[0]: unknown type \"half\"; known are float, int, vector, string and raw"},
        {0, R"("pointattribs": [{"name": "v", "type": "vector", "size": 2, "default": [0,0], "values": []}])",
         "point attribute \"v\" cannot be of type vector with 8 bytes"},
        {1, R"("pointattribs": [{"name": "s", "type": "string", "size": 1, "default": [-1], "strings": ["a"], "values": [1]}])",
         "point attribute \"s\": string number 1, but there are only 1 strings"},
        {1, R"("pointattribs": [{"name": "b", "type": "raw", "size": 2, "default": "0000", "values": ["0g00"]}])",
         "pointattribs[0]: \"g\" is no hexadecimal digit"},
        {0, R"("pointattribs": [{"name": "P", "type": "int", "size": 1, "default": [0], "values": []}])",
         "point attribute P is the position"},
        {0, R"("pointgroups": [{"name": "g", "points": [0]}])", "point group \"g\": member 0, but there are only 0"},
        {0, R"("primgroups": [{"name": "a b", "prims": []}])", "primitive group: \"a b\" is no name a group may have"},
    };
    // clang-format on
    for (const auto& [text, error] : cases) EXPECT_EQ(refusal(GeometryFormat::FLX, text), error) << text;
    for (const auto& c : damaged) {
        const std::string head =
            c.points ? R"({"flxgeo": 1, "points": 1, "P": [0,0,0,1], )" : R"({"flxgeo": 1, "points": 0, "P": [], )";
        EXPECT_EQ(refusal(GeometryFormat::FLX, head + c.rest + "}"), c.error) << c.rest;
    }
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

} // namespace
