#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "host/geo/GB_AttribType.h"

/// The standard particle attributes: one row each, in storage order. Everything about an attribute comes from its row:
/// its offset in the context with getter and setter (`getMassOffset`), its adder (`FLX_Node::addMassAttrib`), how
/// offsets are looked up again and copied, and what the particle variables read.
///
///   X(stem, attribute, type, components, default)
///
/// Defaults: NONE (zero bytes), F1 … F4 (floats), I1 (int).
// clang-format off
#define FLX_ATTRIBUTES(X)                                             \
    X(Alpha,         "Alpha",         FLOAT,  1, F1(1))               \
    X(AngVel,        "w",             VECTOR, 3, F3(0, 0, 0))         \
    X(Attract,       "attract",       INT,    1, NONE)                \
    X(Bounce,        "bounce",        FLOAT,  1, F1(1))               \
    X(Charge,        "charge",        FLOAT,  1, F1(1))               \
    X(Cling,         "cling",         FLOAT,  1, F1(0))               \
    X(Com,           "com",           VECTOR, 3, F3(0, 0, 0))         \
    X(Diffuse,       "Cd",            FLOAT,  3, F3(1, 1, 1))         \
    X(Distance,      "dist",          FLOAT,  1, F1(-1))              \
    X(Drag,          "drag",          FLOAT,  1, F1(1))               \
    X(Follow,        "follow",        INT,    1, NONE)                \
    X(FDynamic,      "fdynamic",      FLOAT,  1, F1(0))               \
    X(FStatic,       "fstatic",       FLOAT,  1, F1(0))               \
    X(Gen,           "gen",           INT,    1, NONE)                \
    X(HitDiffuse,    "hitCd",         FLOAT,  3, NONE)                \
    X(HitForce,      "hitforce",      FLOAT,  1, F1(0))               \
    X(HitID,         "hitid",         INT,    1, NONE)                \
    X(HitNormal,     "hitN",          VECTOR, 3, NONE)                \
    X(HitPos,        "hitpos",        FLOAT,  3, NONE)                \
    X(HitPosUV,      "hitposuv",      FLOAT,  2, NONE)                \
    X(HitTime,       "hittime",       FLOAT,  1, F1(-1))              \
    X(HitUV,         "hituv",         FLOAT,  3, NONE)                \
    X(ID,            "id",            INT,    1, I1(-1))              \
    X(Instance,      "instance",      INDEX,  1, I1(-1))              \
    X(Mass,          "mass",          FLOAT,  1, F1(1))               \
    X(Nearest,       "nearest",       INT,    1, I1(-1))              \
    X(NearestDist,   "nearestdist",   FLOAT,  1, F1(-1))              \
    X(Normal,        "N",             VECTOR, 3, NONE)                \
    X(NumHit,        "numhit",        INT,    1, NONE)                \
    X(NumProximity,  "numproximity",  INT,    1, NONE)                \
    X(OrbitAxis,     "oaxis",         VECTOR, 3, NONE)                \
    X(OrbitCenter,   "ocenter",       FLOAT,  3, NONE)                \
    X(Orbit,         "orbit",         INT,    1, NONE)                \
    X(OrbitRadius,   "oradius",       FLOAT,  1, F1(1))               \
    X(OrbitSpeed,    "ospeed",        FLOAT,  1, F1(1))               \
    X(Orient,        "orient",        FLOAT,  4, F4(0, 0, 0, 0))      \
    X(Origin,        "origin",        INT,    1, I1(-1))              \
    X(Parent,        "parent",        INT,    1, I1(-1))              \
    X(PosPath,       "pospath",       INDEX,  1, I1(-1))              \
    X(PosPrim,       "posprim",       INT,    1, NONE)                \
    X(PosUV,         "posuv",         FLOAT,  2, F2(-1, -1))          \
    X(PrevVel,       "pv",            VECTOR, 3, NONE)                \
    X(Rest,          "rest",          FLOAT,  3, NONE)                \
    X(Rot,           "rot",           FLOAT,  4, F4(0, 0, 0, 1))      \
    X(Scale,         "pscale",        FLOAT,  1, F1(1))               \
    X(Scale3,        "scale",         FLOAT,  3, F3(1, 1, 1))         \
    X(Speed,         "speed",         FLOAT,  1, NONE)                \
    X(SpeedLimit,    "speedlimit",    FLOAT,  2, F2(-1, -1))          \
    X(SpringK,       "springk",       FLOAT,  1, F1(30))              \
    X(SpriteRot,     "spriterot",     FLOAT,  1, F1(0))               \
    X(SpriteScale,   "spritescale",   FLOAT,  3, F3(1, 1, 1))         \
    X(SpriteShop,    "spriteshop",    INDEX,  1, I1(-1))              \
    X(SpriteUV,      "spriteuv",      FLOAT,  4, F4(0, 0, 1, 1))      \
    X(Tension,       "tension",       FLOAT,  1, F1(1))               \
    X(Texture,       "uv",            FLOAT,  3, NONE)                \
    X(Trans,         "trans",         VECTOR, 3, F3(0, 0, 0))         \
    X(Torque,        "torque",        VECTOR, 3, F3(0, 0, 0))         \
    X(Up,            "up",            VECTOR, 3, NONE)
