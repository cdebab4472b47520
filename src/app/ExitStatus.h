#pragma once

#include <string>

/// What the program says to its caller.
enum class ExitStatus {
    DONE = 0,
    NODE_ERROR = 1,   ///< done, but some node ended with an error
    BAD_USAGE = 2,    ///< the command line
    BAD_SCENE = 3,    ///< nothing was written
    FILE_PROBLEM = 4, ///< a file could not be read or written
    LIMIT = 5,        ///< a limit was reached or memory ran out
    INTERRUPTED = 130 ///< finished frames are kept
};

/// Thrown by a command that cannot go on. The line, when there is one, goes to standard error.
struct Failure {
    ExitStatus status;
    std::string line;
};
