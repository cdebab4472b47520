#pragma once

#include <string>

class OP_Node;
class PRM_Parm;
struct EV_FUNCTION;

/// Parameters that may read each other by ch() and chs() in a row.
constexpr int OP_MAX_CHAIN = 64;

/// Adds the expression functions that look at nodes: ch chs opname opdigits point npoints bbox.
void OPaddExpressionFunctions();

/// True for those of them whose changes reach the reader by its dependencies: a cached result stays good until then.
bool OPisTrackedFunction(const EV_FUNCTION* function);

/// What the first argument of a function names.
enum class OP_PathKind { None, Channel, Node, Geometry };
OP_PathKind OPpathKind(const EV_FUNCTION* function);

/// A component of a parameter, as ch() and chs() name it.
struct OP_ChannelRef {
    OP_Node* node = nullptr;
    PRM_Parm* parm = nullptr;
    int component = 0;
};

/// Finds what the path means where it stands on `self`. False with what is wrong, and the nearest token where the node
/// exists.
bool OPfindChannel(OP_Node& self, const std::string& path, OP_ChannelRef& channel, std::string& error);

/// What is wrong with a path that is to lead to a node or to geometry from `self`; empty when it does.
std::string OPpathError(OP_Node& self, const std::string& path, OP_PathKind kind);

/// What is wrong with the text that an argument of a function is, whatever is at the paths: the measure of a box. Empty
/// when nothing is.
std::string OPwordError(const EV_FUNCTION* function, size_t argument, const std::string& word);
