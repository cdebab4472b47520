#pragma once

#include "ops/motion/FLX_DirectSet.h"

/// Sets the position: a vector, a place along curves, or an offset from an object. The open folder selects which.
class FLX_Position final : public FLX_DirectSet {
public:
    FLX_Position(OP_Network* parent, const char* name, OP_Operator* op);

    enum Mode { ByVector = 0, OnPath = 1, ByReference = 2 };
    enum EndOption { Cycle = 0, Reverse = 1 };
    static const PRM_ChoiceList endMenu;

    // clang-format off
    FLX_ApplyMotion APPLYMOTION   {this};
    Folders         MODE          {this, {{"Position", 3}, {"Path", 5}, {"Reference", 4}}, {"mswitcher", ""}, true};
    FLX_VectorParms POSITION      {this, {"postype", "Position Type"}, {"posv", "vector3($TX, $TY, $TZ)"},
                                   {"t", "Position"}, {"$TX", "$TY", "$TZ"}};
    Menu            USECONTEXTGEO {this, FLXuseContextGeoName, 0, &FLXuseContextGeoMenu};
    Text            PATHPATH      {this, {"pathpath", "Object"}, "", PRM_StringKind::SopPath, enable::is("usecontextgeo", {0}),
                                   PRM_Needed{enable::is("mswitcher", {OnPath}) && enable::is("usecontextgeo", {0})}};
    Toggle          IGNOREXFORM   {this, {"ignorexform", "Ignore Transform Object"}, false};
    Float           PATHPOS       {this, {"pathpos", "Position"}, 0, PRMhardMin(0, 1)};
    Menu            ENDOPT        {this, {"endopt", "End Option"}, Cycle, &endMenu};
    Text            REFPATH       {this, {"refpath", "Object"}, "", PRM_StringKind::ObjectPath};
    FLX_VectorParms OFFSET        {this, {"reftype", "Offset Type"}, {"refposv", "vector3(0, 0, 0)"},
                                   {"reft", "Offset"}, {0, 0, 0}};
    // clang-format on

    const char* getGeoPathParmName() const override { return PATHPATH.token(); }
    /// A curve that particles are set on, and what stops at an error, stand only while this cooks.
    FLX_PassUse passUse() const override { return FLX_PassUse::Closing; }
    void resolveObsoleteParms(PRM_ParmList* obsolete) override;
    static const PRM_TemplateTable& obsoleteTemplates();

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;

private:
    /// The curves, shown in the guide when it is wanted; null, with an error, when there are none.
    const GU_Detail* findPath(OP_Context& context);
    void moveTo(const FLX_ParticleCook& cook);
    void moveAlong(const FLX_ParticleCook& cook, const GU_Detail& path);
    void moveBy(const FLX_ParticleCook& cook);
    /// `cook.each` that leaves the particles alone once an evaluation has failed.
    template <class Move, class... Sources>
    void eachUntilError(const FLX_ParticleCook& cook, const Move& move, const Sources&... sources);

    FLX_GeoLookup myLookup;
    GU_Detail myPathCopy;
};
