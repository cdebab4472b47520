#include "vars/FLX_GeneratorVariables.h"

namespace {

using S = FLX_SourceAttrib;
using R = FLX_GenRead;
using T = FLX_VarTest;

struct Read {
    R read;
    T test;
    S attrib;
    int component;
    int missing;
};

constexpr Read attrib(S a, int component, int missing) { return {R::Attribute, T::Attribute, a, component, missing}; }
constexpr Read own(R read, int component) { return {read, T::PerParticle, S::Count, component, 0}; }
constexpr Read constant(R read) { return {read, T::Constant, S::Count, 0, 0}; }

constexpr FLX_GeneratorVariable row(const char* name, int id, Read r) {
    return {name, id, r.read, r.test, r.attrib, r.component, r.missing};
}

constexpr std::array<CH_LocalVariable, FLX_GeneratorVariables::COUNT + 1>
namesOf(const std::array<FLX_GeneratorVariable, FLX_GeneratorVariables::COUNT>& rows) {
    std::array<CH_LocalVariable, FLX_GeneratorVariables::COUNT + 1> names{};
    for (size_t i = 0; i < rows.size(); ++i) names[i] = {rows[i].name, rows[i].id, 0};
    return names;
}

// P stands before PSCALE but has the larger id.
// clang-format off
constexpr std::array<FLX_GeneratorVariable, FLX_GeneratorVariables::COUNT> table{{
    row("BBX",       400, own(R::BoundingBox, 0)),
    row("BBY",       401, own(R::BoundingBox, 1)),
    row("BBZ",       402, own(R::BoundingBox, 2)),
    row("CA",        403, attrib(S::Alpha, 0, 0)),
    row("CB",        404, attrib(S::Diffuse, 2, 0)),
    row("CG",        405, attrib(S::Diffuse, 1, 0)),
    row("CR",        406, attrib(S::Diffuse, 0, 0)),
    row("DIST",      407, attrib(S::Distance, 0, 0)),
    row("DRAG",      408, attrib(S::Drag, 0, 1)),
    row("ITER",      409, own(R::Iteration, 0)),
    row("MAPU",      410, attrib(S::Texture, 0, 0)),
    row("MAPV",      411, attrib(S::Texture, 1, 0)),
    row("MAPW",      412, attrib(S::Texture, 2, 0)),
    row("MASS",      413, attrib(S::Mass, 0, 1)),
    row("NPART",     414, constant(R::ParticleCount)),
    row("NPT",       415, constant(R::PointCount)),
    row("NPRIM",     416, constant(R::PrimitiveCount)),
    row("NGRP",      417, constant(R::GroupCount)),
    row("NX",        418, {R::Normal, T::Attribute, S::Normal, 0, 0}),
    row("NY",        419, {R::Normal, T::Attribute, S::Normal, 1, 0}),
    row("NZ",        420, {R::Normal, T::Attribute, S::Normal, 2, 0}),
    row("P",         422, own(R::SourceNumber, 0)),
    row("PSCALE",    421, attrib(S::Scale, 0, 1)),
    row("SPEED",     423, {R::Speed, T::Attribute, S::Velocity, 0, 0}),
    row("SPRINGK",   424, attrib(S::SpringK, 0, 1)),
    row("TENSION",   425, attrib(S::Tension, 0, 1)),
    row("TIMEINC",   426, constant(R::TimeIncrement)),
    row("TX",        427, own(R::Position, 0)),
    row("TY",        428, own(R::Position, 1)),
    row("TZ",        429, own(R::Position, 2)),
    row("UPX",       430, attrib(S::Up, 0, 0)),
    row("UPY",       431, attrib(S::Up, 1, 0)),
    row("UPZ",       432, attrib(S::Up, 2, 0)),
    row("U",         433, own(R::U, 0)),
    row("V",         434, own(R::V, 0)),
    row("VX",        435, attrib(S::Velocity, 0, 0)),
    row("VY",        436, attrib(S::Velocity, 1, 0)),
    row("VZ",        437, attrib(S::Velocity, 2, 0)),
    row("WEIGHT",    438, own(R::Position, 3)),
}};
// clang-format on

} // namespace

// clang-format off
const std::array<FLX_SourceAttribRow, size_t(FLX_NUM_SOURCE_ATTRIBS)> FLX_SourceAttribRows{{
    {"Alpha",   4,  GB_ATTRIB_FLOAT},
    {"Cd",      12, GB_ATTRIB_FLOAT},
    {"dist",    4,  GB_ATTRIB_FLOAT},
    {"drag",    4,  GB_ATTRIB_FLOAT},
    {"mass",    4,  GB_ATTRIB_FLOAT},
    {"N",       12, GB_ATTRIB_VECTOR},
    {"pscale",  4,  GB_ATTRIB_FLOAT},
    {"springk", 4,  GB_ATTRIB_FLOAT},
    {"tension", 4,  GB_ATTRIB_FLOAT},
    {"uv",      12, GB_ATTRIB_FLOAT},
    {"up",      12, GB_ATTRIB_VECTOR},
    {"v",       12, GB_ATTRIB_VECTOR},
}};
// clang-format on

const std::array<FLX_GeneratorVariable, FLX_GeneratorVariables::COUNT> FLX_GeneratorVariables::rows = table;
const std::array<CH_LocalVariable, FLX_GeneratorVariables::COUNT + 1> FLX_GeneratorVariables::names = namesOf(table);

const FLX_GeneratorVariable* FLX_GeneratorVariables::find(int id) {
    for (const FLX_GeneratorVariable& variable : rows)
        if (variable.id == id) return &variable;
    return nullptr;
}
