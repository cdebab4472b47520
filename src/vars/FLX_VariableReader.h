#pragma once

#include <array>
#include <optional>

#include "core/FLX_ContextData.h"
#include "core/FLX_Writing.h"
#include "host/vm/VM_Kernels.h"
#include "vars/FLX_BoundingBox.h"
#include "vars/FLX_ParticleVariables.h"

/// Reads the particle variables out of records: the offsets, counts and the time step that a cook found.
class FLX_VariableReader {
public:
    FLX_VariableReader() { myOffsets.fill(-1); }

    /// Reads no particle: what is to be counted is counted when a value needs it.
    void setup(const FLX_ContextData& context, const GB_PointGroup* group);

    /// Whether the particles have what the variable reads.
    bool isPresent(const FLX_ParticleVariable& variable) const;
    /// The value of a variable that is present, for the particle that the operator meets as number `iteration`.
    /// No pass may wait that could change it.
    float value(const FLX_ParticleVariable& variable, const GEO_Point* p, int iteration);

    /// A variable that is one field of the record as it stands: its place in bytes from the record's start, and how it
    /// is read. False for those that are computed.
    bool field(const FLX_ParticleVariable& variable, VM_Field& field) const;

    /// A variable that is computed from a part of the record and nothing else: which part that is.
    std::optional<FLX_Bytes> extent(const FLX_ParticleVariable& variable) const;
    /// The values of such a variable for many particles at once; false for any other.
    bool fill(const FLX_ParticleVariable& variable, const VM_Records& records, double* to) const;

    bool boxIsPending() const { return myBox.isPending(); }
    /// Computes the box of all points now if no value has needed it yet.
    void settleBox() { myBox.settle(); }

private:
    int offset(FLX_Attrib attrib) const { return myOffsets[size_t(attrib)]; }

    float pointCount();

    bool myPointsCounted = true;
    int myPointCount = 0;
    int myGroupCount = 0;
    FLX_BoundingBox myBox;
    float myTimeIncrement = 0;
    std::array<int, size_t(FLX_NUM_ATTRIBS)> myOffsets;
    FLX_CoreOffsets myCore;
    const GU_Detail* myDetail = nullptr;
};
