#include "scene/formats/GeoImage.h"

#include "host/geo/GEO_Primitive.h"

namespace formats {
namespace {

constexpr struct {
    uint32_t kind;
    const char* name;
    size_t shape;
} KINDS[] = {
    {GEOPRIMPOLY, "poly", 0},          {GEOPRIMMESH, "mesh", 0},  {GEOPRIMCIRCLE, "circle", 9},
    {GEOPRIMSPHERE, "sphere", 9},      {GEOPRIMTUBE, "tube", 10}, {GEOPRIMPART, "particle", 0},
    {GEOPRIMMETABALL, "metaball", 10},
};

constexpr struct {
    GB_AttribType type;
    const char* name;
} TYPES[] = {
    {GB_ATTRIB_FLOAT, "float"},  {GB_ATTRIB_INT, "int"},       {GB_ATTRIB_RAW, "raw"},
    {GB_ATTRIB_INDEX, "string"}, {GB_ATTRIB_VECTOR, "vector"},
};

} // namespace

const char* primKindName(uint32_t kind) {
    for (const auto& entry : KINDS)
        if (entry.kind == kind) return entry.name;
    return nullptr;
}

uint32_t primKind(std::string_view name) {
    for (const auto& entry : KINDS)
        if (name == entry.name) return entry.kind;
    return 0;
}

const char* attribTypeName(GB_AttribType type) {
    for (const auto& entry : TYPES)
        if (entry.type == type) return entry.name;
    return nullptr;
}

bool attribType(std::string_view name, GB_AttribType& type) {
    for (const auto& entry : TYPES)
        if (name == entry.name) {
            type = entry.type;
            return true;
        }
    return false;
}

const char* attribClassName(GB_AttribClass cls) {
    constexpr const char* NAMES[] = {"point", "vertex", "primitive", "detail"};
    return NAMES[static_cast<size_t>(cls)];
}

size_t shapeSize(uint32_t kind) {
    for (const auto& entry : KINDS)
        if (entry.kind == kind) return entry.shape;
    return 0;
}

} // namespace formats
