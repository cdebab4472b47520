#include "host/geo/GEO_AttribMerge.h"

#include <cstring>

void GEO_AttribMerge::add(const GB_Attribute& attrib, GB_AttributeDict& dest) {
    const int offset = dest.append(attrib.getName(), attrib.getSize(), attrib.getType(), attrib.getDefault());
    if (offset < 0) return;
    Span span{static_cast<size_t>(attrib.getOffset()),
              static_cast<size_t>(offset),
              static_cast<size_t>(attrib.getSize()),
              attrib.getType() == GB_AttribType::INDEX,
              {}};
    if (span.index) {
        GB_Attribute* there = dest.find(attrib.getName());
        for (const std::string& text : attrib.indexStrings()) span.remap.push_back(there->addIndex(text));
    } else if (!mySpans.empty()) {
        // Neighbours on both sides are one copy.
        Span& last = mySpans.back();
        if (!last.index && last.from + last.size == span.from && last.to + last.size == span.to) {
            last.size += span.size;
            return;
        }
    }
    mySpans.push_back(std::move(span));
}

GEO_AttribMerge GEO_AttribMerge::missing(const GB_AttributeDict& src, GB_AttributeDict& dest) {
    GEO_AttribMerge merge;
    for (const auto& attrib : src)
        if (!dest.find(attrib->getName())) merge.add(*attrib, dest);
    return merge;
}

void GEO_AttribMerge::copy(const char* src, char* dest) const {
    for (const Span& span : mySpans) {
        if (!span.index) {
            std::memcpy(dest + span.to, src + span.from, span.size);
            continue;
        }
        int value;
        std::memcpy(&value, src + span.from, sizeof value);
        const bool known = value >= 0 && static_cast<size_t>(value) < span.remap.size();
        value = known ? span.remap[static_cast<size_t>(value)] : -1;
        std::memcpy(dest + span.to, &value, sizeof value);
    }
}
