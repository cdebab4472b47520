#include "host/geo/GU_RayBatch.h"

#include "host/geo/GU_RayQuery.h"

#include <cassert>
#include <vector>

struct GU_RayBatch::Ray {
    Ray(const UT_Vector3& org, const UT_Vector3& dir, const GU_RayInfo& info, const UT_BoundingBox& scene,
        std::vector<GU_RayCandidate>& list)
        : query(org, dir, info, scene, list)
        , isRay(GU_RayIntersect::isRay(org, dir, info.getMin(), info.getMax())) {}

    GU_RayIntersect::Query query;
    bool isRay; ///< else it hits nothing
};

struct GU_RayBatch::Visitor {
    const GU_RayIntersect& rays;
    GU_RayIntersect::Query* const* queries;
    void ahead(uint32_t leaf) const { UTprefetch(rays.myLeaves[leaf]); }
    void operator()(uint32_t walk, uint32_t leaf) const { rays.visitLeaf(leaf, *queries[walk]); }
};

struct GU_RayBatch::Store {
    std::vector<Ray> rays;
    std::vector<GU_Bvh::Walk> walks;
    std::vector<GU_RayCandidate> none; ///< closest hits need no list
    GU_RayInfo info;
};

GU_RayBatch::GU_RayBatch()
    : myStore(std::make_unique<Store>()) {}

GU_RayBatch::~GU_RayBatch() = default;

void GU_RayBatch::begin(const GU_RayIntersect& rays) { begin(&rays); }

void GU_RayBatch::begin(const GU_RayIntersect* rays) {
    myRays = rays;
    myStore->rays.clear();
    if (!rays) return;
    myStore->rays.reserve(MOST);
    myStore->walks.reserve(MOST);
}

void GU_RayBatch::add(const UT_Vector3& org, const UT_Vector3& dir, float low, float high) {
    Store& store = *myStore;
    assert(store.rays.size() < MOST);
    store.info.setRange(low, high);
    store.rays.emplace_back(org, dir, store.info, myRays->getBBox(), store.none);
}

void GU_RayBatch::cast() {
    std::vector<GU_Bvh::Walk>& walks = myStore->walks;
    GU_RayIntersect::Query* queries[MOST] = {};
    walks.clear();
    for (Ray& ray : myStore->rays) {
        if (!ray.isRay) continue;
        queries[walks.size()] = &ray.query;
        walks.emplace_back(ray.query.line);
    }
    myRays->myBvh.alongEach(walks, Visitor{*myRays, queries});
}

bool GU_RayBatch::answers(size_t i, const GU_RayIntersect& rays, const UT_Vector3& org, const UT_Vector3& dir,
                          float low, float high, GU_RayInfo& info) const {
    if (&rays != myRays || i >= myStore->rays.size()) return false;
    const Ray& ray = myStore->rays[i];
    const GU_RayIntersect::Query& query = ray.query;
    if (query.org != org || query.dir != dir || query.low != low || query.high != high) return false;
    info.reset();
    if (query.found) info.myHit = rays.finish(query.best, query.at(query.best.t));
    return true;
}
