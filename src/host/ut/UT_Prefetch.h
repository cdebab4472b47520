#pragma once

#include <cstddef>

/// Asks for the whole of an object that will be read soon.
template <class T> inline void UTprefetch(const T& object) {
    constexpr size_t LINE = 64;
    const char* const p = reinterpret_cast<const char*>(&object);
    for (size_t i = 0; i < sizeof(T); i += LINE) __builtin_prefetch(p + i);
}
