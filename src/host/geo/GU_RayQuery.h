#pragma once

#include "host/geo/GU_RayFrame.h"
#include "host/geo/GU_RayIntersect.h"
#include "host/geo/GU_RaySearch.h"

/// One ray on its way through the structure.
struct GU_RayIntersect::Query : GU_RaySearch {
    Query(const UT_Vector3& o, const UT_Vector3& d, const GU_RayInfo& info, const UT_BoundingBox& scene,
          std::vector<GU_RayCandidate>& list)
        : GU_RaySearch(o, d, info, list)
        , frame(o, d)
        , axes{frame.x(), frame.y(), frame.z()}
        , shearX(GU_Float4::splat(static_cast<float>(frame.shearX())))
        , shearY(GU_Float4::splat(static_cast<float>(frame.shearY())))
        , perDepth(GU_Float4::splat(static_cast<float>(frame.scale()))) {
        for (int k = 0; k < 3; ++k) from[k] = GU_Float4::splat(org[axes[k]]);
        aim(UT_Vector3D(o), UT_Vector3D(d), low, high, scene);
    }

    GU_RayFrame frame;
    int axes[3];
    GU_Float4 from[3], shearX, shearY, perDepth; ///< the frame in float, for four triangles at once
    OutlineAnswer outline;
};
