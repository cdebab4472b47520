#pragma once

#include <string_view>

class GU_Detail;

namespace formats {

/// Reads a PLY file (text, binary of either byte order) into an empty detail; names as in Formats.h. Faces without
/// corners are left out, elements other than vertex and face are passed over. Unsigned 32-bit properties keep their
/// bits. Throws FormatError.
void readPly(GU_Detail& detail, std::string_view bytes);

} // namespace formats
