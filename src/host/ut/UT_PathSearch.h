#pragma once

#include <string>
#include <vector>

#include "host/ut/UT_String.h"

/// Finds files along the search path: the directories of the environment variable FLX_PATH (colon separated), the
/// current directory, and then what comes with the program: "../share/flx" beside the running executable, where the
/// build and an installation keep it, and the data directory of the installation as it was configured.
class UT_PathSearch {
public:
    static std::vector<std::string> directories();
    /// Sets `result` to the first regular file `name` along the path; an absolute name stands for itself. False, and
    /// `result` unchanged, when there is none or `name` is null or empty.
    static bool kestrelFindFile(UT_String& result, const char* name);
};
