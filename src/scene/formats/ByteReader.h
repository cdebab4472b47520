#pragma once

#include "scene/formats/FormatError.h"
#include "scene/formats/LittleEndian.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace formats {

/// The one way to touch the bytes of a binary file: every access is checked against what is left.
class ByteReader {
public:
    /// `start` is where the bytes lie in the file, for errors.
    explicit ByteReader(std::string_view bytes, size_t start = 0)
        : myBytes(bytes)
        , myStart(start) {}

    size_t offset() const { return myStart + myAt; }
    size_t left() const { return myBytes.size() - myAt; }
    [[noreturn]] void fail(const std::string& text) const {
        throw FormatError("byte " + std::to_string(offset()) + ": " + text);
    }
    std::string_view take(uint64_t count) {
        if (count > left())
            fail(std::to_string(count) + " bytes expected, " + std::to_string(left()) +
                 " are left; the file is truncated");
        const std::string_view out = myBytes.substr(myAt, static_cast<size_t>(count));
        myAt += static_cast<size_t>(count);
        return out;
    }
    template <class T> T get() { return readLittle<T>(take(sizeof(T)).data()); }
    /// A text behind its 32-bit length.
    std::string text() { return std::string(take(get<uint32_t>())); }
    /// A count of things that take at least `leastBytes` each from what is left.
    uint64_t count(size_t leastBytes) {
        const uint64_t n = get<uint64_t>();
        if (n > left() / leastBytes)
            fail("a count of " + std::to_string(n) + " does not fit the " + std::to_string(left()) + " bytes left");
        return n;
    }

private:
    std::string_view myBytes;
    size_t myStart;
    size_t myAt = 0;
};

} // namespace formats
