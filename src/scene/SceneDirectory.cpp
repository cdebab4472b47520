#include "scene/SceneDirectory.h"

#include <filesystem>

namespace {
std::string theFolder;
}

void SceneDirectory::set(std::string folder) { theFolder = std::move(folder); }

std::string SceneDirectory::resolve(const std::string& file) {
    const std::filesystem::path path(file);
    if (path.is_absolute() || theFolder.empty()) return file;
    return (std::filesystem::path(theFolder) / path).string();
}
