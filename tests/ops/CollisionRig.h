#pragma once

#include <cmath>
#include <set>

#include "support/Near.h"
#include "support/Probe.h"

/// Particles that a test places and throws, against geometry that a test fills, through a "collision" operator.
struct CollisionRig {
    Network net;
    Probe& source;
    FLX_Node& hit;

    explicit CollisionRig(const std::function<void(GU_Detail&, float)>& fill, int particles = 1, bool still = true)
        : source(Probe::addSource(net, "source", particles))
        , hit(net.add("collision", "hit", {&source})) {
        hit.setString("soppath", net.addGeometry("wall", fill, still));
    }
    void set(const char* parm, double value) { hit.setFloat(parm, 0, value); }
    void set(std::initializer_list<std::pair<const char*, double>> values) {
        for (const auto& [parm, value] : values) set(parm, value);
    }
    /// Every attribute that a hit can fill.
    void addHitAttributes() {
        for (const char* toggle : {"donumhit", "dohitid", "dohittime", "dohitpos", "dohitposuv", "dohitnormal",
                                   "dohitdiff", "dohituv", "dodistance"})
            set(toggle, 1);
    }
    void start() { net.start(hit); }
    void place(int i, const UT_Vector3& position, const UT_Vector3& velocity) {
        net.point(i)->setPos(UT_Vector4(position, 1));
        net.setValue("v", i, {velocity.x(), velocity.y(), velocity.z()});
    }
    /// Starts with particle 0 here, this fast, and makes one step, with these messages.
    void fly(const UT_Vector3& position, const UT_Vector3& velocity, const char* messages = "") {
        start();
        place(0, position, velocity);
        net.step();
        EXPECT_EQ(Network::messages(hit), messages);
    }
    UT_Vector3 vector(const char* attrib, int i = 0) { return net.vector(attrib, i); }
    UT_Vector3 velocity(int i = 0) { return vector("v", i); }
    UT_Vector3 position(int i = 0) { return net.position(i); }
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
