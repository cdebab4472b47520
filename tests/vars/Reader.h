#pragma once

#include <cstring>

#include "support/Probe.h"
#include "vars/FLX_LocalVar.h"
#include "vars/FLX_ParticleCook.h"

/// An operator with a parameter of each kind, which records what its loop was given, and what was asked of it
/// meanwhile.
class Reader final : public FLX_ParticleOperator {
public:
    using FLX_ParticleOperator::FLX_ParticleOperator;

    Float A{this, {"a", "A"}, 0};
    Int N{this, {"n", "N"}, 0, PRM_Range{PRM_RangeKind::Hard, PRM_RangeKind::Hard, -5, 2e9}};
    Floats<3> V{this, {"vec", "V"}, {0, 0, 0}};
    Float H{this, {"h", "H"}, 0, PRMhardMin(3, 10)};
    Float LATE{this, {"late", "Late"}, 0};
    Text NAME{this, {"name", "Name"}, ""};

    struct Row {
        float a;
        int n;
        UT_Vector3 v;
        float h, late; ///< late: read where n is odd
        bool operator==(const Row& b) const { return std::memcmp(this, &b, sizeof b) == 0; }
    };
    std::vector<Row> rows;
    bool inTurn = false; ///< evaluates nothing ahead
    bool writes = false; ///< adds to the velocity and moves
    bool queued = false;
    bool twice = false;         ///< the primitive stands in the list a second time
    const char* adds = nullptr; ///< a user variable to add in mid-cook
    int skip = 0, reads = 0;
    bool aVaries = false, nVaries = false, nameVaries = false;

    FLX_PassUse passUse() const override { return queued ? FLX_PassUse::Queued : FLX_PassUse::Barrier; }
    float getVariableValue(int index, int thread) override {
        reads += isTestingVariables() ? 0 : 1;
        return FLX_ParticleOperator::getVariableValue(index, thread);
    }
    static Reader& add(Network& net, FLX_Node& input) {
        Network::registerOperator<Reader>("reader", &FLX_LocalVar::myVariablePair);
        return dynamic_cast<Reader&>(net.add("reader", "op", {&input}));
    }

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override {
        rows.clear();
        return cookParticles(context, [&](FLX_ParticleCook& cook) {
            if (adds) addUserVariable(&cook.context(), adds, 4, GB_ATTRIB_FLOAT, nullptr, nullptr);
            const auto a = cook.choose(A);
            const auto n = cook.choose(N);
            const auto v = cook.choose(V);
            const auto h = cook.choose(H);
            const auto l = cook.choose(LATE);
            aVaries = a.varies();
            nVaries = n.varies();
            nameVaries = isVarDependent(&cook.detail(), FLX_ParmRef(NAME), cook.time(), cook.thread());
            if (!mayRun()) return;
            reads = 0;
            if (twice) getParticleList()->add(getParticleList()->entry(0).prim, nullptr);
            const int at = cook.context().getVelocityOffset();
            const auto read = [=, this](GEO_Point* p, float av, int nv, const UT_Vector3& vv, float hv, auto&& lv) {
                rows.push_back({av, nv, vv, hv, nv % 2 ? lv() : -1});
                if (!writes) return;
                *p->castAttribData<UT_Vector3>(at) += UT_Vector3(av, float(nv), vv.z());
                p->setPos({p->getPos().x() + av, p->getPos().y(), p->getPos().z(), 1});
            };
            if (inTurn)
                cook.eachInTurn(skip, read, a, n, v, h, late(l));
            else
                cook.each(skip, read, a, n, v, h, late(l));
        });
    }
};

/// A reader on particles that have these attributes.
struct Reading {
    Network net;
    Probe& source;
    Reader* op;

    explicit Reading(int particles, const std::vector<FLX_Attrib>& attributes = {})
        : source(Probe::addSource(net, "source", particles))
        , op(&Reader::add(net, source)) {
        source.attribs = [attributes](Probe&, FLX_ContextData* context) {
            for (const FLX_Attrib attribute : attributes) context->addAttrib(attribute);
        };
    }
};
