#pragma once

#include "host/geo/GEO_Point.h"
#include "host/ut/UT_BoundingBox.h"
#include "host/ut/UT_Matrix4.h"
#include "host/ut/UT_Vector3.h"
#include "host/ut/UT_Vector4.h"

#include <cstdint>
#include <memory>

class GB_Attribute;
class GB_AttributeData;
class GB_Detail;
class GEO_Detail;

/// Kinds of primitives: single bits, so a kind or a family of kinds is a mask.
inline constexpr unsigned GEOPRIMPOLY = 0x1;
inline constexpr unsigned GEOPRIMMESH = 0x10;
inline constexpr unsigned GEOPRIMHULL = 0xF0; ///< family: grids of vertices
inline constexpr unsigned GEOPRIMCIRCLE = 0x1000;
inline constexpr unsigned GEOPRIMSPHERE = 0x2000;
inline constexpr unsigned GEOPRIMTUBE = 0x4000;
inline constexpr unsigned GEOPRIMPART = 0x8000;
inline constexpr unsigned GEOPRIMMETABALL = 0x100000;
inline constexpr unsigned GEOPRIMMETA = 0xf00000; ///< family: density fields
inline constexpr unsigned GEOPRIMALL = 0xffffffff;

/// How a parametric location mixes a primitive's vertices: a few weighted vertices plus the mean of all of them.
/// The weights add up to 1.
struct GEO_Weights {
    float mean = 0; ///< weight of the mean of all vertices
    int count = 0;
    int index[4] = {0, 0, 0, 0};
    float weight[4] = {0, 0, 0, 0};
    void add(int vertex, float w) {
        index[count] = vertex;
        weight[count++] = w;
    }
};

/// A primitive of a detail: a kind, a number (its place in the detail's list), an attribute record, and a surface,
/// curve or field over its vertices with parameters (u, v) in [0, 1]; values outside are clamped.
class GEO_Primitive {
public:
    virtual ~GEO_Primitive();
    GEO_Primitive& operator=(const GEO_Primitive&) = delete;

    GEO_Detail* getParent() const { return myDetail; }
    int getNum() const { return static_cast<int>(myNumber); }
    unsigned getPrimitiveId() const { return myTypeId; }
    uint32_t slot() const { return mySlot; } ///< of the attribute record; survives renumbering
    int getFlags() const { return myFlags; } ///< display bits; 4 hides
    void setFlags(int flags) { myFlags = flags; }

    char* data() const; ///< attribute data
    /// The attribute at a byte offset that the primitive attribute dictionary gave.
    template <class T> T* castAttribData(int offset) const { return reinterpret_cast<T*>(data() + offset); }

    virtual int getVertexCount() const = 0;
    /// Slot of the point of vertex i (0 ... count - 1).
    virtual uint32_t getVertexPointSlot(int i) const = 0;
    GEO_Point* getVertexPoint(int i) const;
    /// The vertex record, null for primitives without vertex attributes (particles).
    virtual GEO_Vertex* getVertex(int i) const;

    /// Which vertices make up the location (u, v). False, nothing filled in, when the primitive has no such location
    /// (no vertices).
    virtual bool weights(float u, float v, GEO_Weights& out) const = 0;
    /// Position with its fourth component at (u, v); 1 on success, 0 when the primitive has none there.
    virtual int evaluatePosition(float u, float v, UT_Vector4& out) const;
    /// Unit normal at (u, v), (0, 0, 0) where there is none (curves, degenerate faces); 0 without such a location.
    virtual int evaluateNormal(float u, float v, UT_Vector3& out) const;
    /// Point attributes at (u, v) into a record laid out like a point's attribute data: float and vector components
    /// are mixed by weight, anything else comes whole from the vertex that weighs most (the first of equals).
    int evaluateAttribs(GB_AttributeData& out, float u, float v) const;
    /// The same for vertex attributes; 0 when the primitive has no vertex records.
    int evaluateVertexAttribs(GB_AttributeData& out, float u, float v) const;
    /// Components 0 ... count - 1 of one float or vector attribute at (u, v), of the points or of the vertices (which
    /// particles and quadrics may lack); 0, nothing written, without such a location or vertex records.
    int evaluateFloats(const GB_Attribute& attrib, bool ofVertices, float u, float v, float* out, int count) const;
    /// (u, v) of the location nearest to p, for p on the surface or close to it. False when the primitive is empty or
    /// has no inverse.
    virtual bool parametric(const UT_Vector3& p, float& u, float& v) const;

    /// Enlarges the box by everything the primitive covers; false when that is nothing.
    virtual bool enlargeBBox(UT_BoundingBox& box) const;
    bool getBBox(UT_BoundingBox& box) const; ///< replaces the box
    /// True when the primitive covers more than the hull of its vertices (quadrics, metaballs).
    virtual bool hasOwnExtent() const { return false; }
    /// Mean of the vertex positions.
    virtual UT_Vector3 baryCenter() const;
    /// One normal for the whole primitive; (0, 0, 0) when there is none.
    virtual UT_Vector3 computeNormal() const;
    virtual bool isClosed() const { return false; }
    virtual void reverse() {}

    /// Moves the points it uses (each once) and its own shape.
    void transform(const UT_Matrix4& m);
    /// Applies the matrix to what is not in the points (a quadric's axes).
    virtual void transformShape(const UT_Matrix4&) {}

protected:
    friend class GB_Detail;
    friend class GEO_Detail;
    friend class GEO_PrimList;
    GEO_Primitive(GEO_Detail* detail, unsigned typeId);
    GEO_Primitive(const GEO_Primitive&) = default;
    /// A copy that still believes to live in the source's detail.
    virtual std::unique_ptr<GEO_Primitive> clone() const = 0;
    /// Second half of copying into another detail: takes src's vertices over, `pointMap[slot there]` being the slot of
    /// the point here.
    virtual void adoptVertices(const GEO_Primitive& src, const uint32_t* pointMap) = 0;
    /// Frees the records the primitive owns besides its attribute record.
    virtual void releaseRecords() {}
    /// First broken invariant as text, empty when sound.
    virtual std::string validate() const;

    UT_Vector3 pos3(int vertex) const;

    GEO_Detail* myDetail;
    unsigned myTypeId;
    uint32_t myNumber = 0;
    uint32_t mySlot = GB_RecordPool::NO_SLOT;
    int myFlags = 0;
};
