#pragma once

#include <algorithm>

#include "host/geo/GU_Detail.h"

/// A surface attribute that particles take from where they hit: of the vertices where they have it, else of the points.
/// A detail without it gives zeros, as do components that it lacks.
class FLX_SurfaceAttrib {
public:
    FLX_SurfaceAttrib() = default;
    FLX_SurfaceAttrib(const GU_Detail& detail, GEO_AttribName name) {
        const char* text = GEO_Detail::getStdAttributeName(name);
        if (const GB_Attribute* of = floats(detail.vertexAttribs(), text))
            myAttrib = of, myOfVertices = true;
        else
            myAttrib = floats(detail.pointAttribs(), text);
    }

    UT_Vector3 at(const GEO_Primitive& prim, float u, float v) const {
        UT_Vector3 value(0, 0, 0);
        if (myAttrib)
            prim.evaluateFloats(*myAttrib, myOfVertices, u, v, value.data(), std::min(3, myAttrib->components()));
        return value;
    }

private:
    static const GB_Attribute* floats(const GB_AttributeDict& dict, const char* name) {
        const GB_Attribute* found = dict.find(name);
        return found && GBisFloatType(found->getType()) ? found : nullptr;
    }

    const GB_Attribute* myAttrib = nullptr;
    bool myOfVertices = false;
};
