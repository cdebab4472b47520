#pragma once

#include <cmath>

#include "support/OperatorRig.h"

/// Particles that a test places and throws, against geometry that a test fills, through a "collision" operator.
struct CollisionRig : OperatorRig {
    FLX_Node& hit = node;

    explicit CollisionRig(const std::function<void(GU_Detail&, float)>& fill, int particles = 1, bool still = true)
        : OperatorRig("collision", particles, {}, 24, false) {
        text("soppath", net.addGeometry("wall", fill, still));
    }
    /// Every attribute that a hit can fill.
    void addHitAttributes() {
        set("donumhit=1 dohitid=1 dohittime=1 dohitpos=1 dohitposuv=1 dohitnormal=1 dohitdiff=1 dohituv=1 "
            "dodistance=1");
    }
    void start() { net.start(hit); }
    void place(int i, const UT_Vector3& position, const UT_Vector3& velocity) {
        OperatorRig::place(i, position);
        net.setValue("v", i, {velocity.x(), velocity.y(), velocity.z()});
    }
    /// Starts with particle 0 here, this fast, and makes one step, with these messages.
    void fly(const UT_Vector3& position, const UT_Vector3& velocity, const std::string& told = "") {
        start();
        place(0, position, velocity);
        net.step();
        EXPECT_EQ(messages(), told);
    }
    UT_Vector3 velocity(int i = 0) { return vector("v", i); }
    int state(int i = 0) { return net.intValue("pstate", i); }
    const float* backtrack(int i = 0) { return net.context().backtrack(net.point(i)); }
};

/// A quad, counter-clockwise seen from its front.
inline GEO_PrimPoly* addFace(GU_Detail& detail, std::initializer_list<UT_Vector3> corners) {
    GEO_PrimPoly* face = GU_PrimPoly::build(&detail, int(corners.size()));
    int i = 0;
    for (const UT_Vector3& corner : corners) face->getVertexPoint(i++)->setPos(UT_Vector4(corner, 1));
    return face;
}

/// A floor of the given half size about the y axis, facing up.
inline GEO_PrimPoly* addFloor(GU_Detail& detail, float y = 0, float half = 5) {
    return addFace(detail, {{-half, y, half}, {half, y, half}, {half, y, -half}, {-half, y, -half}});
}

inline constexpr float DT = float(1.0 / 24);
