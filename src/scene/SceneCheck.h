#pragma once

#include "scene/SceneFile.h"

#include <string>
#include <vector>

/// One thing that `check` found.
struct SceneFinding {
    bool error = true; ///< else a warning
    std::string path;  ///< of the node
    std::string text;
};

/// Looks over the loaded scene without simulating: compiles every expression with its names bound (networks are reset
/// first, so that the variables of their operators exist), resolves every path parameter, and tells of key frames where
/// nobody reads them, menu values that name no entry, and parameters given by old tokens.
std::vector<SceneFinding> checkScene(const SceneFile& scene);
