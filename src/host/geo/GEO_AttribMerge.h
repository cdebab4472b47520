#pragma once

#include "host/geo/GB_AttributeDict.h"

#include <vector>

/// Carries attribute data of one detail over to another: attributes meet by name, size and type, missing ones are added
/// to the destination, string numbers are translated. A name that means something else there is left out.
class GEO_AttribMerge {
public:
    GEO_AttribMerge(const GB_AttributeDict& src, GB_AttributeDict& dest) {
        for (const auto& attrib : src) add(*attrib, dest);
    }
    /// Only attributes the destination did not have.
    static GEO_AttribMerge missing(const GB_AttributeDict& src, GB_AttributeDict& dest);

    void copy(const char* src, char* dest) const;

private:
    GEO_AttribMerge() = default;
    void add(const GB_Attribute& attrib, GB_AttributeDict& dest);

    struct Span {
        size_t from, to, size;
        bool index;
        std::vector<int> remap;
    };
    std::vector<Span> mySpans;
};
