#include "host/geo/GU_RayBatch.h"

#include "host/geo/GU_RayQuery.h"

#include <vector>

struct GU_RayBatch::Ray {
    Ray(const UT_Vector3& org, const UT_Vector3& dir, const GU_RayInfo& info, const UT_BoundingBox& scene,
        std::vector<GU_RayCandidate>& list)
        : query(org, dir, info, scene, list)
        , isRay(GU_RayIntersect::isRay(org, dir, info.getMin(), info.getMax())) {}

    GU_RayIntersect::Query query;
    bool isRay; ///< else it hits nothing
    uint32_t leafCount = 0;
    uint32_t leaves[8]; ///< to be visited when all rays know theirs; more are visited at once
};

struct GU_RayBatch::Store {
    std::vector<Ray> rays;
    std::vector<GU_RayCandidate> none; ///< closest hits need no list
    GU_RayInfo info;
};

GU_RayBatch::GU_RayBatch()
    : myStore(std::make_unique<Store>()) {
    myStore->rays.reserve(MOST);
}

GU_RayBatch::~GU_RayBatch() = default;

void GU_RayBatch::begin(const GU_RayIntersect& rays) { begin(&rays); }

void GU_RayBatch::begin(const GU_RayIntersect* rays) {
    myRays = rays;
    myStore->rays.clear();
}

void GU_RayBatch::add(const UT_Vector3& org, const UT_Vector3& dir, float reach) {
    Store& store = *myStore;
    store.info.setRange(0, reach);
    store.rays.emplace_back(org, dir, store.info, myRays->getBBox(), store.none);
}

void GU_RayBatch::cast() {
    const GU_RayIntersect& rays = *myRays;
    const GU_BvhLine* lines[MOST] = {};
    Ray* owners[MOST];
    size_t count = 0;
    for (Ray& ray : myStore->rays) {
        if (!ray.isRay) continue;
        lines[count] = &ray.query.line;
        owners[count++] = &ray;
    }
    rays.myBvh.alongEach(lines, count, [&](uint32_t line, uint32_t leaf) {
        Ray& ray = *owners[line];
        if (ray.leafCount == std::size(ray.leaves)) return rays.visitLeaf(leaf, ray.query);
        ray.leaves[ray.leafCount++] = leaf;
        rays.fetchLeaf(leaf);
    });
    for (size_t i = 0; i < count; ++i)
        for (uint32_t l = 0; l < owners[i]->leafCount; ++l) rays.visitLeaf(owners[i]->leaves[l], owners[i]->query);
}

bool GU_RayBatch::answers(size_t i, const GU_RayIntersect& rays, const UT_Vector3& org, const UT_Vector3& dir,
                          float reach, GU_RayInfo& info) const {
    if (&rays != myRays || i >= myStore->rays.size()) return false;
    const Ray& ray = myStore->rays[i];
    const GU_RayIntersect::Query& query = ray.query;
    if (query.org != org || query.dir != dir || query.high != reach) return false;
    info.reset();
    if (query.found) info.myHit = rays.finish(query.best, query.at(query.best.t));
    return true;
}
