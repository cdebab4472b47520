#pragma once

#include "scene/SceneReader.h"

#include <string>
#include <string_view>
#include <vector>

/// Loads scenes into the director (OPgetDirector()), which starts afresh. One scene at a time.
class SceneFile {
public:
    enum class Status {
        LOADED,
        UNREADABLE, ///< the file cannot be read
        BAD,        ///< it is no scene
    };

    /// On any other status than LOADED nothing of the scene is left, and error() is one line that names the file, then
    /// the line (syntax) or the node. Files that the scene names are relative to its folder.
    Status load(const std::string& path);
    /// The same from memory; `name` stands for the file in messages, its folder for that of the scene.
    Status loadText(std::string_view text, const std::string& name);

    const std::string& error() const { return myError; }
    const std::string& name() const { return myName; }
    /// Parameters that were given by tokens of old scenes.
    const std::vector<SceneObsoleteUse>& obsoleteUses() const { return myObsoleteUses; }

    /// Sets a parameter as on the command line: `/obj/fx.seed=3`, `/obj/fx/gravity.force.y=-3` (component x y z w or an
    /// index). For a string parameter the rest is taken verbatim, else as JSON if it is JSON, else as expression or
    /// menu token. False with a message in error().
    bool assign(const std::string& assignment);

private:
    Status fail(Status status, std::string error);
    Status build(const SceneJson& scene);

    std::string myName;
    std::string myError;
    std::vector<SceneObsoleteUse> myObsoleteUses;
};
