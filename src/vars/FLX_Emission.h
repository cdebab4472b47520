#pragma once

#include "core/FLX_AttribMap.h"
#include "core/FLX_Birth.h"
#include "host/geo/GB_Group.h"
#include "host/geo/GU_RayIntersect.h"
#include "host/ut/UT_Matrix3.h"
#include "host/ut/UT_Matrix4.h"
#include "vars/FLX_GenVar.h"

/// How a location on a primitive is drawn.
enum class FLX_PrimSampling { Edges = 0, Surface = 1, Center = 2 };

/// Births from a piece of geometry until a running count is used up. The operator fills in what its parameters say; the
/// routines sample the geometry, keep the generator variables in step and give birth.
struct FLX_Emission {
    FLX_GenVar* generator = nullptr;
    FLX_ContextData* context = nullptr;
    bool updateVars = true; ///< keep the generator variables in step with the samples

    // ---- the source; `refetch` may replace these
    const GU_Detail* source = nullptr;
    const GB_Group* group = nullptr;             ///< of points or primitives; null: all
    std::shared_ptr<const GU_RayIntersect> rays; ///< volume emission
    FLX_AttribMap* map = nullptr;
    GB_AttributeData* extra = nullptr; ///< source data that replaces the sampled attributes
    const UT_Matrix4* positionTransform = nullptr;
    const UT_Matrix3* vectorTransform = nullptr;

    // ---- the births
    FLX_Birth birth;        ///< prim, callables and origin mode
    float* born = nullptr;  ///< running count, lowered by each birth
    int* element = nullptr; ///< current source element, kept from cook to cook
    GB_PointGroup* birthGroup = nullptr;
    FLX_FunctionRef<float()> probability; ///< births per sample; point and primitive emission
    FLX_FunctionRef<void(float fraction)>
        refetch;               ///< for accurate births: fetches the source at a fraction of the step
    int sampleThreshold = 100; ///< misses in a row before giving up
    bool random = false;       ///< elements at random, else in order

    // ---- metaballs
    float densityThreshold = 1;
    float densityMin = 0;
    bool useDensity = false;
};

/// The routines. Each births while the count is above 0.5 and stops early on an interrupt, on an error, when a birth is
/// refused, or, with warning 25, when too many samples in a row gave nothing.
void FLXbirthFromPoints(FLX_Emission& emission);
void FLXbirthFromPrimitives(FLX_Emission& emission, FLX_PrimSampling mode);
/// Primitives are chosen by the float primitive attribute of that name; without it all are alike.
void FLXbirthNonUniformlyFromRandomPrimitives(FLX_Emission& emission, FLX_PrimSampling mode, const char* weightAttrib);
void FLXbirthFromDetail(FLX_Emission& emission);
void FLXbirthFromMetaPrim(FLX_Emission& emission);
