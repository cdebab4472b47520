#include "scene/formats/PlyValues.h"

#include "scene/formats/FormatError.h"
#include "scene/formats/TextNumbers.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <fmt/format.h>

namespace formats {
namespace {

template <class T> double decode(const char* bytes, bool swap) {
    char ordered[sizeof(T)];
    std::memcpy(ordered, bytes, sizeof(T));
    if (swap) std::reverse(ordered, ordered + sizeof(T));
    return static_cast<double>(std::bit_cast<T>(ordered));
}

struct IntegerRange {
    int64_t low, high;
};

IntegerRange rangeOf(PlyType type) {
    switch (type) {
    case PlyType::INT8: return {INT8_MIN, INT8_MAX};
    case PlyType::UINT8: return {0, UINT8_MAX};
    case PlyType::INT16: return {INT16_MIN, INT16_MAX};
    case PlyType::UINT16: return {0, UINT16_MAX};
    case PlyType::UINT32: return {0, UINT32_MAX};
    default: return {INT32_MIN, INT32_MAX};
    }
}

} // namespace

void PlyValues::fail(const std::string& text) const {
    const bool ascii = myEncoding == PlyEncoding::ASCII;
    throw FormatError(fmt::format("{} {}, element {} {}: {}", ascii ? "line" : "byte",
                                  ascii ? lineOf(myBytes, myTokenAt) : myTokenAt, excerpt(myElement->name), myRow,
                                  text));
}

void PlyValues::failAtEnd() const { fail("the file ends in the middle; it is truncated"); }

double PlyValues::next(PlyType type) { return myEncoding == PlyEncoding::ASCII ? nextText(type) : nextBinary(type); }

std::string_view PlyValues::word() {
    const auto blank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    while (myAt < myBytes.size() && blank(myBytes[myAt])) ++myAt;
    myTokenAt = myAt;
    if (myAt == myBytes.size()) failAtEnd();
    while (myAt < myBytes.size() && !blank(myBytes[myAt])) ++myAt;
    return myBytes.substr(myTokenAt, myAt - myTokenAt);
}

double PlyValues::nextText(PlyType type) {
    const std::string_view text = word();
    if (type == PlyType::FLOAT32) {
        // Not through double: rounding twice can give the neighbour of the nearest float.
        float value = 0;
        if (!parseFloat(text, value)) fail(fmt::format("{} is no number", excerpt(text)));
        return static_cast<double>(value);
    }
    double value = 0;
    if (!parseDouble(text, value)) fail(fmt::format("{} is no number", excerpt(text)));
    if (type == PlyType::FLOAT64) return value;
    const IntegerRange range = rangeOf(type);
    if (!(value >= static_cast<double>(range.low) && value <= static_cast<double>(range.high)))
        fail(fmt::format("{} is no integer from {} to {}", excerpt(text), range.low, range.high));
    if (value != static_cast<double>(static_cast<int64_t>(value))) fail(fmt::format("{} is no integer", excerpt(text)));
    return value;
}

double PlyValues::nextBinary(PlyType type) {
    const size_t size = plySize(type);
    myTokenAt = myAt;
    if (myBytes.size() - myAt < size) failAtEnd();
    const char* at = myBytes.data() + myAt;
    const bool swap = (myEncoding == PlyEncoding::BIG) != (std::endian::native == std::endian::big);
    myAt += size;
    switch (type) {
    case PlyType::INT8: return decode<int8_t>(at, swap);
    case PlyType::UINT8: return decode<uint8_t>(at, swap);
    case PlyType::INT16: return decode<int16_t>(at, swap);
    case PlyType::UINT16: return decode<uint16_t>(at, swap);
    case PlyType::INT32: return decode<int32_t>(at, swap);
    case PlyType::UINT32: return decode<uint32_t>(at, swap);
    case PlyType::FLOAT32: return decode<float>(at, swap);
    default: return decode<double>(at, swap);
    }
}

size_t PlyValues::listLength(const PlyProperty& list) {
    const double length = next(list.countType);
    if (length < 0) fail(fmt::format("list {} has length {}", excerpt(list.name), length));
    const size_t count = static_cast<size_t>(length);
    const bool ascii = myEncoding == PlyEncoding::ASCII;
    if (count > (myBytes.size() - myAt) / (ascii ? 2 : plySize(list.type)))
        fail(fmt::format("list {} claims {} values, more than the rest of the file holds", excerpt(list.name), count));
    return count;
}

void PlyValues::skip(const PlyProperty& property) {
    const size_t count = property.isList ? listLength(property) : 1;
    if (myEncoding == PlyEncoding::ASCII) {
        for (size_t i = 0; i < count; ++i) word();
        return;
    }
    myTokenAt = myAt;
    if (count > (myBytes.size() - myAt) / plySize(property.type)) failAtEnd();
    myAt += count * plySize(property.type);
}

} // namespace formats
