#pragma once

#include <memory>
#include <vector>

#include "core/FLX_Node.h"
#include "host/geo/GU_RayIntersect.h"

/// The geometries that stuck and sliding particles name through "pospath", each fetched once per step, and the ray
/// structure of the one in use.
class FLX_SurfaceCache {
public:
    explicit FLX_SurfaceCache(FLX_ContextData& context);

    struct Surface {
        bool fetched = false;
        GU_Detail* detail = nullptr;
        FLX_GeoLookup lookup;
        UT_DMatrix4 inverse{};
        bool identity = true;

        UT_Vector3 toWorld(const UT_Vector3& p) const;
        UT_Vector3 toLocal(const UT_Vector3& p) const;
        UT_Vector3 normalToWorld(const UT_Vector3& n) const;    ///< by the inverse transpose
        UT_Vector3 directionToLocal(const UT_Vector3& d) const; ///< by the transpose: the way a world normal goes back
    };

    /// The geometry of a string index of "pospath"; null for none.
    Surface* surface(int pathIndex);
    /// The ray structure of a surface, built when it was not the last one asked for; null without geometry.
    const GU_RayIntersect* intersector(int pathIndex);
    /// The primitive a particle is bound to, with its geometry; null when it names none.
    const GEO_Primitive* primitiveOf(GEO_Point* point, Surface*& surface);

    int pathOffset() const { return myPath; }
    int primOffset() const { return myPrim; }
    int uvOffset() const { return myUV; }

private:
    FLX_ContextData& myContext;
    const GB_Attribute* myPaths;
    int myPath, myPrim, myUV;
    std::vector<Surface> mySurfaces; // by string index
    int myIntersectorIndex = -1;
    std::shared_ptr<const GU_RayIntersect> myIntersector;
};
