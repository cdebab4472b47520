#pragma once

#include <string_view>

/// A falloff over the squared normalised distance: 1 at 0, 0 from 1 on, never negative between.
struct TS_MetaKernel {
    const char* token;
    const char* label;
    float (*value)(float r2);
    float operator()(float r2) const { return r2 < 1 ? value(r2 > 0 ? r2 : 0) : 0; }
};

/// The falloffs that metaballs and weighted averages choose from, by number or token.
class TS_KernelList {
public:
    static int entries();
    /// Kernel i; the default one when out of range.
    static const TS_MetaKernel& kernel(int i);
    /// Number of the kernel with that token, -1 when unknown.
    static int find(std::string_view token);
    static constexpr int DEFAULT = 0;
};
