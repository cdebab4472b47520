#pragma once

#include "host/geo/GB_Detail.h"
#include "host/ut/UT_Matrix4.h"

#include <functional>
#include <memory>
#include <vector>

/// Attributes that have a standard name.
enum GEO_AttribName {
    GEO_STD_ATTRIB_POSITION,
    GEO_STD_ATTRIB_NORMAL,
    GEO_STD_ATTRIB_TEXTURE,
    GEO_STD_ATTRIB_DIFFUSE,
    GEO_STD_ATTRIB_ALPHA,
    GEO_STD_ATTRIB_VELOCITY,
    GEO_STD_ATTRIB_UP,
    GEO_STD_ATTRIB_PSCALE,
    GEO_STD_ATTRIB_MASS,
    GEO_STD_ATTRIB_DRAG,
};

/// Building, combining and moving geometry.
class GEO_Detail : public GB_Detail {
public:
    /// Empties everything: points, primitives, attributes of all classes, groups.
    void stashAll();
    /// Empties points and primitives (and so the members of groups); attributes and groups stay.
    void clearGeometry();

    /// A new last primitive without vertices (quadrics and metaballs: without centre). Null for an unknown kind.
    GEO_Primitive* insertPrimitive(unsigned typeId);
    /// Removes a primitive; its points stay unless `andPoints`, then those no other primitive references go too.
    void deletePrimitive(GEO_Primitive* prim, bool andPoints = false);
    /// Removes the members of a group in one pass and returns how many.
    size_t deletePrimitives(const GB_PrimitiveGroup& group, bool andPoints = false);
    size_t deletePrimitives(const std::function<bool(const GEO_Primitive&)>& dead, bool andPoints = false);
    /// Removes points, and with them: particles that use them, vertices of polygons that use them (a polygon without
    /// vertices goes), and whole meshes, quadrics and metaballs that use them.
    size_t destroyPoints(const UT_BitSet& slots);

    /// Appends points and primitives of `src`, in its order. Attributes meet by name, size and type, missing ones are
    /// added, strings are renumbered; an attribute whose name exists here with another size or type is left out.
    /// Detail attributes are taken over only when missing here. With a primitive group only its members and the points
    /// they use come over. With `groups`, members join the groups of the same names, which are made when missing.
    void merge(const GEO_Detail& src, const GB_PrimitiveGroup* group = nullptr, bool groups = true);
    /// Becomes a copy of `src`: everything, in the same order and slots. A copy of itself is itself.
    void copy(const GEO_Detail& src) { copyWhole(src, true); }

    /// Moves all points and the shapes of quadrics; turns VECTOR attributes of every class but the detail's by the
    /// upper 3x3, those named "N" by its inverse transpose (untouched when the matrix is singular).
    void transform(const UT_Matrix4& m);

    /// Standard attribute names: "P", "N", "uv", "Cd", ...
    static const char* getStdAttributeName(GEO_AttribName name);

protected:
    void copyWhole(const GEO_Detail& src, bool groups);

private:
    GEO_Primitive* adoptPrimitive(std::unique_ptr<GEO_Primitive> prim);
    /// Both return the new slot of every slot of src (NO_SLOT when it did not come over).
    std::vector<uint32_t> mergePoints(const GEO_Detail& src, const GB_PrimitiveGroup* group);
    std::vector<uint32_t> mergePrimitives(const GEO_Detail& src, const GB_PrimitiveGroup* group,
                                          const uint32_t* pointMap);
    void eraseDeadPrimitives(const UT_BitSet& deadNumbers, bool andPoints);
};
