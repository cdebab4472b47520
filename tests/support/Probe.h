#pragma once

#include <functional>

#include "support/Network.h"

/// A particle operator whose work a test writes, with what operators share opened up. By default it takes over the
/// particles of its inputs, or without inputs owns a primitive of its own.
class Probe final : public FLX_Node {
public:
    using FLX_Node::FLX_Node;

    std::function<void(Probe&, OP_Context&)> work;
    std::function<void(Probe&, FLX_ContextData*)> attribs;
    bool refersToInputs = false;
    int checkDuplicates = 0;
    int cooks = 0;

    bool isRefInput(unsigned) const override { return refersToInputs; }

    using FLX_Node::addAccelGuide;
    using FLX_Node::addError;
    using FLX_Node::addListToParticleList;
    using FLX_Node::addToParticleList;
    using FLX_Node::applyBackwardsPathCompatibility;
    using FLX_Node::birthParticle;
    using FLX_Node::buildGenericGroupMenu;
    using FLX_Node::buildInputParticleList;
    using FLX_Node::buildParticleList;
    using FLX_Node::buildParticleListArray;
    using FLX_Node::getInputParticleList;
    using FLX_Node::initParticleList;
    using FLX_Node::parsePointGroups;
    // Of the catalogue's adders.
    using FLX_Node::addMassAttrib;
    using FLX_Node::addSpeedAttrib;
    using FLX_Node::addSpeedLimitAttrib;
    using FLX_Node::addUpAttrib;

    GU_Detail& giveGuide() {
        if (!myGuide) {
            myGuide = new GOP_Guide;
            myGuideHandle.allocateAndSet(myGuide, 1);
        }
        return *myGuide;
    }
    static FLX_ContextData& contextOf(OP_Context& context) { return *FLX_Node::contextOf(context); }

    /// A probe of a network.
    static Probe& add(Network& net, const char* name, std::initializer_list<OP_Node*> inputs = {}) {
        Network::registerOperator<Probe>("probe");
        return static_cast<Probe&>(net.add("probe", name, inputs));
    }
    /// One that births n particles in its first cook, all alike.
    static Probe& addSource(Network& net, const char* name, int n) {
        Probe& probe = add(net, name);
        probe.work = [n, done = false](Probe& self, OP_Context& context) mutable {
            GEO_PrimParticle* prim = contextOf(context).getPrimPart(&self);
            self.initParticleList(context, prim);
            for (int i = 0; i < n && !done; ++i) self.give(context, prim);
            done = true;
        };
        return probe;
    }
    GEO_Point* give(OP_Context& context, GEO_PrimParticle* prim, float lifeSpan = 100) {
        const auto life = [=] { return lifeSpan; };
        FLX_Birth birth;
        birth.prim = prim;
        birth.life = life;
        const auto origin = [] { return 0; };
        birth.origin = origin;
        return birthParticle(&contextOf(context), birth);
    }

protected:
    UT_ErrorSeverity cookFlx(OP_Context& context) override {
        ++cooks;
        if (work)
            work(*this, context);
        else if (lockInputs(context) < UT_ERROR_ABORT && nInputs() > 0)
            buildParticleList(context, checkDuplicates);
        else if (nInputs() == 0)
            initParticleList(context, contextOf(context).getPrimPart(this));
        return error();
    }
    void addAttrib(void* context) override {
        if (attribs) attribs(*this, static_cast<FLX_ContextData*>(context));
    }
};
