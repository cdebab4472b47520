#include "app/Commands.h"
#include "app/StandardOutput.h"
#include "app/StopRequest.h"

#include <cstdio>
#include <fmt/format.h>
#include <new>
#include <stdexcept>

namespace {

ExitStatus execute(const HelpOptions& help) {
    StandardOutput::write(help.text);
    StandardOutput::flush();
    return ExitStatus::DONE;
}

ExitStatus fail(const Failure& failure) {
    if (!failure.line.empty()) fmt::print(stderr, "{}\n", failure.line);
    return failure.status;
}

ExitStatus runTool(int argc, char** argv) {
    try {
        return std::visit([](const auto& options) { return execute(options); }, parseCommandLine(argc, argv));
    } catch (const Failure& failure) {
        return fail(failure);
    } catch (const std::bad_alloc&) {
        return fail({ExitStatus::LIMIT, "flx: memory ran out"});
    } catch (const std::length_error&) {
        return fail({ExitStatus::LIMIT, "flx: more elements than memory can hold"});
    }
}

} // namespace

int main(int argc, char** argv) {
    StopRequest::install();
    return static_cast<int>(runTool(argc, argv));
}
