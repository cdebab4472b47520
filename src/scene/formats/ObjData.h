#pragma once

#include "host/ut/UT_Vector3.h"

#include <cstdint>
#include <string>
#include <vector>

namespace formats {

/// One corner of a face or line: numbers of its point, texture coordinate and normal, -1 for none.
struct ObjCorner {
    int64_t point = 0;
    int64_t uv = -1;
    int64_t normal = -1;
};

/// A face (closed) or line over corners [first, first + count).
struct ObjElement {
    size_t first;
    size_t count;
    size_t line;     ///< of the file, for errors
    size_t groupSet; ///< number in ObjData::groupSets
    bool closed;
};

/// The statements of an OBJ file, references resolved to 0-based numbers but not yet checked against the counts.
struct ObjData {
    std::vector<UT_Vector3> points;
    std::vector<UT_Vector3> colours; ///< empty, or one per point
    std::vector<UT_Vector3> uvs;
    std::vector<UT_Vector3> normals;
    std::vector<ObjCorner> corners;
    std::vector<ObjElement> elements;
    std::vector<std::string> groups;
    std::vector<std::vector<size_t>> groupSets; ///< which groups a run of elements is in; the first set is empty
};

} // namespace formats
