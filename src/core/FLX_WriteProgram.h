#pragma once

#include <cstddef>
#include <vector>

#include "core/FLX_RecordLanes.h"
#include "core/FLX_Writing.h"
#include "host/ut/UT_Vector3.h"
#include "host/ut/UT_Vector4.h"

/// What writes do to particles that nothing leaves out, as nearly all are: every field is loaded and stored at most
/// once. It is settled as far as it does not depend on what is there: a value that is set ends all before it, additions
/// to it are done here, and values that are set side by side go in together.
class FLX_WriteProgram {
public:
    explicit FLX_WriteProgram(const FLX_Writing& writing);

    /// Takes what happens to three floats out of the program, given that 0 stands there before: what stands there then.
    UT_Vector3 extractFromZero(int offset);

    class Runner;
    class Addition;
    template <size_t BYTES> class StorePair;
    /// For loops: good as long as the program stands.
    Runner runner() const;
    /// Calls loop(run), where run(point) runs the program: for the commonest programs in a few instructions.
    template <class Loop> void withRunner(const Loop& loop) const;

private:
    typedef int FourInts __attribute__((vector_size(16)));

    struct Field {
        int offset;
        int floats;
        bool isSet = false;
        float value[4] = {};
        std::vector<UT_Vector4> addends = {}; ///< in the last lanes, the others 0
    };
    template <size_t BYTES> struct Store {
        ptrdiff_t offset;
        char value[BYTES];
    };
    /// Works on the four floats that end with the field: those before it are there in any case, as a point's header
    /// stands before its attributes.
    struct Sum {
        FourInts inField; ///< the lanes of the field, all bits of these set
        ptrdiff_t offset;
        int addends;

        /// What stands before the field may be no float.
        FLX_Four start(const FLX_Four& old) const { return (FLX_Four)((FourInts)old & inField); }
        FLX_Four blend(const FLX_Four& old, const FLX_Four& sum) const {
            return (FLX_Four)(((FourInts)sum & inField) | ((FourInts)old & ~inField));
        }
    };

    Field& field(const FLX_Write& write);
    void plan();
    void planSums();
    void planStores();
    void planRun(int offset, const std::vector<float>& values);

    std::vector<Field> myFields;
    // What loops run: each list without a branch, in any order.
    std::vector<Store<16>> myQuadStores;
    std::vector<Store<8>> myPairStores;
    std::vector<Store<4>> mySingleStores;
    std::vector<Sum> mySums;
    std::vector<UT_Vector4> myAddends;
};

/// Any program.
class FLX_WriteProgram::Runner {
public:
    explicit Runner(const FLX_WriteProgram& program)
        : myQuads(program.myQuadStores)
        , myPairs(program.myPairStores)
        , mySingles(program.mySingleStores)
        , mySums(program.mySums)
        , myAddends(program.myAddends.data()) {}

    [[gnu::always_inline]] void operator()(GEO_Point* p) const {
        store(myQuads, p);
        store(myPairs, p);
        store(mySingles, p);
        const UT_Vector4* addends = myAddends;
        for (const Sum* s = mySums.begin; s != mySums.end; ++s) {
            void* const place = p->data() + s->offset;
            const auto old = FLXload<FLX_Four>(place);
            FLX_Four sum = s->start(old);
            for (const UT_Vector4* end = addends + s->addends; addends != end; ++addends)
                sum += FLXload<FLX_Four>(addends);
            FLXstore(place, s->blend(old, sum));
        }
    }

private:
    template <class T> struct Span {
        explicit Span(const std::vector<T>& items)
            : begin(items.data())
            , end(begin + items.size()) {}
        const T *begin, *end;
    };
    template <size_t BYTES> [[gnu::always_inline]] static void store(const Span<Store<BYTES>>& stores, GEO_Point* p) {
        for (const Store<BYTES>* s = stores.begin; s != stores.end; ++s)
            __builtin_memcpy(p->data() + s->offset, s->value, BYTES);
    }

    Span<Store<16>> myQuads;
    Span<Store<8>> myPairs;
    Span<Store<4>> mySingles;
    Span<Sum> mySums;
    const UT_Vector4* myAddends;
};

/// One constant is added to one field.
class FLX_WriteProgram::Addition {
public:
    explicit Addition(const FLX_WriteProgram& program)
        : mySum(program.mySums.front())
        , myAddend(FLXload<FLX_Four>(program.myAddends.data())) {}

    [[gnu::always_inline]] void operator()(GEO_Point* p) const {
        void* const place = p->data() + mySum.offset;
        const auto old = FLXload<FLX_Four>(place);
        FLXstore(place, mySum.blend(old, mySum.start(old) + myAddend));
    }

private:
    Sum mySum;
    FLX_Four myAddend;
};

/// One or two stores of a size.
template <size_t BYTES> class FLX_WriteProgram::StorePair {
public:
    explicit StorePair(const std::vector<Store<BYTES>>& stores)
        : myFirst(stores.front())
        , mySecond(stores.back()) {}

    [[gnu::always_inline]] void operator()(GEO_Point* p) const {
        __builtin_memcpy(p->data() + myFirst.offset, myFirst.value, BYTES);
        __builtin_memcpy(p->data() + mySecond.offset, mySecond.value, BYTES);
    }

private:
    Store<BYTES> myFirst, mySecond;
};

inline FLX_WriteProgram::Runner FLX_WriteProgram::runner() const { return Runner(*this); }

template <class Loop> void FLX_WriteProgram::withRunner(const Loop& loop) const {
    const size_t quads = myQuadStores.size(), pairs = myPairStores.size(), rest = mySingleStores.size();
    if (quads + pairs + rest == 0 && myAddends.size() == 1) return loop(Addition(*this));
    if (mySums.empty() && rest == 0 && quads == 0 && (pairs == 1 || pairs == 2)) return loop(StorePair(myPairStores));
    if (mySums.empty() && rest == 0 && pairs == 0 && (quads == 1 || quads == 2)) return loop(StorePair(myQuadStores));
    loop(Runner(*this));
}

/// What a loop calls for each particle when all else is done, to write what comes after it.
template <class Runner> class FLX_FollowerOf {
public:
    FLX_FollowerOf(const FLX_Writing& writing, const Runner& runner)
        : myWriting(writing.empty() ? nullptr : &writing)
        , myStateOffset(writing.stateOffset())
        , myBits(writing.skippedBits())
        , myRunner(runner) {}

    [[gnu::always_inline]] void operator()(GEO_Point* p) const {
        if (!myWriting) return;
        if (*p->castAttribData<int>(myStateOffset) & myBits) [[unlikely]]
            myWriting->apply(p);
        else
            myRunner(p);
    }

private:
    const FLX_Writing* myWriting;
    int myStateOffset, myBits;
    Runner myRunner;
};

using FLX_Follower = FLX_FollowerOf<FLX_WriteProgram::Runner>;
