#pragma once

#include <vector>

#include "host/geo/GEO_Point.h"

/// Bytes of a particle's attributes.
struct FLX_Bytes {
    int offset; ///< as for GEO_Point::castAttribData
    int bytes;

    bool overlaps(const FLX_Bytes& other) const {
        return offset < other.offset + other.bytes && other.offset < offset + bytes;
    }
};

/// A constant that goes into a field of one to four floats of every particle whose state has none of some bits: it is
/// set, or added.
struct FLX_Write {
    int skippedBits;
    int offset; ///< as for GEO_Point::castAttribData
    int floats;
    bool isSet;
    float values[4];

    FLX_Bytes target() const { return {offset, floats * int(sizeof(float))}; }
    bool sameField(const FLX_Write& other) const { return offset == other.offset && floats == other.floats; }
    void apply(GEO_Point* p) const {
        float* to = p->castAttribData<float>(offset);
        for (int i = 0; i < floats; ++i) to[i] = isSet ? values[i] : to[i] + values[i];
    }
};

/// What operators in a row write that put constants into the fields of their particles.
class FLX_Writing {
public:
    FLX_Writing() = default;
    FLX_Writing(int stateOffset, std::initializer_list<FLX_Write> writes)
        : myStateOffset(stateOffset)
        , myWrites(writes) {}

    bool empty() const { return myWrites.empty(); }
    const std::vector<FLX_Write>& writes() const { return myWrites; }
    /// Takes what comes after; false, and nothing done, when either writes the state, or when two fields overlap
    /// without being the same.
    bool append(const FLX_Writing& later);

    int stateOffset() const { return myStateOffset; }
    /// What it goes by.
    FLX_Bytes state() const { return {myStateOffset, int(sizeof(int))}; }
    /// Whether it writes any of these bytes.
    bool touches(const FLX_Bytes& bytes) const;
    /// Whether it writes what the other writes or goes by.
    bool meddlesWith(const FLX_Writing& other) const;
    /// With none of these in its state nothing leaves a particle out.
    int skippedBits() const;
    /// One after the other, for any particle.
    void apply(GEO_Point* p) const;

private:
    bool clashesWith(const FLX_Writing& other) const;

    int myStateOffset = -1;
    std::vector<FLX_Write> myWrites;
};
