#include "scene/FormatFixture.h"
#include "scene/formats/Checksum.h"
#include "scene/formats/LittleEndian.h"

#include <random>

namespace {

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

class FormatFuzz : public FormatFixture {
protected:
    /// Bytes flipped, overwritten, cut out, doubled; whatever comes out is read and must leave a sound detail, empty
    /// when refused.
    void mutate(GeometryFormat format, const std::string& seed, int rounds, unsigned number) {
        std::mt19937 random(number);
        const auto below = [&](size_t n) { return n ? static_cast<size_t>(random()) % n : 0; };
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
            if (format == GeometryFormat::BFLX) mendChecksums(bytes);
            GU_Detail detail;
            std::string error;
            if (readGeometry(detail, format, bytes, error)) {
                ASSERT_EQ(detail.validate(), "");
                touchEverything(detail);
            } else {
                ASSERT_EQ(detail.points().entries() + detail.primitives().entries(), 0u);
                ASSERT_FALSE(error.empty());
                ASSERT_EQ(error.find('\n'), std::string::npos) << error;
            }
        }
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

TEST_F(FormatFuzz, TextsByHand) {
    mutate(GeometryFormat::OBJ,
           "v 0 0 0 1 0 0\nv 1 0 0 0 1 0\nv 1 1 0 1 1 1\nvt 0 0\nvt 1 0.5\nvn 0 0 1\nvn 1 0 0\ng a b\n"
           "f 1/1/1 2/2/1 3/1/2\no c\nf -1//-1 -2//-1 1//1\nl 1 2 \\\n 3\np 1\n",
           8000, 1);
    mutate(GeometryFormat::PLY,
           "ply\nformat ascii 1.0\ncomment strings s 0 a\nelement vertex 3\nproperty float x\nproperty float y\n"
           "property double z\nproperty uchar red\nproperty uchar green\nproperty uchar blue\nproperty int s\n"
           "property list uchar short w\nelement other 1\nproperty list int float q\nelement face 1\n"
           "property list uchar int vertex_index\nend_header\n0 0 0 1 2 3 0 0\n1 0 0 4 5 6 -1 1 5\n"
           "0 1 0 7 8 9 0 2 5 6\n1 2.5\n3 0 1 2\n",
           8000, 2);
}

TEST_F(FormatFuzz, WrittenFiles) {
    GU_Detail d;
    buildEverything(d);
    const std::string little = write(d, "a.ply");
    mutate(GeometryFormat::PLY, little, 4000, 3);
    std::string big = little;
    big.replace(big.find("little"), 6, "big");
    mutate(GeometryFormat::PLY, big, 4000, 4);
    mutate(GeometryFormat::FLX, write(d, "a.flx"), 4000, 5);
    mutate(GeometryFormat::BFLX, write(d, "a.bflx"), 6000, 7);
}

} // namespace
