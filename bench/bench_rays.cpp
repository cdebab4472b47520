// Rays as particles cast them, short moves near a surface and far from it, against a wavy mesh of 100 352 triangles:
// building, casting, and following the surface while it deforms; held against Embree where it is there.
#include "host/geo/GU_Detail.h"
#include "host/geo/GU_RayIntersect.h"
#include "support/Comparison.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#ifdef FLX_BENCH_EMBREE
#include <embree3/rtcore.h>
#endif

namespace {

using namespace bench;

constexpr int GRID = 224;
constexpr size_t MOVES = 100000, LONG_MOVES = 10000;

struct Move {
    UT_Vector3 org, dir;
    float length;
};

double random(double low, double high) {
    static uint64_t state = 1;
    state = state * 6364136223846793005u + 1442695040888963407u;
    return low + (high - low) * static_cast<double>(state >> 11) * 0x1p-53;
}

UT_Vector3 vectorOf(double x, double y, double z) { return UT_Vector3(UT_Vector3D(x, y, z)); }

UT_Vector3 direction() {
    for (;;) {
        const double x = random(-1, 1), y = random(-1, 1), z = random(-1, 1), l = x * x + y * y + z * z;
        if (l < 1 && l > 0.01) return vectorOf(x, y, z).normalized();
    }
}

double height(double x, double y, double time) { return 0.5 * std::sin(x * 2 + time) * std::cos(y * 2); }

/// Puts the mesh where it is at a time; it rises with it.
void place(GU_Detail& detail, double time, double rise) {
    size_t number = 0;
    for (int j = 0; j <= GRID; ++j)
        for (int i = 0; i <= GRID; ++i) {
            const double x = -10 + 20.0 * i / GRID, y = -10 + 20.0 * j / GRID;
            detail.points()[number++]->setPos(UT_Vector4(vectorOf(x, y, height(x, y, time) + rise * time)));
        }
    detail.bumpChange();
}

/// The mesh at rest.
void fill(GU_Detail& detail) {
    std::vector<GEO_Point*> points((GRID + 1) * (GRID + 1));
    for (GEO_Point*& point : points) point = detail.appendPoint();
    const auto at = [&](int i, int j) { return points[static_cast<size_t>(j) * (GRID + 1) + static_cast<size_t>(i)]; };
    for (int j = 0; j < GRID; ++j)
        for (int i = 0; i < GRID; ++i) {
            GEO_Point* low[3] = {at(i, j), at(i + 1, j), at(i + 1, j + 1)};
            GEO_Point* high[3] = {at(i, j), at(i + 1, j + 1), at(i, j + 1)};
            GU_PrimPoly::build(&detail, low);
            GU_PrimPoly::build(&detail, high);
        }
    place(detail, 0, 0);
}

std::vector<Move> movesNear() {
    std::vector<Move> moves;
    for (size_t i = 0; i < MOVES; ++i) {
        const double x = random(-9.5, 9.5), y = random(-9.5, 9.5), z = height(x, y, 0) + random(-0.2, 0.2);
        moves.push_back({vectorOf(x, y, z), direction(), 0.2f});
    }
    return moves;
}

std::vector<Move> movesFar() {
    std::vector<Move> moves;
    for (size_t i = 0; i < MOVES; ++i)
        moves.push_back({vectorOf(random(-10, 10), random(-10, 10), random(-1, 9)), direction(), 0.2f});
    return moves;
}

std::vector<Move> longMoves() {
    std::vector<Move> moves;
    for (size_t i = 0; i < LONG_MOVES; ++i)
        moves.push_back({vectorOf(-10, random(-9, 9), random(-0.4, 0.4)),
                         vectorOf(1, random(-0.05, 0.05), random(-0.02, 0.02)), 20});
    return moves;
}

uint32_t spread(uint32_t x) { // every third bit
    uint32_t out = 0;
    for (uint32_t bit = 0; bit < 10; ++bit) out |= (x >> bit & 1) << (3 * bit);
    return out;
}

/// The moves by the cell that they start in, cells along a Z curve.
std::vector<Move> inOrder(std::vector<Move> moves) {
    const auto code = [](const Move& m) {
        uint32_t all = 0;
        for (int k = 0; k < 3; ++k) all |= spread(static_cast<uint32_t>((m.org[k] + 12) * 40)) << k;
        return all;
    };
    std::stable_sort(moves.begin(), moves.end(), [&](const Move& a, const Move& b) { return code(a) < code(b); });
    return moves;
}

size_t cast(const GU_RayIntersect& rays, const std::vector<Move>& moves, int find) {
    GU_RayInfo info;
    size_t hits = 0;
    for (const Move& move : moves) {
        info.init(move.length, 0, find);
        rays.sendRay(move.org, move.dir, info);
        hits += static_cast<size_t>(info.getHitCount());
    }
    return hits;
}

#ifdef FLX_BENCH_EMBREE
class Packaged {
public:
    explicit Packaged(const GU_Detail& detail, RTCSceneFlags flags = RTC_SCENE_FLAG_NONE)
        : myScene(rtcNewScene(device())) {
        rtcSetSceneFlags(myScene, flags);
        RTCGeometry geometry = rtcNewGeometry(device(), RTC_GEOMETRY_TYPE_TRIANGLE);
        const size_t points = detail.points().entries(), prims = detail.primitives().entries();
        auto* p = static_cast<float*>(
            rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, 12, points));
        for (size_t i = 0; i < points; ++i)
            for (int k = 0; k < 3; ++k) *p++ = detail.points()[i]->getPos()[k];
        auto* v = static_cast<uint32_t*>(
            rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, 12, prims));
        for (size_t i = 0; i < prims; ++i)
            for (int k = 0; k < 3; ++k)
                *v++ = detail.points().numberOfSlot(detail.primitives()[i]->getVertexPointSlot(k));
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(myScene, geometry);
        rtcReleaseGeometry(geometry);
        rtcCommitScene(myScene);
    }
    Packaged(const Packaged&) = delete;
    ~Packaged() { rtcReleaseScene(myScene); }

    size_t cast(const std::vector<Move>& moves) const {
        size_t hits = 0;
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        for (const Move& move : moves) {
            RTCRayHit r;
            r.ray.org_x = move.org.x(), r.ray.org_y = move.org.y(), r.ray.org_z = move.org.z();
            r.ray.dir_x = move.dir.x(), r.ray.dir_y = move.dir.y(), r.ray.dir_z = move.dir.z();
            r.ray.tnear = 0, r.ray.tfar = move.length, r.ray.mask = ~0u, r.ray.flags = 0, r.ray.time = 0;
            r.hit.geomID = r.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
            rtcIntersect1(myScene, &context, &r);
            hits += r.hit.geomID != RTC_INVALID_GEOMETRY_ID;
        }
        return hits;
    }

