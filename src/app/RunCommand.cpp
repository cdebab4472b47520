#include "app/Commands.h"
#include "app/FrameRange.h"
#include "app/LoadedScene.h"
#include "app/NodeMessages.h"
#include "app/OutputPattern.h"
#include "app/Progress.h"
#include "app/RunProfile.h"
#include "app/StandardOutput.h"
#include "app/StopRequest.h"
#include "host/node/OP_Director.h"
#include "scene/JsonStream.h"
#include "scene/ParticleNetwork.h"
#include "scene/StateHash.h"
#include "scene/formats/AtomicFile.h"
#include "scene/formats/Formats.h"

#include <algorithm>
#include <fmt/format.h>
#include <iostream>

namespace {

[[noreturn]] void refuse(const std::string& what) { throw Failure{ExitStatus::BAD_USAGE, "flx run: " + what}; }

/// What can be told wrong before the scene is looked at.
void checkOptions(const RunOptions& options) {
    FrameRange range;
    if (!options.frames.empty() && !FrameRange::parse(options.frames, range))
        refuse(fmt::format("--frames {}: expects FIRST-LAST, for example 1-48", options.frames));
    if (!options.out.empty() && !knownOutputFormat(options.out))
        refuse(fmt::format("--out {}: unknown ending; known are .ply .csv .npz .flx .bflx", options.out));
}

FrameRange rangeOf(const RunOptions& options) {
    FrameRange range{OPgetDirector()->startFrame, OPgetDirector()->endFrame};
    if (!options.frames.empty()) FrameRange::parse(options.frames, range);
    return range;
}

class Run {
public:
    explicit Run(const RunOptions& options)
        : myOptions(options)
        , mySession("run", options.scene, options.sets)
        , myNetworks(mySession.networks(options.net))
        , myRange(rangeOf(options))
        , myOut(options.out)
        , myMessages(mySession.name())
        , myProgress(options.json ? Progress::Style::None : Progress::styleFor(options.quiet),
                     {firstCooked(), myRange.last})
        , myProfile(options.profile, options.profileJson) {}

    ExitStatus execute() {
        LoadedScene::setCookOrder(myNetworks, myOptions.cookOrder);
        if (writes()) prepareOutput();
        myProfile.watch(mySession.networks(""), mySession.name());
        ExitStatus status = ExitStatus::DONE;
        try {
            status = simulate();
        } catch (const Failure&) {
            finishProfile(); // what was measured up to here; the message is what stopped the run
            throw;
        }
        if (const std::string error = finishProfile(); !error.empty()) fail(error);
        return status;
    }

private:
    ExitStatus simulate() {
        for (int frame = firstCooked(); frame <= myRange.last; ++frame)
            for (ParticleNetwork* network : myNetworks) {
                if (frame >= network->STARTFRAME(0) || frame >= myRange.first)
                    myProfile.frame(*network, frame, true, [&] { cook(*network, frame); });
                if (StopRequest::raised()) return interrupted(frame);
                if (frame >= myRange.first)
                    myProfile.frame(*network, frame, false, [&] { put(*network, frame); });
                else
                    myProgress.leadIn(frame, network->getFullPath(), network->particleCount());
            }
        myProgress.finish(writes() ? summary(myRange.last) : "");
        return myMessages.status();
    }

    /// The error line, or "".
    std::string finishProfile() {
        std::string table, error;
        myProfile.finish(table, error);
        if (!table.empty()) myProgress.message(table);
        return error;
    }

    bool writes() const { return !myOptions.out.empty(); }

    void prepareOutput() const {
        if (myNetworks.size() > 1 && !myOut.hasNet())
            mySession.refuseUsage(fmt::format("--out {}: the scene has {} particle networks; choose one with --net, or "
                                              "put %n, the network's name, into the file name",
                                              myOut.text(), myNetworks.size()));
        if (myRange.count() > 1 && !myOut.hasFrame())
            mySession.refuseUsage(fmt::format("--out {}: every frame would overwrite the one before; put ####, the "
                                              "frame, into the file name",
                                              myOut.text()));
        // A folder that cannot be written shall not show after an hour of simulation.
        for (const ParticleNetwork* network : myNetworks) {
            std::string error;
            if (!AtomicFile(fileOf(*network, myRange.first)).open(error)) fail(error);
        }
    }
    [[noreturn]] static void fail(const std::string& error) { throw Failure{ExitStatus::FILE_PROBLEM, error}; }
    std::string fileOf(const ParticleNetwork& network, int frame) const { return myOut.name(frame, network.getName()); }

    /// Frames before the wanted ones are simulated one by one, too, so that Ctrl-C and messages work there.
    int firstCooked() const {
        int first = myRange.first;
        for (const ParticleNetwork* network : myNetworks) first = std::min(first, network->STARTFRAME(0));
        return first;
    }

    void cook(ParticleNetwork& network, int frame) {
        network.cookFrame(frame);
        // An interrupted frame is not whole: nothing of it counts.
        if (StopRequest::raised()) return;
        for (const std::string& line : myMessages.collect()) myProgress.message(line);
        if (myMessages.status() > ExitStatus::NODE_ERROR) throw Failure{myMessages.status(), ""};
    }

    void put(ParticleNetwork& network, int frame) {
        std::string error;
        if (writes() && !writeGeometry(*network.displayDetail(), fileOf(network, frame), error)) fail(error);
        if (myOptions.json)
            printJson(network, frame);
        else
            myProgress.update(frame, network.getFullPath(), network.particleCount());
    }

    static void printJson(ParticleNetwork& network, int frame) {
        {
            JsonStream json(std::cout);
            json.beginObject();
            json.key("frame").integer(frame);
            json.key("time").number(float((double(frame) - 1) / OPgetDirector()->fps));
            json.key("net").text(network.getFullPath());
            json.key("particles").integer(network.particleCount());
            json.key("born").integer(network.born());
            json.key("died").integer(network.died());
            json.key("hash").text(hashText(network.stateHash()));
            json.key("severity").integer(network.severity());
            json.endObject().newline();
        }
        StandardOutput::flush();
    }

    std::string summary(int last) const {
        std::string out;
        for (const ParticleNetwork* network : myNetworks) {
            const std::string from = fileOf(*network, myRange.first), to = fileOf(*network, last);
            out += (out.empty() ? "wrote " : "\nwrote ") + (from == to ? from : from + " to " + to);
        }
        return out;
    }
    ExitStatus interrupted(int frame) {
        myProgress.message(
            fmt::format("{}: interrupted at frame {}; finished frames are kept", mySession.name(), frame));
        return ExitStatus::INTERRUPTED;
    }

    const RunOptions& myOptions;
    LoadedScene mySession;
    std::vector<ParticleNetwork*> myNetworks;
    FrameRange myRange;
    OutputPattern myOut;
    NodeMessages myMessages;
    Progress myProgress;
    RunProfile myProfile;
};

} // namespace

ExitStatus execute(const RunOptions& options) {
    checkOptions(options);
    return Run(options).execute();
}
