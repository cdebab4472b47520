#pragma once

#include "core/FLX_State.h"
#include "host/node/OBJ_Node.h"
#include "vars/FLX_VectorParms.h"

/// "applymotion": all particles, or those that move.
class FLX_ApplyMotion : public PRM_Menu {
public:
    enum { All = 0, Moving = 1 };
    static const PRM_ChoiceList menu;

    explicit FLX_ApplyMotion(OP_Parameters* owner)
        : PRM_Menu(owner, {"applymotion", "Apply Motion"}, All, &menu) {}

    /// The state bits of particles to be left alone.
    int skipped() const { return (*this)() == Moving ? FLX_UNMOVED : 0; }
};

/// Base of the operators that set an attribute instead of adding to it. Their parameters default to expressions of the
/// particle's current value.
class FLX_DirectSet : public FLX_ParticleOperator {
public:
    using FLX_ParticleOperator::FLX_ParticleOperator;

    FLX_PassUse passUse() const override { return FLX_PassUse::Queued; }

protected:
    static constexpr float RADIANS = 0.017453292f; ///< per degree

    /// The cook of operators that have no guide: a cook for guides ends with the particle list.
    template <class Steps> UT_ErrorSeverity cookUnlessGuide(OP_Context& context, Steps&& steps) {
        return cookParticles(
            context, [&] { return !contextOf(context)->isGuideOnly(); }, steps);
    }
    /// The object of a path, which this node then depends on. Null for an empty path, and, with a warning, when nothing
    /// has this path.
    OBJ_Node* findObject(const UT_String& path) {
        OBJ_Node* object = path.isstring() ? findOBJNode(path.c_str()) : nullptr;
        if (object)
            addExtraInput(object, OP_INTEREST_DATA);
        else if (path.isstring())
            addWarning(FLX_ERR_BAD_PATH, path.c_str());
        return object;
    }
    /// `cook.each` for write(point, derive(values...)). What derives from constants alone is computed once.
    template <class Derive, class Write, class... Sources>
    static void eachDerived(const FLX_ParticleCook& cook, int skip, const Derive& derive, const Write& write,
                            const Sources&... sources) {
        if ((sources.varies() || ...))
            cook.each(
                skip, [=](GEO_Point* p, const auto&... values) { write(p, derive(values...)); }, sources...);
        else
            cook.each(skip, write, FLX_Constant(derive(sources.constant()...)));
    }
    /// Sets a vector attribute to what `parms` say; nothing when the particles do not have it (offset -1).
    void setVector(const FLX_ParticleCook& cook, FLX_VectorParms& parms, int skip, int offset) {
        parms.choose(cook, [&](const auto& vector) {
            if (!mayRun() || offset < 0) return;
            cook.each(skip, FLX_SetFloats{offset}, vector);
        });
    }
};
