#pragma once

#include "scene/formats/PlyHeader.h"

class GU_Detail;

namespace formats {

/// Where the value of one vertex property goes.
struct PlyTarget {
    enum Kind { SKIP, POSITION, FLOAT, INT, INDEX } kind = SKIP;
    int offset = 0;     ///< component of the position, or byte of the point's attribute data
    double divisor = 1; ///< 255 for a colour in bytes
    int strings = 0;    ///< INDEX: entries of the string table
};

/// Appends the point attributes that the vertex properties stand for and says, per property, where its values go.
/// Throws FormatError when there is no position.
std::vector<PlyTarget> layOutPlyVertex(GU_Detail& detail, const PlyHeader& header, const PlyElement& vertex);

} // namespace formats
