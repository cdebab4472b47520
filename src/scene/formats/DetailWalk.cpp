#include "scene/formats/DetailWalk.h"

#include <cstring>

namespace formats {
namespace {

void describeMesh(const GEO_PrimMesh& mesh, PrimImage& image) {
    image.rows = static_cast<uint32_t>(mesh.getNumRows());
    image.cols = static_cast<uint32_t>(mesh.getNumCols());
    image.bits = (mesh.isWrappedU() ? PrimImage::WRAP_U : 0u) | (mesh.isWrappedV() ? PrimImage::WRAP_V : 0u);
}

void describeParticles(const GEO_PrimParticle& prim, PrimImage& image, std::vector<uint32_t>& dead) {
    for (uint32_t i = 0; i < image.vertices; ++i) {
        if (!prim.isDead(i)) continue;
        dead.push_back(i);
        ++image.cols;
    }
}

void describeQuadric(const GEO_PrimQuadric& quadric, PrimImage& image, std::vector<float>& shapes) {
    const UT_Matrix3& frame = quadric.getXform();
    shapes.insert(shapes.end(), frame.data(), frame.data() + 9);
    if (image.kind == GEOPRIMTUBE) shapes.push_back(static_cast<const GEO_PrimTube&>(quadric).getTaper());
    if (image.kind != GEOPRIMMETABALL) return;
    const auto& ball = static_cast<const GEO_PrimMetaball&>(quadric);
    shapes.push_back(ball.getWeight());
    image.rows = static_cast<uint32_t>(ball.getKernel());
}

} // namespace

size_t elementCount(const GU_Detail& detail, GB_AttribClass cls) {
    switch (cls) {
    case GB_AttribClass::POINT: return detail.points().entries();
    case GB_AttribClass::VERTEX: return detail.vertexRecords().live();
    case GB_AttribClass::PRIMITIVE: return detail.primitives().entries();
    default: return 1;
    }
}

uint32_t storedWord(const GB_Attribute& attribute, const char* value, int component) {
    uint32_t word;
    std::memcpy(&word, value + 4 * component, 4);
    const bool noString = attribute.getType() == GB_ATTRIB_INDEX && !attribute.getIndex(static_cast<int>(word));
    return noString ? 0xffffffffu : word;
}

PrimImage describe(const GEO_Primitive& prim, std::vector<float>& shapes, std::vector<uint32_t>& dead) {
    PrimImage image;
    image.kind = prim.getPrimitiveId();
    image.flags = prim.getFlags();
    image.vertices = static_cast<uint32_t>(prim.getVertexCount());
    if (image.kind == GEOPRIMPOLY && prim.isClosed()) image.bits = PrimImage::CLOSED;
    if (image.kind == GEOPRIMMESH) describeMesh(static_cast<const GEO_PrimMesh&>(prim), image);
    if (image.kind == GEOPRIMPART) describeParticles(static_cast<const GEO_PrimParticle&>(prim), image, dead);
    if (shapeSize(image.kind)) describeQuadric(static_cast<const GEO_PrimQuadric&>(prim), image, shapes);
    return image;
}

} // namespace formats
