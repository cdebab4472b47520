// Many bounces inside a closed mesh: nobody gets out who is kept on his side; of those that others lose, every ray they
// sent is checked against all triangles.
#include <cstdlib>
#include <map>

#include "ops/CollisionRig.h"
#include "ops/collision/FLX_Collision.h"

namespace {

/// A ball of 8 * 4^depth triangles with shared points, normals outward.
class Ball {
public:
    explicit Ball(int depth) {
        const UT_Vector3 axes[6] = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
        points.assign(axes, axes + 6);
        for (int i = 0; i < 8; ++i) {
            const int x = i & 1, y = 2 + (i >> 1 & 1), z = 4 + (i >> 2 & 1);
            const bool odd = (i & 1) ^ (i >> 1 & 1) ^ (i >> 2 & 1);
            split(odd ? std::array{x, z, y} : std::array{x, y, z}, depth);
        }
    }
    /// Every point where `place` puts it.
    template <class Place> void fill(GU_Detail& detail, Place&& place) const {
        std::vector<GEO_Point*> made;
        for (size_t i = 0; i < points.size(); ++i) detail.appendPoint();
        for (size_t i = 0; i < points.size(); ++i) {
            made.push_back(detail.points()(i));
            made.back()->setPos(UT_Vector4(place(points[i]), 1));
        }
        for (const std::array<int, 3>& t : triangles) {
            GEO_Point* const corners[] = {made[size_t(t[0])], made[size_t(t[1])], made[size_t(t[2])]};
            GU_PrimPoly::build(&detail, corners);
        }
    }

    std::vector<UT_Vector3> points;
    std::vector<std::array<int, 3>> triangles;

private:
    void split(const std::array<int, 3>& t, int depth) {
        if (depth == 0) {
            triangles.push_back(t);
            return;
        }
        const int a = middle(t[0], t[1]), b = middle(t[1], t[2]), c = middle(t[2], t[0]);
        for (const std::array<int, 3>& part :
             {std::array{t[0], a, c}, std::array{a, t[1], b}, std::array{c, b, t[2]}, std::array{a, b, c}})
            split(part, depth - 1);
    }
    int middle(int i, int j) {
        const auto [at, fresh] = myMiddles.try_emplace(std::minmax(i, j), int(points.size()));
        if (fresh) points.push_back((points[size_t(i)] + points[size_t(j)]).normalized());
        return at->second;
    }
    std::map<std::pair<int, int>, int> myMiddles;
};

/// How a ball moves: where its centre is and how wide it is.
struct Motion {
    int hint;
    float sway = 0, swell = 0;

    UT_Vector3 centre(float t) const { return {sway * std::sin(3 * t), 0, 0}; }
    float radius(float t) const { return 1 + swell * std::sin(5 * t); }
};

/// A collision that notes what its rays asked and were told, for one step.
class LoggedCollision final : public FLX_Collision {
public:
    using FLX_Collision::FLX_Collision;

