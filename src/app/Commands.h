#pragma once

#include "app/ExitStatus.h"

#include <string>
#include <variant>
#include <vector>

/// What the commands were asked to do, as typed.
struct RunOptions {
    std::string scene, frames, out, net, cookOrder, profileJson;
    std::vector<std::string> sets;
    bool json = false, quiet = false, profile = false;
};
struct DumpOptions {
    std::string scene, frame, net, cookOrder;
    std::vector<std::string> sets;
    bool guides = false;
};
struct CheckOptions {
    std::string scene;
};
struct OpsOptions {
    std::string name;
    bool functions = false, json = false;
};
struct HelpOptions {
    std::string text;
};
using Command = std::variant<RunOptions, DumpOptions, CheckOptions, OpsOptions, HelpOptions>;

/// Throws Failure for a command line that makes no sense.
Command parseCommandLine(int argc, const char* const* argv);

/// Each throws Failure when it cannot go on.
ExitStatus execute(const RunOptions& options);
ExitStatus execute(const DumpOptions& options);
ExitStatus execute(const CheckOptions& options);
ExitStatus execute(const OpsOptions& options);
