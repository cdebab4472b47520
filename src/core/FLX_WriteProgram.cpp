#include "core/FLX_WriteProgram.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int FLOAT = int(sizeof(float));

} // namespace

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
    // Fields that are not the same do not overlap, so no two have an offset.
    std::sort(myFields.begin(), myFields.end(), [](const Field& a, const Field& b) { return a.offset < b.offset; });
    planSums();
    planStores();
}

void FLX_WriteProgram::planSums() {
    mySums.clear();
    myAddends.clear();
    for (const Field& field : myFields) {
        if (field.isSet) continue;
        const int before = 4 - field.floats;
        const FourInts lane = {0, 1, 2, 3};
        mySums.push_back({lane >= before, field.offset - before * FLOAT, int(field.addends.size())});
        myAddends.insert(myAddends.end(), field.addends.begin(), field.addends.end());
    }
}

void FLX_WriteProgram::planStores() {
    myQuadStores.clear();
    myPairStores.clear();
    mySingleStores.clear();
    int first = 0;
    std::vector<float> run; // what is set from there on without a gap
    for (const Field& field : myFields) {
        if (!field.isSet) continue;
        if (field.offset != first + int(run.size()) * FLOAT) {
            planRun(first, run);
            run.clear();
        }
        if (run.empty()) first = field.offset;
        run.insert(run.end(), field.value, field.value + field.floats);
    }
    planRun(first, run);
}

// The last store of a run may overlap with the one before it.
void FLX_WriteProgram::planRun(int offset, const std::vector<float>& values) {
    const int n = int(values.size());
    const auto store = [&](auto& stores, int at) {
        auto& to = stores.emplace_back();
        to.offset = offset + at * FLOAT;
        std::memcpy(to.value, values.data() + at, sizeof to.value);
    };
    const auto cover = [&](auto& stores, int floats) {
        for (int at = 0; at < n; at += floats) store(stores, std::min(at, n - floats));
    };
    if (n >= 4)
        cover(myQuadStores, 4);
    else if (n >= 2)
        cover(myPairStores, 2);
    else if (n == 1)
        store(mySingleStores, 0);
}
