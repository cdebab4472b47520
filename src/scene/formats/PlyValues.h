#pragma once

#include "scene/formats/PlyHeader.h"

namespace formats {

/// Reads the values behind a PLY header one after the other, whatever the encoding. Every value fits a double exactly.
/// Errors name the element, the row, and the line (text) or byte (binary).
class PlyValues {
public:
    PlyValues(std::string_view bytes, const PlyHeader& header)
        : myBytes(bytes)
        , myEncoding(header.encoding)
        , myAt(header.dataOffset) {}

    /// Says what comes next, for errors.
    void startElement(const PlyElement& element) { myElement = &element; }
    void startRow(uint64_t row) { myRow = row; }

    double next(PlyType type);
    /// Length of a list whose values are of `type`; it fits the bytes that are left.
    size_t listLength(const PlyProperty& list);
    void skip(const PlyProperty& property);
    [[noreturn]] void fail(const std::string& text) const;

private:
    double nextText(PlyType type);
    double nextBinary(PlyType type);
    std::string_view word();
    [[noreturn]] void failAtEnd() const;

    std::string_view myBytes;
    PlyEncoding myEncoding;
    size_t myAt;
    size_t myTokenAt = 0;
    const PlyElement* myElement = nullptr;
    uint64_t myRow = 0;
};

} // namespace formats
