#pragma once

#include "host/geo/GU_Bvh.h"
#include "host/geo/GU_RayInfo.h"
#include "host/ut/UT_Vector3.h"

#include <cstddef>
#include <memory>

class GU_RayIntersect;

/// Rays that look for their closest hit, cast before anybody asks for it and side by side: while one waits for memory
/// others go on. For rays in no order, over geometry that stands still. Who asks later gets exactly what
/// GU_RayIntersect::sendRay would say.
class GU_RayBatch {
public:
    static constexpr size_t MOST = GU_Bvh::MOST_WALKS; ///< rays

    GU_RayBatch();
    ~GU_RayBatch();
    GU_RayBatch(const GU_RayBatch&) = delete;
    GU_RayBatch& operator=(const GU_RayBatch&) = delete;

    /// The structure must stay as it is until the last ray is asked for.
    void begin(const GU_RayIntersect& rays);
    /// Adds a ray over [low, high]; at most MOST.
    void add(const UT_Vector3& org, const UT_Vector3& dir, float low, float high);
    void cast();
    void clear() { begin(nullptr); }

    /// Whether ray `i` is this one of the batch, and if so its closest hit or none in `info`, like sendRay.
    bool answers(size_t i, const GU_RayIntersect& rays, const UT_Vector3& org, const UT_Vector3& dir, float low,
                 float high, GU_RayInfo& info) const;

private:
    struct Ray;
    struct Store;
    struct Visitor;
    void begin(const GU_RayIntersect* rays);

    const GU_RayIntersect* myRays = nullptr;
    std::unique_ptr<Store> myStore;
};
