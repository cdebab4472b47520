#pragma once

#include "host/geo/GU_Detail.h"
#include "scene/formats/Formats.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <string>
#include <unistd.h>
#include <vector>

/// A folder of its own for the files of one test, gone afterwards.
class FormatFixture : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        myFolder = std::filesystem::temp_directory_path() / ("flx_" + std::string(info->test_suite_name()) + "_" +
                                                             info->name() + "_" + std::to_string(::getpid()));
        std::filesystem::remove_all(myFolder);
        std::filesystem::create_directories(myFolder);
    }
    void TearDown() override { std::filesystem::remove_all(myFolder); }

    std::string path(const std::string& name) const { return (myFolder / name).string(); }
    std::string put(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
        return path(name);
    }
    static std::string bytesOf(const std::string& file) {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    /// Names in the folder, so that leftovers show.
    std::vector<std::string> listing() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(myFolder))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }
    std::string write(const GU_Detail& detail, const std::string& name) const {
        std::string error;
        EXPECT_TRUE(writeGeometry(detail, path(name), error)) << error;
        return bytesOf(path(name));
    }

    std::filesystem::path myFolder;
};

/// Reads from memory and expects success and a sound detail.
inline void expectRead(GU_Detail& detail, GeometryFormat format, const std::string& bytes) {
    std::string error;
    ASSERT_TRUE(readGeometry(detail, format, bytes, error)) << error;
    EXPECT_EQ(detail.validate(), "");
}

/// The error line of bytes that must be refused; the detail must be empty afterwards.
inline std::string refusal(GeometryFormat format, const std::string& bytes) {
    GU_Detail detail;
    detail.appendPoint();
    std::string error;
    if (readGeometry(detail, format, bytes, error)) return "(accepted)";
    EXPECT_EQ(detail.points().entries(), 0u);
    EXPECT_EQ(detail.primitives().entries(), 0u);
    EXPECT_EQ(detail.pointAttribs().entries(), 0u);
    EXPECT_EQ(detail.validate(), "");
    EXPECT_EQ(error.find('\n'), std::string::npos);
    return error;
}

template <class T> const T* pointValue(const GU_Detail& detail, const char* name, size_t number) {
    const GB_Attribute* attribute = detail.pointAttribs().find(name);
    return attribute ? detail.points()(number)->castAttribData<T>(attribute->getOffset()) : nullptr;
}

/// The components of a float point attribute; empty when it does not exist.
inline std::vector<float> floats(const GU_Detail& detail, const char* name, size_t point) {
    const GB_Attribute* attribute = detail.pointAttribs().find(name);
    if (!attribute || !GBisFloatType(attribute->getType())) return {};
    const float* from = pointValue<float>(detail, name, point);
    return {from, from + attribute->components()};
}

/// The numbers of a primitive's points.
inline std::vector<uint32_t> corners(const GU_Detail& detail, size_t prim) {
    const GEO_Primitive& face = *detail.primitives()(prim);
    std::vector<uint32_t> out;
    for (int i = 0; i < face.getVertexCount(); ++i) out.push_back(detail.points().number(face.getVertexPoint(i)));
    return out;
}

