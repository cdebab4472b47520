#include "ops/motion/FLX_Force.h"

#include "ops/motion/FLX_ObjectSpace.h"

namespace {

struct AddScaled {
    FLX_AddVector add;
    float gain;

    FLX_Bytes target() const { return add.target(); }
    void operator()(GEO_Point* p, const UT_Vector3& f) const { add(p, f * gain); }
};

struct AddTimes {
    FLX_AddVector add;

    FLX_Bytes target() const { return add.target(); }
    void operator()(GEO_Point* p, const UT_Vector3& f, float scale) const { add(p, f * scale); }
};

struct AddOverMass : AddTimes {
    float mass;

    void operator()(GEO_Point* p, const UT_Vector3& f, float scale) const { AddTimes::operator()(p, f, scale / mass); }
};

} // namespace

FLX_Force::FLX_Force(OP_Network* parent, const char* name, OP_Operator* op)
    : FLX_ParticleOperator(parent, name, op) {
    auto* guide = new GOP_Guide;
    myGuide = guide;
    myGuideHandle.allocateAndSet(guide, 1);
}

const PRM_TemplateTable& FLX_Force::obsoleteTemplates() {
    static const PRM_TemplateTable table = PRMstringTable({{"forceobj", "Force Object"}});
    return table;
}

void FLX_Force::resolveObsoleteParms(PRM_ParmList* obsolete) {
    applyBackwardsPathCompatibility(obsolete, "forceobj", "", "forcepath", 1);
}

UT_ErrorSeverity FLX_Force::cookFlx(OP_Context& context) {
    return cookParticles(context, [&](FLX_ParticleCook& cook) {
        const UT_String path = FORCEPATH();
        OBJ_Node* object = path.isstring() ? findOBJNode(path.c_str()) : nullptr;
        if (object) addExtraInput(object, OP_INTEREST_DATA);
        const FLX_ChosenVector force = cook.choose(FORCE);
        if (object)
            push(cook, FLX_Constant(rowVecMult3(UT_Vector3(0, 0, -1), // the way it faces; its scale counts
                                                FLXobjectToParticles(*object, cook.context(), cook.time()))));
        else if (!force.varies())
            push(cook, FLX_Constant(force.constant())); // three numbers in registers
        else
            push(cook, force);
    });
}

// f = (noise * amp + force) * scale / mass, added to the acceleration.
template <class ForceSource> void FLX_Force::push(FLX_ParticleCook& cook, const ForceSource& force) {
    const auto scale = cook.choose(SCALE);
    const FLX_NoiseSources noise = NOISE.choose(cook);
    const FLX_MassSource mass = MASSES.choose(cook);
    if (!mayRun()) return;
    const bool justAdds = mass.isOne() && !cook.showGuide() && !cook.guideOnly();
    if (justAdds && !scale.varies() && (noise.absent() || noise.constant()))
        pushAlike(cook, noise, force, scale.constant() / mass.one());
    else if (justAdds && noise.absent() && mass.one() == 1) // a quotient takes longer than all the rest
        cook.each(FLX_UNMOVED, AddTimes{{cook.context().getAccelOffset()}}, force, scale);
    else if (justAdds && noise.absent())
        cook.each(FLX_UNMOVED, AddOverMass{{{cook.context().getAccelOffset()}}, mass.one()}, force, scale);
    else
        pushEach(cook, noise, force, scale, mass);
}

template <class ForceSource>
void FLX_Force::pushAlike(FLX_ParticleCook& cook, const FLX_NoiseSources& noise, const ForceSource& force, float gain) {
    const FLX_AddVector add{cook.context().getAccelOffset()};
    if (!noise.absent())
        return cook.each(
            FLX_UNMOVED,
            [=, amp = noise.amp.constant()](GEO_Point* p, const auto& noiseAt, const UT_Vector3& f) {
                add(p, (noiseAt(p) * amp + f) * gain);
            },
            NOISE.field(noise), force);
    if (!force.varies()) return cook.each(FLX_UNMOVED, add, FLX_Constant(force.constant() * gain));
    cook.each(FLX_UNMOVED, AddScaled{add, gain}, force);
}

template <class ForceSource>
void FLX_Force::pushEach(FLX_ParticleCook& cook, const FLX_NoiseSources& noise, const ForceSource& force,
                         const FLX_Chosen<PRM_Float>& scale, const FLX_MassSource& mass) {
    const int accelOffset = cook.context().getAccelOffset(), massOffset = mass.offset;
    const bool draw = cook.showGuide(), change = !cook.guideOnly();
    const float span = cook.context().timeStep;
    const auto apply = [=, this](GEO_Point* p, const UT_Vector3& total, float s, float m) {
        const UT_Vector3 f = total * (s / FLX_MassSource::of(p, massOffset, m));
        if (change) *p->castAttribData<UT_Vector3>(accelOffset) += f;
        if (draw) addAccelGuide(p, f.x(), f.y(), f.z(), span, 0);
    };
    if (noise.absent())
        return cook.each(
            FLX_UNMOVED, [=](GEO_Point* p, float m, const UT_Vector3& f, float s) { apply(p, f, s, m); }, mass.parm,
            force, scale);
    if (noise.constant())
        return cook.each(
            FLX_UNMOVED,
            [=, amp = noise.amp.constant()](GEO_Point* p, const auto& noiseAt, float m, const UT_Vector3& f, float s) {
                apply(p, noiseAt(p) * amp + f, s, m);
            },
            NOISE.field(noise), mass.parm, force, scale);
    cook.each(
        FLX_UNMOVED,
        [=, this](GEO_Point* p, int type, int seed, float m, const UT_Vector3& f, const UT_Vector3& amp,
                  const UT_Vector3& freq, const UT_Vector3& offset, float s, auto&& turb, auto&& rough, auto&& atten) {
            NOISE.setNoise(seed, type);
            const UT_Vector3 n = NOISE.at(p->getPos(), amp, freq, offset, turb, rough, atten);
            apply(p, n * amp + f, s, m);
        },
        noise.type, noise.seed, mass.parm, force, noise.amp, noise.freq, noise.offset, scale, late(noise.turb),
        late(noise.rough), late(noise.atten));
}
