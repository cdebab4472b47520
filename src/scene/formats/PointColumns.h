#pragma once

#include <string>
#include <vector>

class GB_Attribute;
class GEO_Point;
class GU_Detail;

namespace formats {

/// One component of the position or of a point attribute, under the name that other programs expect.
struct PointColumn {
    enum Kind {
        FLOAT,
        COLOUR, ///< a float that files with bytes for colours hold as 0 ... 255
        INT,
        STRING, ///< an int that numbers a string of the attribute's table
    };
    std::string name;
    Kind kind;
    const GB_Attribute* attribute; ///< null for the position
    int offset;                    ///< byte in the position, or in the point's attribute data

    float floatAt(const GEO_Point& point) const;
    int intAt(const GEO_Point& point) const;
    const char* stringAt(const GEO_Point& point) const; ///< null for no string
};

/// The columns of a detail's points: x y z, then every attribute but raw ones in order of creation.
///
/// v -> vx vy vz, accel -> ax ay az, N -> nx ny nz, Cd -> red green blue, Alpha -> alpha, uv -> s t (its third
/// component is left out), life -> age lifespan. Any other: its name when it has one component, name_x name_y name_z
/// with three, else name_0, name_1, ... Names are unique; a second one gets underscores behind it. With `singleWord`
/// blanks in names become underscores.
std::vector<PointColumn> pointColumns(const GU_Detail& detail, bool singleWord);

} // namespace formats
