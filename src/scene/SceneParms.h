#pragma once

#include "host/node/PRM_ParmList.h"
#include "scene/SceneJson.h"

#include <memory>
#include <string>

class OP_Node;

/// Gives parameters the values that a scene has for them. Everything throws SceneError for a value that the parameter
/// cannot take.
namespace SceneParms {

/// Parameters of the type's obsolete list that the scene gave values to, kept until all nodes exist.
struct Obsolete {
    PRM_TemplateTable rows;
    std::unique_ptr<PRM_ParmList> values;
};

/// Reads the "spare" rows: parameters of this node alone.
void addSpare(OP_Node& node, const SceneJson& rows);

/// Reads the "parms" of a node. Obsolete ones are collected, null when there are none.
std::unique_ptr<Obsolete> read(OP_Node& node, const SceneJson& parms);

/// One value for one parameter: number, boolean, text, key frames, or an array of one per component.
void setValue(OP_Node& node, PRM_Parm& parm, const SceneJson& value);

/// One component of a parameter.
void setComponent(OP_Node& node, PRM_Parm& parm, int component, const SceneJson& value);

/// The parameter of that token; throws with the nearest one when there is none.
PRM_Parm& find(OP_Node& node, const std::string& token);

} // namespace SceneParms
