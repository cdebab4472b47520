#include "app/RunProfile.h"

#include "app/ExitStatus.h"
#include "scene/ParticleNetwork.h"
#include "scene/profile/ProfileTable.h"

#include <fmt/format.h>

RunProfile::RunProfile(bool table, const std::string& traceFile)
    : myTable(table) {
    if (!traceFile.empty()) myTrace.emplace(traceFile);
}

void RunProfile::watch(const std::vector<ParticleNetwork*>& networks, const std::string& scene) {
    if (!myTable && !myTrace) return;
    for (ParticleNetwork* network : networks) network->setRecorder(&myProfile);
    if (!myTrace) return;
    std::string error;
    if (!myTrace->open("flx run " + scene, error)) throw Failure{ExitStatus::FILE_PROBLEM, error};
    myProfile.listener = [this](const ProfileEvent& event) { myTrace->add(event); };
}

void RunProfile::traceFrame(const ParticleNetwork& network, int frame, bool simulating, uint64_t start) {
    const std::string name =
        fmt::format("{}frame {} of {}", simulating ? "" : "output, ", frame, network.getFullPath());
    if (simulating)
        myTrace->add(name, "frame", start, myProfile.now(),
                     {{"frame", frame},
                      {"particles", network.particleCount()},
                      {"born", network.born()},
                      {"died", network.died()}});
    else
        myTrace->add(name, "output", start, myProfile.now(), {{"frame", frame}});
}

bool RunProfile::finish(std::string& table, std::string& error) {
    if (myTable) table = profileTable(myProfile);
    return !myTrace || myTrace->commit(error);
}
