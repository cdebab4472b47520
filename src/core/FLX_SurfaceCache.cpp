#include "core/FLX_SurfaceCache.h"

FLX_SurfaceCache::FLX_SurfaceCache(FLX_ContextData& context)
    : myContext(context)
    , myPaths(context.getDetail()->pointAttribs().find("pospath", 4, GB_ATTRIB_INDEX))
    , myPath(context.getPosPathOffset())
    , myPrim(context.getPosPrimOffset())
    , myUV(context.getPosUVOffset()) {
    if (myPaths) mySurfaces.resize(size_t(myPaths->entries()));
}

FLX_SurfaceCache::Surface* FLX_SurfaceCache::surface(int pathIndex) {
    if (pathIndex < 0 || !myPaths || pathIndex >= myPaths->entries() || !myContext.cookNode) return nullptr;
    if (size_t(pathIndex) >= mySurfaces.size()) mySurfaces.resize(size_t(myPaths->entries()));
    Surface& surface = mySurfaces[size_t(pathIndex)];
    if (!surface.fetched) {
        surface.fetched = true;
        surface.detail = myContext.cookNode->getGeo(myPaths->getIndex(pathIndex), &myContext, myContext.time, 0, 0,
                                                    nullptr, surface.lookup);
        surface.identity = surface.lookup.transform.isIdentity();
        surface.inverse = surface.lookup.transform;
        if (!surface.inverse.invert()) surface.detail = nullptr; // a flattened object has no surface to stand on
    }
    return surface.detail ? &surface : nullptr;
}

const GU_RayIntersect* FLX_SurfaceCache::intersector(int pathIndex) {
    Surface* from = surface(pathIndex);
    if (!from) return nullptr;
    if (pathIndex != myIntersectorIndex || !myIntersector) {
        myIntersector = GU_RayIntersect::shared(from->detail);
        myIntersectorIndex = pathIndex;
    }
    return myIntersector.get();
}

const GEO_Primitive* FLX_SurfaceCache::primitiveOf(GEO_Point* point, Surface*& found) {
    if (myPath < 0 || myPrim < 0 || myUV < 0) return nullptr;
    found = surface(*point->castAttribData<int>(myPath));
    if (!found) return nullptr;
    const int number = *point->castAttribData<int>(myPrim);
    const GEO_PrimList& prims = found->detail->primitives();
    return number >= 0 && size_t(number) < prims.entries() ? prims(size_t(number)) : nullptr;
}

UT_Vector3 FLX_SurfaceCache::Surface::toWorld(const UT_Vector3& p) const {
    return identity ? p : rowVecMult(p, lookup.transform);
}

UT_Vector3 FLX_SurfaceCache::Surface::toLocal(const UT_Vector3& p) const {
    return identity ? p : rowVecMult(p, inverse);
}

UT_Vector3 FLX_SurfaceCache::Surface::normalToWorld(const UT_Vector3& n) const {
    return identity ? n : colVecMult3(inverse, n);
}

UT_Vector3 FLX_SurfaceCache::Surface::directionToLocal(const UT_Vector3& d) const {
    return identity ? d : colVecMult3(lookup.transform, d);
}
