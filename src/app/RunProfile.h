#pragma once

#include "scene/profile/CookProfile.h"
#include "scene/profile/TraceFile.h"

#include <optional>
#include <string>
#include <vector>

class ParticleNetwork;

/// What `run` measures when --profile or --profile-json asks for it; else it does nothing.
class RunProfile {
public:
    /// An empty trace file name: no trace.
    RunProfile(bool table, const std::string& traceFile);

    /// Starts, before the first cook. Throws Failure when the trace file cannot be written.
    void watch(const std::vector<ParticleNetwork*>& networks, const std::string& scene);
    /// Runs a network's frame (`simulating`) or its output.
    template <class Work> void frame(const ParticleNetwork& network, int frame, bool simulating, const Work& work) {
        const uint64_t start = myTrace ? myProfile.now() : 0;
        work();
        if (myTrace) traceFrame(network, frame, simulating, start);
    }
    /// Writes the trace; the table, or "" when none was asked for. False with a line that names the file.
    bool finish(std::string& table, std::string& error);

private:
    void traceFrame(const ParticleNetwork& network, int frame, bool simulating, uint64_t start);

    bool myTable;
    CookProfile myProfile;
    std::optional<TraceFile> myTrace;
};
