#include "app/LoadedScene.h"

#include "app/ExitStatus.h"
#include "core/FLX_ContextData.h"
#include "host/node/OP_Director.h"
#include "scene/ParticleNetwork.h"
#include "scene/SceneError.h"

#include <fmt/format.h>

LoadedScene::LoadedScene(std::string command, const std::string& path, const std::vector<std::string>& sets)
    : myCommand(std::move(command)) {
    load(path);
    for (const std::string& assignment : sets)
        if (!myFile.assign(assignment)) refuseUsage(fmt::format("--set {}: {}", assignment, myFile.error()));
}

void LoadedScene::load(const std::string& path) {
    switch (myFile.load(path)) {
    case SceneFile::Status::LOADED: return;
    case SceneFile::Status::UNREADABLE: throw Failure{ExitStatus::FILE_PROBLEM, myFile.error()};
    case SceneFile::Status::BAD: throw Failure{ExitStatus::BAD_SCENE, myFile.error()};
    }
}

std::vector<ParticleNetwork*> LoadedScene::networks(const std::string& path) const {
    std::vector<ParticleNetwork*> all, wanted;
    std::vector<std::string> paths;
    const OP_Network& objects = *OPgetDirector()->objManager();
    for (int i = 0; i < objects.getNchildren(); ++i) {
        auto* network = dynamic_cast<ParticleNetwork*>(objects.getChild(i));
        if (!network) continue;
        all.push_back(network);
        paths.push_back(network->getFullPath());
        if (paths.back() == path) wanted.push_back(network);
    }
    if (all.empty())
        throw Failure{ExitStatus::BAD_SCENE, name() + ": holds no particle network, an object of type \"flxnet\""};
    if (path.empty()) return all;
    if (wanted.empty())
        refuseUsage(
            fmt::format("--net {}: there is no particle network at this path{}", path, didYouMean(path, paths)));
    return wanted;
}

void LoadedScene::setCookOrder(const std::vector<ParticleNetwork*>& networks, const std::string& order) {
    for (ParticleNetwork* network : networks)
        if (!order.empty()) network->setCookOrder(order == "operator" ? FLX_CookOrder::Operator : FLX_CookOrder::Chunk);
}

void LoadedScene::refuseUsage(const std::string& what) const {
    throw Failure{ExitStatus::BAD_USAGE, fmt::format("flx {}: {}", myCommand, what)};
}
