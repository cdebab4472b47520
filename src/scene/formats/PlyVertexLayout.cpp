#include "scene/formats/PlyVertexLayout.h"

#include "host/geo/GU_Detail.h"
#include "scene/formats/FormatError.h"
#include "scene/formats/PlyStrings.h"
#include "scene/formats/TextNumbers.h"

#include <fmt/format.h>

namespace formats {
namespace {

/// Properties that together stand for one attribute.
struct Known {
    const char* attribute;
    GB_AttribType type;
    int components; ///< of the attribute; those without a property stay 0
    bool colour;
    std::vector<const char*> properties;
};

// clang-format off
const std::vector<Known>& knownProperties() {
    static const std::vector<Known> table = {
        {"N",     GB_ATTRIB_VECTOR, 3, false, {"nx", "ny", "nz"}},
        {"v",     GB_ATTRIB_VECTOR, 3, false, {"vx", "vy", "vz"}},
        {"accel", GB_ATTRIB_VECTOR, 3, false, {"ax", "ay", "az"}},
        {"Cd",    GB_ATTRIB_FLOAT,  3, true,  {"red", "green", "blue"}},
        {"Cd",    GB_ATTRIB_FLOAT,  3, true,  {"r", "g", "b"}},
        {"Cd",    GB_ATTRIB_FLOAT,  3, true,  {"diffuse_red", "diffuse_green", "diffuse_blue"}},
        {"Alpha", GB_ATTRIB_FLOAT,  1, true,  {"alpha"}},
        {"uv",    GB_ATTRIB_FLOAT,  3, false, {"s", "t"}},
        {"uv",    GB_ATTRIB_FLOAT,  3, false, {"u", "v"}},
        {"uv",    GB_ATTRIB_FLOAT,  3, false, {"texture_u", "texture_v"}},
        {"life",  GB_ATTRIB_FLOAT,  2, false, {"age", "lifespan"}},
    };
    return table;
}
// clang-format on

double colourDivisor(PlyType type) {
    switch (type) {
    case PlyType::FLOAT32:
    case PlyType::FLOAT64: return 1;
    case PlyType::INT16:
    case PlyType::UINT16: return 65535;
    default: return 255;
    }
}

class Layout {
public:
    Layout(GU_Detail& detail, const PlyHeader& header, const PlyElement& vertex)
        : myDetail(detail)
        , myStrings(header.comments)
        , myVertex(vertex)
        , myTargets(vertex.properties.size())
        , myTaken(vertex.properties.size()) {}

    std::vector<PlyTarget> make() {
        position();
        for (const Known& known : knownProperties()) group(known);
        for (size_t i = 0; i < myTargets.size(); ++i)
            if (!myTaken[i] && !myVertex.properties[i].isList) single(i);
        return std::move(myTargets);
    }

private:
    int scalar(const char* name) const {
        const int i = myVertex.find(name);
        return i >= 0 && !myVertex.properties[static_cast<size_t>(i)].isList ? i : -1;
    }

    void position() {
        const char* const names[] = {"x", "y", "z"};
        for (int c = 0; c < 3; ++c) {
            const int i = scalar(names[c]);
            if (i < 0)
                throw FormatError(
                    fmt::format("element \"vertex\" has no property \"{}\"; x, y and z are needed", names[c]));
            take(static_cast<size_t>(i), {PlyTarget::POSITION, c, 1, 0});
        }
    }

    void take(size_t property, const PlyTarget& target) {
        myTargets[property] = target;
        myTaken[property] = true;
    }

    void group(const Known& known) {
        for (const char* name : known.properties) {
            const int i = scalar(name);
            if (i < 0 || myTaken[static_cast<size_t>(i)]) return;
        }
        if (myDetail.pointAttribs().find(known.attribute)) return;
        int offset = myDetail.pointAttribs().append(known.attribute, known.components * 4, known.type);
        for (const char* name : known.properties) {
            const auto i = static_cast<size_t>(scalar(name));
            take(i, {PlyTarget::FLOAT, offset, known.colour ? colourDivisor(myVertex.properties[i].type) : 1, 0});
            offset += 4;
        }
    }

    void single(size_t i) {
        const PlyProperty& property = myVertex.properties[i];
        std::string name = property.name;
        while (name == "P" || myDetail.pointAttribs().find(name)) name += '_';
        std::vector<std::string> strings = myStrings.of(property.name);
        const bool index = !strings.empty() && !plyIsReal(property.type);
        const GB_AttribType type = index ? GB_ATTRIB_INDEX : plyIsReal(property.type) ? GB_ATTRIB_FLOAT : GB_ATTRIB_INT;
        const PlyTarget::Kind kind = index                      ? PlyTarget::INDEX
                                     : plyIsReal(property.type) ? PlyTarget::FLOAT
                                                                : PlyTarget::INT;
        const int offset = myDetail.pointAttribs().append(name, 4, type);
        if (offset < 0) throw FormatError(fmt::format("vertex property {} cannot become an attribute", excerpt(name)));
        take(i, {kind, offset, 1, static_cast<int>(strings.size())});
        if (index) myDetail.pointAttribs().find(name)->setIndexStrings(std::move(strings));
    }

    GU_Detail& myDetail;
    PlyStrings myStrings;
    const PlyElement& myVertex;
    std::vector<PlyTarget> myTargets;
    std::vector<bool> myTaken;
};

} // namespace

std::vector<PlyTarget> layOutPlyVertex(GU_Detail& detail, const PlyHeader& header, const PlyElement& vertex) {
    return Layout(detail, header, vertex).make();
}

} // namespace formats
