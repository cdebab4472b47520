#pragma once

#include <string_view>

class GU_Detail;

namespace formats {

/// Reads a Wavefront OBJ into an empty detail: v (with optional colours), vt, vn, f with any number of corners, l, p,
/// negative and forward references, continued lines. g and o names become primitive groups; materials, smoothing and
/// free-form surfaces are passed over.
///
/// Point attributes: N (vector 3), uv (float 3), Cd (float 3), each only when the file has such values. When corners of
/// one point disagree, the point keeps the value of the first and a vertex attribute of the same name has them all.
/// Normals of a file without faces and lines belong to its points in order when there are as many.
/// Throws FormatError with the line.
void readObj(GU_Detail& detail, std::string_view text);

} // namespace formats
