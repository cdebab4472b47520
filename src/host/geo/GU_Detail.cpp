#include "host/geo/GU_Detail.h"

namespace {

GU_Detail::Loader& theLoader() {
    static GU_Detail::Loader loader;
    return loader;
}

} // namespace

int GU_Detail::duplicate(const GU_Detail& src, int whole) {
    copyWhole(src, whole != 0);
    return 0;
}

void GU_Detail::setLoader(Loader loader) { theLoader() = std::move(loader); }

bool GU_Detail::load(const char* file, const GEO_LoadOptions*, std::string* error) {
    stashAll();
    std::string why = "no reader for geometry files is installed";
    if (theLoader() && theLoader()(*this, file ? file : "", why)) return true;
    stashAll();
    if (error) *error = why;
    return false;
}

GEO_PrimPoly* GU_Detail::cube(const UT_Vector3& low, const UT_Vector3& high) {
    // Corner i: bit 0 picks high x, bit 1 high y, bit 2 high z.
    static constexpr int FACES[6][4] = {{0, 4, 6, 2}, {1, 3, 7, 5}, {0, 1, 5, 4},
                                        {2, 6, 7, 3}, {0, 2, 3, 1}, {4, 5, 7, 6}};
    GEO_Point* corners[8];
    for (int i = 0; i < 8; ++i) {
        corners[i] = appendPoint();
        corners[i]->setPos({(i & 1 ? high : low).x(), (i & 2 ? high : low).y(), (i & 4 ? high : low).z()});
    }
    GEO_PrimPoly* first = nullptr;
    for (const auto& face : FACES) {
        GEO_Point* const points[4] = {corners[face[0]], corners[face[1]], corners[face[2]], corners[face[3]]};
        GEO_PrimPoly* quad = GU_PrimPoly::build(this, points);
        if (!first) first = quad;
    }
    return first;
}
