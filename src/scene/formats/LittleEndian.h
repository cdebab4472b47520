#pragma once

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>

namespace formats {

/// Appends the bytes of a number, lowest first.
template <class T> void appendLittle(std::string& out, T value) {
    char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    if constexpr (std::endian::native == std::endian::big) std::reverse(bytes, bytes + sizeof(T));
    out.append(bytes, sizeof(T));
}

/// The number whose bytes stand there, lowest first.
template <class T> T readLittle(const char* from) {
    char bytes[sizeof(T)];
    std::memcpy(bytes, from, sizeof(T));
    if constexpr (std::endian::native == std::endian::big) std::reverse(bytes, bytes + sizeof(T));
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
}

} // namespace formats
