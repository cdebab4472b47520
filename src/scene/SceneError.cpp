#include "scene/SceneError.h"

#include "host/ut/UT_NearestName.h"

std::string didYouMean(std::string_view word, const std::vector<std::string>& names) {
    const std::string near = nearestName(word, names);
    return near.empty() ? "" : "; did you mean \"" + near + "\"?";
}
