#pragma once

#include <memory>
#include <string>

#include "host/sim/SIM_Object.h"

class OP_Node;
class SIM_Position;

/// What a simulation data path names: an object, and the piece of its data (the object itself when the path stops
/// there).
class DOP_FullPathData {
public:
    SIM_Data* getData() const { return myData; }
    /// The scene object that the simulation object stands for, or null.
    OP_Node* getObjectNode() const;
    /// Where the object is, or null when it has no position.
    const SIM_Position* getBestPosition() const;

private:
    friend bool DOPfindDataFromPath(const char*, DOP_FullPathData&, float, OP_Node*, int);
    std::shared_ptr<SIM_Object> myObject;
    SIM_Data* myData = nullptr;
};

/// Adds an object of the current scene under an absolute path such as "/sim/ball"; false when the path is taken or not
/// absolute. It goes when it is removed, or with the scene's director.
bool DOPaddObject(const std::string& path, std::shared_ptr<SIM_Object> object);
bool DOPremoveObject(const std::string& path);

/// Finds "/sim/ball" (the object) or "/sim/ball/Geometry" (its data). Relative paths start at `from`. The registered
/// objects are those of now: `t` and `flags` are not looked at. False, `result` emptied, when nothing is there.
bool DOPfindDataFromPath(const char* path, DOP_FullPathData& result, float t, OP_Node* from, int flags);
