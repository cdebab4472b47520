#pragma once

#include <memory>

#include "ops/birth/FLX_BirthOperator.h"
#include "ops/birth/flx_SrcAttribDict.h"
#include "vars/FLX_Emission.h"

/// Gives birth to particles from geometry: its points, its primitives' centres, edges or surfaces, the inside of a
/// closed surface, or metaballs.
class FLX_Source final : public FLX_BirthOperator {
public:
    FLX_Source(OP_Network* parent, const char* name, OP_Operator* op);

    enum EmissionType {
        Point,
        PointRandom,
        Center,
        CenterRandom,
        CenterAttrib,
        Edge,
        EdgeRandom,
        EdgeAttrib,
        Surface,
        SurfaceRandom,
        SurfaceAttrib,
        Volume,
        Metaball,
    };
    enum InitialVelocity { UseInherited, AddToInherited, SetVelocity };

    static const PRM_ChoiceList emissionMenu, groupMenu, inheritMenu, velocityMenu, originMenu;

    // clang-format off
    Folders             FOLDERS           {this, {{"Source", 10}, {"Birth", 10}, {"Attributes", 7}, {"Add Attributes", 6}}};
    Menu                EMITTYPE          {this, {"emittype", "Emission Type"}, Point, &emissionMenu};
    Menu                USECONTEXTGEO     {this, FLXuseContextGeoName, 0, &FLXuseContextGeoMenu};
    Text                SOPPATH           {this, FLXfullsopName, "", PRM_StringKind::SopPath, enable::is("usecontextgeo", {0}), PRM_Needed{enable::is("usecontextgeo", {0})}};
    Text                SOURCE            {this, PRMsourceName, "", &groupMenu, enable::isNot("emittype", {Volume})};
    Toggle              IGNOREXFORM       {this, {"ignorexform", "Ignore Transform Object"}, false};
    Int                 SAMPLETHRESHOLD   {this, {"samplethreshold", "Sample Threshold"}, 100, FLXsamplethresholdRange, PRM_NoVariables};
    Text                DISTRIBUTIONATTRIB{this, {"distributionattrib", "Distribution Attribute"}, "area", enable::is("emittype", {CenterAttrib, EdgeAttrib, SurfaceAttrib})};
    Float               THRESHOLD         {this, {"threshold", "Density Threshold"}, 1, PRM_NoVariables, enable::is("emittype", {Metaball})};
    Float               DENSITYMIN        {this, {"densitymin", "Density Minimum"}, 0, PRM_NoVariables, enable::is("emittype", {Metaball})};
    Toggle              USEDENSITY        {this, {"usedensity", "Use Metaball Density"}, false, enable::is("emittype", {Metaball})};
    FLX_BirthRateParms  RATES             {this};
    Floats<2>           PROB              {this, {"prob", "Birth Probability"}, {1, 1}, FLXprobRange, enable::isNot("emittype", {Volume, Metaball})};
    FLX_BirthGroupParms GROUP             {this};
    FLX_LifeParms       LIFE              {this};
    Toggle              ACCURATEBIRTHS    {this, {"accuratebirths", "Accurate Births"}, false};
    Text                ATTRIB            {this, {"attrib", "Inherit Attributes"}, "*", &inheritMenu, enable::isNot("emittype", {Volume})};
    Toggle              CREATELOCALVAR    {this, {"createlocalvar", "Create Local Variables"}, false, enable::isNot("emittype", {Volume})};
    Menu                INITVEL           {this, {"initvel", "Initial Velocity"}, UseInherited, &velocityMenu};
    Float               INHERITVEL        {this, {"inheritvel", "Inherit Velocity"}, 1, enable::isNot("initvel", {SetVelocity})};
    FLX_SpreadParms     SPREAD            {this, enable::isNot("initvel", {UseInherited})};
    Toggle              DOID              {this, {"doid", "Add ID Attributes"}, true};
    Toggle              DOGEN             {this, {"dogen", "Add Generation Attribute"}, false};
    Toggle              DOORIGIN          {this, {"doorigin", "Add Origin Attribute"}, false};
    Menu                ORIGINUSE         {this, {"originuse", "Use as Origin"}, 1, &originMenu, enable::on("doorigin")};
    Int                 ORIGININDEX       {this, {"originindex", "Origin Index"}, 0, enable::on("doorigin")};
    Toggle              DOSPEED           {this, {"dospeed", "Add Speed Attribute"}, false};
    // clang-format on

    void resolveObsoleteParms(PRM_ParmList* obsolete) override;
    static const PRM_TemplateTable& obsoleteTemplates();
    /// The source geometry's point groups for point emission, else its primitive groups.
    static void buildGroupMenu(void* node, PRM_Name* names, int size, const PRM_SpareData*, PRM_Parm*);

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
    void addAttrib(void* context) override;

private:
    struct Cook;

    /// Fetches the source at a fraction of the coming step: detail, element group, ray structure, and with a snapshot
    /// that no longer fits, the attribute map.
    void updateGeometry(Cook& cook, float fraction);
    const GB_Group* parseSourceGroup(GU_Detail& detail);
    void showSource(const Cook& cook);
    /// What the cook's births inherit from its source.
    void buildMap(Cook& cook);
    void emitParticles(Cook& cook);
    void runEmission(FLX_Emission& emission, EmissionType type);
    bool emitsFromPoints() const { return myType <= PointRandom; }
    /// Keeps the element that the next birth starts from inside the group.
    void setInputGroup(const GU_Detail* detail, const GB_Group* group, int& element);

    EmissionType myType = Point;
    FLX_GeoLookup myLookup;
    GU_Detail myTransformedCopy;
    bool myGroupInUse = false;
};