/// A detail with every kind of primitive, every class and type of attribute, groups, odd floats and odd strings.
inline void buildEverything(GU_Detail& d) {
    const float half[3] = {0.5f, -0.0f, 1e-40f};
    const int velocity = d.pointAttribs().append("v", 12, GB_ATTRIB_VECTOR, half);
    const int id = d.pointAttribs().append("id", 4, GB_ATTRIB_INT);
    const int path = d.pointAttribs().append("instance", 4, GB_ATTRIB_INDEX);
    const int raw = d.pointAttribs().append("blob", 5, GB_ATTRIB_RAW);
    d.pointAttribs().append("Cd", 12, GB_ATTRIB_FLOAT);
    d.pointAttribs().append("two words", 8, GB_ATTRIB_FLOAT);
    const int uv = d.vertexAttribs().append("uv", 12, GB_ATTRIB_FLOAT);
    const int born = d.primitiveAttribs().append("born", 4, GB_ATTRIB_FLOAT);
    const int generator = d.primitiveAttribs().append("generator", 4, GB_ATTRIB_INDEX);
    const int next = d.attribs().append("nextid", 4, GB_ATTRIB_INT);
    *d.attribs().castAttribData<int>(next) = 2147483647;
    d.pointAttribs()
        .find("instance")
        ->setIndexStrings(
            {"/obj/rock", "", "a \"quoted\", text\nwith \\ and \r", "\xc3\xa4\xf0\x9f\x8e\x88", "twice", "twice"});
    d.pointGroups().newGroup("odd");
    d.pointGroups().newGroup("none");
    d.pointGroups().newGroup("__hidden", 1);

    for (int i = 0; i < 30; ++i) {
        GEO_Point* p = d.appendPoint();
        const auto f = static_cast<float>(i);
        p->setPos({f, f / 3, -f * 1e10f, i % 7 == 0 ? 2.5f : 1.0f});
        if (i % 3) *p->castAttribData<UT_Vector3>(velocity) = UT_Vector3(f / 7, 1e-45f, 3.4e38f);
        *p->castAttribData<int>(id) = -i * 70000000;
        *p->castAttribData<int>(path) = i % 7 - 1;
        std::memcpy(p->castAttribData<char>(raw), "\x00\xff\x01z", 4);
        if (i % 2) d.pointGroups().find("odd")->add(p);
    }
    d.points()(3)->getPos()[0] = std::numeric_limits<float>::quiet_NaN();
    d.points()(4)->getPos()[1] = -std::numeric_limits<float>::infinity();
    d.pointGroups().find("odd")->setFlags(9);

    const auto poly = [&](std::initializer_list<size_t> points, bool closed, int flags) {
        auto* prim = static_cast<GEO_PrimPoly*>(d.insertPrimitive(GEOPRIMPOLY));
        for (const size_t p : points) prim->appendVertex(d.points()(p));
        if (!closed) prim->open();
        prim->setFlags(flags);
    };
    poly({0, 1, 2}, true, 0);
    poly({2, 1, 3, 4, 5}, true, 0);
    poly({}, true, 0);
    poly({0, 5}, false, 0);
    poly({1, 5, 1}, false, 4);
    uint32_t slots[6];
    for (size_t i = 0; i < 6; ++i) slots[i] = d.points()(6 + i)->slot();
    GEO_PrimMesh::build(&d, 2, 3, true, false, slots);
    d.insertPrimitive(GEOPRIMMESH);
    unsigned point = 12;
    for (const unsigned kind : {GEOPRIMCIRCLE, GEOPRIMSPHERE, GEOPRIMTUBE, GEOPRIMMETABALL}) {
        auto* quadric = static_cast<GEO_PrimQuadric*>(d.insertPrimitive(kind));
        quadric->appendVertex(d.points()(point++));
        UT_Matrix3 frame(2);
        frame(0, 2) = static_cast<float>(point) / 9;
        quadric->setXform(frame);
        if (kind == GEOPRIMTUBE) static_cast<GEO_PrimTube*>(quadric)->setTaper(0.3f);
        if (kind != GEOPRIMMETABALL) continue;
        static_cast<GEO_PrimMetaball*>(quadric)->setWeight(-1.5f);
        static_cast<GEO_PrimMetaball*>(quadric)->setKernel(1);
    }
    poly({9, 8, 7}, true, 0);
    auto* particles = static_cast<GEO_PrimParticle*>(d.insertPrimitive(GEOPRIMPART));
    for (const size_t p : {25u, 20u, 21u, 29u}) particles->appendParticle(d.points()(p));
    particles->deadParticle(2);
    d.insertPrimitive(GEOPRIMPART);

    auto* group = d.primitiveGroups().newGroup("some");
    float n = 0;
    d.primitives().forEach(nullptr, [&](GEO_Primitive* prim) {
        *prim->castAttribData<float>(born) = n += 0.17f;
        *prim->castAttribData<int>(generator) =
            prim->getPrimitiveId() == GEOPRIMPART
                ? d.primitiveAttribs().addIndex("generator", "/obj/fx/birth" + std::to_string(prim->getNum()))
                : -1;
        if (prim->getNum() % 3 == 0) group->add(prim);
        if (prim->getPrimitiveId() == GEOPRIMPART) return;
        for (int i = 0; i < prim->getVertexCount(); ++i)
            *prim->getVertex(i)->castAttribData<UT_Vector3>(uv) = UT_Vector3(n, static_cast<float>(i), 0.1f);
    });
}
