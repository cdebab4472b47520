#pragma once

#include "scene/SceneJson.h"
#include "scene/SceneParms.h"

#include <initializer_list>
#include <string>
#include <vector>

class OP_Director;
class OP_Network;
class OP_Node;

/// A parameter that the scene gave by an old token, and the tokens of today that took its value.
struct SceneObsoleteUse {
    std::string path;
    std::string token;
    std::vector<std::string> replacements;
};

/// Builds the nodes of a scene from its JSON. Throws SceneError at the first thing that is wrong.
class SceneReader {
public:
    explicit SceneReader(OP_Director& director)
        : myDirector(director) {}
    void read(const SceneJson& scene);
    const std::vector<SceneObsoleteUse>& obsoleteUses() const { return myObsoleteUses; }

private:
    struct Pending {
        OP_Node* node;
        std::unique_ptr<SceneParms::Obsolete> parms;
    };
    void readVersion(const SceneJson& scene) const;
    void readClock(const SceneJson& scene);
    void readVariables(const SceneJson& variables);
    void readChildren(OP_Network& network, const char* key, const SceneJson& nodes);
    OP_Node* createNode(OP_Network& network, const SceneJson& json, size_t index);
    void readNode(OP_Node& node, const SceneJson& json);
    void readFlags(OP_Node& node, const SceneJson& flags);
    void resolveObsolete(const Pending& pending);
    void checkParents() const;

    OP_Director& myDirector;
    std::vector<Pending> myPending;
    std::vector<SceneObsoleteUse> myObsoleteUses;
};