private:
    static RTCDevice device() {
        static RTCDevice the = rtcNewDevice("threads=1,set_affinity=0");
        return the;
    }
    RTCScene myScene;
};
#endif

size_t theHits = 0;

/// Casting one kind of moves: ours against theirs, in random order and by cells.
void compareCasts(const char* title, const GU_Detail& detail, const GU_RayIntersect& rays,
                  const std::vector<Move>& moves) {
    const std::vector<Move> sorted = inOrder(moves);
    Comparison table(title);
    const size_t ours = table.add("closest", MOVES, [&] { theHits = cast(rays, moves, GU_FIND_CLOSEST); });
    table.add("closest, moves by cell", MOVES, [&] { theHits = cast(rays, sorted, GU_FIND_CLOSEST); });
    table.add("furthest", MOVES, [&] { theHits = cast(rays, moves, GU_FIND_FURTHEST); });
    table.add("all", MOVES, [&] { theHits = cast(rays, moves, GU_FIND_ALL); });
#ifdef FLX_BENCH_EMBREE
    const Packaged packaged(detail), robust(detail, RTC_SCENE_FLAG_ROBUST);
    const size_t theirs = table.add("Embree, closest", MOVES, [&] { theHits = packaged.cast(moves); });
    table.add("Embree, closest, moves by cell", MOVES, [&] { theHits = packaged.cast(sorted); });
    table.add("Embree, closest, robust", MOVES, [&] { theHits = robust.cast(moves); });
    table.run(7);
    table.print(theirs);
    table.bar(ours, theirs, 2.0);
    std::printf("  hits: %zu, Embree %zu\n", cast(rays, moves, GU_FIND_CLOSEST), packaged.cast(moves));
#else
    (void)detail;
    table.run(7);
    table.print(ours);
#endif
}

