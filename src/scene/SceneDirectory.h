#pragma once

#include <string>

/// The folder of the loaded scene; names of files in a scene are relative to it.
namespace SceneDirectory {

/// "" stands for the current directory.
void set(std::string folder);
/// An absolute name stands for itself, another one is seen from the scene's folder.
std::string resolve(const std::string& file);

} // namespace SceneDirectory
