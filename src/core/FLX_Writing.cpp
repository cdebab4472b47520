#include "core/FLX_Writing.h"

#include <algorithm>
#include <cstring>

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
    for (const FLX_Write& write : writing.writes()) {
        Field& to = field(write);
        if (write.isSet) {
            to.isSet = true;
            to.addends.clear();
            std::copy(write.values, write.values + 4, to.value);
        } else if (to.isSet) {
            for (int i = 0; i < to.floats; ++i) to.value[i] += write.values[i];
        } else {
            UT_Vector4& addend = to.addends.emplace_back(0.0f, 0.0f, 0.0f, 0.0f);
            std::copy(write.values, write.values + to.floats, addend.data() + (4 - to.floats));
        }
    }
    plan();
}

FLX_WriteProgram::Field& FLX_WriteProgram::field(const FLX_Write& write) {
    for (Field& known : myFields)
        if (known.offset == write.offset && known.floats == write.floats) return known;
    return myFields.emplace_back(Field{write.offset, write.floats});
}

UT_Vector3 FLX_WriteProgram::extractFromZero(int offset) {
    const auto field = std::find_if(myFields.begin(), myFields.end(),
                                    [&](const Field& f) { return f.offset == offset && f.floats == 3; });
    if (field == myFields.end()) return {0, 0, 0};
    UT_Vector3 result = field->isSet ? UT_Vector3(field->value) : UT_Vector3(0, 0, 0);
    for (const UT_Vector4& addend : field->addends) result += UT_Vector3(addend.data() + 1);
    myFields.erase(field);
    plan();
    return result;
}

void FLX_WriteProgram::plan() {
    constexpr int FLOAT = int(sizeof(float));
    myWideStores.clear();
    myNarrowStores.clear();
    mySums.clear();
    myAddends.clear();
    const auto store = [](auto& stores, const Field& field, int first) {
        auto& to = stores.emplace_back();
        to.offset = field.offset + first * FLOAT;
        std::memcpy(to.value, field.value + first, sizeof to.value);
    };
    for (const Field& field : myFields) {
        if (field.isSet) {
            for (int i = 0; i + 1 < field.floats; i += 2) store(myWideStores, field, i);
            if (field.floats % 2) store(myNarrowStores, field, field.floats - 1);
        } else {
            mySums.push_back({field.offset, field.floats, int(field.addends.size())});
            myAddends.insert(myAddends.end(), field.addends.begin(), field.addends.end());
        }
    }
}