    struct Cast {
        FLX_SurfaceRay ray;
        FLX_SurfaceHit previous, hit;
        bool found;
    };
    std::map<uint32_t, std::vector<Cast>> casts; // by slot of the particle
    bool logging = false;
    const GU_Detail* geometry(int k) { return getOversampledDetail(k); }

protected:
    int intersectParticle(const FLX_SweepRules& r, const FLX_HitValues& v, GEO_Point* p) override {
        myPoint = p->slot();
        return FLX_Collision::intersectParticle(r, v, p);
    }
    int intersectParticleWithMovingGeometry(const FLX_SweepRules& r, const FLX_HitValues& v, GEO_Point* p) override {
        myPoint = p->slot();
        return FLX_Collision::intersectParticleWithMovingGeometry(r, v, p);
    }
    int intersectParticleWithDeformingGeometry(const FLX_SweepRules& r, const FLX_HitValues& v, GEO_Point* p) override {
        myPoint = p->slot();
        return FLX_Collision::intersectParticleWithDeformingGeometry(r, v, p);
    }
    int intersectVertex(const FLX_SurfaceRay& ray, FLX_SurfaceHit& hit) override {
        return log(ray, hit, FLX_Collision::intersectVertex(ray, hit));
    }
    int intersectVertexWithMovingGeometry(const FLX_SurfaceRay& ray, FLX_SurfaceHit& hit) override {
        return log(ray, hit, FLX_Collision::intersectVertexWithMovingGeometry(ray, hit));
    }
    int intersectVertexWithDeformingGeometry(const FLX_SurfaceRay& ray, FLX_SurfaceHit& hit) override {
        return log(ray, hit, FLX_Collision::intersectVertexWithDeformingGeometry(ray, hit));
    }

private:
    int log(const FLX_SurfaceRay& ray, const FLX_SurfaceHit& hit, int found) {
        if (logging) casts[myPoint].push_back({ray, ray.previous ? *ray.previous : FLX_SurfaceHit(), hit, found != 0});
        return found;
    }
    uint32_t myPoint = 0;
};

/// Where a ray for sure crosses a triangle, in lengths of its direction; -1 for not, or not for sure. The triangle's
/// corners move from `from` to `to` while the ray runs from fraction `start` to the end of the step at `length`.
double crossing(const FLX_SurfaceRay& ray, const UT_Vector3D (&from)[3], const UT_Vector3D (&to)[3]) {
    constexpr double SURE = 1e-5;
    const UT_Vector3D o(ray.origin), d(ray.direction);
    const auto corner = [&](int i, double t) {
        const double s = ray.startFraction + (1 - double(ray.startFraction)) * t / double(ray.length);
        return from[i] * (1 - s) + to[i] * s;
    };
    const auto height = [&](double t) {
        const UT_Vector3D a = corner(0, t), n = cross(corner(1, t) - a, corner(2, t) - a);
        return dot(n, o + d * t - a) / n.length();
    };
    const auto inside = [&](double t) {
        const UT_Vector3D x = o + d * t, a = corner(0, t), b = corner(1, t), c = corner(2, t);
        const UT_Vector3D n = cross(b - a, c - a);
        return std::min({dot(cross(c - b, x - b), n), dot(cross(a - c, x - c), n), dot(cross(b - a, x - a), n)}) >
               SURE * dot(n, n);
    };
    const bool still = from[0] == to[0] && from[1] == to[1] && from[2] == to[2];
    const int pieces = still ? 1 : 48;
    const double end = double(ray.length);
    double before = height(0);
    for (int i = 1; i <= pieces; ++i) {
        double low = end * (i - 1) / pieces, high = end * i / pieces;
        const double after = height(high);
        if (before * after < 0) {
            for (int k = 0; k < 50; ++k) {
                const double mid = (low + high) / 2;
                (height(mid) * before > 0 ? low : high) = mid;
            }
            if (inside(low)) return low;
        }
        before = after;
    }
    return -1;
}

/// Crossings that a cast should have reported before what it did report.
int missed(const LoggedCollision::Cast& cast, const GU_Detail& from, const GU_Detail& to) {
    int count = 0;
    for (size_t i = 0; i < from.primitives().entries(); ++i) {
        if (cast.ray.previous && cast.previous.prim == int(i)) continue; // where it starts
        UT_Vector3D a[3], b[3];
        for (int k = 0; k < 3; ++k) {
            a[k] = UT_Vector3D(UT_Vector3(from.primitives()(i)->getVertexPoint(k)->getPos()));
            b[k] = UT_Vector3D(UT_Vector3(to.primitives()(i)->getVertexPoint(k)->getPos()));
        }
        const double t = crossing(cast.ray, a, b), slack = 1e-5 * double(cast.ray.length) + 1e-5;
        count += t > slack && t < (cast.found ? double(cast.hit.t) : double(cast.ray.length)) - slack;
    }
    return count;
}

/// How far inside the ball, which is convex, a ray starts; below 0: outside.
double depth(const FLX_SurfaceRay& ray, const GU_Detail& from, const GU_Detail& to) {
    double least = 1e9;
    for (size_t i = 0; i < from.primitives().entries(); ++i) {
        UT_Vector3D p[3];
        for (int k = 0; k < 3; ++k) {
            const UT_Vector3 a = from.primitives()(i)->getVertexPoint(k)->getPos();
            const UT_Vector3 b = to.primitives()(i)->getVertexPoint(k)->getPos();
            p[k] = UT_Vector3D(a) * (1 - double(ray.startFraction)) + UT_Vector3D(b) * double(ray.startFraction);
        }
        const UT_Vector3D n = cross(p[1] - p[0], p[2] - p[0]).normalized();
        least = std::min(least, dot(n, p[0] - UT_Vector3D(ray.origin)));
    }
    return least;
}

struct Closed {
    CollisionRig rig;
    Motion motion;
    LoggedCollision* hit;
    int particles;
    int lost = 0, examined = 0, explained = 0;

