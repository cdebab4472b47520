#pragma once

#include <type_traits>
#include <utility>

/// A callable passed down a call without owning it: two words, no allocation. Empty when default constructed. It must
/// not outlive what it refers to.
template <class Signature> class FLX_FunctionRef;

template <class R, class... Args> class FLX_FunctionRef<R(Args...)> {
public:
    FLX_FunctionRef() = default;
    template <class F, class = std::enable_if_t<!std::is_same_v<std::remove_cvref_t<F>, FLX_FunctionRef>>>
    FLX_FunctionRef(F&& f)
        : myObject(const_cast<void*>(static_cast<const void*>(&f)))
        , myCall([](void* object, Args... args) -> R {
            return (*static_cast<std::remove_reference_t<F>*>(object))(std::forward<Args>(args)...);
        }) {}

    explicit operator bool() const { return myCall != nullptr; }
    R operator()(Args... args) const { return myCall(myObject, std::forward<Args>(args)...); }

private:
    void* myObject = nullptr;
    R (*myCall)(void*, Args...) = nullptr;
};
