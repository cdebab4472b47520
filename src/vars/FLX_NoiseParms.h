#pragma once

#include "host/ut/UT_Math.h"
#include "host/ut/UT_Noise.h"
#include "vars/FLX_NoisePass.h"
#include "vars/FLX_ParticleCook.h"

/// The turbulence of a cook: every parameter chosen.
struct FLX_NoiseSources {
    FLX_Chosen<PRM_Int> seed, type, turb;
    FLX_Chosen<PRM_Float> rough, atten;
    FLX_ChosenVector freq, amp, offset;

    /// The amplitude is zero for every particle: no noise, and none of the other parameters is needed.
    bool absent() const { return !amp.varies() && UT_Math::isZero(amp.constant()); }
    /// None of the parameters varies.
    bool constant() const {
        return !(seed.varies() || type.varies() || turb.varies() || rough.varies() || atten.varies() || freq.varies() ||
                 amp.varies() || offset.varies());
    }
};

/// Seed, turbulence, roughness, exponent, frequency, amplitude, offset and type: one block for every operator with
/// vector turbulence, with the generator they configure.
struct FLX_NoiseParms {
    explicit FLX_NoiseParms(OP_Parameters* owner)
        : SEED(owner, PRMseedName, 1)
        , TURB(owner, PRMturbName, 0)
        , ROUGH(owner, PRMroughName, 0.05, PRMhardMin(0.001, 1))
        , ATTEN(owner, PRMattenName, 1, PRMhardMin(0.001, 5))
        , FREQ(owner, PRMfreqName, {1, 1, 1})
        , AMP(owner, PRMampName, {0, 0, 0})
        , OFFSET(owner, PRMoffsetName, {0, 0, 0})
        , NTYPE(owner, PRMnoiseTypeName, 0, &PRMnoiseMenu, PRM_PerElement) {}

    FLX_NoiseSources choose(const FLX_ParticleCook& cook) const {
        return {cook.choose(SEED),  cook.choose(static_cast<const PRM_Int&>(NTYPE)),
                cook.choose(TURB),  cook.choose(ROUGH),
                cook.choose(ATTEN), cook.choose(FREQ),
                cook.choose(AMP),   cook.choose(OFFSET)};
    }

    /// Configures the generator; reseeding and retyping happen only on change. The menu's second and third entries are
    /// the generator's types 2 and 1; a number outside the menu leaves the type as it is.
    void setNoise(int seed, int type) {
        static constexpr int typeOfMenu[] = {0, 2, 1, 3};
        if (seed != mySeed) generator.setSeed(mySeed = seed);
        if (type != myType && type >= 0 && type < 4) generator.setType(typeOfMenu[myType = type]);
    }

    /// Where a particle stands in the field.
    static UT_Vector3 place(const UT_Vector4& p, const UT_Vector3& freq, const UT_Vector3& offset) {
        return {(p.x() - offset.x()) * freq.x(), (p.y() - offset.y()) * freq.y(), (p.z() - offset.z()) * freq.z()};
    }

    class Field;
    /// For `each`, where the parameters are constant and not absent: the formula gets it as a function of the particle,
    /// without the amplitude. Where nothing else varies the noise of many particles is found at once.
    Field field(const FLX_NoiseSources& sources);

    /// The field at a particle; turb, rough and atten are callables, asked only when the amplitude is not zero.
    template <class Turb, class Rough, class Atten>
    UT_Vector3 at(const UT_Vector4& p, const UT_Vector3& amp, const UT_Vector3& freq, const UT_Vector3& offset,
                  Turb&& turb, Rough&& rough, Atten&& atten) const {
        UT_Vector3 noise(0, 0, 0);
        if (UT_Math::isZero(amp)) return noise;
        const UT_Vector3 at = place(p, freq, offset);
        const int depth = turb();
        const float roughness = rough();
        const float exponent = atten();
        generator.turbulence(at, depth, noise, roughness, exponent);
        return noise;
    }

    PRM_Int SEED;
    PRM_Int TURB;
    PRM_Float ROUGH;
    PRM_Float ATTEN;
    PRM_Floats<3> FREQ;
    PRM_Floats<3> AMP;
    PRM_Floats<3> OFFSET;
    PRM_Menu NTYPE;
    UT_Noise generator{0, 0};

private:
    int mySeed = 0;
    int myType = 0;
};

/// Noise whose parameters stand for the whole cook, as a source of `each`.
class FLX_NoiseParms::Field {
public:
    template <class Formula, class... Values> using Pass = FLX_NoisePass<Formula, Field, Values...>;

    Field(FLX_NoiseParms& parms, const FLX_NoiseSources& sources)
        : myParms(&parms)
        , mySeed(sources.seed.constant())
        , myType(sources.type.constant())
        , myTurb(sources.turb.constant())
        , myRough(sources.rough.constant())
        , myAtten(sources.atten.constant())
        , myFreq(sources.freq.constant())
        , myOffset(sources.offset.constant()) {}

    bool varies() const { return false; }
    const Field& constant() const { return *this; }
    const Field& operator()() const { return *this; }

    UT_Vector3 operator()(const GEO_Point* p) const {
        UT_Vector3 noise;
        generator().turbulence(place(p), myTurb, noise, myRough, myAtten);
        return noise;
    }
    UT_Vector3 place(const GEO_Point* p) const { return FLX_NoiseParms::place(p->getPos(), myFreq, myOffset); }
    /// Turns n places into the noise there.
    void replacePlaces(float* x, float* y, float* z, int n) const {
        generator().turbulence(x, y, z, n, myTurb, x, y, z, myRough, myAtten);
    }

private:
    // As late as the first particle, like everywhere: a type outside the menu is the one of the last particle that had
    // any.
    const UT_Noise& generator() const {
        myParms->setNoise(mySeed, myType);
        return myParms->generator;
    }

    FLX_NoiseParms* myParms;
    int mySeed, myType, myTurb;
    float myRough, myAtten;
    UT_Vector3 myFreq, myOffset;
};

inline FLX_NoiseParms::Field FLX_NoiseParms::field(const FLX_NoiseSources& sources) { return {*this, sources}; }
