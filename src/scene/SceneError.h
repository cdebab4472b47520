#pragma once

#include <string>
#include <string_view>
#include <vector>

/// What makes a scene unreadable. Thrown while a scene is read and turned into one line by SceneFile.
struct SceneError {
    std::string path; ///< of the node it concerns; empty for the scene as a whole
    unsigned line = 0;
    std::string what;
};

/// `; did you mean "name"?` for the name most like the word, or nothing.
std::string didYouMean(std::string_view word, const std::vector<std::string>& names);
