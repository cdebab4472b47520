#include "scene/FormatFixture.h"
#include "scene/formats/Checksum.h"
#include "scene/formats/LittleEndian.h"

#include <functional>
#include <random>

namespace {

class FormatFuzz : public FormatFixture {
protected:
    /// Bytes flipped, overwritten, cut out, doubled; whatever comes out is read and must leave a sound detail, empty
    /// when refused.
    void mutate(
        GeometryFormat format, const std::string& seed, int rounds, unsigned number,
        const std::function<void(std::string&)>& mend = [](std::string&) {}) {
        std::mt19937 random(number);
        const auto below = [&](size_t n) { return n ? static_cast<size_t>(random()) % n : 0; };
        int accepted = 0;
        for (int round = 0; round < rounds; ++round) {
            std::string bytes = seed;
            for (size_t k = 1 + below(4); k && !bytes.empty(); --k) {
                const size_t at = below(bytes.size());
                switch (below(6)) {
                case 0: bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8))); break;
                case 1: bytes[at] = static_cast<char>(random()); break;
                case 2: bytes[at] = "0123456789-.[]{}\",\n /"[below(21)]; break;
                case 3: bytes.erase(at, 1 + below(8)); break;
                case 4: bytes.insert(at, bytes.substr(below(bytes.size()), below(12))); break;
                default: bytes.replace(at, std::min<size_t>(4, bytes.size() - at), "\xff\xff\xff\xff"); break;
                }
            }
            mend(bytes);
            GU_Detail detail;
            std::string error;
            if (readGeometry(detail, format, bytes, error)) {
                ++accepted;
                ASSERT_EQ(detail.validate(), "");
                touchEverything(detail);
            } else {
                ASSERT_EQ(detail.points().entries() + detail.primitives().entries(), 0u);
                ASSERT_FALSE(error.empty());
                ASSERT_EQ(error.find('\n'), std::string::npos) << error;
            }
        }
        RecordProperty("accepted", accepted);
    }
    /// What a program does next with geometry: boxes, normals, positions on primitives.
    static void touchEverything(GU_Detail& d) {
        UT_BoundingBox box;
        d.getBBox(box);
        d.primitives().forEach(nullptr, [](GEO_Primitive* prim) {
            UT_Vector4 p;
            prim->evaluatePosition(0.3f, 0.6f, p);
            prim->computeNormal();
        });
    }
};

TEST_F(FormatFuzz, Obj) {
    mutate(GeometryFormat::OBJ,
           "v 0 0 0 1 0 0\nv 1 0 0 0 1 0\nv 1 1 0 1 1 1\nvt 0 0\nvt 1 0.5\nvn 0 0 1\nvn 1 0 0\ng a b\nf 1/1/1 2/2/1 "
           "3/1/2\n"
           "o c\nf -1//-1 -2//-1 1//1\nl 1 2 \\\n 3\np 1\n",
           8000, 1);
}

TEST_F(FormatFuzz, PlyText) {
    mutate(GeometryFormat::PLY,
           "ply\nformat ascii 1.0\ncomment strings s 0 a\nelement vertex 3\nproperty float x\nproperty float y\n"
           "property double z\nproperty uchar red\nproperty uchar green\nproperty uchar blue\nproperty int s\nproperty "
           "list "
           "uchar short w\nelement other 1\nproperty list int float q\nelement face 1\nproperty list uchar int "
           "vertex_index\n"
           "end_header\n0 0 0 1 2 3 0 0\n1 0 0 4 5 6 -1 1 5\n0 1 0 7 8 9 0 2 5 6\n1 2.5\n3 0 1 2\n",
           8000, 2);
}

TEST_F(FormatFuzz, PlyBinary) {
    GU_Detail d;
    buildEverything(d);
    const std::string little = write(d, "a.ply");
    mutate(GeometryFormat::PLY, little, 4000, 3);
    std::string big = little;
    big.replace(big.find("little"), 6, "big");
    mutate(GeometryFormat::PLY, big, 4000, 4);
}

TEST_F(FormatFuzz, NativeText) {
    GU_Detail d;
    buildEverything(d);
    mutate(GeometryFormat::FLX, write(d, "a.flx"), 4000, 5);
}

/// Gives every section whose bounds still make sense its right checksum, so that damage gets past it.
void mendChecksums(std::string& bytes) {
    for (size_t at = 8; at + 16 <= bytes.size();) {
        const uint64_t size = formats::readLittle<uint64_t>(&bytes[at + 4]);
        if (size > bytes.size() - at - 16) return;
        std::string crc;
        formats::appendLittle(crc, formats::crc32(0, std::string_view(bytes).substr(at, 12 + size)));
        bytes.replace(at + 12 + size, 4, crc);
        at += 16 + size;
    }
}

TEST_F(FormatFuzz, NativeBinary) {
    GU_Detail d;
    buildEverything(d);
    mutate(GeometryFormat::BFLX, write(d, "a.bflx"), 2000, 6);
    mutate(GeometryFormat::BFLX, bytesOf(path("a.bflx")), 6000, 7, mendChecksums);
}

} // namespace
