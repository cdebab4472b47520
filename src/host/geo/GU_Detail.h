#pragma once

#include "host/geo/GEO_Detail.h"
#include "host/geo/GEO_PrimMesh.h"
#include "host/geo/GEO_PrimMetaball.h"
#include "host/geo/GEO_PrimParticle.h"
#include "host/geo/GEO_PrimPoly.h"
#include "host/geo/GEO_PrimQuadric.h"

#include <functional>
#include <string>

/// Options of GU_Detail::load; none so far.
struct GEO_LoadOptions;

/// Geometry as nodes and simulations hold it.
class GU_Detail : public GEO_Detail {
public:
    /// Becomes a copy of `src` with the same numbers and slots, attributes and string tables; with `whole` also its
    /// groups. Returns 0.
    int duplicate(const GU_Detail& src, int whole = 1);

    using Loader = std::function<bool(GU_Detail& detail, const char* file, std::string& error)>;
    /// Installs what reads geometry files. Once, before any load.
    static void setLoader(Loader loader);
    /// Fills this detail from a file. On failure the detail is empty, false is returned, and `error`, when given, says
    /// what is wrong.
    bool load(const char* file, const GEO_LoadOptions* options = nullptr, std::string* error = nullptr);

    /// Tells viewers that this detail changed: keeps the code and raises the change count.
    void notifyCache(int code) {
        myNotifyCode = code;
        bumpDisplay();
    }
    int getNotifyCode() const { return myNotifyCode; } ///< 0 before the first notification

    /// Appends an axis-aligned box of six quads with outward normals over eight shared points. Returns the first quad.
    GEO_PrimPoly* cube(const UT_Vector3& low, const UT_Vector3& high);

private:
    int myNotifyCode = 0;
};

/// Guide geometry of an operator, with bits that tell a viewer how to draw it.
class GOP_Guide final : public GU_Detail {
public:
    int getDisplayFlags() const { return myDisplayFlags; }
    void setDisplayFlags(int flags) { myDisplayFlags = flags; }
    void setDisplayFlag(int bit, bool on) { myDisplayFlags = on ? myDisplayFlags | bit : myDisplayFlags & ~bit; }

private:
    int myDisplayFlags = 0;
};
