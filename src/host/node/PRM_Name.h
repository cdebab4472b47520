#pragma once

/// A parameter's token (what scenes and code say) and its label (what the user reads). Both must outlive the process:
/// string literals.
struct PRM_Name {
    const char* token = nullptr;
    const char* label = nullptr;
};
