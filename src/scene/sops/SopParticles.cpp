#include "host/node/OP_Director.h"
#include "host/ut/UT_Interrupt.h"
#include "scene/ParticleNetwork.h"
#include "scene/sops/SopBuild.h"
#include "scene/sops/SopNodes.h"

#include <cmath>
#include <fmt/format.h>

namespace {

using namespace SopBuild;

/// The display geometry of a particle network at the frame nearest to the time, in the network's own space.
class SopParticles final : public SOP_Node {
public:
    SopParticles(OP_Network* parent, const char* name, OP_Operator* op)
        : SOP_Node(parent, name, op) {}

    Text PATH{this, {"path", "Particle Network"}, "", PRM_StringKind::ObjectPath};

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        const float t = context.getTime();
        const UT_String path = PATH(t);
        auto* network = dynamic_cast<ParticleNetwork*>(findNode(path.c_str()));
        if (!network) {
            fail(OP_ERR_BAD_PARM, fmt::format("path: \"{}\" is no particle network", path.str()));
            return error();
        }
        noteTimeRead();
        addExtraInput(network, OP_INTEREST_DATA);
        const double frame = std::floor(double(t) * OPgetDirector()->fps + 1.5);
        if (!(std::abs(frame) < 1e9) || !network->cookFrame(int(frame)))
            fail(UTgetInterrupt()->isInterrupted() ? OP_ERR_INPUT : OP_ERR_RECURSION, network->getFullPath());
        else if (const GU_Detail* shown = network->displayDetail())
            gdp.duplicate(*shown);
        return error();
    }
};

} // namespace

OP_Node* makeSopParticles(OP_Network* parent, const char* name, OP_Operator* op) {
    return new SopParticles(parent, name, op);
}
