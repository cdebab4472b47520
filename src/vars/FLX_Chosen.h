#pragma once

#include <tuple>
#include <utility>

#include "host/node/PRM_Handle.h"
#include "host/ut/UT_Vector3.h"

/// How the value of a parameter is found for each particle: a constant of the cook, or an evaluation per particle. What
/// a dependency test decided is kept per component, so that x can vary while y and z stand.
///
/// Operators hold these for one cook and pass them to `each` (see FLX_ParticleCook.h). Reading one evaluates at once;
/// wrapped in `late`, it is handed on as a callable that evaluates where and as often as the operator calls it.
template <class Handle> class FLX_Chosen {
public:
    using value_type = typename Handle::value_type;

    FLX_Chosen(const Handle& handle, float t, bool varies)
        : myHandle(&handle)
        , myTime(t)
        , myVaries(varies)
        , myConstant(varies ? value_type{} : handle(t)) {}

    /// A value that the operator settled without the parameter.
    explicit FLX_Chosen(const value_type& fixed)
        : myHandle(nullptr)
        , myTime(0)
        , myVaries(false)
        , myConstant(fixed) {}

    bool varies() const { return myVaries; }
    const value_type& constant() const { return myConstant; }
    /// What is evaluated, and at what time.
    const Handle* handle() const { return myHandle; }
    float time() const { return myTime; }
    value_type operator()() const { return myVaries ? (*myHandle)(myTime) : myConstant; }

private:
    const Handle* myHandle;
    float myTime;
    bool myVaries;
    value_type myConstant;
};

/// Three components, each decided by itself.
class FLX_ChosenVector {
public:
    using value_type = UT_Vector3;

    FLX_ChosenVector(const PRM_Floats<3>& handle, float t)
        : myHandle(&handle)
        , myTime(t) {}

    /// Components are decided in order; a constant one is evaluated at its turn.
    void decide(int i, bool dependent) {
        myVaries[i] = dependent;
        if (!dependent) myConstant[i] = (*myHandle)[i](myTime);
    }
    bool varies() const { return myVaries[0] || myVaries[1] || myVaries[2]; }
    bool varies(int i) const { return myVaries[i]; }
    const PRM_Floats<3>* handle() const { return myHandle; }
    float time() const { return myTime; }
    const UT_Vector3& constant() const { return myConstant; }
    float component(int i) const { return myVaries[i] ? (*myHandle)[i](myTime) : myConstant[i]; }
    UT_Vector3 operator()() const {
        const float x = component(0);
        const float y = component(1);
        const float z = component(2);
        return {x, y, z};
    }

private:
    const PRM_Floats<3>* myHandle;
    float myTime;
    bool myVaries[3] = {};
    UT_Vector3 myConstant{0, 0, 0};
};

/// A toggle that counts anew at every reading. One that is typed in, as almost all are, is read once.
class FLX_RereadToggle {
public:
    FLX_RereadToggle(const PRM_Toggle* toggle)
        : myToggle(toggle)
        , myTyped(toggle->isTyped())
        , myConstant(myTyped && (*toggle)()) {}

    bool varies() const { return !myTyped; }
    bool constant() const { return myConstant; }
    bool operator()() const { return myTyped ? myConstant : (*myToggle)(); }

private:
    const PRM_Toggle* myToggle;
    bool myTyped;
    bool myConstant;
};

/// A value that stands for the whole cook, where a parameter may also be expected.
template <class T> class FLX_Constant {
public:
    using value_type = T;

    explicit FLX_Constant(const T& value)
        : myConstant(value) {}
    bool varies() const { return false; }
    const T& constant() const { return myConstant; }
    const T& operator()() const { return myConstant; }

private:
    T myConstant;
};

/// Hands a parameter on unevaluated: the formula receives a callable.
template <class Source> struct FLX_Late {
    Source source;

    bool varies() const { return source.varies(); }
};

template <class Source> FLX_Late<Source> late(const Source& source) { return {source}; }

namespace flx_detail {

// What a formula receives in the loop in which nothing varies: plain values, and callables that return one.
template <class Source> auto constantArgument(const Source& source) { return source.constant(); }
template <class Source> auto constantArgument(const FLX_Late<Source>& l) {
    return [value = l.source.constant()] { return value; };
}

// And in the general loop: the value for this particle, or a callable that evaluates when it is called.
template <class Source> auto varyingArgument(const Source& source) { return source(); }
template <class Source> auto varyingArgument(const FLX_Late<Source>& l) {
    return [source = &l.source] { return (*source)(); };
}

} // namespace flx_detail
