#include "core/FLX_Writing.h"

#include <algorithm>

// ---- writes

bool FLX_Writing::append(const FLX_Writing& later) {
    if (!empty() && later.myStateOffset != myStateOffset) return false;
    if (touchesState(later.myStateOffset) || later.touchesState(later.myStateOffset) || clashesWith(later))
        return false;
    myStateOffset = later.myStateOffset;
    myWrites.insert(myWrites.end(), later.myWrites.begin(), later.myWrites.end());
    return true;
}

int FLX_Writing::skippedBits() const {
    int bits = 0;
    for (const FLX_Write& write : myWrites) bits |= write.skippedBits;
    return bits;
}

bool FLX_Writing::touchesState(int offset) const {
    return std::any_of(myWrites.begin(), myWrites.end(),
                       [&](const FLX_Write& write) { return write.touches(offset, int(sizeof(int))); });
}

bool FLX_Writing::clashesWith(const FLX_Writing& other) const {
    for (const FLX_Write& a : myWrites)
        for (const FLX_Write& b : other.myWrites)
            if (!a.sameField(b) && a.touches(b.offset, b.floats * int(sizeof(float)))) return true;
    return false;
}

// ---- the program

FLX_WriteProgram::FLX_WriteProgram(const FLX_Writing& writing) {
    const std::vector<FLX_Write>& writes = writing.writes();
    for (auto at = writes.begin(); at != writes.end(); ++at)
        if (std::none_of(writes.begin(), at, [&](const FLX_Write& before) { return before.sameField(*at); }))
            addStep(writes, *at);
}

void FLX_WriteProgram::addStep(const std::vector<FLX_Write>& writes, const FLX_Write& field) {
    Step step{field.offset, field.floats, false, int(myValues.size()), 0};
    for (const FLX_Write& write : writes) {
        if (!write.sameField(field)) continue;
        if (write.isSet) {
            step.isSet = true;
            myValues.resize(size_t(step.firstValue) + 1);
            std::copy(write.values, write.values + 4, myValues.back().lanes);
        } else if (step.isSet) {
            for (int i = 0; i < field.floats; ++i) myValues.back().lanes[i] += write.values[i];
        } else {
            std::copy(write.values, write.values + field.floats, myValues.emplace_back().lanes + (4 - field.floats));
        }
    }
    step.endOfValues = int(myValues.size());
    mySteps.push_back(step);
}

UT_Vector3 FLX_WriteProgram::extractFromZero(int offset) {
    UT_Vector3 result(0, 0, 0);
    const auto step = std::find_if(mySteps.begin(), mySteps.end(),
                                   [&](const Step& s) { return s.offset == offset && s.floats == 3; });
    if (step == mySteps.end()) return result;
    for (int i = step->firstValue; i < step->endOfValues; ++i) {
        const float* lanes = myValues[size_t(i)].lanes;
        if (step->isSet)
            result = UT_Vector3(lanes);
        else
            result += UT_Vector3(lanes + 1);
    }
    mySteps.erase(step);
    return result;
}
