#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace formats {

/// Longest header that is read; string tables in comments count.
inline constexpr size_t PLY_MAX_HEADER = size_t{16} << 20;

enum class PlyEncoding { ASCII, LITTLE, BIG };
enum class PlyType { INT8, UINT8, INT16, UINT16, INT32, UINT32, FLOAT32, FLOAT64 };

size_t plySize(PlyType type); ///< bytes
inline bool plyIsReal(PlyType type) { return type == PlyType::FLOAT32 || type == PlyType::FLOAT64; }

struct PlyProperty {
    std::string name;
    PlyType type = PlyType::FLOAT32;
    bool isList = false;
    PlyType countType = PlyType::UINT8; ///< of a list's length
};

struct PlyElement {
    std::string name;
    uint64_t count = 0;
    std::vector<PlyProperty> properties;

    /// Number of the property, -1 when there is none of that name.
    int find(std::string_view property) const;
    /// Bytes that one row takes at least: lists empty, texts one digit and one separator per value.
    size_t leastRowBytes(PlyEncoding encoding) const;
};

/// The header of a PLY file (Turk, "The PLY Polygon File Format", 1994).
struct PlyHeader {
    PlyEncoding encoding = PlyEncoding::ASCII;
    std::vector<PlyElement> elements;
    std::vector<std::string> comments;
    size_t dataOffset = 0; ///< bytes before the first element

    const PlyElement* find(std::string_view element) const;
    /// Reads the header and checks that the counts it claims fit the bytes that follow. Throws FormatError.
    static PlyHeader parse(std::string_view bytes);
};

} // namespace formats
