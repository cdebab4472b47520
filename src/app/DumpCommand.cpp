#include "app/Commands.h"
#include "app/FrameRange.h"
#include "app/LoadedScene.h"
#include "app/NodeMessages.h"
#include "app/StandardOutput.h"
#include "app/StopRequest.h"
#include "scene/DumpJson.h"
#include "scene/ParticleNetwork.h"

#include <fmt/format.h>
#include <iostream>

namespace {

int frameOf(const DumpOptions& options) {
    int frame = 0;
    if (options.frame.empty()) throw Failure{ExitStatus::BAD_USAGE, "flx dump: expects --frame N"};
    if (FrameRange::parseFrame(options.frame, frame)) return frame;
    throw Failure{ExitStatus::BAD_USAGE, fmt::format("flx dump: --frame {}: expects a whole number", options.frame)};
}

ParticleNetwork& networkOf(const DumpOptions& options, const LoadedScene& session) {
    const std::vector<ParticleNetwork*> networks = session.networks(options.net);
    if (networks.size() > 1)
        session.refuseUsage(fmt::format("the scene has {} particle networks; choose one with --net", networks.size()));
    return *networks.front();
}

} // namespace

ExitStatus execute(const DumpOptions& options) {
    const int frame = frameOf(options);
    const LoadedScene session("dump", options.scene, options.sets);
    ParticleNetwork& network = networkOf(options, session);
    LoadedScene::setCookOrder({&network}, options.cookOrder);
    network.cookFrame(frame);
    if (StopRequest::raised()) return ExitStatus::INTERRUPTED;
    NodeMessages messages(session.name());
    for (const std::string& line : messages.collect()) fmt::print(stderr, "{}\n", line);
    dumpJson(network, options.guides, std::cout);
    StandardOutput::flush();
    return messages.status() == ExitStatus::DONE ? ExitStatus::DONE : ExitStatus::NODE_ERROR;
}