// clang-format on

#define FLX_ATTRIBUTE_ENUM(stem, ...) stem,
enum class FLX_Attrib : int { FLX_ATTRIBUTES(FLX_ATTRIBUTE_ENUM) Count };
#undef FLX_ATTRIBUTE_ENUM

inline constexpr int FLX_NUM_ATTRIBS = int(FLX_Attrib::Count);

/// A default of up to four 4-byte values, kept as bits so that a row can be copied into a record.
struct FLX_AttribDefault {
    bool given = false;
    std::array<uint32_t, 4> bits{};

    const void* data() const { return given ? bits.data() : nullptr; }
};

struct FLX_AttribRow {
    const char* stem;
    const char* name;
    GB_AttribType type;
    int size; ///< bytes
    FLX_AttribDefault def;
};

/// The rows, indexed by FLX_Attrib.
extern const std::array<FLX_AttribRow, size_t(FLX_NUM_ATTRIBS)> FLX_AttribRows;

inline const FLX_AttribRow& FLXattribRow(FLX_Attrib attrib) { return FLX_AttribRows[size_t(attrib)]; }

/// Offsets of the attributes that every simulation has; the last three are primitive attributes.
struct FLX_CoreOffsets {
    int velocity = -1;
    int accel = -1;
    int state = -1;
    int life = -1;
    int backtrack = -1;
    int born = -1;
    int source = -1;
    int generator = -1;
};

/// An attribute that every particle has.
struct FLX_CoreRow {
    int FLX_CoreOffsets::*offset;
    const char* name;
    GB_AttribType type;
    int size; ///< bytes
    FLX_AttribDefault def;
};

/// In storage order: in a fresh detail they lie side by side (see FLX_PlainStep).
extern const std::array<FLX_CoreRow, 5> FLX_CoreRows;

/// True for the position, the attributes that every particle has, and those of the table: names that no operator may
/// give an attribute of its own.
bool FLXisStandardAttrib(std::string_view name);

/// True for "nearest", "nearestdist" and "numproximity": their offsets stay as their adder left them until the next
/// reset.
constexpr bool FLXkeepsOffset(FLX_Attrib attrib) {
    return attrib == FLX_Attrib::Nearest || attrib == FLX_Attrib::NearestDist || attrib == FLX_Attrib::NumProximity;
}

/// True for the attributes whose offsets a copied context does not take over.
constexpr bool FLXlostInCopy(FLX_Attrib attrib) {
    return FLXkeepsOffset(attrib) || (attrib >= FLX_Attrib::OrbitAxis && attrib <= FLX_Attrib::OrbitSpeed);
}
