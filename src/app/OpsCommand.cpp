#include "app/Commands.h"
#include "app/StandardOutput.h"
#include "scene/OpsJson.h"
#include "scene/SceneError.h"

#include <fmt/format.h>
#include <iostream>

namespace {

bool write(const OpsOptions& options) {
    if (options.name.empty()) {
        if (options.functions && options.json)
            OpsJson::writeFunctionsJson(std::cout);
        else if (options.json)
            OpsJson::writeJson(std::cout);
        else if (options.functions)
            OpsJson::writeFunctions(std::cout);
        else
            OpsJson::writeList(std::cout);
        return true;
    }
    return options.json ? OpsJson::writeJson(std::cout, options.name) : OpsJson::writeType(std::cout, options.name);
}

} // namespace

ExitStatus execute(const OpsOptions& options) {
    if (options.functions && !options.name.empty())
        throw Failure{ExitStatus::BAD_USAGE, "flx ops: NAME and --functions exclude each other"};
    if (!write(options))
        throw Failure{ExitStatus::BAD_USAGE, fmt::format("flx ops: unknown operator type \"{}\"{}", options.name,
                                                         didYouMean(options.name, OpsJson::typeNames()))};
    StandardOutput::flush();
    return ExitStatus::DONE;
}
