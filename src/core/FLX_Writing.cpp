#include "core/FLX_Writing.h"

#include <algorithm>

bool FLX_Writing::append(const FLX_Writing& later) {
    if (!empty() && later.myStateOffset != myStateOffset) return false;
    if (touches(later.state()) || later.touches(later.state()) || clashesWith(later)) return false;
    myStateOffset = later.myStateOffset;
    myWrites.insert(myWrites.end(), later.myWrites.begin(), later.myWrites.end());
    return true;
}

int FLX_Writing::skippedBits() const {
    int bits = 0;
    for (const FLX_Write& write : myWrites) bits |= write.skippedBits;
    return bits;
}

void FLX_Writing::apply(GEO_Point* p) const {
    const int bits = *p->castAttribData<int>(myStateOffset);
    for (const FLX_Write& write : myWrites)
        if (!(bits & write.skippedBits)) write.apply(p);
}

bool FLX_Writing::meddlesWith(const FLX_Writing& other) const {
    if (empty() || other.empty()) return false;
    return touches(other.state()) || std::any_of(other.myWrites.begin(), other.myWrites.end(),
                                                 [&](const FLX_Write& write) { return touches(write.target()); });
}

bool FLX_Writing::touches(const FLX_Bytes& bytes) const {
    return std::any_of(myWrites.begin(), myWrites.end(),
                       [&](const FLX_Write& write) { return write.target().overlaps(bytes); });
}

bool FLX_Writing::clashesWith(const FLX_Writing& other) const {
    for (const FLX_Write& a : myWrites)
        for (const FLX_Write& b : other.myWrites)
            if (!a.sameField(b) && a.target().overlaps(b.target())) return true;
    return false;
}
