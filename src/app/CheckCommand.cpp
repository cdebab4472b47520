#include "app/Commands.h"
#include "app/LoadedScene.h"
#include "app/StandardOutput.h"
#include "scene/SceneCheck.h"

#include <fmt/format.h>

ExitStatus execute(const CheckOptions& options) {
    const LoadedScene session("check", options.scene, {});
    const std::vector<SceneFinding> findings = checkScene(session.file());
    bool errors = false;
    for (const SceneFinding& finding : findings) {
        errors |= finding.error;
        StandardOutput::write(fmt::format("{}: {}: {}: {}\n", session.name(), finding.path,
                                          finding.error ? "error" : "warning", finding.text));
    }
    if (findings.empty()) StandardOutput::write(session.name() + ": nothing is wrong\n");
    StandardOutput::flush();
    return errors ? ExitStatus::NODE_ERROR : ExitStatus::DONE;
}
