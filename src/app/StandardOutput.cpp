#include "app/StandardOutput.h"

#include "app/ExitStatus.h"

#include <cerrno>
#include <cstring>
#include <iostream>

void StandardOutput::write(std::string_view text) { std::cout.write(text.data(), std::streamsize(text.size())); }

void StandardOutput::flush() {
    errno = 0;
    std::cout.flush();
    if (std::cout) return;
    const std::string why = errno ? std::strerror(errno) : "cannot be written";
    throw Failure{ExitStatus::FILE_PROBLEM, "flx: standard output: " + why};
}
