#pragma once

#include <string>
#include <string_view>

class GU_Detail;

/// Files that hold geometry. Names are told by their ending, whatever its case.
enum class GeometryFormat {
    UNKNOWN,
    OBJ,  ///< polygons, polylines, groups; read only
    PLY,  ///< points with attributes and faces; written as binary little endian
    FLX,  ///< everything a detail holds, as JSON text
    BFLX, ///< everything a detail holds, as checksummed columns
    CSV,  ///< points with attributes, one row each; write only
    NPZ,  ///< points with attributes, one NumPy array each; write only
};

/// The format that the ending of the path stands for.
GeometryFormat geometryFormat(std::string_view path);

/// Fills the detail from an OBJ, PLY, .flx or .bflx file; under another ending a PLY or .bflx file is known by its
/// first bytes. What the detail held before is gone. On failure the detail is empty and `error` is one line: path,
/// place, what was found, what to do.
///
/// PLY: x y z -> P, nx ny nz -> N, red green blue and alpha -> Cd and Alpha (integers are divided by their range),
/// s t, u v or texture_u texture_v -> uv, vx vy vz -> v, ax ay az -> accel, age lifespan -> life; any other vertex
/// property that is no list becomes a point attribute of its name. OBJ: see readObj.
bool readGeometry(GU_Detail& detail, const std::string& path, std::string& error);
/// The same from memory; errors carry no path.
bool readGeometry(GU_Detail& detail, GeometryFormat format, std::string_view bytes, std::string& error);

/// Writes .ply, .csv, .npz, .flx or .bflx. The file appears under its name only when it is whole; missing folders are
/// made. On failure nothing is left behind and `error` is one line that names the file.
///
/// .flx and .bflx keep everything. The others hold the points alone (PLY also closed polygons and mesh cells as
/// faces), without raw attributes, without the fourth component of P and the third of uv. PLY rounds Cd and Alpha to
/// 8 bits, which is what programs expect there.
bool writeGeometry(const GU_Detail& detail, const std::string& path, std::string& error);

/// True when writeGeometry knows the ending.
bool knownOutputFormat(std::string_view path);

/// Makes GU_Detail::load read through readGeometry.
void installFormats();
