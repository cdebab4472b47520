#include "scene/PathSuggestion.h"

#include "host/node/OP_Network.h"
#include "scene/SceneError.h"

#include <vector>

std::string suggestPath(OP_Node& from, const std::string& path) {
    const size_t slash = path.rfind('/');
    const std::string above = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    OP_Node* holder = from.findNode(above.c_str());
    OP_Network* network = holder ? holder->castToNetwork() : nullptr;
    if (!network) return holder || above == "." || above == "/" ? "" : suggestPath(from, above);
    std::vector<std::string> names;
    const std::string prefix = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    names.reserve(size_t(network->getNchildren()));
    for (int i = 0; i < network->getNchildren(); ++i) {
        const std::string name = prefix + network->getChild(i)->getName();
        if (name != path) names.push_back(name); // it is there, and not what is wanted
    }
    return didYouMean(path, names);
}
