#include "scene/InitialState.h"

#include "host/geo/GU_Detail.h"
#include "scene/SceneDirectory.h"
#include "scene/formats/Formats.h"

namespace {

void becomeParticles(GU_Detail& detail) {
    detail.deletePrimitives([](const GEO_Primitive&) { return true; });
    const int none = -1;
    const int offset = detail.primitiveAttribs().append("generator", 4, GB_ATTRIB_INDEX, &none);
    auto* particles = static_cast<GEO_PrimParticle*>(detail.insertPrimitive(GEOPRIMPART));
    for (size_t i = 0; i < detail.points().entries(); ++i) particles->appendParticle(detail.points()[i]);
    // Without a generator string the simulation would take the primitive for something that is not its own.
    if (offset >= 0) *particles->castAttribData<int>(offset) = detail.primitiveAttribs().addIndex("generator", "");
}

} // namespace

bool loadInitialState(GU_Detail& detail, const char* file, std::string& error) {
    if (!readGeometry(detail, SceneDirectory::resolve(file), error)) return false;
    if (!detail.primitives().head(GEOPRIMPART)) becomeParticles(detail);
    return true;
}
