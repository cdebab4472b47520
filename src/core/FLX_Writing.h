#pragma once

#include <vector>

#include "host/geo/GEO_Point.h"
#include "host/ut/UT_Vector3.h"
#include "host/ut/UT_Vector4.h"

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

/// The same for particles that nothing leaves out, as nearly all are: every field is loaded and stored at most once.
/// What the writes do to a field is settled as far as it does not depend on what is there: a value that is set ends all
/// before it, and additions to it are done here.
class FLX_WriteProgram {
public:
    FLX_WriteProgram() = default;
    explicit FLX_WriteProgram(const FLX_Writing& writing);

    /// Takes what happens to three floats out of the program, given that 0 stands there before: what stands there then.
    UT_Vector3 extractFromZero(int offset);
    class Runner;
    /// For loops: good as long as the program stands.
    Runner runner() const;

private:
    /// Four floats wherever they lie.
    typedef float Four __attribute__((vector_size(16), aligned(4), may_alias));
    typedef int FourInts __attribute__((vector_size(16)));

    struct Field {
        int offset;
        int floats;
        bool isSet = false;
        float value[4] = {};
        std::vector<UT_Vector4> addends = {}; ///< in the last lanes, the others 0
    };
    template <size_t BYTES> struct Store {
        int offset;
        char value[BYTES];
    };
    struct Sum {
        int offset;
        int floats;
        int addends;
    };

    Field& field(const FLX_Write& write);
    void plan();

    std::vector<Field> myFields;
    // What loops run: each list without a branch, in any order.
    std::vector<Store<8>> myWideStores;
    std::vector<Store<4>> myNarrowStores;
    std::vector<Sum> mySums;
    std::vector<UT_Vector4> myAddends;
};

class FLX_WriteProgram::Runner {
public:
    explicit Runner(const FLX_WriteProgram& program)
        : myWide(program.myWideStores.data())
        , myWideEnd(myWide + program.myWideStores.size())
        , myNarrow(program.myNarrowStores.data())
        , myNarrowEnd(myNarrow + program.myNarrowStores.size())
        , mySums(program.mySums.data())
        , mySumsEnd(mySums + program.mySums.size())
        , myAddends(program.myAddends.data()) {}

    [[gnu::always_inline]] void operator()(GEO_Point* p) const {
        for (const Store<8>* s = myWide; s != myWideEnd; ++s) __builtin_memcpy(p->data() + s->offset, s->value, 8);
        for (const Store<4>* s = myNarrow; s != myNarrowEnd; ++s) __builtin_memcpy(p->data() + s->offset, s->value, 4);
        const UT_Vector4* addends = myAddends;
        for (const Sum* s = mySums; s != mySumsEnd; ++s)
            addends = add(p->castAttribData<float>(s->offset), *s, addends);
    }

private:
    // Works on the four floats that end with the field: those before it are there in any case, as a point's header
    // stands before its attributes.
    [[gnu::always_inline]] static const UT_Vector4* add(float* field, const Sum& s, const UT_Vector4* addends) {
        const FourInts lane = {1, 2, 3, 4};
        const FourInts inField = lane > 4 - s.floats;
        Four& place = *reinterpret_cast<Four*>(field - (4 - s.floats));
        const FourInts old = (FourInts)place;
        Four sum = (Four)(old & inField); // what stands before the field may be no float
        for (const UT_Vector4* end = addends + s.addends; addends != end; ++addends)
            sum += *reinterpret_cast<const Four*>(addends);
        place = (Four)(((FourInts)sum & inField) | (old & ~inField));
        return addends;
    }

    const Store<8>*myWide, *myWideEnd;
    const Store<4>*myNarrow, *myNarrowEnd;
    const Sum *mySums, *mySumsEnd;
    const UT_Vector4* myAddends;
};

inline FLX_WriteProgram::Runner FLX_WriteProgram::runner() const { return Runner(*this); }

/// What a loop calls for each particle when all else is done, to write what comes after it.
class FLX_Follower {
public:
    FLX_Follower(const FLX_Writing& writing, const FLX_WriteProgram& program)
        : myWriting(writing.empty() ? nullptr : &writing)
        , myStateOffset(writing.stateOffset())
        , myBits(writing.skippedBits())
        , myRunner(program.runner()) {}

    [[gnu::always_inline]] void operator()(GEO_Point* p) const {
        if (!myWriting) return;
        if (*p->castAttribData<int>(myStateOffset) & myBits)
            myWriting->apply(p);
        else
            myRunner(p);
    }

private:
    const FLX_Writing* myWriting;
    int myStateOffset, myBits;
    FLX_WriteProgram::Runner myRunner;
};