void compareBuilds(const GU_Detail& detail) {
    const double triangles = double(detail.primitives().entries());
    Comparison table("building, per triangle");
    const size_t ours = table.add("build", triangles, [&] { theHits += GU_RayIntersect(&detail).entries(); });
#ifdef FLX_BENCH_EMBREE
    const size_t theirs = table.add("Embree, build", triangles, [&] { Packaged packaged(detail); });
    table.run(7);
    table.print(theirs);
    table.bar(ours, theirs, 3.5);
#else
    table.run(7);
    table.print(ours);
#endif
}

void compareSweeps(const char* title, const GU_Detail& begin, const GU_Detail& end, const std::vector<Move>& moves) {
    const GU_RayIntersect fixed(&begin), moving(&begin, &end);
    Comparison table(title);
    const size_t still =
        table.add("closest, surface at rest", MOVES, [&] { theHits = cast(fixed, moves, GU_FIND_CLOSEST); });
    table.add("all, surface at rest", MOVES, [&] { theHits = cast(fixed, moves, GU_FIND_ALL); });
    const size_t sweep = table.add("closest, moving", MOVES, [&] { theHits = cast(moving, moves, GU_FIND_CLOSEST); });
    table.add("all, moving", MOVES, [&] { theHits = cast(moving, moves, GU_FIND_ALL); });
    GU_RayIntersect following(&begin, &end);
    const size_t frame = table.add("refit and closest, moving", MOVES, [&] {
        if (!following.refit(&begin, &end)) std::abort();
        theHits = cast(following, moves, GU_FIND_CLOSEST);
    });
    table.add("refit, per move", MOVES, [&] { theHits = static_cast<size_t>(following.refit(&begin, &end)); });
    table.add("build, per move", MOVES, [&] { theHits = GU_RayIntersect(&begin, &end).entries(); });
    table.run(5);
    table.print(still);
    table.bar(sweep, still, 3.0);
    table.bar(frame, still, 3.0);
    std::printf("  hits: %zu, moving %zu\n", cast(fixed, moves, GU_FIND_ALL), cast(moving, moves, GU_FIND_ALL));
}

/// What it costs to find out that a mesh is the same but for its points: a copy has told so.
void compareRefits(const GU_Detail& begin, const GU_Detail& end) {
    GU_Detail anew[2];
    for (GU_Detail& detail : anew) {
        fill(detail);
        place(detail, 0.4, 2);
    }
    GU_RayIntersect following(&begin, &end);
    const double triangles = double(begin.primitives().entries());
    const auto refit = [&](const GU_Detail& to) {
        if (!following.refit(&begin, &to)) std::abort();
    };
    Comparison table("following a surface, per triangle");
    const size_t copy = table.add("refit to a copy", triangles, [&] { refit(end); });
    table.add("refit to a mesh made anew", triangles, [&, turn = 0]() mutable { refit(anew[turn ^= 1]); });
    table.run(5);
    table.print(copy);
}

} // namespace

int main() {
    GU_Detail detail, next, far; // what deforms geometry moves the points of a copy
    fill(detail);
    next.copy(detail);
    place(next, 0.04, 0.5);
    far.copy(detail);
    place(far, 0.4, 2);
    const GU_RayIntersect rays(&detail);
    compareBuilds(detail);
    compareCasts("moves near the surface", detail, rays, movesNear());
    compareCasts("moves far from the surface", detail, rays, movesFar());
    compareSweeps("a surface that moves by a quarter of a triangle, moves near it", detail, next, movesNear());
    compareSweeps("a surface that moves by ten triangles, moves near it", detail, far, movesNear());
    compareSweeps("a surface that moves by a quarter of a triangle, moves far from it", detail, next, movesFar());
    compareSweeps("a surface that moves by ten triangles, moves far from it", detail, far, movesFar());
    compareRefits(detail, far);
    Comparison table("all hits of long moves");
    const std::vector<Move> moves = longMoves();
    const size_t all = table.add("all", LONG_MOVES, [&] { theHits = cast(rays, moves, GU_FIND_ALL); });
    table.run(5);
    table.print(all);
}
