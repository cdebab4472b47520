#pragma once

#include <array>

#include "core/FLX_Attributes.h"
#include "host/node/CH_LocalVariable.h"

/// How a particle variable is read.
enum class FLX_VarRead {
    Attribute, ///< component of a catalogue attribute, ints as floats
    Life,      ///< component of "life"
    LifeRatio, ///< age / life span, at most 1; 0 for a span within 1e-5 of 0
    Accel,
    Velocity,
    StateBit, ///< component is the bit's mask; 1 or 0
    Position,
    BoundingBox, ///< where in the box of all points, 0 to 1 per axis
    Iteration,
    PointNumber,
    PointCount,
    GroupCount,
    TimeIncrement,
    RotationAngle, ///< of "rot", degrees
    RotationAxis,  ///< of "rot"
    Speed,         ///< "speed", else the length of "v"
    AngularSpeed,  ///< length of "w", degrees per second
};

/// What a test of dependency does with it: a missing attribute is an error, always per particle, or constant in a cook.
enum class FLX_VarTest { Attribute, PerParticle, Constant };

struct FLX_ParticleVariable {
    const char* name;
    FLX_VarRead read;
    FLX_VarTest test;
    FLX_Attrib attrib; ///< Count: reads no catalogue attribute
    int component;     ///< or the state bit
};

/// The variables in the order of their ids, which count from FIRST_ID.
struct FLX_ParticleVariables {
    static constexpr int FIRST_ID = 200;
    static constexpr int COUNT = 132;

    static const std::array<FLX_ParticleVariable, COUNT> rows;
    /// Null for an id that is not in the table.
    static const FLX_ParticleVariable* find(int id) {
        return id >= FIRST_ID && id < FIRST_ID + COUNT ? &rows[size_t(id - FIRST_ID)] : nullptr;
    }
    /// Names and ids for the host, ended by a null name.
    static const std::array<CH_LocalVariable, COUNT + 1> names;
};
