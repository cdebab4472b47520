#pragma once

#include "scene/SceneFile.h"

#include <string>
#include <vector>

class ParticleNetwork;

/// A loaded scene as a command works on it. Everything throws Failure.
class LoadedScene {
public:
    /// `command` ("run") is named in messages about the command line; `sets` are assignments as typed.
    LoadedScene(std::string command, const std::string& path, const std::vector<std::string>& sets);

    /// The network at the path, or all of the scene for an empty path: at least one.
    std::vector<ParticleNetwork*> networks(const std::string& path) const;
    /// "chunk" or "operator"; nothing to be said leaves the networks as they are.
    static void setCookOrder(const std::vector<ParticleNetwork*>& networks, const std::string& order);
    const SceneFile& file() const { return myFile; }
    const std::string& name() const { return myFile.name(); }
    [[noreturn]] void refuseUsage(const std::string& what) const;

private:
    void load(const std::string& path);

    std::string myCommand;
    SceneFile myFile;
};
