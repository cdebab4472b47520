#include "scene/GroupCheck.h"

#include "host/expr/EV_StringExpand.h"
#include "host/geo/GOP_Manager.h"
#include "host/geo/GU_Detail.h"
#include "host/node/OP_Node.h"
#include "scene/ParticleNetwork.h"

namespace {

/// Whether an operator on particles does its work: no, yes, or maybe when an expression decides.
enum class Works { No, Maybe, Yes };

Works works(OP_Node& op) {
    if (op.getBypass()) return Works::No;
    const PRM_Parm* activate = op.parms().find("activate");
    if (!activate) return Works::Yes;
    if (activate->component(0).kind != PRM_Parm::Component::Constant) return Works::Maybe;
    return activate->component(0).constant > 0 ? Works::Yes : Works::No;
}

} // namespace

GroupCheck::GroupCheck() = default;
GroupCheck::~GroupCheck() = default;

void GroupCheck::enter(const ParticleNetwork& network, double time) {
    myGroups = std::make_unique<GU_Detail>();
    myNamesChange = false;
    const auto& initial = network.particleDetail()->pointGroups();
    for (const GB_PointGroup* group = initial.head(); group; group = initial.next(group))
        myGroups->pointGroups().newGroup(group->getName(), 0);
    for (OP_Node* op : network.operators()) {
        if (works(*op) == Works::No) continue;
        for (int i = 0; i < op->parms().entries(); ++i) add(*op, op->parms().parm(i), time);
    }
}

void GroupCheck::add(OP_Node& op, PRM_Parm& parm, double time) {
    if (parm.row().stringKind != PRM_StringKind::NewPointGroup) return;
    std::string name = parm.text();
    if (EV_StringExpand* expansion = parm.expansion()) {
        myNamesChange = true;
        if (!expansion->expand(op.scope(), time, 0, name)) return EV_clearError(0); // the parameter's own check tells
    }
    if (!name.empty()) myGroups->pointGroups().newGroup(name, 0);
}

GroupCheck::Missing GroupCheck::missing(OP_Node& op, const std::string& pattern) const {
    const Works reader = works(op);
    if (reader == Works::No || !myGroups) return Missing::No;
    if (GOP_Manager().parsePointGroups(pattern.c_str(), myGroups.get())) return Missing::No;
    return myNamesChange || reader == Works::Maybe ? Missing::Maybe : Missing::Yes;
}
