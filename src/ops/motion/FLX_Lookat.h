#pragma once

#include "ops/motion/FLX_DirectSet.h"

/// Turns particles so that their velocity axis faces along a direction, or to a point.
class FLX_Lookat final : public FLX_DirectSet {
public:
    using FLX_DirectSet::FLX_DirectSet;

    enum Mode { Plane = 0, Point = 1 };
    enum Reference { World = 0, Local = 1, Object = 2 };
    static const PRM_ChoiceList modeMenu, referenceMenu;

    // clang-format off
    Menu      MODE      {this, {"mode", "Lookat Mode"}, Plane, &modeMenu};
    Menu      REFERENCE {this, {"reference", "Reference"}, World, &referenceMenu};
    Text      OBJPATH   {this, {"objpath", "Object"}, "", PRM_StringKind::ObjectPath, enable::is("reference", {Object}),
                         PRM_Needed{enable::is("reference", {Object})}};
    Floats<3> DIR       {this, {"dir", "Direction"}, {0, 0, 1}, enable::is("mode", {Plane})};
    // clang-format on

    void resolveObsoleteParms(PRM_ParmList* obsolete) override;
    static const PRM_TemplateTable& obsoleteTemplates();

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;
    void addAttrib(void* context) override { addRotAttrib(static_cast<FLX_ContextData*>(context)); }

private:
    /// From the reference's space into the particles'; false when it names no object.
    bool findReference(const FLX_ParticleCook& cook, UT_DMatrix4& matrix);
};
