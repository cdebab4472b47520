#pragma once

#include <array>

#include "host/geo/GB_AttribType.h"
#include "host/node/CH_LocalVariable.h"
#include "vars/FLX_ParticleVariables.h"

/// The source attributes that generator variables read; Count: none.
enum class FLX_SourceAttrib : int {
    Alpha,
    Diffuse,
    Distance,
    Drag,
    Mass,
    Normal,
    Scale,
    SpringK,
    Tension,
    Texture,
    Up,
    Velocity,
    Count
};

inline constexpr int FLX_NUM_SOURCE_ATTRIBS = int(FLX_SourceAttrib::Count);

struct FLX_SourceAttribRow {
    const char* name;
    int size; ///< bytes
    GB_AttribType type;
};

extern const std::array<FLX_SourceAttribRow, size_t(FLX_NUM_SOURCE_ATTRIBS)> FLX_SourceAttribRows;

enum class FLX_GenRead {
    Attribute,   ///< component of a source attribute
    Normal,      ///< source attribute "N", else the normal that the emission provides
    Speed,       ///< length of the source's velocity
    Position,    ///< component of the sample
    BoundingBox, ///< where in the box of the source's points
    Iteration,
    SourceNumber, ///< number of the source point or primitive
    U,
    V,
    ParticleCount,
    PointCount,
    PrimitiveCount,
    GroupCount,
    TimeIncrement,
};

struct FLX_GeneratorVariable {
    const char* name;
    int id;
    FLX_GenRead read;
    FLX_VarTest test;
    FLX_SourceAttrib attrib;
    int component;
    int missing; ///< value, and text of the warning, when what it reads is missing
};

/// The variables that describe an emission sample.
struct FLX_GeneratorVariables {
    static constexpr int FIRST_ID = 400;
    static constexpr int COUNT = 39;

    static const std::array<FLX_GeneratorVariable, COUNT> rows;
    static const FLX_GeneratorVariable* find(int id);
    static const std::array<CH_LocalVariable, COUNT + 1> names;
};