    Closed(const Ball& ball, const Motion& m, int n)
        : rig([&ball, m](GU_Detail& d,
                         float t) { ball.fill(d, [&](const UT_Vector3& p) { return m.centre(t) + p * m.radius(t); }); },
              n, m.hint == 0)
        , motion(m)
        , particles(n) {
        Network::registerOperator<LoggedCollision>("loggedcollision", &FLX_Collision::myVariablePair);
        hit = static_cast<LoggedCollision*>(&rig.net.add("loggedcollision", "logged", {&rig.source}));
        hit->setString("soppath", "/obj/wall/out");
        hit->setFloat("behavior", 0, 1);
        hit->setFloat("geohint", 0, m.hint);
    }
    bool isOutside(const UT_Vector3& p, float slack = 1e-4f) const {
        const float t = const_cast<Closed*>(this)->rig.net.time();
        return (p - motion.centre(t)).length() > motion.radius(t) + slack;
    }
    void scatter(float speed) {
        uint32_t state = 1;
        const auto number = [&] { return float(int32_t(state = state * 1664525u + 1013904223u)) / 2147483648.0f; };
        for (int i = 0; i < particles; ++i) {
            UT_Vector3 p, v;
            do
                for (int k = 0; k < 3; ++k) p[k] = number(), v[k] = number();
            while (p.length() > 0.9f);
            rig.place(i, p, v * speed);
        }
    }
    /// Bounces for so many steps; every particle that gets out is looked into, up to `sample` of them, and killed.
    void run(int steps, int sample) {
        hit->logging = sample > 0;
        for (int step = 0; step < steps; ++step) {
            hit->casts.clear();
            rig.net.step();
            ASSERT_EQ(Network::messages(*hit), "");
            for (int i = 0; i < rig.net.particles(); ++i) {
                if (rig.state(i) & FLX_DEAD || !isOutside(rig.position(i))) continue;
                ++lost;
                if (examined < sample) examine(rig.net.point(i)->slot());
                rig.net.setInt("pstate", i, FLX_DEAD);
            }
        }
    }
    // A particle is lost when a ray that finds nothing starts on or behind the surface: there rounding, or a bounce
    // that set it down there, has put it, and without a record of its side nothing tells that it does not belong there.
    // Or when it has bounced as often as it may: what is left of the step then takes it straight through.
    void examine(uint32_t slot) {
        ++examined;
        bool behind = false;
        for (const LoggedCollision::Cast& cast : hit->casts[slot]) {
            const int k = cast.ray.subStep;
            const GU_Detail* from = hit->geometry(k);
            const GU_Detail* to = motion.hint == 2 ? hit->geometry(k + 1) : from;
            EXPECT_EQ(missed(cast, *from, *to), 0) << "a ray missed a triangle";
            behind |= !cast.found && depth(cast.ray, *from, *to) < 1e-5;
        }
        const std::vector<LoggedCollision::Cast>& all = hit->casts[slot];
        const bool spent = int(all.size()) == hit->BOUNCE(0) && all.back().found;
        explained += behind || spent;
    }
};

} // namespace

// FLX_CLOSED_PARTICLES=100000 bounces as many. A grazing path takes more bounces in a step than the default allows.
TEST(ClosedCollision, NobodyLeavesWhoIsKeptOnHisSide) {
    const char* wanted = std::getenv("FLX_CLOSED_PARTICLES");
    const int particles = wanted ? std::atoi(wanted) : 800;
    ASSERT_GT(particles, 0);
    const Ball ball(3);
    for (const float gains : {1.0f, 0.3f}) {
        Closed closed(ball, {0}, particles);
        closed.hit->setFloat("bounce", 0, 1000);
        for (const char* toggle : {"enforceorient", "dohittest", "donormalstep"}) closed.hit->setFloat(toggle, 0, 1);
        closed.hit->setFloat("gainnml", 0, double(gains));
        closed.hit->setFloat("gaintan", 0, double(gains));
        closed.rig.net.start(*closed.hit);
        closed.scatter(20);
        closed.run(200, 0);
        EXPECT_EQ(closed.lost, 0) << gains;
        EXPECT_EQ(closed.rig.net.particles(), particles);
    }
}

TEST(ClosedCollision, WhatGetsLostNoRayHasMissed) {
    struct Case {
        Motion motion;
        bool enforced;
    };
    const Ball ball(2);
    for (const std::array<int, 3>& t : ball.triangles) {
        const UT_Vector3 &a = ball.points[size_t(t[0])], &b = ball.points[size_t(t[1])], &c = ball.points[size_t(t[2])];
        ASSERT_GT(dot(cross(b - a, c - a), a), 0) << "outward";
    }
    int lost = 0, examinedDeforming = 0;
    for (const Case& c : {Case{{0}, true},
                          {{0}, false},
                          {{1, 0.4f, 0}, false},
                          {{2, 0.2f, 0.1f}, false},
                          {{2, 1, 0.6f}, false},
                          {{2, 3, 0.6f}, false}}) {
        for (const float gains : {1.0f, 0.3f}) {
            Closed closed(ball, c.motion, 250);
            closed.hit->setFloat("enforceorient", 0, c.enforced);
            closed.hit->setFloat("gainnml", 0, double(gains));
            closed.hit->setFloat("gaintan", 0, double(gains));
            closed.rig.net.start(*closed.hit);
            closed.scatter(20);
            closed.run(60, 20);
            EXPECT_EQ(closed.explained, closed.examined) << c.motion.hint << " " << gains;
            lost += closed.lost;
            if (c.motion.hint == 2) examinedDeforming += closed.examined;
        }
    }
    EXPECT_GT(lost, 10) << "or there was nothing to look into";
    EXPECT_LT(lost, 200);
    EXPECT_GT(examinedDeforming, 10);
}
