#pragma once

#include <fmt/format.h>
#include <vector>

#include "support/Near.h"
#include "support/Probe.h"
#include "support/SetParms.h"

/// One operator over particles that a test places, which have these attributes besides the usual ones.
struct OperatorRig {
    Network net;
    Probe& source;
    FLX_Node& node;

    explicit OperatorRig(const char* type, int particles = 1, std::vector<FLX_Attrib> attributes = {}, double fps = 24,
                         bool starts = true)
        : net(fps)
        , source(Probe::addSource(net, "source", particles))
        , node(net.add(type, "node", {&source})) {
        source.attribs = [attributes](Probe&, FLX_ContextData* context) {
            for (const FLX_Attrib attribute : attributes) context->addAttrib(attribute);
        };
        if (starts) net.start(node);
    }
    void set(const std::string& parms) { setParms(node, parms); }
    template <class Value, class... Values>
    void set(fmt::format_string<Value, Values...> parms, Value&& value, Values&&... values) {
        setParms(node, fmt::format(parms, std::forward<Value>(value), std::forward<Values>(values)...));
    }
    void text(const char* parm, const std::string& value) { node.setString(parm, value); }
    bool enabled(const char* parm) { return node.parms().find(parm)->enabled(); }
    UT_Vector3 vector(const char* attrib, int i = 0) { return net.vector(attrib, i); }
    UT_Vector3 position(int i = 0) { return net.position(i); }
    void place(int i, const UT_Vector3& at) { net.point(i)->setPos(UT_Vector4(at, 1)); }
    /// The state bits of each.
    void setStates(std::initializer_list<int> bits) {
        int i = 0;
        for (const int state : bits) net.context().state(net.point(i++)) = state;
    }
    std::string messages() { return Network::messages(node); }
    /// What a cook for guides shows.
    const GU_Detail& guide() {
        node.setTemplate(true);
        net.context().guidesWanted = 1;
        OP_Context context(net.time());
        net.context().cookGuide(context);
        return *node.guideHandle().peekDetail();
    }
};
