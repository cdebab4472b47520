#pragma once

#include "vars/FLX_MassParms.h"
#include "vars/FLX_NoiseParms.h"

/// Adds a force to every selected particle's acceleration: a vector, or the direction an object faces, plus turbulence,
/// divided by the mass.
class FLX_Force final : public FLX_ParticleOperator {
public:
    FLX_Force(OP_Network* parent, const char* name, OP_Operator* op);

    // clang-format off
    Folders       FOLDERS   {this, {{"Force", 6}, {"Noise", 8}}};
    Text          FORCEPATH {this, {"forcepath", "Reference Object"}, "", PRM_StringKind::ObjectPath};
    Floats<3>     FORCE     {this, {"force", "Force"}, {0, 0, 0}, enable::empty("forcepath")};
    Float         SCALE     {this, PRMfullscaleName, 1};
    FLX_MassParms MASSES    {this};
    FLX_NoiseParms NOISE    {this};
    // clang-format on

    FLX_PassUse passUse() const override { return FLX_PassUse::Queued; }
    void resolveObsoleteParms(PRM_ParmList* obsolete) override;
    static const PRM_TemplateTable& obsoleteTemplates();

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override;

private:
    template <class ForceSource> void push(FLX_ParticleCook& cook, const ForceSource& force);
    /// Where scale and mass are the same for all particles, and noise does not vary.
    template <class ForceSource>
    void pushAlike(FLX_ParticleCook& cook, const FLX_NoiseSources& noise, const ForceSource& force, float gain);
    template <class ForceSource>
    void pushEach(FLX_ParticleCook& cook, const FLX_NoiseSources& noise, const ForceSource& force,
                  const FLX_Chosen<PRM_Float>& scale, const FLX_MassSource& mass);
};
