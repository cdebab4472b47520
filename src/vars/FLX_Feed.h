#pragma once

#include "vars/FLX_Chosen.h"
#include "vars/FLX_ParticleColumns.h"

/// Where the loop of a pass takes an argument of its formula from: a constant, a column, or an evaluation per particle.
/// This is the form for sources that know no columns.
template <class Source> class FLX_Feed {
public:
    FLX_Feed(const Source& source, FLX_ParticleColumns&)
        : mySource(source) {}

    /// The value has to be evaluated at each particle's turn.
    bool isEvaluated() const { return mySource.varies(); }
    /// The values of the particles that `columns` evaluated last, as a function of the particle's number among them;
    /// only when nothing is to be evaluated. Good for all blocks.
    auto values(const FLX_ParticleColumns&) const {
        return [value = flx_detail::constantArgument(mySource)](size_t) { return value; };
    }
    /// The value at a particle's turn.
    auto value(const FLX_ParticleColumns&, size_t) const { return flx_detail::varyingArgument(mySource); }

private:
    Source mySource;
};

/// One number of a parameter.
template <class T> class FLX_NumberFeed {
public:
    void choose(int parm, int component, float t, FLX_ParticleColumns& columns) {
        myColumn = columns.add(parm, component, t, std::is_same_v<T, int>);
        myIsEvaluated = myColumn < 0;
    }
    void setConstant(T value, FLX_ParticleColumns& columns) {
        myColumn = columns.addConstant(value);
        myIsConstant = true;
        myConstant = value;
    }

    bool isEvaluated() const { return myIsEvaluated; }
    auto values(const FLX_ParticleColumns& columns) const {
        return [at = column(columns)](size_t k) { return at[k]; };
    }
    /// `evaluate()` gives it where there is no column.
    template <class Evaluate> T value(const FLX_ParticleColumns& columns, size_t k, const Evaluate& evaluate) const {
        return myIsConstant ? myConstant : myIsEvaluated ? evaluate() : column(columns)[k];
    }

private:
    const T* column(const FLX_ParticleColumns& columns) const {
        if constexpr (std::is_same_v<T, int>)
            return columns.ints(myColumn);
        else
            return columns.floats(myColumn);
    }

    bool myIsEvaluated = false;
    bool myIsConstant = false;
    int myColumn = -1;
    T myConstant{};
};

template <class Handle> class FLX_Feed<FLX_Chosen<Handle>> {
public:
    using T = typename Handle::value_type;

    FLX_Feed(const FLX_Chosen<Handle>& source, FLX_ParticleColumns& columns)
        : mySource(source) {
        if (source.varies())
            myNumber.choose(source.handle()->index(), componentOf(*source.handle()), source.time(), columns);
        else
            myNumber.setConstant(source.constant(), columns);
    }
    bool isEvaluated() const { return myNumber.isEvaluated(); }
    auto values(const FLX_ParticleColumns& columns) const { return myNumber.values(columns); }
    T value(const FLX_ParticleColumns& columns, size_t k) const { return myNumber.value(columns, k, mySource); }

private:
    static int componentOf(const PRM_FloatComponent& handle) { return handle.component; }
    static int componentOf(const PRM_Handle&) { return 0; }

    FLX_Chosen<Handle> mySource;
    FLX_NumberFeed<T> myNumber;
};

template <> class FLX_Feed<FLX_ChosenVector> {
public:
    FLX_Feed(const FLX_ChosenVector& source, FLX_ParticleColumns& columns)
        : mySource(source) {
        for (int i = 0; i < 3; ++i)
            if (source.varies(i))
                myNumbers[i].choose(source.handle()->index(), i, source.time(), columns);
            else
                myNumbers[i].setConstant(source.constant()[i], columns);
    }
    bool isEvaluated() const {
        return myNumbers[0].isEvaluated() || myNumbers[1].isEvaluated() || myNumbers[2].isEvaluated();
    }
    auto values(const FLX_ParticleColumns& columns) const {
        return [x = myNumbers[0].values(columns), y = myNumbers[1].values(columns),
                z = myNumbers[2].values(columns)](size_t k) { return UT_Vector3(x(k), y(k), z(k)); };
    }
    UT_Vector3 value(const FLX_ParticleColumns& columns, size_t k) const {
        const float x = component(columns, k, 0);
        const float y = component(columns, k, 1);
        const float z = component(columns, k, 2);
        return {x, y, z};
    }

private:
    float component(const FLX_ParticleColumns& columns, size_t k, int i) const {
        return myNumbers[i].value(columns, k, [&] { return mySource.component(i); });
    }

    FLX_ChosenVector mySource;
    FLX_NumberFeed<float> myNumbers[3];
};
