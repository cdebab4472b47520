#pragma once

#include <cstddef>

/// What the bytes of an attribute mean. The numbers are part of file formats and of look-ups by type code.
enum class GB_AttribType : int {
    FLOAT = 0,  ///< floats that no transform touches (colours, scalars, positions kept as data)
    INT = 1,    ///< 32-bit integers
    RAW = 3,    ///< bytes, copied but never interpolated
    INDEX = 4,  ///< one int: number of a string in the attribute's table, -1 for none
    VECTOR = 5, ///< triples of floats that turn with the geometry
};

inline constexpr GB_AttribType GB_ATTRIB_FLOAT = GB_AttribType::FLOAT;
inline constexpr GB_AttribType GB_ATTRIB_INT = GB_AttribType::INT;
inline constexpr GB_AttribType GB_ATTRIB_RAW = GB_AttribType::RAW;
inline constexpr GB_AttribType GB_ATTRIB_INDEX = GB_AttribType::INDEX;
inline constexpr GB_AttribType GB_ATTRIB_VECTOR = GB_AttribType::VECTOR;

/// True when the components of such an attribute are floats, and so may be interpolated.
inline constexpr bool GBisFloatType(GB_AttribType type) {
    return type == GB_AttribType::FLOAT || type == GB_AttribType::VECTOR;
}

/// The four element classes that carry attributes.
enum class GB_AttribClass : int { POINT = 0, VERTEX = 1, PRIMITIVE = 2, DETAIL = 3 };
