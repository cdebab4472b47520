#pragma once

#include "host/geo/GB_AttribType.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class GU_Detail;

namespace formats {

/// One attribute as a native file holds it. All numbers are 4 bytes, lowest first, component by component.
struct AttribImage {
    std::string name;
    GB_AttribType type = GB_ATTRIB_FLOAT;
    uint32_t size = 0;    ///< bytes per element
    std::string defaults; ///< `size` bytes
    std::vector<std::string> strings;
    std::vector<char> owned; ///< values, when they were decoded from text
    std::string_view column; ///< values, when they lie in the file

    std::string_view values() const { return owned.empty() ? column : std::string_view(owned.data(), owned.size()); }
};

/// One primitive; its vertices follow those of the primitive before it in GeoImage::vertices.
struct PrimImage {
    enum : uint32_t { CLOSED = 1, WRAP_U = 2, WRAP_V = 4 };
    uint32_t kind = 0; ///< one of the GEOPRIM constants
    int32_t flags = 0;
    uint32_t vertices = 0;
    uint32_t bits = 0;
    uint32_t rows = 0; ///< mesh; a metaball's kernel
    uint32_t cols = 0; ///< mesh; a particle primitive's number of dead marks
};

struct GroupImage {
    std::string name;
    bool internal = false;
    int32_t flags = 0;
    std::vector<uint32_t> members; ///< element numbers, ascending
};

/// What a native geometry file holds, parsed but not yet trusted: buildDetail checks everything.
struct GeoImage {
    uint64_t points = 0;
    std::vector<char> ownedPositions;
    std::string_view positions;                      ///< 4 floats per point
    std::array<std::vector<AttribImage>, 4> attribs; ///< by GB_AttribClass; vertex values run in primitive order
    std::vector<PrimImage> prims;
    std::vector<uint32_t> vertices; ///< point numbers
    std::vector<float> shapes;      ///< per quadric its 9 frame numbers, then a tube's taper or a metaball's weight
    std::vector<uint32_t> dead;     ///< places of particles that are marked dead, primitive by primitive
    std::vector<GroupImage> pointGroups;
    std::vector<GroupImage> primGroups;
    size_t fileBytes = 0;
};

/// Names of primitive kinds and attribute types in native files.
const char* primKindName(uint32_t kind);  ///< null for an unknown kind
uint32_t primKind(std::string_view name); ///< 0 for an unknown name
const char* attribTypeName(GB_AttribType type);
bool attribType(std::string_view name, GB_AttribType& type);
const char* attribClassName(GB_AttribClass cls);
/// Numbers in GeoImage::shapes that a primitive of this kind takes.
size_t shapeSize(uint32_t kind);

/// Fills an empty detail. Throws FormatError at the first thing that does not fit together.
void buildDetail(GU_Detail& detail, const GeoImage& image);

} // namespace formats
