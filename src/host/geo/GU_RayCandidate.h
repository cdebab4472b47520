#pragma once

#include <cmath>
#include <cstdint>

/// A crossing of a ray with one piece of a primitive, before pieces of one primitive are brought together.
struct GU_RayCandidate {
    float t;              ///< in lengths of the ray's direction
    float slack;          ///< crossings of one shape closer than this are the same crossing
    uint32_t shape;       ///< in order of primitive number
    uint32_t item;        ///< which piece
    uint32_t place;       ///< of the piece in the search structure
    float b[3];           ///< barycentric weights of a triangle's corners
    float until = 0;      ///< sweeps: when the contact ends; t unless it lasts
    uint32_t section = 0; ///< sweeps: part of the motion that it belongs to
};

/// Orders without ties between different pieces, whatever order they were found in.
inline bool GUnearer(const GU_RayCandidate& a, const GU_RayCandidate& b) {
    const float s = std::fabs(a.t), t = std::fabs(b.t);
    if (s != t) return s < t;
    return a.shape != b.shape ? a.shape < b.shape : a.item < b.item;
}

inline bool GUfurther(const GU_RayCandidate& a, const GU_RayCandidate& b) {
    const float s = std::fabs(a.t), t = std::fabs(b.t);
    if (s != t) return s > t;
    return a.shape != b.shape ? a.shape < b.shape : a.item < b.item;
}

inline bool GUbefore(const GU_RayCandidate& a, const GU_RayCandidate& b) {
    if (a.t != b.t) return a.t < b.t;
    return a.shape != b.shape ? a.shape < b.shape : a.item < b.item;
}
