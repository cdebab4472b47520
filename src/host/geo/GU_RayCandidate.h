#pragma once

#include <cstdint>

/// A crossing of a ray with one piece of a primitive, before pieces of one primitive are brought together.
struct GU_RayCandidate {
    float t;        ///< in lengths of the ray's direction
    float slack;    ///< crossings of one shape closer than this are the same crossing
    uint32_t shape; ///< in order of primitive number
    uint32_t item;  ///< which piece
    uint32_t place; ///< of the piece in the search structure
    float b[3];     ///< barycentric weights of a triangle's corners
};
