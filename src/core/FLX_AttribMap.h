#pragma once

#include <memory>
#include <vector>

#include "host/geo/GB_AttributeData.h"
#include "host/geo/GEO_AttributeHandle.h"
#include "host/geo/GEO_WorkVertexBuffer.h"
#include "host/geo/GU_Detail.h"
#include "host/ut/UT_String.h"
#include "host/ut/UT_Vector3.h"

class FLX_ContextData;

/// Where one inherited attribute comes from and goes to; offsets in bytes.
struct FLX_AttribMapping {
    int sourceOffset = 0;
    int destOffset = 0;
    int size = 0;
    const void* defaults = nullptr; ///< of the source attribute
    GB_AttribType type = GB_ATTRIB_FLOAT;
    std::vector<int> indexRemap; ///< source string index -> destination string index; empty: the same

    /// -1 when i is out of range.
    int remapped(int i) const { return i >= 0 && size_t(i) < indexRemap.size() ? indexRemap[size_t(i)] : -1; }
};

/// What newborn particles inherit from source points, worked out once per cook.
class FLX_AttribMap {
public:
    /// Adds every point attribute of src whose name matches the blank-separated patterns to dest and maps it; with
    /// addVariables also as user variables. Appends attributes: pointers into dest's points die.
    void build(FLX_ContextData* context, const GU_Detail* src, GU_Detail* dest, const UT_String& pattern,
               int addVariables);

    const std::vector<FLX_AttribMapping>& mappings() const { return myMappings; }
    bool isEmpty() const { return myMappings.empty(); }

    GEO_AttributeHandleList& getHandles() { return myHandles; }
    GEO_AttributeHandle* getSrcPositionHandle() const { return myPositionHandle; }
    GEO_AttributeHandle* getSrcNormalHandle() const { return myNormalHandle; }
    GEO_AttributeHandle* getSrcVelocityHandle() const { return myVelocityHandle; }
    int getSrcNormalOffset() const { return myNormalOffset; }
    int getSrcVelocityOffset() const { return myVelocityOffset; }
    bool inheritsVelocity() const { return myVelocityOffset >= 0; }

    /// The source's normal, or the stored one when it has none.
    UT_Vector3 getSrcNormal(const GB_AttributeData* source) const;
    void setSrcNormal(const UT_Vector3& normal) { myStoredNormal = normal; }

    const GB_FloatOffsets& getFloatOffsets() const { return myFloatOffsets; }
    const GB_FloatOffsets& getVectorOffsets() const { return myVectorOffsets; }
    /// A scratch record laid out like a source point's, for interpolation; inherited attributes start at their
    /// defaults.
    GB_AttributeData& getAttributeData() { return myData; }
    int getAttributeDataSize() const { return myData.size(); }
    GEO_WorkVertex* getVertex(int i) const { return myBuffer ? myBuffer->getVertex(i) : nullptr; }

    /// Copies source values into a particle; what its dest offsets are was set by build.
    void inherit(const GB_AttributeData& source, GEO_Point* particle) const;

private:
    void map(FLX_ContextData* context, const GB_Attribute& attrib, GU_Detail* dest, bool sameDetail, int addVariables);
    void noteSpecialName(FLX_ContextData* context, const GB_Attribute& attrib, int destOffset, GU_Detail* dest);
    static void prepareIndexAttribRemapping(FLX_AttribMapping& mapping, const GB_Attribute& src, GB_Attribute* dest);

    std::vector<FLX_AttribMapping> myMappings;
    GEO_AttributeHandleList myHandles;
    GEO_AttributeHandle* myPositionHandle = nullptr;
    GEO_AttributeHandle* myNormalHandle = nullptr;
    GEO_AttributeHandle* myVelocityHandle = nullptr;
    int myNormalOffset = -1;
    int myVelocityOffset = -1;
    std::shared_ptr<GEO_WorkVertexBuffer> myBuffer;
    GB_AttributeData myData;
    GB_FloatOffsets myFloatOffsets;
    GB_FloatOffsets myVectorOffsets;
    UT_Vector3 myStoredNormal{0, 0, 0};
};
