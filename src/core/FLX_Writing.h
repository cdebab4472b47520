#pragma once

#include <vector>

#include "host/geo/GEO_Point.h"
#include "host/ut/UT_Vector3.h"

/// A constant that goes into a field of one to four floats of every particle whose state has none of some bits: it is
/// set, or added.
struct FLX_Write {
    int skippedBits;
    int offset; ///< as for GEO_Point::castAttribData
    int floats;
    bool isSet;
    float values[4];

    bool touches(int otherOffset, int bytes) const {
        return offset < otherOffset + bytes && otherOffset < offset + floats * int(sizeof(float));
    }
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
    /// With none of these in its state nothing leaves a particle out.
    int skippedBits() const;
    /// One after the other, for any particle.
    void apply(GEO_Point* p) const {
        const int bits = *p->castAttribData<int>(myStateOffset);
        for (const FLX_Write& write : myWrites)
            if (!(bits & write.skippedBits)) write.apply(p);
    }

private:
    bool touchesState(int offset) const;
    bool clashesWith(const FLX_Writing& other) const;

    int myStateOffset = -1;
    std::vector<FLX_Write> myWrites;
};

/// The same for particles that nothing leaves out, as nearly all are: every field is loaded and stored once. What the
/// writes do to a field is settled as far as it does not depend on what is there: a value that is set ends all before
/// it, and additions to it are done here.
class FLX_WriteProgram {
public:
    FLX_WriteProgram() = default;
    explicit FLX_WriteProgram(const FLX_Writing& writing);

    bool empty() const { return mySteps.empty(); }
    /// Takes what happens to three floats out of the program, given that 0 stands there before: what stands there then.
    UT_Vector3 extractFromZero(int offset);

    class Runner;
    /// For loops: good as long as the program stands.
    Runner runner() const;

private:
    /// Four floats wherever they lie.
    typedef float Four __attribute__((vector_size(16), aligned(4), may_alias));
    typedef int FourInts __attribute__((vector_size(16)));

    struct Step {
        int offset;
        int floats;
        bool isSet;
        /// What is set, in the first lanes; or what is added in this order, in the last lanes, the others being 0.
        int firstValue, endOfValues;
    };
    struct Value {
        float lanes[4];
        Four four() const { return *reinterpret_cast<const Four*>(lanes); }
    };

    void addStep(const std::vector<FLX_Write>& writes, const FLX_Write& field);

    std::vector<Step> mySteps;
    std::vector<Value> myValues;
};

class FLX_WriteProgram::Runner {
public:
    Runner(const Step* first, size_t n, const Value* values)
        : myFirst(first)
        , myLast(first + n)
        , myValues(values) {}

    void operator()(GEO_Point* p) const {
        for (const Step* step = myFirst; step != myLast; ++step) {
            float* field = p->castAttribData<float>(step->offset);
            if (step->isSet)
                set(field, myValues[step->firstValue], step->floats);
            else
                add(field, *step);
        }
    }

private:
    static void set(float* field, const Value& value, int floats) {
        switch (floats) {
        case 1: return void(__builtin_memcpy(field, &value, 4));
        case 2: return void(__builtin_memcpy(field, &value, 8));
        case 3: return void(__builtin_memcpy(field, &value, 12));
        default: __builtin_memcpy(field, &value, 16);
        }
    }
    // Works on the four floats that end with the field: those before it are there in any case, as a point's header
    // stands before its attributes.
    void add(float* field, const Step& step) const {
        const FourInts lane = {1, 2, 3, 4};
        const FourInts inField = lane > 4 - step.floats;
        Four& place = *reinterpret_cast<Four*>(field - (4 - step.floats));
        const FourInts old = (FourInts)place;
        Four sum = (Four)(old & inField); // what stands before the field may be no float
        for (int i = step.firstValue; i < step.endOfValues; ++i) sum += myValues[i].four();
        place = (Four)(((FourInts)sum & inField) | (old & ~inField));
    }

    const Step* myFirst;
    const Step* myLast;
    const Value* myValues;
};

inline FLX_WriteProgram::Runner FLX_WriteProgram::runner() const {
    return {mySteps.data(), mySteps.size(), myValues.data()};
}
