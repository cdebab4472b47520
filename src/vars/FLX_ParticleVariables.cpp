#include "vars/FLX_ParticleVariables.h"

#include "core/FLX_State.h"

namespace {

using A = FLX_Attrib;
using R = FLX_VarRead;
using T = FLX_VarTest;

struct Read {
    R read;
    T test;
    A attrib;
    int component;
};

constexpr Read attrib(A a, int component) { return {R::Attribute, T::Attribute, a, component}; }
constexpr Read of(R read, A a, int component) { return {read, T::Attribute, a, component}; }
constexpr Read core(R read, int component) { return {read, T::Attribute, A::Count, component}; }
constexpr Read bit(int mask) { return {R::StateBit, T::Attribute, A::Count, mask}; }
constexpr Read own(R read, int component) { return {read, T::PerParticle, A::Count, component}; }
constexpr Read constant(R read) { return {read, T::Constant, A::Count, 0}; }

constexpr FLX_ParticleVariable row(const char* name, Read r) { return {name, r.read, r.test, r.attrib, r.component}; }

constexpr std::array<CH_LocalVariable, FLX_ParticleVariables::COUNT + 1>
namesOf(const std::array<FLX_ParticleVariable, FLX_ParticleVariables::COUNT>& rows) {
    std::array<CH_LocalVariable, FLX_ParticleVariables::COUNT + 1> names{};
    for (size_t i = 0; i < rows.size(); ++i) names[i] = {rows[i].name, FLX_ParticleVariables::FIRST_ID + int(i), 0};
    return names;
}

// clang-format off
constexpr std::array<FLX_ParticleVariable, FLX_ParticleVariables::COUNT> table{{
    row("AGE",           core(R::Life, 0)),
    row("ATTRACT",       attrib(A::Attract, 0)),
    row("AX",            core(R::Accel, 0)),
    row("AY",            core(R::Accel, 1)),
    row("AZ",            core(R::Accel, 2)),
    row("BOUNCE",        attrib(A::Bounce, 0)),
    row("BBX",           own(R::BoundingBox, 0)),
    row("BBY",           own(R::BoundingBox, 1)),
    row("BBZ",           own(R::BoundingBox, 2)),
    row("CA",            attrib(A::Alpha, 0)),
    row("CB",            attrib(A::Diffuse, 2)),
    row("CG",            attrib(A::Diffuse, 1)),
    row("CR",            attrib(A::Diffuse, 0)),
    row("COMX",          attrib(A::Com, 0)),
    row("COMY",          attrib(A::Com, 1)),
    row("COMZ",          attrib(A::Com, 2)),
    row("CHARGE",        attrib(A::Charge, 0)),
    row("CLING",         attrib(A::Cling, 0)),
    row("DEAD",          bit(FLX_DEAD)),
    row("DIST",          attrib(A::Distance, 0)),
    row("DRAG",          attrib(A::Drag, 0)),
    row("FDYNAMIC",      attrib(A::FDynamic, 0)),
    row("FSTATIC",       attrib(A::FStatic, 0)),
    row("FOLLOW",        attrib(A::Follow, 0)),
    row("GEN",           attrib(A::Gen, 0)),
    row("HCB",           attrib(A::HitDiffuse, 2)),
    row("HCG",           attrib(A::HitDiffuse, 1)),
    row("HCR",           attrib(A::HitDiffuse, 0)),
    row("HITFORCE",      attrib(A::HitForce, 0)),
    row("HITID",         attrib(A::HitID, 0)),
    row("HITTIME",       attrib(A::HitTime, 0)),
    row("HMAPU",         attrib(A::HitUV, 0)),
    row("HMAPV",         attrib(A::HitUV, 1)),
    row("HMAPW",         attrib(A::HitUV, 2)),
    row("HNX",           attrib(A::HitNormal, 0)),
    row("HNY",           attrib(A::HitNormal, 1)),
    row("HNZ",           attrib(A::HitNormal, 2)),
    row("HTX",           attrib(A::HitPos, 0)),
    row("HTY",           attrib(A::HitPos, 1)),
    row("HTZ",           attrib(A::HitPos, 2)),
    row("HU",            attrib(A::HitPosUV, 0)),
    row("HV",            attrib(A::HitPosUV, 1)),
    row("ID",            attrib(A::ID, 0)),
    row("ITER",          own(R::Iteration, 0)),
    row("JUSTHIT",       bit(FLX_JUSTHIT)),
    row("LIFE",          core(R::LifeRatio, 0)),
    row("LIFESPAN",      core(R::Life, 1)),
    row("MAPU",          attrib(A::Texture, 0)),
    row("MAPV",          attrib(A::Texture, 1)),
    row("MAPW",          attrib(A::Texture, 2)),
    row("MASS",          attrib(A::Mass, 0)),
    row("NEAREST",       attrib(A::Nearest, 0)),
    row("NEARESTDIST",   attrib(A::NearestDist, 0)),
    row("NPT",           constant(R::PointCount)),
    row("NGRP",          constant(R::GroupCount)),
    row("NUMHIT",        attrib(A::NumHit, 0)),
    row("NUMPROXIMITY",  attrib(A::NumProximity, 0)),
    row("NX",            attrib(A::Normal, 0)),
    row("NY",            attrib(A::Normal, 1)),
    row("NZ",            attrib(A::Normal, 2)),
    row("OAXISX",        attrib(A::OrbitAxis, 0)),
    row("OAXISY",        attrib(A::OrbitAxis, 1)),
    row("OAXISZ",        attrib(A::OrbitAxis, 2)),
    row("OCENTERX",      attrib(A::OrbitCenter, 0)),
    row("OCENTERY",      attrib(A::OrbitCenter, 1)),
    row("OCENTERZ",      attrib(A::OrbitCenter, 2)),
    row("ORADIUS",       attrib(A::OrbitRadius, 0)),
    row("ORBIT",         attrib(A::Orbit, 0)),
    row("ORIGIN",        attrib(A::Origin, 0)),
    row("OSPEED",        attrib(A::OrbitSpeed, 0)),
    row("PARENT",        attrib(A::Parent, 0)),
    row("POSPRIM",       attrib(A::PosPrim, 0)),
    row("POSUVU",        attrib(A::PosUV, 0)),
    row("POSUVV",        attrib(A::PosUV, 1)),
    row("PSCALE",        attrib(A::Scale, 0)),
    row("SCALEX",        attrib(A::Scale3, 0)),
    row("SCALEY",        attrib(A::Scale3, 1)),
    row("SCALEZ",        attrib(A::Scale3, 2)),
    row("PT",            own(R::PointNumber, 0)),
    row("PVX",           attrib(A::PrevVel, 0)),
    row("PVY",           attrib(A::PrevVel, 1)),
    row("PVZ",           attrib(A::PrevVel, 2)),
    row("RESTX",         attrib(A::Rest, 0)),
    row("RESTY",         attrib(A::Rest, 1)),
    row("RESTZ",         attrib(A::Rest, 2)),
    row("ROTA",          of(R::RotationAngle, A::Rot, 0)),
    row("ROTX",          of(R::RotationAxis, A::Rot, 0)),
    row("ROTY",          of(R::RotationAxis, A::Rot, 1)),
    row("ROTZ",          of(R::RotationAxis, A::Rot, 2)),
    row("SLIDING",       bit(FLX_SLIDING)),
    row("SPEED",         {R::Speed, T::PerParticle, A::Speed, 0}),
    row("SPEEDMAX",      attrib(A::SpeedLimit, 1)),
    row("SPEEDMIN",      attrib(A::SpeedLimit, 0)),
    row("SPRINGK",       attrib(A::SpringK, 0)),
    row("SROT",          attrib(A::SpriteRot, 0)),
    row("SUPPPOS",       bit(FLX_SUPPRESS_POS)),
    row("SUPPREAP",      bit(FLX_SUPPRESS_REAP)),
    row("SUPPVEL",       bit(FLX_SUPPRESS_VEL)),
    row("SUPPUP",        bit(FLX_SUPPRESS_UP)),
    row("SUPPAGE",       bit(FLX_SUPPRESS_AGE)),
    row("SUPPROT",       bit(FLX_SUPPRESS_ROT)),
    row("SUPPANGVEL",    bit(FLX_SUPPRESS_ANGVEL)),
    row("STEXH",         attrib(A::SpriteUV, 3)),
    row("STEXU",         attrib(A::SpriteUV, 0)),
    row("STEXV",         attrib(A::SpriteUV, 1)),
    row("STEXW",         attrib(A::SpriteUV, 2)),
    row("STOPPED",       bit(FLX_STOPPED)),
    row("STUCK",         bit(FLX_STUCK)),
    row("SX",            attrib(A::SpriteScale, 0)),
    row("SY",            attrib(A::SpriteScale, 1)),
    row("SZ",            attrib(A::SpriteScale, 2)),
    row("TENSION",       attrib(A::Tension, 0)),
    row("TIMEINC",       constant(R::TimeIncrement)),
    row("TORQUEX",       attrib(A::Torque, 0)),
    row("TORQUEY",       attrib(A::Torque, 1)),
    row("TORQUEZ",       attrib(A::Torque, 2)),
    row("TX",            own(R::Position, 0)),
    row("TY",            own(R::Position, 1)),
    row("TZ",            own(R::Position, 2)),
    row("TRANSX",        attrib(A::Trans, 0)),
    row("TRANSY",        attrib(A::Trans, 1)),
    row("TRANSZ",        attrib(A::Trans, 2)),
    row("UPX",           attrib(A::Up, 0)),
    row("UPY",           attrib(A::Up, 1)),
    row("UPZ",           attrib(A::Up, 2)),
    row("VX",            own(R::Velocity, 0)),
    row("VY",            own(R::Velocity, 1)),
    row("VZ",            own(R::Velocity, 2)),
    row("WA",            of(R::AngularSpeed, A::AngVel, 0)),
    row("WX",            attrib(A::AngVel, 0)),
    row("WY",            attrib(A::AngVel, 1)),
    row("WZ",            attrib(A::AngVel, 2)),
}};
// clang-format on

} // namespace

const std::array<FLX_ParticleVariable, FLX_ParticleVariables::COUNT> FLX_ParticleVariables::rows = table;
const std::array<CH_LocalVariable, FLX_ParticleVariables::COUNT + 1> FLX_ParticleVariables::names = namesOf(table);
