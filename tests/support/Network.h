#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>

#include "core/FLX_ContextData.h"
#include "core/FLX_Node.h"
#include "host/node/OBJ_Node.h"
#include "host/node/OP_Director.h"
#include "host/node/OP_OperatorTable.h"
#include "support/ErrorBrief.h"
#include "support/MakeNode.h"

/// An object that holds particle operators.
class TestNetworkNode final : public OBJ_Node {
public:
    using OBJ_Node::OBJ_Node;
    const char* getChildType() const override { return "FLX"; }
    OP_OpTypeId getChildTypeID() const override { return FLX_OPTYPE_ID; }
    OP_OperatorTable* childTable() const override { return &OP_Director::operatorTable("FLX"); }
};

/// A host with one particle network, made afresh:
///
///     Network net;
///     FLX_Node& birth = net.add("location", "birth");
///     FLX_Node& force = net.add("force", "pull", {&birth});
///     net.start(force);
///     net.step(10);
class Network {
public:
    explicit Network(double fps = 24);
    ~Network();
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    /// A node of the network, or of a sub-network in it, wired to its inputs in order (null: left open).
    FLX_Node& add(const char* type, const char* name, std::initializer_list<OP_Node*> inputs = {},
                  OP_Network* parent = nullptr);

    /// A "location" that bears so many in every cook, by impulse alone.
    FLX_Node& addBirths(double each);

    /// Resets the simulation with `output` as the cook and display node, and cooks once at time 0.
    void start(FLX_Node& output, unsigned seed = 0, const char* initialState = "");
    /// The same on geometry that is there already, which is then what the simulation starts from.
    void startOn(FLX_Node& output, const std::function<void(GU_Detail&)>& fill, bool resetPending = true);
    /// Cooks the next steps, one frame each.
    void step(int n = 1);

    FLX_ContextData& context() { return *myContext; }
    GU_Detail& detail() { return *myContext->getDetail(); }
    OBJ_Node& object() { return *myObject; }
    int particles() const { return myContext->getNumParticles(); }
    float time() const { return myContext->time; }
    float timeStep() const { return myContext->timeStep; }

    /// A point attribute's component of point i.
    float value(const char* name, int i, int component = 0);
    UT_Vector3 vector(const char* attrib, int point = 0) {
        return {value(attrib, point, 0), value(attrib, point, 1), value(attrib, point, 2)};
    }
    void setValue(const char* name, int i, std::initializer_list<float> values);
    void setInt(const char* name, int i, int value);
    GEO_Point* point(int i) { return detail().points()(size_t(i)); }
    int intValue(const char* attrib, int point);
    UT_Vector3 position(int point);
    /// Everything a simulation holds as bytes: points and primitives in order with their attributes, strings, groups,
    /// counters.
    std::string state();
    /// "error FLX 11: /obj/nothing", one line per message of the node's last cook.
    static std::string messages(const FLX_Node& node);

    /// A SOP that serves a given detail, as /obj/<name>/out; times it was cooked are counted by the host. With `still`
    /// it does not depend on the time.
    std::string addGeometry(const char* name, const std::function<void(GU_Detail&, float time)>& fill,
                            bool still = false);

    /// A further object that holds geometry nodes.
    static OBJ_Node& addObject(const char* name);
    /// Makes T a type of particle operators, for tests that look inside one.
    template <class T>
    static void registerOperator(const char* name, const OP_VariablePair* variables = nullptr, unsigned flags = 0) {
        registerType<T>("FLX", name, variables, flags);
    }

private:
    const GB_Attribute& attrib(const char* name);
    void prepare(FLX_Node& output);
    void cook();

    TestNetworkNode* myObject = nullptr;
    FLX_ContextData* myContext = nullptr;
    int myFrame = 0;
    double myFps;
};
