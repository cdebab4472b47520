#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "core/FLX_ContextData.h"
#include "core/FLX_Node.h"
#include "host/node/OBJ_Node.h"
#include "host/node/OP_Director.h"
#include "host/node/OP_Operator.h"
#include "host/node/OP_OperatorTable.h"

namespace bench {

inline constexpr double FPS = 24;
inline constexpr float STEP = float(1 / FPS);

/// An object that holds particle operators.
class ParticleObject final : public OBJ_Node {
public:
    using OBJ_Node::OBJ_Node;
    const char* getChildType() const override { return "FLX"; }
    OP_OpTypeId getChildTypeID() const override { return FLX_OPTYPE_ID; }
    OP_OperatorTable* childTable() const override { return &OP_Director::operatorTable("FLX"); }
};

inline OP_Node* makeParticleObject(OP_Network* parent, const char* name, OP_Operator* op) {
    return new ParticleObject(parent, name, op);
}

/// A particle network with its own object and state; several live side by side in one host. Nothing limits the
/// particles.
class Simulation {
public:
    explicit Simulation(const char* name) {
        static const bool ready = setUpHost();
        if (!ready) throw std::logic_error("no host");
        myObject = create<ParticleObject>(*OPgetDirector()->objManager(), "particles", name);
        myContext = new FLX_ContextData(name);
    }
    ~Simulation() { myContext->decRef(); }
    Simulation(const Simulation&) = delete;
    Simulation& operator=(const Simulation&) = delete;

    FLX_Node& add(const char* type, const char* name, OP_Node* input = nullptr) {
        auto& node = *create<FLX_Node>(*myObject, type, name);
        if (input) node.setInput(0, input);
        return node;
    }

    /// Empties the simulation and cooks `output` once, at time 0.
    void start(FLX_Node& output) {
        reset(output);
        cook();
    }
    /// The same without the cook: the next `cook` is the first.
    void reset(FLX_Node& output) {
        GU_Detail* detail = myContext->getDetail() ? myContext->getDetail() : new GU_Detail;
        myContext->frameReset();
        myContext->deleteDead = 1;
        myContext->objectNode = myObject;
        myContext->cookNode = myContext->displayNode = &output;
        myContext->reset(&output, detail, "", false, 0, false);
        myFrame = 0;
    }
    /// One frame: the time step, then the network.
    void cook() {
        myContext->time = float(myFrame++ / FPS);
        myContext->timeStep = STEP;
        OP_Context context(myContext->time);
        myContext->cook(context);
    }
    /// The time step alone: reap, rules, preparation.
    void timeStep() {
        OP_Context context(myContext->time);
        context.setData(myContext);
        FLX_Node::timestepStatic(context);
    }
    /// From now on a cook is the network alone, or the whole frame again.
    void setStepping(bool on) {
        myContext->setDoReap(on);
        myContext->setDoApplyRules(on);
        myContext->setDoPrep(on);
    }

    FLX_ContextData& context() { return *myContext; }
    GU_Detail& detail() { return *myContext->getDetail(); }
    size_t particles() const { return size_t(myContext->getNumParticles()); }
    GEO_PrimParticle& primitive(FLX_Node& birth) { return *myContext->hasPrimPart(&birth); }

    /// Over the records of the particles in order (FNV-1a): equal before and after a change that must not change
    /// results.
    uint64_t hash(FLX_Node& birth) {
        const GEO_PrimParticle& prim = primitive(birth);
        const size_t bytes = sizeof(GEO_Point) + size_t(detail().pointAttribs().recordSize());
        uint64_t h = 0xcbf29ce484222325u;
        for (size_t i = 0; i < prim.particleCount(); ++i) {
            const char* record = reinterpret_cast<const char*>(prim.particle(i));
            for (size_t k = 0; k < bytes; ++k) h = (h ^ uint8_t(record[k])) * 0x100000001b3u;
        }
        return h;
    }

private:
    static bool setUpHost() {
        OPresetDirector();
        FLX_Node::buildOperatorTable(OP_Director::operatorTable("FLX"));
        OP_Director::operatorTable("OBJ").addOperator(
            std::make_unique<OP_Operator>("particles", "Particles", &makeParticleObject, 0, 0, nullptr, 0u));
        OPgetDirector()->fps = FPS;
        return true;
    }
    template <class T> static T* create(OP_Network& parent, const char* type, const char* name) {
        std::string problem;
        auto* node = dynamic_cast<T*>(parent.createNode(type, name, problem));
        if (!node) throw std::runtime_error("cannot create " + std::string(type) + ": " + problem);
        return node;
    }

    OBJ_Node* myObject = nullptr;
    FLX_ContextData* myContext = nullptr;
    int myFrame = 0;
};

/// A "location" that, at the first cook, gives birth to n particles which never die.
inline FLX_Node& addImmortals(Simulation& simulation, size_t n) {
    FLX_Node& birth = simulation.add("location", "birth");
    birth.setFloat("constantrate", 0, 0);
    birth.setFloat("impulserate", 0, double(n));
    birth.setFloat("life", 0, 1e9);
    return birth;
}

/// Starts a simulation on `output` and ends the births.
inline void startFull(Simulation& simulation, FLX_Node& birth, FLX_Node& output) {
    simulation.start(output);
    birth.setFloat("impulserate", 0, 0);
}

} // namespace bench
