#pragma once

/// One entry of a table of local variables; a table ends with a null name.
struct CH_LocalVariable {
    const char* name = nullptr;
    int id = 0;
    int flags = 0;
};
