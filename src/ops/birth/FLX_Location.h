#pragma once

#include "ops/birth/FLX_BirthOperator.h"

class FLX_BirthBatch;

/// Gives birth to particles at one point in space.
class FLX_Location final : public FLX_BirthOperator {
public:
    using FLX_BirthOperator::FLX_BirthOperator;

    enum Method { Cartesian = 0, Cylindrical = 1, Polar = 2 };
    static const PRM_ChoiceList methodMenu;

    // clang-format off
    Folders             FOLDERS     {this, {{"Location", 2}, {"Birth", 8}, {"Attributes", 8}}};
    Menu                METHOD      {this, {"method", "System"}, Cartesian, &methodMenu};
    Floats<3>           LOC         {this, {"loc", "Coordinates"}, {0, 0, 0}, PRM_OncePerCook};
    FLX_BirthRateParms  RATES       {this};
    FLX_BirthGroupParms GROUP       {this};
    FLX_LifeParms       LIFE        {this};
    FLX_SpreadParms     SPREAD      {this};
    Toggle              DOID        {this, {"doid", "Add ID Attributes"}, true};
    Toggle              DOGEN       {this, {"dogen", "Add Generation Attribute"}, false};
    Toggle              DOORIGIN    {this, {"doorigin", "Add Origin Attribute"}, false};
    Int                 ORIGININDEX {this, {"originindex", "Origin Index"}, 0, enable::on("doorigin")};
    Toggle              DOSPEED     {this, {"dospeed", "Add Speed Attribute"}, false};
    // clang-format on

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
    void addAttrib(void* context) override;

private:
    void giveBirths(FLX_ContextData* context, GEO_PrimParticle* prim, GB_PointGroup* group, float t, int thread);
    /// Births of a cook in which no parameter varies from birth to birth.
    static void giveAlike(FLX_ContextData& context, FLX_BirthBatch& batch, FLX_LifeParms::Values life,
                          FLX_SpreadParms::Values spread, float& born);
    static UT_Vector4 position(int method, const UT_Vector3& coordinates);
};
